// The kernel's bitmaps: creation, rows, palettes, conversion, lists, overlay slots. Compiles as C11
// and as C++. Include Mvkrnx.h, which includes this.

#ifndef MVKRNXBITMAP_H
#define MVKRNXBITMAP_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifndef MVKRNX_API
#define MVKRNX_API __attribute__((visibility("default")))
#endif

/** A palette or LUT entry. The bytes lie in this order. */
typedef struct _RGBQUAD {
    uint8_t rgbBlue;     ///< blue
    uint8_t rgbGreen;    ///< green
    uint8_t rgbRed;      ///< red
    uint8_t rgbReserved; ///< 0
} _RGBQUAD;

/** An entry of a 16-bit LUT. */
typedef struct _RGBQUAD16 {
    uint16_t rgbBlue;     ///< blue
    uint16_t rgbGreen;    ///< green
    uint16_t rgbRed;      ///< red
    uint16_t rgbReserved; ///< 0
} _RGBQUAD16;

/** Flags of a bitmap. */
enum {
    KERNEL_BITMAP_ALLOCATED = 0x1,   ///< it has data
    KERNEL_BITMAP_SIGNED = 0x200,    ///< the highest significant bit is a sign
    KERNEL_BITMAP_LUT_IN_USE = 0x800 ///< samples are shown through pLUT
};

/** What the first byte of a pixel is, or that it has one sample. */
enum { KERNEL_ORDER_RGB = 0, KERNEL_ORDER_BGR = 1, KERNEL_ORDER_GRAY = 2 };

/** Memory kinds of KernelCreateBitmap. */
enum {
    KERNEL_MEMORY_OWN = 1,      ///< a zeroed block
    KERNEL_MEMORY_CALLER = 2,   ///< the caller's block
    KERNEL_MEMORY_UNCLEARED = 3 ///< a block of its own for a caller that writes all rows
};

/** Results of the bitmap operations. */
enum {
    KERNEL_SUCCESS = 1,             ///< the call worked
    KERNEL_ERROR_MEMORY = -1,       ///< memory ran out
    KERNEL_ERROR_ARGUMENT = -13,    ///< null, out of range, or a bitmap without data
    KERNEL_ERROR_FORMAT = -16,      ///< a depth or an order that there is not
    KERNEL_ERROR_STRUCT_SIZE = -789 ///< size of a record
};

/** Flags of KernelColorResBitmap. */
enum {
    KERNEL_COLORRES_DITHER = 6,  ///< error diffusion, onto the given or a fixed palette
    KERNEL_COLORRES_NEAREST = 20 ///< nearest colour of the given palette
};

/** KernelSizeBitmap: area average down, bicubic up. Any other flags take the nearest pixel. */
enum { KERNEL_SIZE_SMOOTH = 2 };

#pragma pack(push, 4)
/**
 * A bitmap. The record is a format: 272 bytes, with pointers off 8-byte boundaries. Reserved
 * fields belong to the kernel. A copy of the record shares everything with the original; only one
 * of them may be freed.
 *
 * Pixels: depth 1 has the leftmost pixel in the high bit; depths 1 and 8 go through the palette.
 * Depth 12 is gray and packed, two pixels in three bytes, the first in the low bits. Depth 16 is
 * gray, or colour of 5, 6 and 5 bits when the order is not gray; the component that the order
 * names first has the low bits. Depth 24 has three bytes in the order of nOrder. Depth 32 is gray,
 * or colour with a fourth byte.
 *
 * Rows are stored as the view perspective says, numbered like the orientations of TIFF: 1 is top
 * left, 4 bottom left. Width and height are those of the picture as it is seen; under 5 to 8 a
 * stored row is a column of the picture, nHeight pixels long.
 */
typedef struct _BITMAPHANDLE {
    uint32_t nStructSize;     ///< 272; checked by every operation
    uint8_t nReserved4[16];   ///< of the kernel
    int32_t nWidth;           ///< pixels
    int32_t nHeight;          ///< rows
    int32_t nBitsPerPixel;    ///< 1, 8, 12, 16, 24, 32
    uint32_t nBytesPerLine;   ///< bytes of a stored row, a multiple of 4
    uint8_t nReserved36[12];  ///< of the kernel
    uint32_t nBitmapFlags;    ///< KERNEL_BITMAP_...
    uint32_t nColors;         ///< palette entries: 2 or 256, otherwise 0
    void *pPalette;           ///< _RGBQUAD entries in a block of KernelAlloc, owned
    int32_t nViewPerspective; ///< orientation of the stored rows, 1 to 8
    int32_t nOrder;           ///< KERNEL_ORDER_...
    uint8_t nReserved72[28];  ///< of the kernel
    int32_t nXResolution;     ///< dots per inch
    int32_t nYResolution;     ///< dots per inch
    uint8_t nReserved108[24]; ///< of the kernel
    int32_t nLowBit;          ///< lowest significant bit of a gray sample
    int32_t nHighBit;         ///< highest significant bit; the sign bit of signed samples
    void *pLUT;          ///< _RGBQUAD entries in a block of KernelAlloc, owned; the index is the
                         ///< sample's significant bits without sign
    uint32_t nLUTLength; ///< entries
    uint8_t nReserved152[8];  ///< of the kernel
    int32_t nMinVal;          ///< value range; unknown while nMaxVal is not above nMinVal
    int32_t nMaxVal;          ///< end of the value range
    int32_t nPaintLowBit;     ///< display bits
    int32_t nPaintHighBit;    ///< highest display bit
    uint8_t nReserved176[48]; ///< of the kernel
    uint32_t nLUT16Length;    ///< entries
    void *pLUT16;             ///< _RGBQUAD16 entries, otherwise as pLUT; goes before it
    uint8_t nReserved236[36]; ///< of the kernel
} _BITMAPHANDLE;
#pragma pack(pop)

/** Display and bit plane flags of an overlay. */
enum { OVERLAY_IN_BIT_PLANE = 4 };

/** Which members of _OVERLAYATTRIBUTES an operation moves. */
enum {
    KERNEL_OVERLAY_ORIGIN = 1,       ///< nOriginX, nOriginY
    KERNEL_OVERLAY_COLOR = 2,        ///< crColor
    KERNEL_OVERLAY_FLAGS = 4,        ///< nOverlayFlags
    KERNEL_OVERLAY_BIT_POSITION = 8, ///< nBitPosition
    KERNEL_OVERLAY_DESCRIPTION = 16  ///< everything else
};

/** Attributes of an overlay, PS 3.3 C.9.2. */
typedef struct _OVERLAYATTRIBUTES {
    uint32_t nStructSize;          ///< size of the record
    int32_t nOriginX;              ///< column of the image under the overlay's first, from 0
    int32_t nOriginY;              ///< row of the image under the overlay's first, from 0
    uint32_t crColor;              ///< display colour
    uint32_t nOverlayFlags;        ///< OVERLAY_IN_BIT_PLANE; 1 and 2 concern display
    uint16_t nBitPosition;         ///< bit of the image's samples that holds the overlay
    uint16_t nRows;                ///< rows of the overlay
    uint16_t nColumns;             ///< columns of the overlay
    wchar_t szType[17];            ///< G graphics, R region of interest
    uint16_t nBitsAllocated;       ///< bits of an overlay pixel with its neighbours
    wchar_t szDescription[65];     ///< text for users
    wchar_t szSubtype[65];         ///< defined terms of PS 3.3
    wchar_t szLabel[65];           ///< name for users
    uint32_t nROIArea;             ///< pixels of the region
    double fROIMean;               ///< mean of the region
    double fROIStandardDeviation;  ///< standard deviation of the region
    uint32_t nFramesInOverlay;     ///< frames of the overlay
    uint16_t nImageFrameOrigin;    ///< first image frame, from 1
    wchar_t szActivationLayer[17]; ///< graphic layer that shows it
} _OVERLAYATTRIBUTES;

#ifdef __cplusplus
#define KERNEL_BITMAP_ASSERT static_assert
#else
#define KERNEL_BITMAP_ASSERT _Static_assert
#endif
#define KERNEL_BITMAP_FIELD(Field, nOffset) \
    KERNEL_BITMAP_ASSERT(offsetof(_BITMAPHANDLE, Field) == (nOffset), #Field)

KERNEL_BITMAP_ASSERT(sizeof(_BITMAPHANDLE) == 272, "_BITMAPHANDLE");
KERNEL_BITMAP_ASSERT(sizeof(wchar_t) != 2 || sizeof(_OVERLAYATTRIBUTES) == 512,
                     "_OVERLAYATTRIBUTES");
KERNEL_BITMAP_FIELD(nStructSize, 0);
KERNEL_BITMAP_FIELD(nWidth, 20);
KERNEL_BITMAP_FIELD(nHeight, 24);
KERNEL_BITMAP_FIELD(nBitsPerPixel, 28);
KERNEL_BITMAP_FIELD(nBytesPerLine, 32);
KERNEL_BITMAP_FIELD(nBitmapFlags, 48);
KERNEL_BITMAP_FIELD(nColors, 52);
KERNEL_BITMAP_FIELD(pPalette, 56);
KERNEL_BITMAP_FIELD(nViewPerspective, 64);
KERNEL_BITMAP_FIELD(nOrder, 68);
KERNEL_BITMAP_FIELD(nXResolution, 100);
KERNEL_BITMAP_FIELD(nYResolution, 104);
KERNEL_BITMAP_FIELD(nLowBit, 132);
KERNEL_BITMAP_FIELD(nHighBit, 136);
KERNEL_BITMAP_FIELD(pLUT, 140);
KERNEL_BITMAP_FIELD(nLUTLength, 148);
KERNEL_BITMAP_FIELD(nMinVal, 160);
KERNEL_BITMAP_FIELD(nMaxVal, 164);
KERNEL_BITMAP_FIELD(nPaintLowBit, 168);
KERNEL_BITMAP_FIELD(nPaintHighBit, 172);
KERNEL_BITMAP_FIELD(nLUT16Length, 224);
KERNEL_BITMAP_FIELD(pLUT16, 228);
#undef KERNEL_BITMAP_FIELD
#undef KERNEL_BITMAP_ASSERT

typedef struct HBITMAPLIST__ HBITMAPLIST__; ///< a list of bitmaps

#ifdef __cplusplus
extern "C" {
#endif

/// @name Bitmaps
/// Results are KERNEL_SUCCESS or a negative KERNEL_ERROR_... code, unless stated. nSize is
/// sizeof(_BITMAPHANDLE). An operation that fails leaves its bitmap as it was.
///@{

/** Sets up a record without data, whatever it held before. Width, height and depth may be 0. */
MVKRNX_API int32_t KernelInitBitmap(_BITMAPHANDLE *pBitmap, uint32_t nSize, int32_t nWidth,
                                    int32_t nHeight, int32_t nBitsPerPixel);
/**
 * Sets up a record, whatever it held before, and gives it data: a block of its own, or the
 * caller's. After a failure the record has none.
 * @param nMemoryKind KERNEL_MEMORY_...
 * @param pPalette    at depth 1 two entries, at depth 8 256, copied; null for black and white, or
 *                    a gray ramp. Not looked at for other depths.
 * @param pData       KERNEL_MEMORY_CALLER: the rows, which stay the caller's and have to outlive
 *                    the bitmap
 * @param nDataSize   bytes of pData, which have to hold all rows
 */
MVKRNX_API int32_t KernelCreateBitmap(_BITMAPHANDLE *pBitmap, uint32_t nSize, int32_t nMemoryKind,
                                      int32_t nWidth, int32_t nHeight, int32_t nBitsPerPixel,
                                      int32_t nOrder, const _RGBQUAD *pPalette,
                                      int32_t nViewPerspective, void *pData, uint64_t nDataSize);
/** Frees data, palette, LUTs and overlays; the record stays set up, without data. */
MVKRNX_API int32_t KernelFreeBitmap(_BITMAPHANDLE *pBitmap);
/** Copies a bitmap with all it owns. What the target held before is not looked at. */
MVKRNX_API int32_t KernelCopyBitmap(_BITMAPHANDLE *pTarget, const _BITMAPHANDLE *pSource,
                                    uint32_t nSize);
/** Copies a bitmap into top left view perspective. */
MVKRNX_API int32_t KernelCopyBitmapView(_BITMAPHANDLE *pTarget, const _BITMAPHANDLE *pSource,
                                        uint32_t nSize);

/** Begins access to rows; fails for a bitmap without data. */
MVKRNX_API int32_t KernelAccessBitmap(_BITMAPHANDLE *pBitmap);
/** Ends access to rows. */
MVKRNX_API int32_t KernelReleaseBitmap(_BITMAPHANDLE *pBitmap);
/** Reads the first bytes of a stored row. Returns the bytes read, at most nBytesPerLine, or a
 *  negative code. */
MVKRNX_API int64_t KernelGetBitmapRow(const _BITMAPHANDLE *pBitmap, void *pBuffer, int32_t nRow,
                                      uint64_t nBytes);
/** Writes the first bytes of a stored row. Returns the bytes written, at most nBytesPerLine, or a
 *  negative code. */
MVKRNX_API int64_t KernelPutBitmapRow(_BITMAPHANDLE *pBitmap, const void *pBuffer, int32_t nRow,
                                      uint64_t nBytes);
/** Lends a stored row and those behind it, nBytesPerLine apart; null if there is no such row. Good
 *  until the bitmap is freed or converted. */
MVKRNX_API uint8_t *KernelLendBitmapRow(const _BITMAPHANDLE *pBitmap, int32_t nRow);

/** Reads palette entries; fails when they are not all there. */
MVKRNX_API int32_t KernelGetBitmapColors(const _BITMAPHANDLE *pBitmap, uint32_t nFirst,
                                         uint32_t nCount, _RGBQUAD *pColors);
/** Replaces the palette: two entries at depth 1, 256 at depth 8. */
MVKRNX_API int32_t KernelSetBitmapPalette(_BITMAPHANDLE *pBitmap, const _RGBQUAD *pColors);
/** 0 not gray, 1 gray and ascending, 2 gray and descending, 3 gray with a LUT that is no straight
 *  ramp. A palette that is gray but no straight ramp counts as not gray. Null gives 0. */
MVKRNX_API int32_t KernelIsGrayScaleBitmap(const _BITMAPHANDLE *pBitmap);
/** The 16-bit LUT, or null. The bitmap keeps it. nFlags is 0. */
MVKRNX_API _RGBQUAD16 *KernelGetBitmapLUT16(const _BITMAPHANDLE *pBitmap, uint32_t nFlags);
/** The least and the greatest sample of a gray bitmap of depth 12, 16 or 32. */
MVKRNX_API int32_t KernelGetBitmapRange(const _BITMAPHANDLE *pBitmap, int64_t *pLow,
                                        int64_t *pHigh);
///@}

/// @name Conversion
///@{

/**
 * Makes a bitmap gray of depth 8, 12, 16 or 32. One that is gray of this depth stays as it is.
 * Samples of 12, 16 and 32 bits keep their values, with bits, range and LUT, where the depth holds
 * them. Otherwise the displayed brightness is spread over the depth: through the LUT that is in
 * use, else through the palette, else from nMinVal to nMaxVal where they are known (at depth 32
 * from the least to the greatest sample), else from the least to the greatest value that the
 * significant bits can hold.
 */
MVKRNX_API int32_t KernelGrayScaleBitmap(_BITMAPHANDLE *pBitmap, int32_t nBitsPerPixel);
/**
 * Converts a bitmap to another depth.
 * @param pTarget       record for the result; what it held before is not looked at, unless it is
 *                      the source, which is then replaced
 * @param nBitsPerPixel 1, 8, 12, 16, 24 or 32; 12 is gray
 * @param nOrder        KERNEL_ORDER_...; another value keeps the source's, BGR for a gray one
 * @param pPalette      colours of the result at depths 1 and 8; null for black and white, a gray
 *                      ramp for a gray source or order, and a fixed set of colours for another
 * @param nFlags        KERNEL_COLORRES_...
 */
MVKRNX_API int32_t KernelColorResBitmap(_BITMAPHANDLE *pSource, _BITMAPHANDLE *pTarget,
                                        uint32_t nSize, int32_t nBitsPerPixel, int32_t nOrder,
                                        const _RGBQUAD *pPalette, uint32_t nFlags);
/** Resizes a bitmap to a width and height as seen. Overlays go: they do not fit any more. */
MVKRNX_API int32_t KernelSizeBitmap(_BITMAPHANDLE *pBitmap, int32_t nWidth, int32_t nHeight,
                                    uint32_t nFlags);
///@}

/// @name Lists
///@{
/** Makes an empty list. */
MVKRNX_API int32_t KernelCreateBitmapList(HBITMAPLIST__ **pList);
/** Frees the list and its bitmaps. */
MVKRNX_API int32_t KernelDestroyBitmapList(HBITMAPLIST__ *hList);
/** Number of bitmaps in a list. */
MVKRNX_API int32_t KernelListItemCount(HBITMAPLIST__ *hList, uint32_t *pCount);
/** Lends a bitmap: the record shares what the list owns, until the item changes. Its rows may be
 *  written, but it may not be freed or converted in place: convert a copy, and set that. */
MVKRNX_API int32_t KernelListGetItem(HBITMAPLIST__ *hList, uint32_t nIndex, _BITMAPHANDLE *pBitmap,
                                     uint32_t nSize);
/** Replaces an item; the list takes the bitmap over. What the old item does not share with the new
 *  one is freed. */
MVKRNX_API int32_t KernelListSetItem(HBITMAPLIST__ *hList, uint32_t nIndex,
                                     const _BITMAPHANDLE *pBitmap, uint32_t nSize);
/** Inserts in front of an item, or appends at 0xFFFFFFFF; the list takes the bitmap over. */
MVKRNX_API int32_t KernelListInsertItem(HBITMAPLIST__ *hList, uint32_t nIndex,
                                        const _BITMAPHANDLE *pBitmap, uint32_t nSize);
///@}

/// @name Overlay slots
/// A bitmap has up to 16. nMask is a sum of KERNEL_OVERLAY_... values.
///@{
/** Number of slots in use. nFlags is 0. */
MVKRNX_API int32_t KernelGetOverlayCount(const _BITMAPHANDLE *pBitmap, uint32_t *pCount,
                                         uint32_t nFlags);
/** Fills the members of the mask and zeroes the others. nSize is sizeof(_OVERLAYATTRIBUTES). */
MVKRNX_API int32_t KernelGetOverlayAttributes(const _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                                              _OVERLAYATTRIBUTES *pAttributes, uint32_t nSize,
                                              uint32_t nMask);
/** Takes the members of the mask. The index behind the last slot makes a new one. */
MVKRNX_API int32_t KernelSetOverlayAttributes(_BITMAPHANDLE *pBitmap, uint32_t nIndex,
                                              const _OVERLAYATTRIBUTES *pAttributes,
                                              uint32_t nMask);
/** Hands out a slot's bitmap: lent with flag 1, otherwise a copy. Fails if the slot has none. */
MVKRNX_API int32_t KernelGetOverlayBitmap(const _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                                          _BITMAPHANDLE *pOverlay, uint32_t nSize, uint32_t nFlags);
/** Gives an existing slot its one-bit bitmap: taken over with flag 3, otherwise copied. */
MVKRNX_API int32_t KernelSetOverlayBitmap(_BITMAPHANDLE *pBitmap, uint32_t nIndex,
                                          _BITMAPHANDLE *pOverlay, uint32_t nFlags);
/**
 * Copies between a slot's bitmap and the bit of the image's samples that nBitPosition names, where
 * the two cover each other.
 * @param nDirection 1 to the samples; 2 from them, into a new bitmap of nColumns x nRows if the
 *                   slot has none of this size
 */
MVKRNX_API int32_t KernelUpdateOverlayBits(_BITMAPHANDLE *pBitmap, uint32_t nIndex,
                                           uint32_t nDirection);
///@}

#ifdef __cplusplus
} // extern "C"
#endif

#endif
