// The file filter for JPEG 2000 (ISO/IEC 15444-1). Compiles as C11 and as C++.

#ifndef MFJ2KX_H
#define MFJ2KX_H

#include <stdint.h>

#include "Mvkrnx.h"

/** Number of the format among the kernel's file formats. */
enum { MFJ2KX_FORMAT = 164 };

/** Results. */
enum {
    MFJ2KX_SUCCESS = 1,
    MFJ2KX_ERROR_MEMORY = -1,
    MFJ2KX_ERROR_WRITE = -5,
    MFJ2KX_ERROR_READ = -7,
    MFJ2KX_ERROR_FORMAT = -9,    ///< damaged, or not of the size and depth that was asked for
    MFJ2KX_ERROR_ARGUMENT = -13, ///< null, or options out of range
    MFJ2KX_ERROR_OPEN = -14,
    MFJ2KX_ERROR_DEPTH = -16 ///< a depth or order that cannot be coded
};

#ifdef __cplusplus
extern "C" {
#endif

/** Describes the picture of an open file from its head. */
MVKRNX_API int32_t fltInfo(_FILTERINFO *pArgument);

/**
 * Decodes a codestream, by itself or in a file of boxes, which are not looked at. The bitmap tells
 * what the stream has to be: its width and height, and by depth
 *   8, 16, 32  one component of as many bits at most. Samples are numbers of the host; signed ones
 *              are two's complement in the whole sample.
 *   24         three components, or four of which the last is ignored, in the bitmap's order. Each
 *              gives its eight most significant bits; signed ones count from the middle.
 * Components are not converted between colour spaces but for the transformation that is part of
 * the stream. Halved components are repeated. What a stream cut short lacks is what the decoder
 * makes of it. The bitmap record gets the significant bits and KERNEL_BITMAP_SIGNED before the
 * first row; it has no data of its own.
 */
MVKRNX_API int32_t fltLoad(_FILTERLOAD *pArgument);

/**
 * Encodes a bitmap as a codestream without boxes. The options are a _FILEJ2KOPTIONS. Reversible if
 * nQuality or nCompressionControl is 0. Otherwise nCompressionControl says what rules: 1
 * fCompressionRatio, 2 nTargetFileSize, 3 nQuality, as a ratio of peak signal to noise:
 *
 *     nQuality   1   2  10  25  50 100 255
 *     decibels  66  60  52  46  41  35  25
 *
 * and in between on straight lines; the peak of gray of more than 8 bits is the span of its
 * samples. Tiles are as the options say. Decomposition levels are as many as the tile has halves.
 * Guard bits and quantization steps are the encoder's. Components cannot be sub-sampled. Gray
 * samples take the precision that the bitmap's high bit tells, if they keep to it, and are signed
 * with KERNEL_BITMAP_SIGNED.
 */
MVKRNX_API int32_t fltSave(_FILTERSAVE *pArgument);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
