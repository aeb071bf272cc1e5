// Named numbers of the interface. Compiles as C11 and as C++.

#ifndef MDICOM_CONSTANTS_H
#define MDICOM_CONSTANTS_H

#include <stdint.h>

/** Status numbers. One table for the whole library; 0 is success. */
enum {
    DICOM_SUCCESS = 0,                         ///< the call worked
    DICOM_ERROR_FAILURE = 1,                   ///< failure with no code of its own
    DICOM_ERROR_MEMORY = 2,                    ///< memory ran out, or something could not be built
    DICOM_ERROR_OPEN = 3,                      ///< a file would not open
    DICOM_ERROR_READ = 4,                      ///< reading failed, or a thing is absent
    DICOM_ERROR_WRITE = 5,                     ///< writing or storing failed
    DICOM_ERROR_SEEK = 6,                      ///< moving in a stream failed
    DICOM_ERROR_END_OF_STREAM = 7,             ///< stream is at its end
    DICOM_ERROR_FORMAT = 8,                    ///< data are no valid DICOM or not supported
    DICOM_ERROR_PARAMETER = 9,                 ///< argument is wrong, or nothing to do
    DICOM_ERROR_IMAGE = 10,                    ///< frame missing, empty or not decodable
    DICOM_ERROR_COMPRESSION = 11,              ///< compression class not possible here
    DICOM_ERROR_PHOTOMETRIC = 12,              ///< photometric text unknown or not allowed
    DICOM_ERROR_BITMAP = 13,                   ///< bitmap conversion or copy failed
    DICOM_ERROR_IMAGE_ATTRIBUTE = 14,          ///< rows, columns or palette unusable
    DICOM_ERROR_JPEG_COLOR = 15,               ///< stream has colour, attributes say gray; internal
    DICOM_ERROR_PDU_ITEM = 17,                 ///< association item of unknown type
    DICOM_ERROR_PDU_LENGTH = 18,               ///< association length out of place
    DICOM_ERROR_NO_TRANSFER_SYNTAX = 19,       ///< received data set has no accepted syntax
    DICOM_ERROR_SOCKET = 29,                   ///< socket error outside the mapping
    DICOM_ERROR_TLS = 66,                      ///< TLS reading or handshake went wrong
    DICOM_ERROR_TLS_LIBRARY = 68,              ///< no TLS library
    DICOM_ERROR_SECURE_MODE = 69,              ///< object is in another secure mode
    DICOM_ERROR_ANNOTATION = 70,               ///< presentation value or annotation query failed
    DICOM_ERROR_ANNOTATION_LIBRARY = 72,       ///< annotation library or function absent
    DICOM_ERROR_ANNOTATION_CREATOR = 73,       ///< tag disagrees with the stored private creator
    DICOM_ERROR_ANNOTATION_PAGE = 74,          ///< creator or page absent
    DICOM_ERROR_ISCL_PEER = 100,               ///< peer told of a failure or refused
    DICOM_ERROR_ISCL_LENGTH = 101,             ///< wrong length, or own authentication data unset
    DICOM_ERROR_ISCL_AUTHENTICATION = 102,     ///< authentication function failed
    DICOM_ERROR_ISCL_PEER_LATER = 103,         ///< peer told of a failure in a later pass
    DICOM_ERROR_ISCL_PACKET = 104,             ///< packet came out of turn
    DICOM_ERROR_ISCL_VERSION = 105,            ///< version text differs
    DICOM_ERROR_ISCL_REQUEST = 106,            ///< authentication request not usable
    DICOM_ERROR_ISCL_BLOCK_LENGTH = 107,       ///< block length over the own limit
    DICOM_ERROR_ISCL_REFUSED = 108,            ///< peer refused to authenticate
    DICOM_ERROR_ISCL_SETTINGS = 109,           ///< encryption or MAC settings differ
    DICOM_ERROR_ISCL_MESSAGE_LENGTH = 110,     ///< response names another message length
    DICOM_ERROR_ISCL_DECRYPT = 112,            ///< message could not be decrypted
    DICOM_ERROR_ISCL_MAC = 113,                ///< MAC differs
    DICOM_ERROR_ISCL_DISCONNECT = 115,         ///< peer refused the disconnection
    DICOM_ERROR_KEEPALIVE = 151,               ///< keep-alive option refused
    DICOM_ERROR_TLS_HANDSHAKE = 152,           ///< handshake failed at once
    DICOM_ERROR_TLS_VERIFY_MODE = 194,         ///< verify mode out of range
    DICOM_ERROR_TLS_CA_FILE = 195,             ///< CA file not loaded; left in the record
    DICOM_ERROR_TLS_OPTIONS = 196,             ///< context options not taken
    DICOM_ERROR_NO_BASE_PATH = 200,            ///< directory has no base folder
    DICOM_ERROR_PATH_NOT_IN_BASE = 201,        ///< file lies outside the base folder
    DICOM_ERROR_FILE = 201,                    ///< document file or LUT content unusable
    DICOM_ERROR_INVALID_FILE_ID = 202,         ///< relative path is no File ID
    DICOM_ERROR_LUT_CONTENT = 204,             ///< LUT descriptor or item content absent
    DICOM_ERROR_NO_MODALITY_LUT = 205,         ///< no modality transformation
    DICOM_ERROR_PIXEL_REPRESENTATION = 206,    ///< (0028,0103) neither 0 nor 1
    DICOM_ERROR_NO_PALETTE_DATA = 207,         ///< palette data element absent
    DICOM_ERROR_UNSUPPORTED = 208,             ///< type, format or depth without a form here
    DICOM_ERROR_NO_VOI_LUT = 209,              ///< VOI item or window absent
    DICOM_ERROR_OVERLAY_ATTRIBUTE = 210,       ///< overlay group or required attribute absent
    DICOM_ERROR_OVERLAY_LAYER = 211,           ///< activation layer absent
    DICOM_ERROR_OVERLAY_DATA = 212,            ///< overlay data absent
    DICOM_ERROR_STRUCT_SIZE = 213,             ///< size field of a record is wrong
    DICOM_ERROR_NULL_POINTER = 214,            ///< pointer that must be given is null
    DICOM_ERROR_IMAGE_LIBRARY = 215,           ///< image-processing function absent
    DICOM_ERROR_CRYPTO_LIBRARY = 216,          ///< crypto library or function absent
    DICOM_ERROR_MAC_TRANSFER_SYNTAX = 217,     ///< conversion for the MAC failed
    DICOM_ERROR_PRIVATE_KEY = 218,             ///< private key file not usable
    DICOM_ERROR_CERTIFICATE_FILE = 219,        ///< certificate file not usable
    DICOM_ERROR_SIGNATURE_CERTIFICATE = 220,   ///< certificate inside a signature not usable
    DICOM_ERROR_KEY_MISMATCH = 221,            ///< key and certificate do not belong together
    DICOM_ERROR_PROFILE_KEY = 223,             ///< profile forbids this key type
    DICOM_ERROR_MAC_ID = 224,                  ///< no MAC ID number left
    DICOM_ERROR_SIGN = 225,                    ///< signing or verifying call failed
    DICOM_ERROR_MAC_PARAMETERS = 226,          ///< MAC parameters absent or incomplete
    DICOM_ERROR_NO_MAC_ID = 227,               ///< signature item lacks its MAC ID
    DICOM_ERROR_MAC_ALGORITHM = 228,           ///< MAC algorithm not known
    DICOM_ERROR_NO_SIGNATURE = 229,            ///< signature value absent
    DICOM_ERROR_SIGNATURE_MISMATCH = 230,      ///< signature does not fit the data
    DICOM_ERROR_FILTER_FUNCTION = 231,         ///< JPEG decoder function absent
    DICOM_ERROR_J2K_CODEC = 232,               ///< JPEG 2000 codec absent
    DICOM_ERROR_CHARACTER_SET = 233,           ///< character set conflicts with the data set
    DICOM_ERROR_PRIVATE_GROUP = 235,           ///< group is no private one
    DICOM_ERROR_PRIVATE_CREATOR_EXISTS = 236,  ///< creator place taken, or none free
    DICOM_ERROR_PRIVATE_CREATOR_MISSING = 237, ///< creator not on its level
    DICOM_ERROR_PRIVATE_BLOCK_FULL = 238,      ///< block has no free number
    DICOM_ERROR_PRIVATE_ELEMENT = 239,         ///< creator number out of range
    DICOM_ERROR_NO_DOCUMENT = 240,             ///< no (0042,0011)
    DICOM_ERROR_DOCUMENT_LENGTH = 241,         ///< (0042,0011) of undefined length
    DICOM_ERROR_DOCUMENT_VALUE = 242,          ///< document value not read or stored
    DICOM_ERROR_DOCUMENT_TYPE = 243,           ///< document type is neither 1 nor 2
    DICOM_STATUS_FILE_LOADED = 300,            ///< callback code: file loaded, no failure
    DICOM_ERROR_CLASS_NOT_ACCEPTED = 301,      ///< class not accepted by the peer
    DICOM_ERROR_TIMEOUT = 302,                 ///< no answer in time
    DICOM_ERROR_ASSOCIATION_REJECTED = 303,    ///< peer rejected the association
    DICOM_ERROR_PEER_REFUSED = 304,            ///< peer refused the operation
    DICOM_ERROR_ALREADY_PRESENT = 305,         ///< instance is in the directory already
    DICOM_ERROR_STRUCT_SIZE_SET = 64747,       ///< wrong size field in a setter or creator
    DICOM_ERROR_NO_RECORD = 65523,             ///< null record or size below 1, J2K defaults
};

/** Flags of M_DicomEngineStartup. */
enum {
    DICOM_ENGINE_LAZY_IOD = 0x0001,            ///< leave the IOD tree for its first use
    DICOM_ENGINE_LAZY_CONTEXT_GROUPS = 0x0002, ///< no MDicomContextGroup::Default(null)
};

/** Mode bits of MDicomFile::Open and MDicomFile::SetHandle. */
enum {
    FILE_MODE_CREATE = 0x0001,          ///< make the file or empty it
    FILE_MODE_READ = 0x0002,            ///< reading
    FILE_MODE_WRITE = 0x0004,           ///< writing
    FILE_MODE_TEMPORARY = 0x0008,       ///< unique file in the named folder
    FILE_MODE_MEMORY = 0x0010,          ///< block of memory instead of a file
    FILE_MODE_KERNEL = 0x0020,          ///< file functions of the kernel
    FILE_MODE_AUTO_CLOSE = 0x0040,      ///< Close(0) and destructor really close
    FILE_MODE_DELETE_ON_CLOSE = 0x0080, ///< system removes the file at close
    FILE_MODE_EXTERNAL = 0x1000,        ///< block belongs to the caller
    FILE_MODE_NO_TRUNCATE = 0x2000,     ///< a cut of the memory stream fails
};

/** Class and bound kind of a value representation (_DICOMVR::nRestrict). */
enum {
    VR_BINARY = 0x0100,    ///< array of binary units
    VR_STRING = 0x0200,    ///< text values split by backslash
    VR_TEXT = 0x0400,      ///< one text, backslash ordinary
    VR_FIXED = 0,          ///< length is exact
    VR_MAXIMUM = 1,        ///< length is an upper bound
    VR_MAXIMUM_GROUP = 2,  ///< upper bound per component group
    VR_ANY = 3,            ///< no bound
    VR_NOT_APPLICABLE = 4, ///< bound has no meaning
};

/** Kinds of UID (_DICOMUID::nType). */
enum {
    UID_TYPE_OTHER = 0,              ///< none of the other kinds
    UID_TYPE_TRANSFER1 = 1,          ///< uncompressed transfer syntax
    UID_TYPE_TRANSFER2 = 2,          ///< compressed transfer syntax
    UID_TYPE_CLASS = 3,              ///< SOP Class
    UID_TYPE_META_CLASS = 4,         ///< Meta SOP Class
    UID_TYPE_INSTANCE = 5,           ///< well-known SOP Instance
    UID_TYPE_APPLICATION = 6,        ///< application context name
    UID_TYPE_FRAME_OF_REFERENCE = 7, ///< well-known frame of reference
    UID_TYPE_LDAP = 8,               ///< LDAP object identifier
};

/** Kinds and usages of rows of the IOD tree (_DICOMIOD). */
enum {
    IOD_TYPE_CLASS = 0,        ///< row is a class
    IOD_TYPE_MODULE = 1,       ///< row is a module
    IOD_TYPE_ELEMENT = 2,      ///< row is an attribute
    IOD_USAGE_MANDATORY = 0,   ///< module M, or required key
    IOD_USAGE_CONDITIONAL = 1, ///< module C
    IOD_USAGE_OPTIONAL = 2,    ///< module U, class, or optional key
    IOD_USAGE_1 = 3,           ///< attribute type 1
    IOD_USAGE_1C = 4,          ///< attribute type 1C
    IOD_USAGE_2 = 5,           ///< attribute type 2
    IOD_USAGE_2C = 6,          ///< attribute type 2C
    IOD_USAGE_3 = 7,           ///< attribute type 3
};

/** Tags with a role of their own in the element tree (PS 3.5, 7.5). */
///@{
static const uint32_t TAG_ITEM = 0xFFFEE000u;                  ///< item of a sequence, or fragment
static const uint32_t TAG_ITEM_DELIMITATION = 0xFFFEE00Du;     ///< only in encoded form
static const uint32_t TAG_SEQUENCE_DELIMITATION = 0xFFFEE0DDu; ///< only in encoded form
static const uint32_t TAG_PIXEL_DATA = 0x7FE00010u;            ///< the pixels
///@}

/** Data set flags: the encoding of a data set, and flags of LoadDS, SaveDS and InitDS. */
enum {
    DS_METAHEADER_PRESENT = 0x0001,          ///< preamble, DICM and group 0002
    DS_METAHEADER_ABSENT = 0x0002,           ///< no preamble
    DS_LITTLE_ENDIAN = 0x0004,               ///< values little endian
    DS_BIG_ENDIAN = 0x0008,                  ///< values big endian
    DS_IMPLICIT_VR = 0x0010,                 ///< VR not encoded
    DS_EXPLICIT_VR = 0x0020,                 ///< VR encoded
    DS_GROUP_LENGTHS = 0x0040,               ///< save: length element for every group
    DS_LENGTH_EXPLICIT = 0x0080,             ///< save: computed lengths, no delimiters
    DS_EXCLUDE_METAHEADER_GROUP = 0x0100,    ///< save: without group 0002
    DS_LOAD_CLOSE = 0x0200,                  ///< load: copy values, close the file
    DS_KEEP_PIXEL_DATA_INTACT = 0x0400,      ///< compressed pixels stay as they are
    DS_RECORD_OFFSETS = 0x0800,              ///< load: note the offset of each element
    DS_ADD_MANDATORY_ELEMENTS_ONLY = 0x1000, ///< init: types 1 and 2 only
    DS_ADD_MANDATORY_MODULES_ONLY = 0x2000,  ///< init: mandatory modules only
};

/** Reason codes of the debug callback (SetDebugDS). */
enum {
    DS_DEBUG_BAD_TAG = 2,       ///< tag that may not be inserted
    DS_DEBUG_BAD_ELEMENT = 256, ///< handle not in this tree
    DS_DEBUG_DUPLICATE = 512,   ///< tag stands on this level already
    DS_DEBUG_NO_MEMORY = 1024,  ///< insertion ran out of memory
};

/** Findings of ConformanceDS, any of which may come together. */
enum {
    CONFORMANCE_NO_CLASS = 0x01,  ///< class of the data set not known; told of its first element
    CONFORMANCE_NO_TAG = 0x02,    ///< tag not in the dictionary
    CONFORMANCE_NO_VR = 0x04,     ///< VR not in the table
    CONFORMANCE_BAD_VR = 0x08,    ///< VR is not that of the dictionary
    CONFORMANCE_MIN_VM = 0x10,    ///< fewer values than the dictionary demands
    CONFORMANCE_MAX_VM = 0x20,    ///< more values than the dictionary allows
    CONFORMANCE_DIVIDE_VM = 0x40, ///< count of values is no allowed multiple
    CONFORMANCE_IMAGE = 0x80,     ///< Pixel Data without a valid description
};

/** Positions of MDicomTree::Insert. */
enum {
    TREE_FIRST_CHILD = 0,   ///< before the first child
    TREE_LAST_CHILD = 1,    ///< after the last child
    TREE_FIRST_SIBLING = 2, ///< start of the level
    TREE_LAST_SIBLING = 3,  ///< end of the level
    TREE_NEXT = 4,          ///< right after
    TREE_PREVIOUS = 5,      ///< right before
};

/** Forms of a date, time or date-time range (PS 3.4, C.2.2.2.5). */
enum {
    VALUE_RANGE_NONE = 0,  ///< single value
    VALUE_RANGE_LOWER = 1, ///< value and what lies after
    VALUE_RANGE_UPPER = 2, ///< value and what lies before
    VALUE_RANGE_BOTH = 3,  ///< from first to second
};

/** Kinds of typed values, each a set of VRs. */
enum {
    VALUE_KIND_CHAR = 0,     ///< OB, OV, SQ, SV, UN, UV
    VALUE_KIND_SHORT = 1,    ///< OW, SS, US
    VALUE_KIND_LONG = 2,     ///< AT, IS, OL, SL, UL
    VALUE_KIND_FLOAT = 3,    ///< FL, OF
    VALUE_KIND_DOUBLE = 4,   ///< DS, FD, OD
    VALUE_KIND_STRING = 5,   ///< AE, CS, LO, LT, PN, SH, ST, UC, UI, UR, UT
    VALUE_KIND_AGE = 6,      ///< AS
    VALUE_KIND_DATE = 7,     ///< DA
    VALUE_KIND_TIME = 8,     ///< TM
    VALUE_KIND_DATETIME = 9, ///< DT
};

/** Array types of FindGetValue and FindSetValue. */
enum {
    VALUE_ARRAY_BYTE = 0,   ///< array of unsigned 8 bits
    VALUE_ARRAY_WORD = 1,   ///< array of unsigned 16 bits
    VALUE_ARRAY_DWORD = 2,  ///< array of unsigned 32 bits
    VALUE_ARRAY_FLOAT = 3,  ///< array of floats
    VALUE_ARRAY_DOUBLE = 4, ///< array of doubles
};

/** Compression classes of the transfer syntaxes. */
enum {
    IMAGE_COMPRESSION_NONE = 0,             ///< native
    IMAGE_COMPRESSION_RLE = 1,              ///< RLE
    IMAGE_COMPRESSION_JPEG_LOSSLESS = 2,    ///< lossless JPEG
    IMAGE_COMPRESSION_JPEG_LOSSY = 3,       ///< lossy JPEG
    IMAGE_COMPRESSION_JPEG_LS_LOSSLESS = 4, ///< JPEG-LS lossless, not decoded
    IMAGE_COMPRESSION_JPEG_LS_LOSSY = 5,    ///< JPEG-LS near-lossless, not decoded
    IMAGE_COMPRESSION_J2K_LOSSLESS = 6,     ///< JPEG 2000 lossless
    IMAGE_COMPRESSION_J2K_LOSSY = 7,        ///< JPEG 2000
    IMAGE_COMPRESSION_MPEG2_MAIN = 8,       ///< MPEG-2 main level, not decoded
    IMAGE_COMPRESSION_MPEG2_HIGH = 9,       ///< MPEG-2 high level, not decoded
};

/** Photometric interpretations (PS 3.3, C.7.6.3.1.2). */
enum {
    PHOTOMETRIC_MONOCHROME1 = 0,   ///< gray, lowest value white
    PHOTOMETRIC_MONOCHROME2 = 1,   ///< gray, lowest value black
    PHOTOMETRIC_PALETTE_COLOR = 2, ///< one sample looked up in three tables
    PHOTOMETRIC_RGB = 3,           ///< red, green, blue
    PHOTOMETRIC_ARGB = 4,          ///< retired
    PHOTOMETRIC_CMYK = 5,          ///< retired
    PHOTOMETRIC_YBR_FULL_422 = 6,  ///< luminance, chrominance of half the columns
    PHOTOMETRIC_YBR_FULL = 7,      ///< luminance, chrominance
    PHOTOMETRIC_YBR_RCT = 8,       ///< reversible transform of JPEG 2000
    PHOTOMETRIC_YBR_ICT = 9,       ///< irreversible transform of JPEG 2000
};

/** Options of GetImage. */
enum {
    DICOM_GETIMAGE_OVERLAYS = 0x01,           ///< put overlays into the bitmap's slots
    DICOM_GETIMAGE_MODALITY_LUT = 0x02,       ///< apply the modality transformation to gray
    DICOM_GETIMAGE_VOI_LUT = 0x04,            ///< apply window or VOI LUT to gray
    DICOM_GETIMAGE_MODALITY_SIGNED = 0x08,    ///< modality values may become signed
    DICOM_GETIMAGE_AUTOSCALE_MODALITY = 0x10, ///< fit an overflowing rescale to the bitmap
    DICOM_GETIMAGE_AUTOSCALE_VOI = 0x20,      ///< correct the window by that fit
    DICOM_GETIMAGE_FULL_RANGE_YBR = 0x40,     ///< YBR as PS 3.3, C.7.6.3.1.2 has it
};

/** Options of InsertImage, SetImage and of the operations on LUTs and windows. */
enum {
    DICOM_SETIMAGE_OVERLAYS = 0x01,              ///< store the bitmap's overlays
    DICOM_SETIMAGE_AUTO_VOI_LUT = 0x02,          ///< window or VOI LUT from the bitmap's LUT
    DICOM_SETIMAGE_CODEC_FLAG = 0x04,            ///< adds 0x800000 to the JPEG encoder's flags
    DICOM_SETIMAGE_UPDATE_SHARED = 0x08,         ///< a shared functional group may change
    DICOM_SETIMAGE_VOI_PER_FRAME = 0x10,         ///< new VOI attributes per frame
    DICOM_SETIMAGE_VOI_SHARED = 0x20,            ///< new VOI attributes for all frames
    DICOM_SETIMAGE_MODALITY_PER_FRAME = 0x40,    ///< new modality attributes per frame
    DICOM_SETIMAGE_MODALITY_SHARED = 0x80,       ///< new modality attributes for all frames
    DICOM_SETIMAGE_NO_LUT_ELEMENTS = 0x20000000, ///< write no LUT, window or extreme values
};

#endif
