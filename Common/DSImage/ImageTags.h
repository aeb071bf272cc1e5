// Tags of the image modules (PS 3.3, C.7.6.3, C.7.9 and C.11).

#pragma once

#include <cstdint>

namespace mdicom {

constexpr uint32_t kPageNumberVector = 0x00182001;
constexpr uint32_t kSamplesPerPixel = 0x00280002;
constexpr uint32_t kPhotometricInterpretation = 0x00280004;
constexpr uint32_t kPlanarConfiguration = 0x00280006;
constexpr uint32_t kNumberOfFrames = 0x00280008;
constexpr uint32_t kFrameIncrementPointer = 0x00280009;
constexpr uint32_t kRows = 0x00280010;
constexpr uint32_t kColumns = 0x00280011;
constexpr uint32_t kBitsAllocated = 0x00280100;
constexpr uint32_t kBitsStored = 0x00280101;
constexpr uint32_t kHighBit = 0x00280102;
constexpr uint32_t kPixelRepresentation = 0x00280103;
constexpr uint32_t kSmallestPixelValue = 0x00280106;
constexpr uint32_t kLargestPixelValue = 0x00280107;
constexpr uint32_t kWindowCenter = 0x00281050;
constexpr uint32_t kWindowWidth = 0x00281051;
constexpr uint32_t kRescaleIntercept = 0x00281052;
constexpr uint32_t kRescaleSlope = 0x00281053;
constexpr uint32_t kRescaleType = 0x00281054;
constexpr uint32_t kWindowExplanation = 0x00281055;
constexpr uint32_t kPaletteDescriptors[] = {0x00281101, 0x00281102, 0x00281103};
constexpr uint32_t kPaletteUid = 0x00281199;
constexpr uint32_t kPaletteTables[] = {0x00281201, 0x00281202, 0x00281203};
constexpr uint32_t kPaletteSegments[] = {0x00281221, 0x00281222, 0x00281223};
constexpr uint32_t kLossyImageCompression = 0x00282110;
constexpr uint32_t kLossyRatio = 0x00282112;
constexpr uint32_t kLossyMethod = 0x00282114;
constexpr uint32_t kModalityLutSequence = 0x00283000;
constexpr uint32_t kVoiLutSequence = 0x00283010;
constexpr uint32_t kExtendedOffsets = 0x7FE00001;
constexpr uint32_t kExtendedLengths = 0x7FE00002;

} // namespace mdicom
