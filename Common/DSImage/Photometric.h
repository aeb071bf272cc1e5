// Photometric interpretations (PS 3.3, C.7.6.3.1.2) and their texts.

#pragma once

#include <cstdint>
#include <string_view>

#include "MDicomConstants.h"

namespace mdicom {

struct PhotometricRow {
    std::string_view text;
    uint32_t number;
};

inline constexpr PhotometricRow kPhotometrics[] = {
    {"MONOCHROME1", PHOTOMETRIC_MONOCHROME1},
    {"MONOCHROME2", PHOTOMETRIC_MONOCHROME2},
    {"PALETTE COLOR", PHOTOMETRIC_PALETTE_COLOR},
    {"RGB", PHOTOMETRIC_RGB},
    {"ARGB", PHOTOMETRIC_ARGB},
    {"CMYK", PHOTOMETRIC_CMYK},
    {"YBR_FULL_422", PHOTOMETRIC_YBR_FULL_422},
    {"YBR_FULL", PHOTOMETRIC_YBR_FULL},
    {"YBR_RCT", PHOTOMETRIC_YBR_RCT},
    {"YBR_ICT", PHOTOMETRIC_YBR_ICT},
};

} // namespace mdicom
