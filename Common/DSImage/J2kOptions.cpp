// Options of the JPEG 2000 encoder (ISO/IEC 15444-1, A.5 and A.6).

#include <bit>
#include <cstring>

#include "Common/DS/J2kDefaults.h"
#include "MDicomDS.h"

namespace {

bool IsCodeBlockSide(uint32_t side) {
    constexpr uint32_t kLeast = 4;
    return side >= kLeast && std::has_single_bit(side);
}

bool HasCodeBlocks(const _FILEJ2KOPTIONS &options) {
    constexpr int kMostBits = 12;
    if (!IsCodeBlockSide(options.nCodeBlockWidth) || !IsCodeBlockSide(options.nCodeBlockHeight)) {
        return false;
    }
    return std::countr_zero(options.nCodeBlockWidth) + std::countr_zero(options.nCodeBlockHeight) <=
           kMostBits;
}

/** The first tile begins at or before the image's edge, and holds part of the image. */
bool HoldsEdge(uint32_t edge, uint32_t tileEdge, uint32_t tileSize) {
    return tileEdge <= edge && uint64_t{tileEdge} + tileSize >= edge;
}

bool HasTiles(const _FILEJ2KOPTIONS &options) {
    constexpr uint32_t kMostLevels = 30;
    if (options.nDecompositionLevels > kMostLevels) return false;
    const uint64_t least = uint64_t{2} << options.nDecompositionLevels;
    return options.nXTsiz >= least && options.nYTsiz >= least &&
           HoldsEdge(options.nXOsiz, options.nXTOsiz, options.nXTsiz) &&
           HoldsEdge(options.nYOsiz, options.nYTOsiz, options.nYTsiz);
}

/** Copies as much of the options as a caller has room for, and tells its size. */
void CopyOptions(const _FILEJ2KOPTIONS &options, _FILEJ2KOPTIONS *target, uint32_t size) {
    const size_t bytes = size < sizeof options ? size : sizeof options;
    std::memcpy(static_cast<void *>(target), &options, bytes);
    std::memcpy(static_cast<void *>(target), &size, bytes < sizeof size ? bytes : sizeof size);
}

} // namespace

int32_t MDicomDS::ValidateJ2KOptions(const _FILEJ2KOPTIONS *pOptions) {
    constexpr uint32_t kControls = 4;
    constexpr uint32_t kMostProgressionOrder = 4;
    constexpr uint32_t kMostGuardBits = 7;
    constexpr uint32_t kMostMantissa = 2047;
    constexpr uint32_t kMostExponent = 16;
    const _FILEJ2KOPTIONS &options = *pOptions;
    return options.nStructSize == sizeof options && options.nCompressionControl < kControls &&
           options.nProgressionOrder <= kMostProgressionOrder &&
           options.nGuardBits <= kMostGuardBits && options.nBaseMantissa <= kMostMantissa &&
           options.nBaseExponent <= kMostExponent && HasTiles(options) && HasCodeBlocks(options);
}

uint16_t MDicomDS::SetJ2KOptions(const _FILEJ2KOPTIONS *pOptions) {
    if (m_pExtra == nullptr) return DICOM_ERROR_MEMORY;
    if (pOptions == nullptr) {
        m_pExtra->J2KOptions = mdicom::DefaultJ2kOptions();
        return DICOM_SUCCESS;
    }
    if (!ValidateJ2KOptions(pOptions)) return DICOM_ERROR_PARAMETER;
    m_pExtra->J2KOptions = *pOptions;
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::GetJ2KOptions(_FILEJ2KOPTIONS *pOptions, uint32_t nSize) {
    if (pOptions == nullptr || nSize < 1) return DICOM_ERROR_PARAMETER;
    if (m_pExtra == nullptr) return DICOM_ERROR_MEMORY;
    CopyOptions(m_pExtra->J2KOptions, pOptions, nSize);
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::GetDefaultJ2KOptions(_FILEJ2KOPTIONS *pOptions, uint32_t nSize) {
    if (pOptions == nullptr || nSize < 1) return DICOM_ERROR_NO_RECORD;
    CopyOptions(mdicom::DefaultJ2kOptions(), pOptions, nSize);
    return DICOM_SUCCESS;
}
