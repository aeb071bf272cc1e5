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

/** How a file is to be loaded. */
typedef struct _LOADFILEOPTION {
    uint32_t nStructSize;    ///< sizeof(_LOADFILEOPTION)
    uint8_t nReserved4[16];  ///< of the kernel
    int32_t nPageNumber;     ///< image of the file, from 1; 0 means 1
    uint8_t nReserved24[40]; ///< of the kernel
} _LOADFILEOPTION;
#pragma pack(pop)

/** Formats of the DICOM filter, gray and colour. */
enum {
    FILTER_FORMAT_DICOM_GRAY = 89,
    FILTER_FORMAT_DICOM_COLOR = 90,
    FILTER_FORMAT_DICOM_RLE_GRAY = 125,
    FILTER_FORMAT_DICOM_RLE_COLOR = 126,
    FILTER_FORMAT_DICOM_JPEG_GRAY = 127, ///< lossless, or lossy with a quality
    FILTER_FORMAT_DICOM_JPEG_COLOR = 128,
    FILTER_FORMAT_DICOM_J2K_GRAY = 293, ///< lossless, or lossy with a quality
    FILTER_FORMAT_DICOM_J2K_COLOR = 294
};

/** Texts that the DICOM filter reads and writes (_FILTERCOMMENT, _FILTERSAVE). */
enum {
    FILTER_COMMENT_PATIENT_NAME = 10,
    FILTER_COMMENT_PATIENT_ID = 11,
    FILTER_COMMENT_PATIENT_BIRTH_DATE = 12, ///< YYYYMMDD
    FILTER_COMMENT_PATIENT_SEX = 13,        ///< M, F or O
    FILTER_COMMENT_STUDY_INSTANCE = 14,     ///< UID
    FILTER_COMMENT_STUDY_DATE = 15,         ///< YYYYMMDD
    FILTER_COMMENT_STUDY_TIME = 16,         ///< HHMMSS.FFFFFF
    FILTER_COMMENT_REFERRING_PHYSICIAN = 17,
    FILTER_COMMENT_MODALITY = 18,
    FILTER_COMMENT_SERIES_INSTANCE = 19, ///< UID
    FILTER_COMMENT_SERIES_NUMBER = 20    ///< decimal number
};

/** Results of filter functions. */
enum {
    FILTER_SUCCESS = 1,
    FILTER_ERROR_MEMORY = -1,
    FILTER_ERROR_SEEK = -4,
    FILTER_ERROR_WRITE = -5,
    FILTER_ERROR_READ = -7,
    FILTER_ERROR_FORMAT = -9, ///< not a file of this format, or no page that can be had
    FILTER_ERROR_ARGUMENT = -13,
    FILTER_ERROR_OPEN = -14,   ///< the file does not open or load
    FILTER_ERROR_HEADER = -27, ///< attributes of the image missing or unusable
    FILTER_ERROR_JPEG_CODEC = -356,
    FILTER_ERROR_J2K_CODEC = -541,
    FILTER_ERROR_ANNOTATION_LIBRARY = -1479,
    FILTER_ERROR_IMAGE_LIBRARY = -1480
};

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

/** Gives a source bitmap's rows to a filter that saves, one by one, as KernelGetBitmapRow. */
typedef int64_t (*KERNEL_GET_ROW)(const _BITMAPHANDLE *pBitmap, void *pBuffer, int32_t nRow,
                                  uint64_t nBytes);
/** Begins and ends access to a bitmap's rows. */
typedef int32_t (*KERNEL_ROW_ACCESS)(_BITMAPHANDLE *pBitmap);

#pragma pack(push, 4)
/** Argument of a filter's fltInfo: describes an open file. The record is a format. */
typedef struct _FILTERINFO {
    uint8_t nReserved0[12];    ///< of the kernel
    struct M_HFILE__ *hFile;   ///< the file, open for reading
    _FILEINFO *pFileInfo;      ///< takes the description
    uint8_t nReserved28[28];   ///< of the kernel
    _LOADFILEOPTION *pOptions; ///< null for the first page
} _FILTERINFO;

/** Argument of a filter's fltLoad: hands the rows of a file to a callback. The record is a
 *  format. */
typedef struct _FILTERLOAD {
    const wchar_t *pszName;          ///< name of the file
    _BITMAPHANDLE *pBitmap;          ///< width, height, depth and order of the rows
    uint8_t nReserved16[4];          ///< of the kernel
    KERNEL_ROW_CALLBACK pfnCallback; ///< takes the rows
    void *pUserData;                 ///< last argument of the callback
    uint8_t nReserved36[36];         ///< of the kernel
    _FILEINFO *pFileInfo;            ///< first argument of the callback
    uint8_t nReserved80[2136];       ///< of the kernel
    _LOADFILEOPTION *pOptions;       ///< null for the first page
} _FILTERLOAD;

/** Argument of a filter's fltSave: writes a bitmap to a file. The record is a format: 1104
 *  bytes. */
typedef struct _FILTERSAVE {
    const wchar_t *pszName;       ///< name of the file
    _BITMAPHANDLE *pBitmap;       ///< the source
    int32_t nBitsPerPixel;        ///< depth to save
    int32_t nFormat;              ///< number of the file format
    uint8_t nReserved24[20];      ///< of the kernel
    int32_t nQuality;             ///< 0 is lossless
    KERNEL_ROW_ACCESS pfnAccess;  ///< called before the first row
    KERNEL_GET_ROW pfnGetRow;     ///< gives a row
    KERNEL_ROW_ACCESS pfnRelease; ///< called behind the last row
    const void *pSaveRecord;      ///< further options of the kernel; may be null
    uint8_t nReserved80[20];      ///< of the kernel
    const void *pComments;        ///< text pointer of comment n at byte 12 n; may be null
    uint8_t nOptions[156];        ///< options of the format
    uint8_t nReserved264[840];    ///< of the kernel
} _FILTERSAVE;

/** Argument of a filter's fltComment: reads a text of a file. The record is a format. */
typedef struct _FILTERCOMMENT {
    const wchar_t *pszName; ///< name of the file
    uint32_t nId;           ///< number of the comment
    char *pText;            ///< takes the text; may be null
    uint32_t nSize;         ///< bytes of pText
} _FILTERCOMMENT;
#pragma pack(pop)

#ifdef __cplusplus
#define KERNEL_FILTER_ASSERT static_assert
#else
#define KERNEL_FILTER_ASSERT _Static_assert
#endif
#define KERNEL_FILTER_FIELD(Record, Field, nOffset) \
    KERNEL_FILTER_ASSERT(offsetof(Record, Field) == (nOffset), #Record "." #Field)

KERNEL_FILTER_ASSERT(sizeof(_FILEINFO) == 2212, "_FILEINFO");
KERNEL_FILTER_FIELD(_FILEINFO, nXResolution, 1116);
KERNEL_FILTER_FIELD(_LOADFILEOPTION, nPageNumber, 20);
KERNEL_FILTER_FIELD(_FILTERINFO, hFile, 12);
KERNEL_FILTER_FIELD(_FILTERINFO, pFileInfo, 20);
KERNEL_FILTER_FIELD(_FILTERINFO, pOptions, 56);
KERNEL_FILTER_FIELD(_FILTERLOAD, pBitmap, 8);
KERNEL_FILTER_FIELD(_FILTERLOAD, pfnCallback, 20);
KERNEL_FILTER_FIELD(_FILTERLOAD, pUserData, 28);
KERNEL_FILTER_FIELD(_FILTERLOAD, pFileInfo, 72);
KERNEL_FILTER_FIELD(_FILTERLOAD, pOptions, 2216);
KERNEL_FILTER_ASSERT(sizeof(_FILTERSAVE) == 1104, "_FILTERSAVE");
KERNEL_FILTER_FIELD(_FILTERSAVE, pBitmap, 8);
KERNEL_FILTER_FIELD(_FILTERSAVE, nBitsPerPixel, 16);
KERNEL_FILTER_FIELD(_FILTERSAVE, nFormat, 20);
KERNEL_FILTER_FIELD(_FILTERSAVE, nQuality, 44);
KERNEL_FILTER_FIELD(_FILTERSAVE, pComments, 100);
KERNEL_FILTER_FIELD(_FILTERCOMMENT, nId, 8);
KERNEL_FILTER_FIELD(_FILTERCOMMENT, pText, 12);
KERNEL_FILTER_FIELD(_FILTERCOMMENT, nSize, 20);
#undef KERNEL_FILTER_FIELD
#undef KERNEL_FILTER_ASSERT

#endif
