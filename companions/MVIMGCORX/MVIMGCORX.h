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

/** How M_CountLUTColors counts. */
enum { MVIMGCORX_COUNT_UNSIGNED = 1, MVIMGCORX_COUNT_SIGNED = 2 };

#ifdef __cplusplus
extern "C" {
#endif

/// Bitmaps are gray ones of depth 8, 12 and 16, unless stated. Of a sample the bits from nLowBit to
/// nHighBit count; at depth 8 all do. KERNEL_BITMAP_SIGNED says that the highest is a sign. Results
/// are KERNEL_SUCCESS or a negative code; a bitmap stays as it was after a failure.
///@{
/** Maps each pixel through a table (PS 3.3, C.11.1). Values outside it take its first or last
 *  entry. The pixels become unsigned, with bits from 0 on, and nMinVal and nMaxVal their range; a
 *  LUT that the bitmap had goes. */
MVKRNX_API int32_t M_ApplyModalityLUT(_BITMAPHANDLE *pBitmap, const uint16_t *pTable,
                                      const _DICOMLUTDESCRIPTOR *pDescriptor, uint32_t nFlags);
/** Makes each pixel its value x fSlope + fIntercept, rounded, within what the depth holds. With
 *  MVIMGCORX_SIGNED the bitmap becomes signed if samples of its bits could become negative; at
 *  depth 8 it stays as it is. What else changes is as for a table. */
MVKRNX_API int32_t M_ApplyLinearModalityLUT(_BITMAPHANDLE *pBitmap, double fIntercept,
                                            double fSlope, uint32_t nFlags);
/** Gives the bitmap a LUT and a 16-bit LUT of the table (PS 3.3, C.11.2). Pixels stay. */
MVKRNX_API int32_t M_ApplyVOILUT(_BITMAPHANDLE *pBitmap, const uint16_t *pTable,
                                 const _DICOMLUTDESCRIPTOR *pDescriptor, uint32_t nFlags);
/** Gives the bitmap the LUT of a window (PS 3.3, C.11.2.1.2). Pixels stay. A width below 1 counts
 *  as 1. */
MVKRNX_API int32_t M_ApplyLinearVOILUT(_BITMAPHANDLE *pBitmap, double fCenter, double fWidth,
                                       uint32_t nFlags);
/** Least and greatest pixel value. Depth 1 gives 0 and 1, depth 24 the range of its bytes. */
MVKRNX_API int32_t M_GetMinMaxVal(const _BITMAPHANDLE *pBitmap, int32_t *pMin, int32_t *pMax);
/** Centre and width of the window that a bitmap's LUT comes from, ascending or descending. Fails
 *  when no LUT is in use, and for one that no window gives. nFlags is 0. */
MVKRNX_API int32_t M_GetLinearVOILUT(const _BITMAPHANDLE *pBitmap, double *pCenter, double *pWidth,
                                     uint32_t nFlags);
/**
 * The entries of a LUT that say anything: all from the last of those with the first colour to the
 * first of those with the last colour. With one colour in all it is the first entry alone.
 * @param nCount  entries, at most 65536; those of signed values an even number
 * @param pFirst  pixel value of the first entry; with MVIMGCORX_COUNT_SIGNED they begin at
 *                -(nCount / 2), which has entry nCount / 2
 * @param pNumber number of entries
 */
MVKRNX_API int32_t M_CountLUTColors(const _RGBQUAD *pColors, uint32_t nCount, int32_t *pFirst,
                                    uint32_t *pNumber, uint32_t nFlags);
/** The same of a 16-bit LUT. */
MVKRNX_API int32_t M_CountLUTColorsExt(const _RGBQUAD16 *pColors, uint32_t nCount, int32_t *pFirst,
                                       uint32_t *pNumber, uint32_t nFlags);
/** Makes a bitmap of depth 8, 12 or 16 of some bits of another one's samples; its other
 *  bits are 0. Overlays and view stay, LUT and range where all significant bits are taken.
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
