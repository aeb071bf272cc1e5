// Calls into the image processing companion.

#pragma once

#include "Common/System/Companions.h"
#include "companions/MVIMGCORX/MVIMGCORX.h"

namespace mdicom::image_processing {

/** Result of a call when the library or the function is not there. Its own are never 0. */
constexpr int32_t kAbsent = 0;

inline bool Has(const char *name) {
    return CompanionFunction(Companion::ImageProcessing, name) != nullptr;
}

/** Calls a function of the companion by its name, with the type of its declaration. */
template <typename Function, typename... Arguments>
int32_t Call(const char *name, Arguments... arguments) {
    const auto function =
        reinterpret_cast<Function *>(CompanionFunction(Companion::ImageProcessing, name));
    return function != nullptr ? function(arguments...) : kAbsent;
}

inline int32_t ApplyModalityLut(_BITMAPHANDLE *bitmap, const uint16_t *table,
                                const _DICOMLUTDESCRIPTOR *descriptor, uint32_t flags) {
    return Call<decltype(M_ApplyModalityLUT)>("M_ApplyModalityLUT", bitmap, table, descriptor,
                                              flags);
}

inline int32_t ApplyLinearModalityLut(_BITMAPHANDLE *bitmap, double intercept, double slope,
                                      uint32_t flags) {
    return Call<decltype(M_ApplyLinearModalityLUT)>("M_ApplyLinearModalityLUT", bitmap, intercept,
                                                    slope, flags);
}

inline int32_t ApplyVoiLut(_BITMAPHANDLE *bitmap, const uint16_t *table,
                           const _DICOMLUTDESCRIPTOR *descriptor, uint32_t flags) {
    return Call<decltype(M_ApplyVOILUT)>("M_ApplyVOILUT", bitmap, table, descriptor, flags);
}

inline int32_t ApplyLinearVoiLut(_BITMAPHANDLE *bitmap, double center, double width,
                                 uint32_t flags) {
    return Call<decltype(M_ApplyLinearVOILUT)>("M_ApplyLinearVOILUT", bitmap, center, width, flags);
}

inline int32_t GetMinMaxVal(const _BITMAPHANDLE *bitmap, int32_t *min, int32_t *max) {
    return Call<decltype(M_GetMinMaxVal)>("M_GetMinMaxVal", bitmap, min, max);
}

inline int32_t GetLinearVoiLut(const _BITMAPHANDLE *bitmap, double *center, double *width) {
    return Call<decltype(M_GetLinearVOILUT)>("M_GetLinearVOILUT", bitmap, center, width, 0u);
}

inline int32_t CountLutColors(const _RGBQUAD *colors, uint32_t count, int32_t *first,
                              uint32_t *number, uint32_t flags) {
    return Call<decltype(M_CountLUTColors)>("M_CountLUTColors", colors, count, first, number,
                                            flags);
}

inline int32_t CountLutColors(const _RGBQUAD16 *colors, uint32_t count, int32_t *first,
                              uint32_t *number, uint32_t flags) {
    return Call<decltype(M_CountLUTColorsExt)>("M_CountLUTColorsExt", colors, count, first, number,
                                               flags);
}

/** Which bits of a sample move where. */
struct BitMove {
    uint32_t first;
    uint32_t last;
    uint32_t target;
    uint32_t depth;
};

inline int32_t ShiftBitmapData(_BITMAPHANDLE *target, const _BITMAPHANDLE *source,
                               const BitMove &move) {
    return Call<decltype(M_ShiftBitmapData)>("M_ShiftBitmapData", target, source,
                                             static_cast<uint32_t>(sizeof *target), move.first,
                                             move.last, move.target, move.depth);
}

} // namespace mdicom::image_processing
