// Palettes of an image description (PS 3.3, C.7.9).

#pragma once

#include <cstdint>
#include <span>

#include "Common/Utils/Status.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

/** Reads the three descriptors, and the largest and smallest of their numbers. */
void DescribePalettes(MDicomDS &dataSet, _DICOMELEMENT *pixelData, _IMAGEINFO &info);

/** Loads the tables that the descriptors announce. 0; 2 no memory, 14 a segmented table that
 *  cannot be expanded. What is loaded stays in the record. */
Status LoadPalettes(MDicomDS &dataSet, _DICOMELEMENT *pixelData, _IMAGEINFO &info);

/** Expands segments (PS 3.3, C.7.9.2) into a table; entries behind the last segment stay. False
 *  for an unknown or incomplete segment. What passes the end of the table is left out. */
bool ExpandSegments(std::span<const uint16_t> words, std::span<uint16_t> table);

/** Puts single bytes that lie at the start of a table into entries of their own. */
void SpreadBytes(std::span<uint16_t> table);

} // namespace mdicom
