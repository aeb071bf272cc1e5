// JPEG 2000 options of a new data set.

#pragma once

#include <bit>

#include "MDicomTypes.h"

namespace mdicom {

constexpr _FILEJ2KOPTIONS DefaultJ2kOptions() {
    _FILEJ2KOPTIONS options{};
    options.nStructSize = sizeof options;
    options.bUseColorTransform = 1;
    options.bDerivedQuantization = 1;
    options.nCompressionControl = 3;
    options.fCompressionRatio = 15.0f;
    options.nTargetFileSize = 10240;
    options.nXTsiz = 640;
    options.nYTsiz = 480;
    for (uint32_t &step : options.nXRsiz) step = 1;
    for (uint32_t &step : options.nYRsiz) step = 1;
    options.nDecompositionLevels = 5;
    options.nCodeBlockWidth = 64;
    options.nCodeBlockHeight = 64;
    options.nGuardBits = 2;
    options.nBaseExponent = 8;
    options.nFurther[4] = std::bit_cast<uint32_t>(0.5f);
    return options;
}

} // namespace mdicom
