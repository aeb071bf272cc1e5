// Tables of LUTs: entries in and out of elements.

#pragma once

#include <cstdint>
#include <span>

#include "Common/Utils/Status.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

constexpr uint32_t kLutDescriptor = 0x00283002;
constexpr uint32_t kLutExplanation = 0x00283003;
constexpr uint32_t kLutData = 0x00283006;
constexpr uint32_t kMostEntries = 0x10000;

/**
 * Reads a table; entries that the element does not have are 0.
 * @param descriptor of the table, which has at most as many entries as there is room
 * @return 0; 4 not readable
 */
Status ReadTable(MDicomDS &dataSet, _DICOMELEMENT *element, const _DICOMLUTDESCRIPTOR &descriptor,
                 std::span<uint16_t> table);

/** VR of a table: OW where a short length field cannot hold it, else 0, that of the dictionary. */
uint16_t TableVr(uint32_t entries, uint32_t entryBits);

/** True if a table can be described: 1 to 65536 entries of at most 16 bits. */
bool IsDescribable(const _DICOMLUTDESCRIPTOR &descriptor);

/** True for entries of 8 or 16 bits. */
bool HasCommonBits(const _DICOMLUTDESCRIPTOR &descriptor);

} // namespace mdicom
