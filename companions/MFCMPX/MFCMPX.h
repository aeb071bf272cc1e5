// The JPEG codec's interface (ISO/IEC 10918-1). Compiles as C11 and as C++.

#ifndef MFCMPX_H
#define MFCMPX_H

#include <stdint.h>

#include "Mvkrnx.h"

/** What the three components of a lossy stream are, unless an Adobe marker in it says so. */
enum {
    MFCMPX_COLOR_FROM_STREAM = 0, ///< told from its markers and component numbers
    MFCMPX_COLOR_RGB = 1,         ///< as they stand
    MFCMPX_COLOR_YBR = 2          ///< luminance and chrominance, to be converted to RGB
};

/** Results. */
enum {
    MFCMPX_SUCCESS = 1,
    MFCMPX_ERROR_MEMORY = -1,
    MFCMPX_ERROR_FORMAT = -9,    ///< damaged, of another size, or of a process that is not known
    MFCMPX_ERROR_ARGUMENT = -13, ///< null pointer, or a depth that there is not
    MFCMPX_ERROR_COLOR = -27     ///< three components where one was expected
};

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
 */
MVKRNX_API int32_t fltLoadBuffer(const uint8_t *pData, uint32_t nSize, uint8_t *pPixels,
                                 int32_t nColor, uint32_t nWidth, uint32_t nHeight,
                                 int32_t nBitsPerPixel, void *pReserved1, void *pReserved2);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
