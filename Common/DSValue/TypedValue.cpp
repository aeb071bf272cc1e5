// Typed values: parsing into the cache of an element, and its verification.

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "Common/CharacterSet/CharacterSets.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueText.h"
#include "Common/Utils/CheckedMath.h"
#include "Common/Utils/NumberText.h"
#include "Common/Utils/Text.h"
#include "Common/Utils/Vr.h"

namespace mdicom {

namespace {

/** A value in the layout of the cache. */
struct ParsedValue {
    DataBlock<char> block; ///< null when memory was short
    uint32_t count = 0;
};

/** Entries from one text to an array with one entry for each of its values. */
using Parser = ParsedValue (*)(std::string_view text);

template <auto Parse>
ParsedValue ParseEntries(std::string_view text) {
    using Entry = decltype(Parse(text));
    const auto separators = std::count(text.begin(), text.end(), '\\');
    const auto count = static_cast<uint32_t>(separators + 1);
    ParsedValue parsed{MakeDataBlock<char>(size_t{count} * sizeof(Entry)), count};
    if (!parsed.block) return parsed;
    auto *entry = reinterpret_cast<Entry *>(parsed.block.get());
    ValueSplitter values(text);
    while (const auto value = values.Next()) *entry++ = Parse(TrimBlanks(*value));
    return parsed;
}

double ParseDouble(std::string_view text) {
    return ParseDecimal(text).value;
}

/** Parser of a text VR whose entries are not texts; null for the others. */
Parser ParserOf(uint16_t code) {
    switch (code) {
        case vr::AS:
            return ParseEntries<ParseAge>;
        case vr::DA:
            return ParseEntries<ParseDate>;
        case vr::DS:
            return ParseEntries<ParseDouble>;
        case vr::DT:
            return ParseEntries<ParseDateTime>;
        case vr::IS:
            return ParseEntries<ParseInt32>;
        case vr::TM:
            return ParseEntries<ParseTime>;
        default:
            return nullptr;
    }
}

/** Moves the trimmed values together, each with its NUL, within the block. A value takes no more
 *  room than it had with its backslash, so that the writing never overtakes the reading. */
uint32_t CompactTexts(char *block, std::span<const uint32_t> sets) {
    uint32_t count = 0;
    char *out = block;
    ValueSplitter values(block, sets);
    while (const auto value = values.Next()) {
        const std::string_view trimmed = TrimBlanks(*value);
        out = std::copy(trimmed.begin(), trimmed.end(), out);
        *out++ = '\0';
        ++count;
    }
    return count;
}

/** Attribute tags are stored as two numbers; the entry has the group in its high half. */
void JoinTagHalves(char *block, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        std::array<uint16_t, 2> halves;
        std::memcpy(halves.data(), block + size_t{i} * 4, 4);
        const uint32_t tag = uint32_t{halves[0]} << 16 | halves[1];
        std::memcpy(block + size_t{i} * 4, &tag, 4);
    }
}

ParsedValue ParseUnits(uint16_t code, DataBlock<char> bytes, uint32_t length) {
    const uint32_t count = length / ValueUnitOf(code);
    if (code == vr::AT) JoinTagHalves(bytes.get(), count);
    return {std::move(bytes), count};
}

ParsedValue ParseTexts(uint16_t code, DataBlock<char> bytes, std::span<const uint32_t> sets) {
    if (const Parser parse = ParserOf(code)) return parse(bytes.get());
    const uint32_t count = CompactTexts(bytes.get(), sets);
    return {std::move(bytes), count};
}

ParsedValue ParseValue(uint16_t code, DataBlock<char> bytes, uint32_t length,
                       std::span<const uint32_t> sets) {
    switch (LayoutOf(code)) {
        case ValueLayout::Texts:
            return ParseTexts(code, std::move(bytes), sets);
        case ValueLayout::OneText:
            return {std::move(bytes), 1};
        default:
            return ParseUnits(code, std::move(bytes), length);
    }
}

constexpr uint32_t kNoKind = 0xFFFFFFFF;

uint32_t KindOf(uint16_t code) {
    switch (code) {
        case vr::OB:
        case vr::OV:
        case vr::SQ:
        case vr::SV:
        case vr::UN:
        case vr::UV:
            return VALUE_KIND_CHAR;
        case vr::OW:
        case vr::SS:
        case vr::US:
            return VALUE_KIND_SHORT;
        case vr::AT:
        case vr::IS:
        case vr::OL:
        case vr::SL:
        case vr::UL:
            return VALUE_KIND_LONG;
        case vr::FL:
        case vr::OF:
            return VALUE_KIND_FLOAT;
        case vr::DS:
        case vr::FD:
        case vr::OD:
            return VALUE_KIND_DOUBLE;
        case vr::AE:
        case vr::CS:
        case vr::LO:
        case vr::LT:
        case vr::PN:
        case vr::SH:
        case vr::ST:
        case vr::UC:
        case vr::UI:
        case vr::UR:
        case vr::UT:
            return VALUE_KIND_STRING;
        case vr::AS:
            return VALUE_KIND_AGE;
        case vr::DA:
            return VALUE_KIND_DATE;
        case vr::TM:
            return VALUE_KIND_TIME;
        case vr::DT:
            return VALUE_KIND_DATETIME;
        default:
            return kNoKind;
    }
}

/** The VR table can be edited: entries are handed out only while it gives them their size. */
bool HasEntriesOf(uint16_t code, uint32_t kind) {
    switch (LayoutOf(code)) {
        case ValueLayout::Texts:
            return kind == VALUE_KIND_STRING || ParserOf(code) != nullptr;
        case ValueLayout::OneText:
            return kind == VALUE_KIND_STRING;
        default:
            return ValueUnitOf(code) == EntrySizeOf(kind);
    }
}

} // namespace

} // namespace mdicom

using namespace mdicom;

uint16_t MDicomDS::GetSizeVR(uint16_t nVR) {
    return UnitSizeOf(nVR);
}

int32_t MDicomDS::VerifyVR(_DICOMELEMENT *pElement, uint32_t nKind) {
    if (pElement == nullptr || KindOf(pElement->nVR) != nKind) return 0;
    return HasEntriesOf(pElement->nVR, nKind);
}

int32_t MDicomDS::VerifyTypeValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t *pCount,
                                  uint32_t nKind) {
    if (!VerifyVR(pElement, nKind)) return 0;
    if (!GetTypeValue(pElement)) return 0;
    const uint32_t total = pElement->nValueCount;
    if (nIndex > total) return 0;
    if (IsAllValues(*pCount)) *pCount = total - nIndex;
    return FitsInto(nIndex, *pCount, total);
}

CharacterSetList MDicomDS::SplittingSetsOf(_DICOMELEMENT *pElement) {
    return IsElementAffectedByCharacterSet(pElement) ? CharacterSetsOf(pElement)
                                                     : CharacterSetList{};
}

int32_t MDicomDS::GetTypeValue(_DICOMELEMENT *pElement) {
    if (pElement == nullptr || pElement->nLength > kLongestValue) return 0;
    if (pElement->nValueCount != kUnparsed) return 1;
    if (pElement->nLength == 0) {
        pElement->nValueCount = 0;
        return 1;
    }
    return Guarded(0, [&] {
        auto bytes = ReadWholeValue(*this, pElement);
        if (!bytes) return 0;
        const CharacterSetList sets = SplittingSetsOf(pElement);
        ParsedValue parsed =
            ParseValue(pElement->nVR, std::move(bytes), pElement->nLength, sets.Span());
        if (!parsed.block) return 0;
        DataFree(pElement->pValue);
        pElement->pValue = parsed.block.release();
        pElement->nValueCount = parsed.count;
        return 1;
    });
}

uint32_t MDicomDS::GetCountValue(_DICOMELEMENT *pElement) {
    if (!CheckElement(pElement) || !GetTypeValue(pElement)) return 0;
    return pElement->nValueCount;
}

void MDicomDS::FreeValue(_DICOMELEMENT *pElement) {
    if (pElement != nullptr && CheckElement(pElement)) FreeCaches(pElement);
}

void MDicomDS::FreeCaches(_DICOMELEMENT *pElement) {
    DataFree(pElement->pValue);
    DataFree(pElement->pText);
    pElement->pValue = nullptr;
    pElement->pText = nullptr;
    pElement->nValueCount = kUnparsed;
}
