// Image processing: transformations of gray values, and what can be read off a bitmap. Compiles as
// C11 and as C++.

#ifndef MVIMGCORX_H
#define MVIMGCORX_H

#include <stdint.h>

#include "MDicomTypes.h"
#include "Mvkrnx.h"

enum {
    MVIMGCORX_INVERT = 2, ///< VOI: the least value is shown white (MONOCHROME1)
    MVIMGCORX_ALWAYS = 2, ///< modality: given by every caller
    MVIMGCORX_SIGNED = 8  ///< modality: values may become signed
};

#ifdef __cplusplus
extern "C" {
#endif

/// Results are KERNEL_SUCCESS or a negative code; a bitmap stays as it was after a failure.
///@{
/** Maps each pixel through a table (PS 3.3, C.11.1). */
MVKRNX_API int32_t M_ApplyModalityLUT(_BITMAPHANDLE *pBitmap, const uint16_t *pTable,
                                      const _DICOMLUTDESCRIPTOR *pDescriptor, uint32_t nFlags);
/** Makes each pixel its value x fSlope + fIntercept. */
MVKRNX_API int32_t M_ApplyLinearModalityLUT(_BITMAPHANDLE *pBitmap, double fIntercept,
                                            double fSlope, uint32_t nFlags);
/** Gives the bitmap a LUT of the table (PS 3.3, C.11.2). Pixels stay. */
MVKRNX_API int32_t M_ApplyVOILUT(_BITMAPHANDLE *pBitmap, const uint16_t *pTable,
                                 const _DICOMLUTDESCRIPTOR *pDescriptor, uint32_t nFlags);
/** Gives the bitmap the LUT of a window (PS 3.3, C.11.2.1.2). Pixels stay. */
MVKRNX_API int32_t M_ApplyLinearVOILUT(_BITMAPHANDLE *pBitmap, double fCenter, double fWidth,
                                       uint32_t nFlags);
/** Least and greatest pixel value. */
MVKRNX_API int32_t M_GetMinMaxVal(const _BITMAPHANDLE *pBitmap, int32_t *pMin, int32_t *pMax);
/** Centre and width of a bitmap's linear LUT. */
MVKRNX_API int32_t M_GetLinearVOILUT(const _BITMAPHANDLE *pBitmap, double *pCenter, double *pWidth,
                                     uint32_t nFlags);
/** First and number of the LUT entries in use. nFlags: 1 unsigned, 2 signed pixels. */
MVKRNX_API int32_t M_CountLUTColors(const _RGBQUAD *pColors, uint32_t nCount, int32_t *pFirst,
                                    uint32_t *pNumber, uint32_t nFlags);
/** The same of a 16-bit LUT. */
MVKRNX_API int32_t M_CountLUTColorsExt(const _RGBQUAD16 *pColors, uint32_t nCount, int32_t *pFirst,
                                       uint32_t *pNumber, uint32_t nFlags);
/** Makes a bitmap of depth 8, 12 or 16 of some bits of another one's samples.
 *  @param pTarget     record for the result
 *  @param nFirstBit   lowest bit that is taken
 *  @param nLastBit    highest bit that is taken
 *  @param nTargetBit  place of the lowest bit in the result
 *  @param nTargetBits depth of the result */
MVKRNX_API int32_t M_ShiftBitmapData(_BITMAPHANDLE *pTarget, const _BITMAPHANDLE *pSource,
                                     uint32_t nSize, uint32_t nFirstBit, uint32_t nLastBit,
                                     uint32_t nTargetBit, uint32_t nTargetBits);
///@}

#ifdef __cplusplus
} // extern "C"
#endif

#endif
