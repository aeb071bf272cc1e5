// Image codecs that know files only, put to work on frames in memory.

#pragma once

#include <cstddef>
#include <cstdint>

#include "MDicomTypes.h"
#include "Mvkrnx.h"

/** Number of the JPEG 2000 format among the kernel's file formats. */
constexpr int32_t kFileFormatJ2k = 164;

/** Results beyond KERNEL_SUCCESS, the KERNEL_ERROR_ codes and those of the codec. */
enum {
    COMPRESSION_ERROR_LOSSY_DEPTH = -9, ///< samples do not fit the depth of the bitmap
    COMPRESSION_ERROR_NO_J2K = -541,    ///< the JPEG 2000 codec could not be loaded
};

/** nFlags of a MEMORYLOADREQUEST. */
enum : uint32_t { MEMORYLOAD_BITMAP_ALLOCATED = 1 };

/** What LoadMemory has to decode, and where to. */
struct MEMORYLOADREQUEST {
    uint32_t nSize;                  ///< sizeof(MEMORYLOADREQUEST)
    _BITMAPHANDLE *pBitmap;          ///< takes the picture
    uint32_t nBitmapSize;            ///< sizeof(_BITMAPHANDLE)
    uint32_t nFlags;                 ///< MEMORYLOAD_ flags; 0: the bitmap is to be created
    _LOADFILEOPTION *pOptions;       ///< null for the defaults
    _FILEINFO *pFileInfo;            ///< what the stream has to be
    KERNEL_ROW_CALLBACK pfnCallback; ///< gets the rows as they are stored; may be null
    void *pUserData;                 ///< passed to it
};
static_assert(sizeof(MEMORYLOADREQUEST) == 56);

/** What SaveMemory has to encode. */
struct MEMORYSAVEREQUEST {
    uint32_t nSize;            ///< sizeof(MEMORYSAVEREQUEST)
    _BITMAPHANDLE *pBitmap;    ///< the picture
    int32_t nFormat;           ///< kFileFormatJ2k
    int32_t nBitsPerPixel;     ///< depth of the bitmap
    int32_t nQuality;          ///< 0 lossless, else from 2 for the best to 255
    uint32_t nReserved;        ///< 0
    _FILEJ2KOPTIONS *pOptions; ///< copied
    void *pReserved1;          ///< null
    void *pReserved2;          ///< null
    void *pSaveRecord;         ///< the kernel's options for saving
};
static_assert(sizeof(MEMORYSAVEREQUEST) == 64);

/** Host of the file filters for image codecs. Keeps the companion libraries open while it
 *  lives. */
class CEmbeddedCompressionBase {
  public:
    CEmbeddedCompressionBase();
    virtual ~CEmbeddedCompressionBase();
    CEmbeddedCompressionBase(const CEmbeddedCompressionBase &) = delete;
    CEmbeddedCompressionBase &operator=(const CEmbeddedCompressionBase &) = delete;

    /** Decodes a frame; 1 or a negative code. After a failure the rows before it may be there. */
    int32_t LoadMemory(const uint8_t *pData, uint64_t nSize, MEMORYLOADREQUEST *pRequest);
    /** Encodes a bitmap into *ppData, a block of *pSize bytes that stays the caller's, or if it is
     *  null into a new block of the KernelAlloc family. Gives 1 or a negative code. */
    int32_t SaveMemory(uint8_t **ppData, uint64_t *pSize, MEMORYSAVEREQUEST *pRequest);

    void *m_hModule; ///< the module whose folder the codecs are looked for in
};
