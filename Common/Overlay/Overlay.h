// What the operations on overlays share (PS 3.3, C.9.2).

#pragma once

#include <cstdint>

#include "Common/DSValue/KeptElements.h"
#include "MDicomDS.h"

namespace mdicom {

// Tags of group 6000.
constexpr uint32_t kOverlayRows = 0x60000010;
constexpr uint32_t kOverlayColumns = 0x60000011;
constexpr uint32_t kOverlayFrames = 0x60000015;
constexpr uint32_t kOverlayDescription = 0x60000022;
constexpr uint32_t kOverlayType = 0x60000040;
constexpr uint32_t kOverlaySubtype = 0x60000045;
constexpr uint32_t kOverlayOrigin = 0x60000050;
constexpr uint32_t kOverlayFrameOrigin = 0x60000051;
constexpr uint32_t kOverlayBitsAllocated = 0x60000100;
constexpr uint32_t kOverlayBitPosition = 0x60000102;
constexpr uint32_t kOverlayActivationLayer = 0x60001001;
constexpr uint32_t kOverlayRoiArea = 0x60001301;
constexpr uint32_t kOverlayRoiMean = 0x60001302;
constexpr uint32_t kOverlayRoiDeviation = 0x60001303;
constexpr uint32_t kOverlayLabel = 0x60001500;
constexpr uint32_t kOverlayData = 0x60003000;

/** Attributes of the overlay in a group; 210 if a required one is missing. */
uint16_t ReadOverlayAttributes(MDicomDS &dataSet, uint32_t mask, _OVERLAYATTRIBUTES &attributes);

/** A frame of the overlay in a group as a new bitmap; the record has no data after a failure. */
uint16_t ReadOverlayFrame(MDicomDS &dataSet, uint32_t mask, const _OVERLAYATTRIBUTES &attributes,
                          uint32_t frame, _BITMAPHANDLE &bitmap);

/** Keeps all overlays and activation layers. Throws std::bad_alloc. */
void KeepOverlays(KeptElements &old);

/** Deletes what an overlay or activation layer has in a group. */
void DeleteOverlayGroup(MDicomDS &dataSet, uint32_t mask);

} // namespace mdicom
