// What the typed accesses to values share: layout of a value by its VR, and whole values in and
// out of the value store.

#pragma once

#include <cstdint>
#include <exception>

#include "Common/DS/ElementNode.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

namespace mdicom {

constexpr uint32_t kLongestValue = 0xFFFFFFFD;

/** True for the counts that stand for all values from an index on. */
constexpr bool IsAllValues(uint32_t count) {
    return count >= 0xFFFFFFFE;
}

enum class ValueLayout {
    Units,  ///< binary units of one size
    Texts,  ///< texts between backslashes, blanks around them not significant
    OneText ///< one text, backslash is an ordinary character
};

ValueLayout LayoutOf(uint16_t vr);

/** Bytes of one unit of a value. Unlike the VR table it knows OD and OL. */
uint32_t ValueUnitOf(uint16_t vr);

/** Bytes of an entry of the cache by its kind; 0 for texts, which vary. */
constexpr uint32_t EntrySizeOf(uint32_t kind) {
    constexpr uint32_t kSizes[] = {1,
                                   2,
                                   4,
                                   4,
                                   8,
                                   0,
                                   sizeof(_VALUEAGE),
                                   sizeof(_VALUEDATE),
                                   sizeof(_VALUETIME),
                                   sizeof(_VALUEDATETIME)};
    return kSizes[kind];
}

/** Bytes of a value, from an offset within it, with a NUL behind them. Null when the value is not
 *  there in full, cannot be read or memory is short; nothing is allocated for bytes that do not
 *  exist. */
DataBlock<char> ReadValue(MDicomDS &dataSet, _DICOMELEMENT *element, uint32_t offset,
                          uint32_t length);

inline DataBlock<char> ReadWholeValue(MDicomDS &dataSet, _DICOMELEMENT *element) {
    return ReadValue(dataSet, element, 0, element->nLength);
}

/** Puts a value in place of the old one, and drops what was parsed of it. data is not null; its
 *  bytes may be turned and turned back during the call. */
int32_t ReplaceValue(MDicomDS &dataSet, _DICOMELEMENT *element, const void *data, size_t length);

/** Runs work; failure is the result when it runs out of memory. */
template <typename Result, typename Work>
Result Guarded(Result failure, Work work) noexcept {
    try {
        return work();
    } catch (const std::exception &) {
        return failure;
    }
}

} // namespace mdicom
