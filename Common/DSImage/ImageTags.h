// Tags of the image modules (PS 3.3, C.7.6.3 and C.11).

#pragma once

#include <cstdint>

namespace mdicom {

constexpr uint32_t kSamplesPerPixel = 0x00280002;
constexpr uint32_t kPhotometricInterpretation = 0x00280004;
constexpr uint32_t kPlanarConfiguration = 0x00280006;
constexpr uint32_t kNumberOfFrames = 0x00280008;
constexpr uint32_t kBitsAllocated = 0x00280100;
constexpr uint32_t kBitsStored = 0x00280101;
constexpr uint32_t kHighBit = 0x00280102;
constexpr uint32_t kSmallestPixelValue = 0x00280106;
constexpr uint32_t kLargestPixelValue = 0x00280107;
constexpr uint32_t kWindowCenter = 0x00281050;
constexpr uint32_t kWindowWidth = 0x00281051;
constexpr uint32_t kRescaleIntercept = 0x00281052;
constexpr uint32_t kRescaleSlope = 0x00281053;
constexpr uint32_t kLossyImageCompression = 0x00282110;
constexpr uint32_t kLossyRatio = 0x00282112;
constexpr uint32_t kLossyMethod = 0x00282114;

} // namespace mdicom
