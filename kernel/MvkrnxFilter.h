// File filters: what the kernel's file engine and the filters for image formats pass each other.
// Compiles as C11 and as C++. Include Mvkrnx.h, which includes this.

#ifndef MVKRNXFILTER_H
#define MVKRNXFILTER_H

#include <stddef.h>
#include <stdint.h>

#include "MvkrnxBitmap.h"

#pragma pack(push, 4)
/** Description of an image in a file. The record is a format: 2212 bytes. */
typedef struct _FILEINFO {
    uint8_t nReserved0[4];       ///< of the kernel
    int32_t nFormat;             ///< number of the file format
    uint8_t nReserved8[1024];    ///< of the kernel
    int32_t nWidth;              ///< pixels
    int32_t nHeight;             ///< rows
    int32_t nBitsPerPixel;       ///< depth
    uint64_t nSizeDisk;          ///< bytes in the file
    uint64_t nSizeMem;           ///< bytes as a bitmap
    uint16_t szCompression[20];  ///< name of the compression, UTF-16
    int32_t nViewPerspective;    ///< orientation of the rows, 1 to 8
    int32_t nOrder;              ///< KERNEL_ORDER_...
    int32_t nPageNumber;         ///< number of the image
    int32_t nTotalPages;         ///< images in the file
    int32_t nXResolution;        ///< dots per inch
    int32_t nYResolution;        ///< dots per inch
    uint8_t nReserved1124[1088]; ///< of the kernel
} _FILEINFO;
#pragma pack(pop)

/** Row flags of a row callback. */
enum {
    KERNEL_ROW = 3,       ///< every row
    KERNEL_ROW_FIRST = 4, ///< added on the first row
    KERNEL_ROW_LAST = 8   ///< added on the last row
};

/** Takes rows of an image that is being loaded: nRows rows from number nRow on. A result other
 *  than 1 ends the operation and becomes its result. */
typedef int32_t (*KERNEL_ROW_CALLBACK)(_FILEINFO *pFileInfo, _BITMAPHANDLE *pBitmap, uint8_t *pRow,
                                       uint32_t nRowFlags, int32_t nRow, int32_t nRows,
                                       void *pUserData);

#ifdef __cplusplus
static_assert(sizeof(_FILEINFO) == 2212 && offsetof(_FILEINFO, nXResolution) == 1116, "_FILEINFO");
#else
_Static_assert(sizeof(_FILEINFO) == 2212, "_FILEINFO");
#endif

#endif
