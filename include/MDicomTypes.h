// Records that cross the interface. Compiles as C11 and as C++.
//
// The records are plain: no constructors, no ownership rules beyond what each comment says.
// Wide text is wchar_t of the compiler; records that embed it have the platform's own size.

#ifndef MDICOM_TYPES_H
#define MDICOM_TYPES_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#include "MDicomConstants.h"
#include "MvkrnxBitmap.h"
#include "MvkrnxFilter.h"

#ifdef __cplusplus
class MDicomFile;
class MDicomDS;
#define MDICOM_ASSERT_SIZE(Record, nBytes) static_assert(sizeof(Record) == (nBytes), #Record)
#else
#include <assert.h>
typedef struct MDicomFile MDicomFile; ///< opaque in C
typedef struct MDicomDS MDicomDS;     ///< opaque in C
#define MDICOM_ASSERT_SIZE(Record, nBytes) _Static_assert(sizeof(Record) == (nBytes), #Record)
#endif

/** Head of every node of an MDicomTree. The tree owns the links; callers read them only. */
typedef struct _DICOMLINK {
    struct _DICOMLINK *pParent;     ///< null on the root level
    struct _DICOMLINK *pFirstChild; ///< null without children
    struct _DICOMLINK *pLastChild;  ///< null without children
    struct _DICOMLINK *pPrev;       ///< previous sibling
    struct _DICOMLINK *pNext;       ///< next sibling
} _DICOMLINK;

/** Row of the VR table (PS 3.5, 6.2). Owned by MDicomVR. */
typedef struct _DICOMVR {
    _DICOMLINK Link;    ///< place in the tree
    uint16_t nCode;     ///< the two letters, first letter in the high byte
    wchar_t *pszName;   ///< display name, owned by the row
    uint32_t nLength;   ///< length bound of a value in bytes, advisory
    uint16_t nRestrict; ///< class in the high byte (VR_BINARY...), bound kind in the low byte
    uint16_t nUnitSize; ///< bytes of one binary unit; 1 for text
} _DICOMVR;

/** Row of the data dictionary (PS 3.6; PS 3.7, E). Owned by MDicomTag. */
typedef struct _DICOMTAG {
    _DICOMLINK Link;    ///< place in the tree
    uint32_t nCode;     ///< the tag, variable digits zero
    uint32_t nMask;     ///< bits of a tag that are compared with nCode
    wchar_t *pszName;   ///< name, owned by the row
    uint16_t nVR;       ///< VR of an element whose encoding names none
    uint32_t nMinVM;    ///< least value multiplicity
    uint32_t nMaxVM;    ///< largest value multiplicity, 0xFFFFFFFF for unbounded
    uint32_t nDivideVM; ///< the multiplicity is a multiple of this
} _DICOMTAG;

/** Row of the UID registry (PS 3.6, A). Owned by MDicomUID. */
typedef struct _DICOMUID {
    _DICOMLINK Link;  ///< place in the tree
    wchar_t *pszCode; ///< the UID, owned by the row
    wchar_t *pszName; ///< its name, owned by the row
    uint32_t nType;   ///< UID_TYPE_ value
} _DICOMUID;

/** Row of the tree of object definitions (PS 3.3). Owned by MDicomIOD. */
typedef struct _DICOMIOD {
    _DICOMLINK Link;         ///< place in the tree
    uint32_t nCode;          ///< number of the class or module, or tag
    wchar_t *pszName;        ///< name, owned by the row
    uint8_t nType;           ///< IOD_TYPE_ value
    uint16_t nUsage;         ///< IOD_USAGE_ value
    wchar_t *pszDescription; ///< a class: its SOP Class UIDs; else a note; owned by the row
} _DICOMIOD;

/** Transfer syntaxes that a data set can be changed to (PS 3.5, A). */
typedef enum tagDICOM_TRANSFER_SYNTAXES {
    DICOM_TS_IMPLICIT_LITTLE = 0,           ///< 1.2.840.10008.1.2
    DICOM_TS_EXPLICIT_LITTLE = 1,           ///< 1.2.840.10008.1.2.1
    DICOM_TS_EXPLICIT_BIG = 2,              ///< 1.2.840.10008.1.2.2
    DICOM_TS_RLE = 3,                       ///< 1.2.840.10008.1.2.5
    DICOM_TS_JPEG_BASELINE = 4,             ///< 1.2.840.10008.1.2.4.50
    DICOM_TS_JPEG_EXTENDED = 5,             ///< 1.2.840.10008.1.2.4.51
    DICOM_TS_JPEG_LOSSLESS = 6,             ///< 1.2.840.10008.1.2.4.57
    DICOM_TS_JPEG_LOSSLESS_FIRST_ORDER = 7, ///< 1.2.840.10008.1.2.4.70
    DICOM_TS_JPEG2000_LOSSLESS = 8,         ///< 1.2.840.10008.1.2.4.90
    DICOM_TS_JPEG2000 = 9                   ///< 1.2.840.10008.1.2.4.91
} tagDICOM_TRANSFER_SYNTAXES;

/**
 * One element of a data set: a node of its tree. Made by MDicomDS::InsertElement alone; the
 * address is the element's handle and stays valid until the element is deleted. All memory
 * behind the pointers belongs to the element.
 *
 * The value is not here: it is the concatenation of nBlockCount blocks, each a run of bytes in
 * a stream, in the byte order of the data set.
 */
typedef struct _DICOMELEMENT {
    _DICOMLINK Link;          ///< place in the tree
    uint32_t nTag;            ///< group in the high half
    uint16_t nVR;             ///< first letter in the high byte
    uint32_t nLength;         ///< bytes of the value; 0xFFFFFFFF: content is the children
    uint32_t nValueCount;     ///< values in pValue; 0xFFFFFFFF while unparsed
    void *pValue;             ///< parsed value, null while unparsed
    uint32_t nRecordOffset;   ///< item: its identity; directory reference: the identity it names
    uint32_t *pBlockOffsets;  ///< for each block its offset in its stream
    MDicomFile **pBlockFiles; ///< for each block its stream
    uint32_t *pBlockLengths;  ///< for each block its bytes
    uint32_t nBlockCount;     ///< blocks of the value
    void *pText;              ///< text that GetStringValue handed out last
} _DICOMELEMENT;

/** Age (VR AS; PS 3.5, 6.2). */
typedef struct _VALUEAGE {
    uint16_t Number; ///< how many units
    char Reference;  ///< D, W, M or Y
} _VALUEAGE;

/** Date (VR DA). All fields 0xFFFF mark a value that holds no plain date, such as a range. */
typedef struct _VALUEDATE {
    uint16_t Year;  ///< four digits
    uint16_t Month; ///< 1 to 12
    uint16_t Day;   ///< 1 to 31
} _VALUEDATE;

/** Time of day (VR TM). All fields 0xFFFF mark a value that holds no plain time. */
typedef struct _VALUETIME {
    uint16_t Hours;     ///< 0 to 23
    uint16_t Minutes;   ///< 0 to 59
    uint16_t Seconds;   ///< 0 to 60
    uint32_t Fractions; ///< millionths of a second
} _VALUETIME;

/** Date and time (VR DT). */
typedef struct _VALUEDATETIME {
    uint16_t Year;      ///< four digits
    uint16_t Month;     ///< 1 to 12
    uint16_t Day;       ///< 1 to 31
    uint16_t Hours;     ///< 0 to 23
    uint16_t Minutes;   ///< 0 to 59
    uint16_t Seconds;   ///< 0 to 60
    uint32_t Fractions; ///< the digits behind the point, as a number
    int32_t Offset;     ///< UTC offset as the number HHMM with its sign
} _VALUEDATETIME;

/** A context group (PS 3.16). Owned by MDicomContextGroup. */
typedef struct tagDICOMCONTEXTGROUP {
    _DICOMLINK Link;                      ///< place in the tree
    wchar_t *pszContextIdentifier;        ///< for instance "CID 2", owned by the group
    wchar_t *pszName;                     ///< owned by the group
    int32_t bExtensible;                  ///< nonzero: programs may add concepts
    _VALUEDATETIME *pContextGroupVersion; ///< owned by the group
} tagDICOMCONTEXTGROUP;

/** A coded concept of a context group (PS 3.3, 8). All that it points to belongs to it. */
typedef struct tagDICOMCODEDCONCEPT {
    _DICOMLINK Link;                             ///< place in the tree
    wchar_t *pszCodingSchemeDesignator;          ///< which coding scheme
    wchar_t *pszCodingSchemeVersion;             ///< may be null
    wchar_t *pszCodeValue;                       ///< the code within the scheme
    wchar_t *pszCodeMeaning;                     ///< what it means, for people
    _VALUEDATETIME *pContextGroupLocalVersion;   ///< may be null
    wchar_t *pszContextGroupExtensionCreatorUID; ///< may be null
} tagDICOMCODEDCONCEPT;

/** Range of dates (PS 3.4, C.2.2.2.5). */
typedef struct _VALUEDATERANGE {
    uint32_t Type;    ///< VALUE_RANGE_ value
    _VALUEDATE Date1; ///< first or only bound
    _VALUEDATE Date2; ///< second bound of VALUE_RANGE_BOTH
} _VALUEDATERANGE;

/** Range of times. */
typedef struct _VALUETIMERANGE {
    uint32_t Type;    ///< VALUE_RANGE_ value
    _VALUETIME Time1; ///< first or only bound
    _VALUETIME Time2; ///< second bound of VALUE_RANGE_BOTH
} _VALUETIMERANGE;

/** Range of date-times. */
typedef struct _VALUEDATETIMERANGE {
    uint32_t Type;            ///< VALUE_RANGE_ value
    _VALUEDATETIME DateTime1; ///< first or only bound
    _VALUEDATETIME DateTime2; ///< second bound of VALUE_RANGE_BOTH
} _VALUEDATETIMERANGE;

/** The elements of one module that a data set holds. */
typedef struct _DICOMMODULE {
    uint32_t nModule;              ///< number of the module
    uint32_t nCount;               ///< entries in use
    _DICOMELEMENT *pElement[1000]; ///< the elements
} _DICOMMODULE;

/** An element whose value had an odd length in its file. */
typedef struct DICOMBADELEMENT {
    uint32_t nSize;          ///< sizeof(DICOMBADELEMENT)
    _DICOMELEMENT *pElement; ///< the element
    uint32_t nReason;        ///< 1: odd length
} DICOMBADELEMENT;

/** JPEG 2000 encoding options of a data set. */
typedef struct _FILEJ2KOPTIONS {
    uint32_t nStructSize;          ///< sizeof(_FILEJ2KOPTIONS)
    uint32_t bUseColorTransform;   ///< default 1
    uint32_t bDerivedQuantization; ///< default 1
    uint32_t nCompressionControl;  ///< default 3
    float fCompressionRatio;       ///< default 15.0
    uint32_t nTargetFileSize;      ///< bytes, default 10240
    uint32_t nReserved;            ///< zero
    uint32_t nXOsiz;               ///< left edge of the image on the reference grid
    uint32_t nYOsiz;               ///< top edge of the image
    uint32_t nXTsiz;               ///< default 640
    uint32_t nYTsiz;               ///< default 480
    uint32_t nXTOsiz;              ///< left edge of the first tile
    uint32_t nYTOsiz;              ///< top edge of the first tile
    uint32_t nXRsiz[3];            ///< default 1 each
    uint32_t nYRsiz[3];            ///< default 1 each
    uint32_t nDecompositionLevels; ///< default 5
    uint32_t nProgressionOrder;    ///< order of packets
    uint32_t nCodeBlockWidth;      ///< default 64
    uint32_t nCodeBlockHeight;     ///< default 64
    uint32_t nCodeBlockStyle;      ///< flags of the code blocks
    uint32_t nGuardBits;           ///< default 2
    uint32_t nBaseMantissa;        ///< mantissa of the quantization step
    uint32_t nBaseExponent;        ///< default 8
    uint32_t nFurther[12];         ///< zero, but the fifth holds the float 0.5
} _FILEJ2KOPTIONS;

/** Description of an image (PS 3.3, C.7.6.3). */
typedef struct _DICOMIMAGE {
    uint32_t nCompression;                   ///< IMAGE_COMPRESSION_ value, 10 for an unknown one
    wchar_t szPhotometricInterpretation[30]; ///< (0028,0004) as read
    uint32_t nPhotometric;                   ///< PHOTOMETRIC_ value
    uint32_t nSamplesPerPixel;               ///< 1 if (0028,0002) is absent or 0
    uint32_t nRows;                          ///< (0028,0010)
    uint32_t nColumns;                       ///< (0028,0011)
    uint32_t nBitsAllocated;                 ///< (0028,0100)
    uint32_t nBitsStored;                    ///< (0028,0101)
    uint32_t nHighBit;                       ///< (0028,0102)
    uint32_t nPixelRepresentation;           ///< (0028,0103); 0 with three samples
    uint32_t nPlanarConfiguration;           ///< (0028,0006); 0 with one sample
    uint32_t nXResolution;                   ///< columns per inch, 0 for unknown
    uint32_t nYResolution;                   ///< rows per inch, 0 for unknown
    uint32_t nSmallestPixelValue;            ///< of the image, else of the series
    uint32_t bSmallestPixelValue;            ///< nonzero: the value is there
    uint32_t nLargestPixelValue;             ///< of the image, else of the series
    uint32_t bLargestPixelValue;             ///< nonzero: the value is there
    uint32_t nRedEntries;                    ///< entries of the red palette
    uint32_t nRedFirstValue;                 ///< pixel value of its first entry
    uint32_t nRedBits;                       ///< bits of an entry
    uint32_t nGreenEntries;                  ///< as for red
    uint32_t nGreenFirstValue;               ///< as for red
    uint32_t nGreenBits;                     ///< as for red
    uint32_t nBlueEntries;                   ///< as for red
    uint32_t nBlueFirstValue;                ///< as for red
    uint32_t nBlueBits;                      ///< as for red
    uint32_t nMaxEntries;                    ///< largest of the three entry counts
    uint32_t nMinFirstValue;                 ///< smallest of the three first values
    uint32_t nBitsPerPixel;                  ///< depth of the bitmap
    uint32_t bGray;                          ///< nonzero: gray and deeper than one bit
    uint32_t nFrameCount;                    ///< frames in the Pixel Data element
} _DICOMIMAGE;

/** Working description of a frame: where it lies and what bitmap it needs. The tables belong to
 *  the record. */
typedef struct _IMAGEINFO {
    uint32_t nSamplesPerPixel;               ///< 1 if (0028,0002) is absent or 0
    wchar_t szPhotometricInterpretation[31]; ///< (0028,0004) as read
    uint32_t nPhotometric;                   ///< PHOTOMETRIC_ value
    uint32_t nRows;                          ///< (0028,0010)
    uint32_t nColumns;                       ///< (0028,0011)
    uint32_t nBitsAllocated;                 ///< (0028,0100)
    uint32_t nBitsStored;                    ///< (0028,0101)
    uint32_t nHighBit;                       ///< (0028,0102)
    uint32_t nPixelRepresentation;           ///< (0028,0103); 0 with three samples
    uint32_t nPlanarConfiguration;           ///< (0028,0006); 0 with one sample
    uint32_t nXResolution;                   ///< columns per inch, 0 for unknown
    uint32_t nYResolution;                   ///< rows per inch, 0 for unknown
    int32_t nSmallestPixelValue;             ///< of the image, else of the series
    uint32_t bSmallestPixelValue;            ///< nonzero: the value is there
    int32_t nLargestPixelValue;              ///< of the image, else of the series
    uint32_t bLargestPixelValue;             ///< nonzero: the value is there
    uint32_t nRedEntries;                    ///< entries of the red palette
    uint32_t nRedFirstValue;                 ///< pixel value of its first entry
    uint32_t nRedBits;                       ///< bits of an entry
    uint16_t *pRedTable;                     ///< owned; null if not asked for
    uint32_t nGreenEntries;                  ///< as for red
    uint32_t nGreenFirstValue;               ///< as for red
    uint32_t nGreenBits;                     ///< as for red
    uint16_t *pGreenTable;                   ///< owned; null if not asked for
    uint32_t nBlueEntries;                   ///< as for red
    uint32_t nBlueFirstValue;                ///< as for red
    uint32_t nBlueBits;                      ///< as for red
    uint16_t *pBlueTable;                    ///< owned; null if not asked for
    uint32_t nMaxEntries;                    ///< largest of the three entry counts
    uint32_t nMinFirstValue;                 ///< smallest of the three first values
    uint32_t nBitsPerPixel;                  ///< depth of the bitmap
    uint32_t nViewPerspective;               ///< 1: top left
    uint32_t nCompression;                   ///< IMAGE_COMPRESSION_ value
    uint32_t bGray;                          ///< nonzero: gray and deeper than one bit
    uint32_t nOrder;                         ///< colour order of the bitmap: 2 gray, 1 BGR, 0 other
    uint32_t nFrameCount;                    ///< frames in the Pixel Data element
    uint32_t nFrameSize;                     ///< bytes of an uncompressed frame
    uint32_t nFrameOffset;                   ///< offset of the frame in the value of pFrameElement
    _DICOMELEMENT *pFrameElement;            ///< Pixel Data, or the first fragment of the frame
    uint32_t nFrameIndex;                    ///< the frame
} _IMAGEINFO;

/** Debug callback of a data set: element, DS_DEBUG_ code, user data. Its result is ignored. */
typedef int32_t (*MDICOM_DEBUG_CALLBACK)(_DICOMELEMENT *pElement, uint16_t nCode, void *pUserData);

/** Which LUT a descriptor describes. */
typedef enum tagDICOMLUTDESCRIPTORTYPE {
    LUT_DESCRIPTOR_MODALITY = 0, ///< (0028,3002) of a modality LUT
    LUT_DESCRIPTOR_VOI = 1,      ///< (0028,3002) of a VOI LUT
    LUT_DESCRIPTOR_PALETTE = 2   ///< (0028,1101) to (0028,1103)
} tagDICOMLUTDESCRIPTORTYPE;

/** The tables of a palette (PS 3.3, C.7.9). */
typedef enum tagDICOMPALETTECOLORLUTTYPE {
    PALETTE_LUT_RED = 0,   ///< (0028,1201)
    PALETTE_LUT_GREEN = 1, ///< (0028,1202)
    PALETTE_LUT_BLUE = 2   ///< (0028,1203)
} tagDICOMPALETTECOLORLUTTYPE;

/** Descriptor of a LUT (PS 3.3, C.11.1.1.1). */
typedef struct _DICOMLUTDESCRIPTOR {
    uint32_t nStructSize;                 ///< 16; set by every read
    uint32_t nNumberOfEntries;            ///< 1 to 65536
    int32_t nFirstStoredPixelValueMapped; ///< pixel value of the first entry
    uint32_t nEntryBits;                  ///< bits of an entry, 8 or 16
} _DICOMLUTDESCRIPTOR;

/** Modality transformation (PS 3.3, C.11.1): a table or a rescale, never both. */
typedef struct tagDICOMMLUTATTRIBS {
    uint32_t nStructSize;              ///< size of the record
    uint32_t bIsModalityLUT;           ///< nonzero: the table of (0028,3000)
    _DICOMLUTDESCRIPTOR LUTDescriptor; ///< (0028,3002)
    wchar_t szLUTExplanation[65];      ///< (0028,3003)
    wchar_t szLUTType[65];             ///< (0028,3004)
    uint32_t bIsRescaleSlopeIntercept; ///< nonzero: value x slope + intercept
    double fRescaleIntercept;          ///< (0028,1052)
    double fRescaleSlope;              ///< (0028,1053)
    wchar_t szRescaleType[65];         ///< (0028,1054)
} tagDICOMMLUTATTRIBS;

/** A VOI LUT (PS 3.3, C.11.2). */
typedef struct tagDICOMVOILUTATTRIBS {
    uint32_t nStructSize;              ///< size of the record
    _DICOMLUTDESCRIPTOR LUTDescriptor; ///< (0028,3002)
    wchar_t szLUTExplanation[65];      ///< (0028,3003)
} tagDICOMVOILUTATTRIBS;

/** A window (PS 3.3, C.11.2.1.2), in values behind the modality transformation. */
typedef struct tagDICOMWINDOWATTRIBS {
    uint32_t nStructSize;                       ///< size of the record
    double fCenter;                             ///< (0028,1050)
    double fWidth;                              ///< (0028,1051)
    wchar_t szWindowCenterWidthExplanation[65]; ///< (0028,1055)
} tagDICOMWINDOWATTRIBS;

/** A palette (PS 3.3, C.7.9). */
typedef struct tagDICOMPALCOLORLUTATTRIBS {
    uint32_t nStructSize;                ///< size of the record
    _DICOMLUTDESCRIPTOR RedDescriptor;   ///< (0028,1101)
    _DICOMLUTDESCRIPTOR GreenDescriptor; ///< (0028,1102)
    _DICOMLUTDESCRIPTOR BlueDescriptor;  ///< (0028,1103)
    wchar_t szPaletteColorLUTUID[65];    ///< (0028,1199)
    uint32_t bIsSegmented;               ///< nonzero: segmented tables
} tagDICOMPALCOLORLUTATTRIBS;

/** Hears of each finished row of an image that is being loaded (GetImage). A result other than 1
 *  ends the operation and becomes its status, or 1 where its low 16 bits would be none. */
typedef KERNEL_ROW_CALLBACK MDICOM_LOAD_CALLBACK;

/** Hears of each row of an image that is being stored, and may change it (InsertImage). A result
 *  other than 1 ends the operation, as for MDICOM_LOAD_CALLBACK. */
typedef int32_t (*MDICOM_SAVE_CALLBACK)(_BITMAPHANDLE *pBitmap, uint8_t *pRow, uint32_t nRow,
                                        uint32_t nReserved, void *pUserData);

MDICOM_ASSERT_SIZE(_DICOMLINK, 40);
MDICOM_ASSERT_SIZE(_DICOMVR, 64);
MDICOM_ASSERT_SIZE(_DICOMTAG, 72);
MDICOM_ASSERT_SIZE(_DICOMUID, 64);
MDICOM_ASSERT_SIZE(_DICOMIOD, 72);
MDICOM_ASSERT_SIZE(tagDICOMCONTEXTGROUP, 72);
MDICOM_ASSERT_SIZE(tagDICOMCODEDCONCEPT, 88);
MDICOM_ASSERT_SIZE(_DICOMELEMENT, 112);
MDICOM_ASSERT_SIZE(_VALUEAGE, 4);
MDICOM_ASSERT_SIZE(_VALUEDATE, 6);
MDICOM_ASSERT_SIZE(_VALUETIME, 12);
MDICOM_ASSERT_SIZE(_VALUEDATETIME, 20);
MDICOM_ASSERT_SIZE(_VALUEDATERANGE, 16);
MDICOM_ASSERT_SIZE(_VALUETIMERANGE, 28);
MDICOM_ASSERT_SIZE(_VALUEDATETIMERANGE, 44);
MDICOM_ASSERT_SIZE(_DICOMMODULE, 8008);
MDICOM_ASSERT_SIZE(DICOMBADELEMENT, 24);
MDICOM_ASSERT_SIZE(_FILEJ2KOPTIONS, 156);
MDICOM_ASSERT_SIZE(_DICOMLUTDESCRIPTOR, 16);
MDICOM_ASSERT_SIZE(tagDICOMMLUTATTRIBS, sizeof(wchar_t) == 2 ? 440 : 832);
MDICOM_ASSERT_SIZE(tagDICOMVOILUTATTRIBS, sizeof(wchar_t) == 2 ? 152 : 280);
MDICOM_ASSERT_SIZE(tagDICOMWINDOWATTRIBS, sizeof(wchar_t) == 2 ? 160 : 288);
MDICOM_ASSERT_SIZE(tagDICOMPALCOLORLUTATTRIBS, sizeof(wchar_t) == 2 ? 188 : 316);
MDICOM_ASSERT_SIZE(_DICOMIMAGE, 120 + 30 * sizeof(wchar_t));
MDICOM_ASSERT_SIZE(_IMAGEINFO, sizeof(wchar_t) == 2 ? 248 : 312);

#endif
