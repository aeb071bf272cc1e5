// The generated tables and access to them.

#include "dictionaries/DefaultTables.h"

#include <functional>
#include <iterator>

namespace mdicom {

namespace {

constexpr wchar_t kTexts[] =
#include "TextPool.inc"
    ;

constexpr DefaultVr kVrs[] = {
#include "VrTable.inc"
};

constexpr DefaultTag kTags[] = {
#include "TagTable.inc"
};

constexpr DefaultUid kUids[] = {
#include "UidTable.inc"
};

constexpr IodClassUid kIodClassUids[] = {
#include "IodClassTable.inc"
};

constexpr DefaultIodRow kIodRows[] = {
#include "IodRowTable.inc"
};

constexpr DefaultIodTable kIodTables[] = {
#include "IodTableTable.inc"
};

constexpr DefaultContextGroup kContextGroups[] = {
#include "ContextGroupTable.inc"
};

constexpr DefaultConcept kConcepts[] = {
#include "ConceptTable.inc"
};

constexpr uint16_t kIncludes[] = {
#include "ContextIncludeTable.inc"
};

} // namespace

std::span<const DefaultVr> DefaultVrs() {
    return kVrs;
}

std::span<const DefaultTag> DefaultTags() {
    return kTags;
}

std::span<const DefaultUid> DefaultUids() {
    return kUids;
}

std::span<const IodClassUid> IodClassUids() {
    return kIodClassUids;
}

std::span<const DefaultIodRow> DefaultIodRows(uint32_t table) {
    const DefaultIodTable &range = kIodTables[table];
    return std::span(kIodRows).subspan(range.firstRow, range.rowCount);
}

uint32_t DefaultIodRowCount() {
    return kIodTables[0].unfoldedCount;
}

std::span<const DefaultContextGroup> DefaultContextGroups() {
    return kContextGroups;
}

std::span<const DefaultConcept> DefaultConcepts(const DefaultContextGroup &group) {
    return std::span(kConcepts).subspan(group.firstConcept, group.conceptCount);
}

std::span<const uint16_t> DefaultIncludes(const DefaultContextGroup &group) {
    return std::span(kIncludes).subspan(group.firstInclude, group.includeCount);
}

const wchar_t *SharedText(uint32_t offset) {
    return offset != kNoText ? kTexts + offset : nullptr;
}

bool IsSharedText(const wchar_t *text) {
    const std::less<const wchar_t *> before;
    return !before(text, kTexts) && before(text, std::end(kTexts));
}

} // namespace mdicom
