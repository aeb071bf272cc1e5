// FindGetValue: numbers or bytes of an element that is looked up by its tag.

#include <algorithm>
#include <array>

#include "Common/CharacterSet/CharacterSets.h"
#include "Common/DSValue/NumberConversion.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/DSValue/ValueText.h"
#include "Common/Utils/NumberText.h"
#include "Common/Utils/Text.h"

using namespace mdicom;

namespace {

/** What a caller wants of an element. */
struct Request {
    MDicomDS &dataSet;
    _DICOMELEMENT *element;
    uint32_t index;
    uint32_t count;
};

constexpr uint32_t kUnitsPerRead = 4096;

/** True for the VRs whose text is closed up when it is read by bytes. */
bool IsTrimmedText(uint16_t code) {
    switch (code) {
        case vr::AE:
        case vr::AS:
        case vr::CS:
        case vr::DA:
        case vr::DT:
        case vr::LO:
        case vr::PN:
        case vr::SH:
        case vr::TM:
        case vr::UC:
        case vr::UI:
            return true;
        default:
            return false;
    }
}

template <typename To, typename Unit>
uint32_t DeliverUnits(const Request &request, To *out) {
    constexpr auto kUnit = static_cast<uint32_t>(sizeof(Unit));
    _DICOMELEMENT *element = request.element;
    const uint32_t total = element->nLength / kUnit;
    if (request.index >= total) return 0;
    const uint32_t count = std::min(request.count, total - request.index);
    if (out == nullptr) return count;
    if (!ValueIsPresent(element)) return 0;
    std::array<Unit, kUnitsPerRead> units;
    for (uint32_t done = 0; done < count;) {
        const uint32_t piece = std::min(count - done, kUnitsPerRead);
        const uint32_t offset = (request.index + done) * kUnit;
        if (!request.dataSet.GetBinaryValue(element, units.data(), offset, piece * kUnit)) return 0;
        for (uint32_t i = 0; i < piece; ++i) {
            if constexpr (std::is_same_v<Unit, uint32_t>) {
                if (element->nVR == vr::AT) units[i] = ExchangeTagHalves(units[i]);
            }
            out[done + i] = ConvertNumber<To>(units[i]);
        }
        done += piece;
    }
    return count;
}

/** Closes the trimmed values of a text up, their backslashes kept. Returns the new length. */
size_t CloseUp(char *text, std::span<const uint32_t> sets) {
    char *out = text;
    ValueSplitter values(text, sets);
    bool isFirst = true;
    while (const auto value = values.Next()) {
        if (!isFirst) *out++ = '\\';
        isFirst = false;
        const std::string_view trimmed = TrimBlanks(*value);
        out = std::copy(trimmed.begin(), trimmed.end(), out);
    }
    *out = '\0';
    return static_cast<size_t>(out - text);
}

/** Bytes of a text with a NUL, which takes the place of the last byte when room is short. */
template <typename To>
uint32_t DeliverText(const Request &request, std::span<const uint32_t> sets, To *out) {
    const uint32_t length = request.element->nLength;
    if (request.count == 0 || request.index >= length) return 0;
    const uint32_t slice = std::min(request.count, length - request.index);
    const auto text = ReadValue(request.dataSet, request.element, request.index, slice);
    if (!text) return 0;
    const auto needed = static_cast<uint32_t>(CloseUp(text.get(), sets) + 1);
    const uint32_t delivered = std::min(request.count, needed);
    if (out == nullptr) return delivered;
    text[delivered - 1] = '\0';
    for (uint32_t i = 0; i < delivered; ++i) {
        out[i] = ConvertNumber<To>(static_cast<uint8_t>(text[i]));
    }
    return delivered;
}

template <typename To>
uint32_t DeliverNumbers(const Request &request, To *out) {
    const auto text = ReadWholeValue(request.dataSet, request.element);
    if (!text) return 0;
    const bool isInteger = request.element->nVR == vr::IS;
    ValueSplitter values(text.get());
    uint32_t place = 0;
    uint32_t delivered = 0;
    while (delivered < request.count) {
        const auto value = values.Next();
        if (!value) break;
        if (place++ < request.index) continue;
        const std::string_view number = TrimBlanks(*value);
        if (out != nullptr) {
            out[delivered] = isInteger ? ConvertNumber<To>(ParseInt32(number))
                                       : ConvertNumber<To>(ParseDecimal(number).value);
        }
        ++delivered;
    }
    return delivered;
}

} // namespace

_DICOMELEMENT *MDicomDS::FindOutward(_DICOMELEMENT *pElement, uint32_t nTag) {
    for (; pElement != nullptr; pElement = GetParentElement(pElement)) {
        // A level of items holds nothing else, and there can be thousands of them.
        if (pElement->nTag == TAG_ITEM && nTag != TAG_ITEM) continue;
        if (_DICOMELEMENT *found = FindFirstElement(pElement, nTag, 1)) return found;
    }
    return FindFirstElement(nullptr, nTag, 0);
}

uint32_t MDicomDS::FindGetValue(_DICOMELEMENT *pElement, uint32_t nTag, void *pArray,
                                uint32_t nIndex, uint32_t nCount, uint32_t nArrayType) {
    if (!CheckElement(pElement)) return 0;
    _DICOMELEMENT *found = FindOutward(pElement, nTag);
    if (found == nullptr || found->nLength == 0 || found->nLength > kLongestValue) return 0;
    const Request request{*this, found, nIndex, nCount};
    return Guarded(uint32_t{0}, [&] {
        return WithArrayType(nArrayType, [&](auto sample) -> uint32_t {
            using To = decltype(sample);
            auto *out = static_cast<To *>(pArray);
            if (found->nVR == vr::IS || found->nVR == vr::DS) return DeliverNumbers(request, out);
            if (IsTrimmedText(found->nVR)) {
                return DeliverText(request, SplittingSetsOf(found).Span(), out);
            }
            return WithUnitOf(found->nVR, [&](auto unit) {
                return DeliverUnits<To, decltype(unit)>(request, out);
            });
        });
    });
}
