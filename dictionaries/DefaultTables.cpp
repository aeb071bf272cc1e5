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

const wchar_t *SharedText(uint32_t offset) {
    return kTexts + offset;
}

bool IsSharedText(const wchar_t *text) {
    const std::less<const wchar_t *> before;
    return !before(text, kTexts) && before(text, std::end(kTexts));
}

} // namespace mdicom
