// The JPEG codec's interface (ISO/IEC 10918-1). Compiles as C11 and as C++.

#ifndef MFCMPX_H
#define MFCMPX_H

#include <stdint.h>

#include "Mvkrnx.h"

/** What the three components of a lossy stream are, unless an Adobe marker in it says so. */
enum {
    MFCMPX_COLOR_FROM_STREAM = 0, ///< told from its markers and component numbers
    MFCMPX_COLOR_RGB = 1,         ///< as they stand, if they can be
    MFCMPX_COLOR_YBR = 2          ///< luminance and chrominance, to be converted to RGB
};

/** Results. */
enum {
    MFCMPX_SUCCESS = 1,
    MFCMPX_ERROR_MEMORY = -1,
    MFCMPX_ERROR_FORMAT = -9,    ///< damaged, of another size, or of a process that is not known
    MFCMPX_ERROR_ARGUMENT = -13, ///< null pointer, or a depth that there is not
    MFCMPX_ERROR_COLOR = -27,    ///< three components where one was expected
    MFCMPX_ERROR_CAPACITY = -33  ///< the room for a stream is too small
};

/** Flags of fltSaveBuffer. */
enum {
    MFCMPX_SAVE_RGB = 0x800000 ///< a lossy stream keeps red, green and blue as they are
};

/** What fltSaveBuffer is told about a picture: the head of a device-independent bitmap. */
#pragma pack(push, 1)
typedef struct _MFCMPXBITMAP {
    uint32_t nSize;            ///< 40
    int32_t nWidth;            ///< columns
    int32_t nHeight;           ///< negative: the first row in memory is the top one
    uint16_t nPlanes;          ///< 1
    uint16_t nBitCount;        ///< 8, 12, 16 (gray), 24, 48 (blue, green, red)
    uint32_t nCompression;     ///< 0
    uint32_t nImageSize;       ///< not read
    int32_t nXPelsPerMeter;    ///< not read
    int32_t nYPelsPerMeter;    ///< not read
    uint32_t nColorsUsed;      ///< not read
    uint32_t nColorsImportant; ///< not read
} _MFCMPXBITMAP;
#pragma pack(pop)

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Decodes a stream of DCT-based or lossless JPEG. Rows are padded to multiples of 4 bytes; colour
 * pixels have the third component first.
 * @param pPixels       room for nHeight rows
 * @param nColor        MFCMPX_COLOR_...; components of lossless streams are never converted
 * @param nWidth        columns that the stream has to have
 * @param nHeight       rows that the stream has to have
 * @param nBitsPerPixel 8 one component of up to 8 bits; 16 one component of up to 16 bits, in host
 *                      order; 24 and 48 three components of up to 8 and 16 bits; 32 four components
 *                      of up to 8 bits, in their order
 * @param pReserved1    null
 * @param pReserved2    null
 * @return 1 or an error. After an error within the entropy-coded data the rows before it are there.
 *         A stream that only ends early succeeds if a row of it is there; what is missing is zero
 *         or, of DCT-based streams of 8 bits, gray
 */
MVKRNX_API int32_t fltLoadBuffer(const uint8_t *pData, uint32_t nSize, uint8_t *pPixels,
                                 int32_t nColor, uint32_t nWidth, uint32_t nHeight,
                                 int32_t nBitsPerPixel, void *pReserved1, void *pReserved2);

/**
 * Encodes a picture. The stream has no JFIF marker, and an Adobe marker only with MFCMPX_SAVE_RGB.
 *
 * Lossless: process 14 with predictor 1, of 8, 12 or 16 bits; colour as interleaved red, green and
 * blue. Lossy: sequential DCT of 8 bits (SOF0), of 12 bits for depth 12 (SOF1); colour as luminance
 * and chrominance, which are halved in width where the quality factor is below 90.
 * @param pPixels   rows, padded to multiples of 4 bytes. Depth 12 has two pixels in three bytes,
 *                  the first in the low bits; depths 16 and 48 are in host order
 * @param pHeader   an _MFCMPXBITMAP
 * @param pSize     in: room behind pOutput; out: size of the stream. Unchanged after an error
 * @param nQuality  0 lossless; 2 (best) to 255 lossy, as the quality factors 98 down to 1 of the
 *                  Independent JPEG Group's tables: 98 - 97 (nQuality - 2) / 253, rounded. Depths
 *                  16 and 48 are saved without loss only
 * @param nFlags    MFCMPX_SAVE_..., or 0
 * @param nReserved 0
 * @param pReserved1 null
 * @param pReserved2 null
 * @return 1 or an error
 */
MVKRNX_API int32_t fltSaveBuffer(const uint8_t *pPixels, const void *pHeader, uint8_t *pOutput,
                                 uint32_t *pSize, int32_t nQuality, uint32_t nFlags,
                                 int32_t nReserved, void *pReserved1, void *pReserved2);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
