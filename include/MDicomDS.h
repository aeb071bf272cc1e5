// MDicomDS: one DICOM data set as a tree of elements.

#ifndef MDICOM_DS_H
#define MDICOM_DS_H

#include <mutex>
#include <span>
#include <string>

#include "MDicomApi.h"
#include "MDicomFile.h"
#include "MDicomTree.h"
#include "MDicomTypes.h"

namespace mdicom {
class ElementIndex;
class ElementReader;
class ElementWriter;
class FrameLoader;
class FrameSaver;
class FrameTranscoder;
class KeyIndex;
struct CharacterSetList;
struct DataSetAccess;
struct FrameData;
struct FrameRules;
struct KeyLevel;
struct KeyNode;
struct UncompressedFrames;
} // namespace mdicom

/** Side record of a data set. */
struct DICOMDSEXTRA {
    uint32_t nSize;                ///< sizeof(DICOMDSEXTRA)
    DICOMBADELEMENT *pBadElements; ///< table of 50
    uint32_t nBadElements;         ///< entries in use
    _FILEJ2KOPTIONS J2KOptions;    ///< JPEG 2000 encoding options
    int32_t bCodecFlag;            ///< codec flag of the image operations
    MDicomTree Offsets;            ///< nodes of element and file offset, under DS_RECORD_OFFSETS
    int32_t bAutoScale;            ///< nonzero: the last image load rescaled its modality values
    double fAutoScaleFactor;       ///< factor of that rescaling
    double fAutoScaleOffset;       ///< offset of that rescaling
    std::recursive_mutex Lock;     ///< guards the value store
};

/**
 * A data set (PS 3.5, 7): sequences are nodes whose children are items, items are nodes whose
 * children are elements, all others are leaves. Values stay in their streams, the loaded file or
 * the data set's own value store, until they are asked for.
 *
 * What a data set hands out, elements, texts and arrays, stays its property. Element arguments
 * are null or an element of this data set; a stale one is the caller's fault unless a debug
 * callback is set (SetDebugDS). A data set is for one thread at a time, except that several may
 * call GetBinaryValue while none edits.
 *
 * Arguments shared by the walking operations: bSameLevel nonzero walks among the siblings of the
 * level, zero walks the whole tree depth first; bVolatile zero skips the elements that the
 * library derives from the image or the file layout (IsVolatileElement).
 */
class MDICOM_API MDicomDS {
  public:
    static void *m_hInstance; ///< handle of the loaded library

    MDicomTree m_Tree;                          ///< the elements
    uint16_t m_nFlags = 37;                     ///< DS_ flags of the encoding
    DICOMDSEXTRA *m_pExtra = nullptr;           ///< side record; null when memory was short
    uint8_t m_Preamble[128] = {};               ///< written by saves with DS_METAHEADER_PRESENT
    MDicomFile *m_pFile = &m_File;              ///< stream that loaded elements refer to
    MDicomFile m_File;                          ///< stream that LoadDS opens by name
    MDicomFile m_TempFile;                      ///< the value store
    int32_t m_bConforming = 0;                  ///< nonzero: the tree must not change
    _DICOMMODULE m_Module;                      ///< elements of the module that was asked for last
    MDICOM_DEBUG_CALLBACK m_pfnDebug = nullptr; ///< null for none
    void *m_pDebugUserData = nullptr;           ///< passed to the callback
    uint32_t *m_pCharacterSets = nullptr;       ///< table of ten identifiers, null until first used
    uint32_t m_nCharacterSets = 0;              ///< entries of the table in use

    /// @name Life
    ///@{
    /** An empty data set. pszTempPath names the folder of its value store; null or empty stands
     *  for the system's folder for temporary files. */
    explicit MDicomDS(const wchar_t *pszTempPath);
    /** ResetDS, and the value store goes. */
    ~MDicomDS();
    MDicomDS(const MDicomDS &) = delete;
    MDicomDS &operator=(const MDicomDS &) = delete;
    /** Deletes all elements, empties the value store, closes the loaded file, and restores the
     *  flags 37. The preamble stays. */
    void ResetDS();
    ///@}

    /// @name Element tree
    ///@{
    /**
     * Inserts an element.
     * @param pNeighbor an element of the level; with bChild the parent; null for the top level. One
     *                  with a value takes a first child, which no save writes (5), and no second
     * @param nTag      refused: group lengths, delimiters, (FFFC,FFFC), a tag that stands there
     * @param nVR       0 and UN stand for the VR of the data dictionary
     * @param bSequence nonzero: the element holds children (undefined length), as SQ does anyway
     * @param nIndex    items only: place among the siblings; past the end appends
     * @return the element, or null
     */
    _DICOMELEMENT *InsertElement(_DICOMELEMENT *pNeighbor, int32_t bChild, uint32_t nTag,
                                 uint16_t nVR, int32_t bSequence, uint32_t nIndex);
    /** Deletes an element and everything below it. Returns its next sibling, else its previous
     *  one, else its parent. */
    _DICOMELEMENT *DeleteElement(_DICOMELEMENT *pElement);
    /** First sibling of pElement, or first element of the tree. Null pElement: the top level. */
    _DICOMELEMENT *GetFirstElement(_DICOMELEMENT *pElement, int32_t bSameLevel, int32_t bVolatile);
    /** Last sibling of pElement, or last element of the walk. */
    _DICOMELEMENT *GetLastElement(_DICOMELEMENT *pElement, int32_t bSameLevel, int32_t bVolatile);
    /** The element behind pElement; null at the end. */
    _DICOMELEMENT *GetNextElement(_DICOMELEMENT *pElement, int32_t bSameLevel, int32_t bVolatile);
    /** The element before pElement; null at the start. */
    _DICOMELEMENT *GetPrevElement(_DICOMELEMENT *pElement, int32_t bSameLevel, int32_t bVolatile);
    /** First child: item of a sequence, element of an item. Null for a leaf. */
    _DICOMELEMENT *GetChildElement(_DICOMELEMENT *pElement, int32_t bVolatile);
    /** The item or sequence around the element; null on the top level. */
    _DICOMELEMENT *GetParentElement(_DICOMELEMENT *pElement);
    /** Ancestor on the top level, or the element itself. */
    _DICOMELEMENT *GetRootElement(_DICOMELEMENT *pElement);
    /** Number of ancestors. */
    uint32_t GetLevelElement(_DICOMELEMENT *pElement);
    /** 1 if this address is an element of the data set; walks the whole tree. */
    int32_t ExistsElement(_DICOMELEMENT *pElement);
    /** 1 if the library derives this element from the image or the file layout. */
    int32_t IsVolatileElement(_DICOMELEMENT *pElement);
    /** First element with this tag: on the level of pElement (null: the top level), or with
     *  bSameLevel zero in the whole tree. */
    _DICOMELEMENT *FindFirstElement(_DICOMELEMENT *pElement, uint32_t nTag, int32_t bSameLevel);
    /** Last element with this tag; arguments as those of FindFirstElement. */
    _DICOMELEMENT *FindLastElement(_DICOMELEMENT *pElement, uint32_t nTag, int32_t bSameLevel);
    /** The next element with the tag of pElement. */
    _DICOMELEMENT *FindNextElement(_DICOMELEMENT *pElement, int32_t bSameLevel);
    /** The previous element with the tag of pElement. */
    _DICOMELEMENT *FindPrevElement(_DICOMELEMENT *pElement, int32_t bSameLevel);
    /** Offset of the element in its file, noted by a load with DS_RECORD_OFFSETS; 0 for none. */
    uint32_t GetElementOffset(_DICOMELEMENT *pElement);
    /** Sets the callback that hears why an operation refused; null for none. While one is set,
     *  every element argument is first looked up in the tree. */
    void SetDebugDS(MDICOM_DEBUG_CALLBACK pfnDebug, void *pUserData);
    /** Nonzero if DS_KEEP_PIXEL_DATA_INTACT is set. */
    int32_t GetKeepPixelDataIntactFlag();
    /** Sets or clears DS_KEEP_PIXEL_DATA_INTACT; returns the setting before. */
    int32_t SetKeepPixelDataIntactFlag(int32_t bKeep);
    /** Copies up to 128 bytes out of the preamble (PS 3.10, 7.1). */
    void GetPreamble(uint8_t *pBuffer, uint32_t nLength);
    /** Copies up to 128 bytes into the preamble. */
    void SetPreamble(const uint8_t *pBuffer, uint32_t nLength);
    ///@}

    /// @name Files
    ///@{
    /**
     * Loads a file (PS 3.10, 7; PS 3.5, 7 and A). Values are not read: the file stays open behind
     * the data set until ResetDS, unless DS_LOAD_CLOSE is given.
     * @param nFlags DS_ flags; byte order, VR encoding and preamble that are not given are found
     *               out by trial
     * @return 0; 2 no memory, 3 not opened, 4 not readable or shorter than the preamble that nFlags
     *         demand, 5 or 6 value store failure under DS_LOAD_CLOSE, 8 no DICOM, deflated, beyond
     * a limit, or with DS_LOAD_CLOSE a value that is cut off. The data set is empty after a
     *         failure. 9 while ConformanceDS tests the data set, which then stays.
     */
    uint16_t LoadDS(const wchar_t *pszName, uint16_t nFlags);
    /** As LoadDS, from a block of memory that has to outlive its use by the data set. 9 for a null
     *  or empty block. */
    uint16_t LoadDSMemory(void *pData, uint64_t nLength, uint16_t nFlags);
    /** As LoadDS, from an open stream, which stays the caller's and has to outlive its use by the
     *  data set (until ResetDS or another load), unless DS_LOAD_CLOSE is given. With bRequireImage
     *  only a data set with Pixel Data counts as a success. 9 for a null stream. */
    uint16_t LoadDS(MDicomFile *pFile, uint16_t nFlags, int32_t bRequireImage);
    /**
     * Saves to a file (PS 3.10, 7). The file is written under a temporary name beside pszName and
     * takes its place when it is complete; after a failure the old file stands.
     * @param nFlags DS_ flags; file format, byte order and VR encoding that are not given are
     *               those of the data set. A compressed data set is always written in explicit VR
     *               little endian.
     * @return 0; 2 no memory, 3 not created, 5 write error, a value that is cut off, content
     *         longer than its length field can tell, or a directory reference to a record that is
     *         not there, 9 big endian together with implicit VR
     */
    uint16_t SaveDS(const wchar_t *pszName, uint16_t nFlags);
    /** As SaveDS, to an open stream, which ends with Close(0). 9 for a null stream. */
    uint16_t SaveDS(MDicomFile *pFile, uint16_t nFlags);
    /** IOD class number (0xFFFF for none known) and flags of the data set. Null is skipped. */
    void GetInfoDS(uint32_t *pClass, uint16_t *pFlags);
    ///@}

    /// @name Typed values
    /// Getters return entry nIndex of the element's value cache, or null. nCount 0xFFFFFFFF and
    /// 0xFFFFFFFE stand for all values from nIndex on. A pointer stays valid until the element is
    /// set, freed (FreeValue) or deleted. Setters replace the whole value and return nonzero on
    /// success; each demands a VR of its kind.
    ///@{
    /** Bytes of OB, OV, SV, UN and UV. */
    uint8_t *GetCharValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Numbers of OW, SS and US. */
    int16_t *GetShortValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Numbers of IS, OL, SL and UL, and tags of AT with the group in the high half. */
    int32_t *GetLongValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Numbers of FL and OF. */
    float *GetFloatValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Numbers of DS, FD and OD. */
    double *GetDoubleValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Values of an IS element without a limit of 32 bits. 0; 9 another VR, an empty value, no such
     *  values, or null; 14 not readable. */
    uint16_t GetLong64Value(_DICOMELEMENT *pElement, int64_t *pArray, uint32_t nIndex,
                            uint32_t nCount);
    /** Text of value nIndex, converted from the data set's character set; with nCount above 1
     *  the texts of that many values back to back, each with its NUL. Valid until the next
     *  GetStringValue on this element. */
    const wchar_t *GetStringValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Bytes of value nIndex as they are stored; further values follow behind its NUL. */
    const char *GetStringValueA(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Ages of AS. */
    _VALUEAGE *GetAgeValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Dates of DA. Null for a value that is a range. */
    _VALUEDATE *GetDateValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Times of TM. Null for a value that is a range. */
    _VALUETIME *GetTimeValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Dates with times of DT. */
    _VALUEDATETIME *GetDateTimeValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /** Fills a record with one value of DA, range or not. 0; 2 not readable or no memory, 9 another
     *  VR, no such value, or null. */
    int32_t GetDateRangeValue(_DICOMELEMENT *pElement, uint32_t nIndex, _VALUEDATERANGE *pRange);
    /** As GetDateRangeValue, for TM. */
    int16_t GetTimeRangeValue(_DICOMELEMENT *pElement, uint32_t nIndex, _VALUETIMERANGE *pRange);
    /** As GetDateRangeValue, for DT. */
    int16_t GetDateTimeRangeValue(_DICOMELEMENT *pElement, uint32_t nIndex,
                                  _VALUEDATETIMERANGE *pRange);
    /** Value multiplicity; 0 for an empty value and one that is not readable. */
    uint32_t GetCountValue(_DICOMELEMENT *pElement);
    /** Frees the caches of an element; its value stays. */
    void FreeValue(_DICOMELEMENT *pElement);
    /** Sets bytes; VRs as GetCharValue. */
    int32_t SetCharValue(_DICOMELEMENT *pElement, uint8_t *pArray, uint32_t nCount);
    /** Sets numbers; VRs as GetShortValue. */
    int32_t SetShortValue(_DICOMELEMENT *pElement, int16_t *pArray, uint32_t nCount);
    /** Sets numbers or tags; VRs as GetLongValue. */
    int32_t SetLongValue(_DICOMELEMENT *pElement, int32_t *pArray, uint32_t nCount);
    /** Sets numbers; VRs as GetFloatValue. */
    int32_t SetFloatValue(_DICOMELEMENT *pElement, float *pArray, uint32_t nCount);
    /** Sets numbers; VRs as GetDoubleValue. */
    int32_t SetDoubleValue(_DICOMELEMENT *pElement, double *pArray, uint32_t nCount);
    /**
     * Sets nCount texts that stand back to back, each with its NUL.
     * @param nCharacterSet 0: in the character sets that hold for the element; 1 to 14: in a
     *        character set that the data set declares or can take on. The result is 0 when it
     *        declares another one or a character has no place in the set.
     */
    int32_t SetStringValue(_DICOMELEMENT *pElement, const wchar_t *pszText, uint32_t nCount,
                           uint32_t nCharacterSet);
    /** As SetStringValue, with texts that are stored as they are. */
    int32_t SetStringValueA(_DICOMELEMENT *pElement, const char *pszText, uint32_t nCount);
    /** Sets ages of AS. For a reference letter other than D, W, M and Y the result is 9, and
     *  nothing is set. */
    int32_t SetAgeValue(_DICOMELEMENT *pElement, const _VALUEAGE *pArray, uint32_t nCount);
    /** Sets dates of DA. */
    int32_t SetDateValue(_DICOMELEMENT *pElement, const _VALUEDATE *pArray, uint32_t nCount);
    /** Sets times of TM. */
    int32_t SetTimeValue(_DICOMELEMENT *pElement, const _VALUETIME *pArray, uint32_t nCount);
    /** Sets dates with times of DT. */
    int32_t SetDateTimeValue(_DICOMELEMENT *pElement, const _VALUEDATETIME *pArray,
                             uint32_t nCount);
    /** Sets ranges of DA. 0 for a null array or a range type above 3. */
    int32_t SetDateRangeValue(_DICOMELEMENT *pElement, const _VALUEDATERANGE *pArray,
                              uint32_t nCount);
    /** Sets ranges of TM. For a null array or a range type above 3 the result is 9, and nothing is
     *  set. */
    int32_t SetTimeRangeValue(_DICOMELEMENT *pElement, const _VALUETIMERANGE *pArray,
                              uint32_t nCount);
    /** As SetTimeRangeValue, for DT. */
    int32_t SetDateTimeRangeValue(_DICOMELEMENT *pElement, const _VALUEDATETIMERANGE *pArray,
                                  uint32_t nCount);
    /**
     * Finds an element and reads numbers or bytes of its value.
     * @param pElement   null: the first element with nTag in the tree; else it is looked for on
     *                   the level of pElement, then outward, then in the whole tree
     * @param pArray     nCount entries of nArrayType, or null to count only
     * @param nIndex     first value (IS, DS) or first unit of the VR's unit size
     * @param nArrayType VALUE_ARRAY_ value
     * @return entries delivered; of texts the bytes, values without blanks around them, and a NUL
     */
    uint32_t FindGetValue(_DICOMELEMENT *pElement, uint32_t nTag, void *pArray, uint32_t nIndex,
                          uint32_t nCount, uint32_t nArrayType);
    /** Finds an element and sets its value from an array of nArrayType. It is looked for on the
     *  level of pElement, for null on the top level and then in the whole tree, and inserted on
     *  that level (null: the top level) if it is missing. nCount 0 leaves the value as it is.
     *  Returns the element, or null. */
    _DICOMELEMENT *FindSetValue(_DICOMELEMENT *pElement, uint32_t nTag, const void *pArray,
                                uint32_t nCount, uint32_t nArrayType);
    ///@}

    /// @name Binary values
    /// Bytes as the value has them, numbers in host order. Nonzero on success. Buffers that pass
    /// into the value store have their bytes turned in place during the call. Values that were
    /// parsed before stay in the element's cache: FreeValue lets the next getter see the new ones.
    ///@{
    /** Copies up to nLength bytes from the start of the value. */
    int32_t GetBinaryValue(_DICOMELEMENT *pElement, void *pBuffer, uint32_t nLength);
    /** Copies up to nLength bytes from nOffset of the value on. */
    int32_t GetBinaryValue(_DICOMELEMENT *pElement, void *pBuffer, uint32_t nOffset,
                           uint32_t nLength);
    /** Replaces the value; an odd length is padded. */
    int32_t SetBinaryValue(_DICOMELEMENT *pElement, void *pData, uint32_t nLength);
    /** Inserts bytes at nOffset, or appends them when nOffset is at or past the end; an odd
     *  result stays odd. Null pData reserves room. */
    int32_t InsertBinaryValue(_DICOMELEMENT *pElement, void *pData, uint32_t nOffset,
                              uint32_t nLength);
    ///@}

    /// @name Character sets (PS 3.5, 6.1; PS 3.3, C.12.1.1.2)
    ///@{
    /** Rereads (0008,0005). 0; 2 no memory, 9 more than ten names, of which the first ten hold. */
    uint16_t UpdateSpecificCharacterSet();
    /** Converts stored text of nLength bytes (which ends at a NUL, too) to wide text by the
     *  active character sets. Returns wide characters with the terminator; a null pszOut
     *  measures. nOutSize counts wide characters. */
    uint32_t ConvertStringValue(const char *pszText, uint32_t nLength, wchar_t *pszOut,
                                uint32_t nOutSize);
    ///@}

    /// @name Modules and conformance (PS 3.3, A)
    ///@{
    /**
     * Fills the data set anew with the content of an IOD; what it held is lost.
     * @param nClass IOD class number (MDicomIOD); one that does not exist leaves it empty
     * @param nFlags DS_ flags: encoding of the data set, DS_ADD_MANDATORY_ELEMENTS_ONLY,
     *               DS_ADD_MANDATORY_MODULES_ONLY
     */
    void InitDS(uint32_t nClass, uint16_t nFlags);
    /** Fills the data set anew with the elements of a command (PS 3.7, E), in implicit VR little
     *  endian. A command that does not exist leaves it empty. */
    void InitCS(uint16_t nCommand, int32_t bRequest);
    /** Command field of a command set without its response bit, and whether it is a request.
     *  Null is skipped. */
    void GetInfoCS(uint16_t *pCommand, int32_t *pRequest);
    /** The elements of a module that the data set holds; null for none. The record is valid until
     *  the next operation on modules; it holds at most 1,000 elements. */
    _DICOMMODULE *FindModule(uint32_t nModule);
    /** The module at a place among those that the data set holds. */
    _DICOMMODULE *FindIndexModule(uint32_t nIndex);
    /** Number of modules that the data set holds. */
    uint32_t GetCountModule();
    /** Inserts the elements of a module; with bOptional also those that are not mandatory. What
     *  FindModule then gives; null for a module that does not exist or that stands in sequences. */
    _DICOMMODULE *InsertModule(uint32_t nModule, int32_t bOptional);
    /** Deletes the elements of a module. */
    void DeleteModule(uint32_t nModule);
    /**
     * Tests the data set against dictionary and IOD.
     * @param pfnCallback called for each finding: element, CONFORMANCE_ bits, user data; its
     *                    result 0 ends the test. The data set must not be changed meanwhile.
     * @return 1 if nothing was found
     */
    int32_t ConformanceDS(MDICOM_DEBUG_CALLBACK pfnCallback, void *pUserData);
    ///@}

    /// @name Directory records as a tree (PS 3.3, F)
    /// Keys are the items of (0004,1220). Walks end where references loop.
    ///@{
    /** Inserts a record as the last under pParent (null: at the root) with a type such as L"STUDY";
     *  with bOptional 1 also the elements of its type. Where there are records already, theirs is
     *  the type. Returns the record; null when memory is short or pParent is no record. */
    _DICOMELEMENT *InsertKey(_DICOMELEMENT *pParent, const wchar_t *pszType, int32_t bOptional);
    /** Deletes a record with all below it. */
    void DeleteKey(_DICOMELEMENT *pKey);
    /** Ancestor at the root, or the record itself. */
    _DICOMELEMENT *GetRootKey(_DICOMELEMENT *pKey);
    /** Record whose lower level holds this one; null at the root. */
    _DICOMELEMENT *GetParentKey(_DICOMELEMENT *pKey);
    /** First record of the lower level; null for none. */
    _DICOMELEMENT *GetChildKey(_DICOMELEMENT *pKey);
    /** First record of the level of pKey, or of the tree; null pKey: of the directory. */
    _DICOMELEMENT *GetFirstKey(_DICOMELEMENT *pKey, int32_t bSameLevel);
    /** Last record of the level of pKey, or of the tree. */
    _DICOMELEMENT *GetLastKey(_DICOMELEMENT *pKey, int32_t bSameLevel);
    /** Next record of the level, or successor in a depth-first walk. */
    _DICOMELEMENT *GetNextKey(_DICOMELEMENT *pKey, int32_t bSameLevel);
    /** Previous record of the level, or predecessor in a depth-first walk. */
    _DICOMELEMENT *GetPrevKey(_DICOMELEMENT *pKey, int32_t bSameLevel);
    /** Type of a record; valid as GetStringValue's results are. */
    const wchar_t *GetValueKey(_DICOMELEMENT *pKey);
    /** First record of a type, from GetFirstKey(pKey, bSameLevel) on. */
    _DICOMELEMENT *FindFirstKey(_DICOMELEMENT *pKey, const wchar_t *pszType, int32_t bSameLevel);
    /** Last record of a type, from GetLastKey(pKey, bSameLevel) back. */
    _DICOMELEMENT *FindLastKey(_DICOMELEMENT *pKey, const wchar_t *pszType, int32_t bSameLevel);
    /** Next record with the type of pKey. */
    _DICOMELEMENT *FindNextKey(_DICOMELEMENT *pKey, int32_t bSameLevel);
    /** Previous record with the type of pKey. */
    _DICOMELEMENT *FindPrevKey(_DICOMELEMENT *pKey, int32_t bSameLevel);
    ///@}

    /// @name Private elements (PS 3.5, 7.8)
    /// A private group is an odd one above 0007 and below FFFF. Its elements 0010 to 00FF are
    /// creators: (gggg,00xx) names the owner of the block (gggg,xx00) to (gggg,xxFF).
    ///@{
    /** The first creator from GetFirstElement(pElement, bSameLevel, 0) on. pszCreator null stands
     *  for any name, nGroup 0 for any private group; blanks at the end of a name do not count. */
    _DICOMELEMENT *FindFirstPrivateCreatorDataElement(_DICOMELEMENT *pElement, int32_t bSameLevel,
                                                      const wchar_t *pszCreator, uint16_t nGroup);
    /** The same from GetNextElement(pElement, bSameLevel, 0) on. */
    _DICOMELEMENT *FindNextPrivateCreatorDataElement(_DICOMELEMENT *pElement, int32_t bSameLevel,
                                                     const wchar_t *pszCreator, uint16_t nGroup);
    /** First element of the block that a private creator reserves. */
    _DICOMELEMENT *FindFirstPrivateElement(_DICOMELEMENT *pCreator);
    /** The element of the block behind pElement, which stands on the level of the creator. */
    _DICOMELEMENT *FindNextPrivateElement(_DICOMELEMENT *pElement, _DICOMELEMENT *pCreator);
    /** The lowest free tag in the block of a creator. 0; 9 no creator, 237 the creator is not on
     *  its level, 238 the block is full. */
    uint16_t GetNextUnusedPrivateTag(_DICOMELEMENT *pCreator, uint32_t *pTag);
    /**
     * Inserts a private creator beside pElement (null: on the top level).
     * @param nElement   0x0010 to 0x00FF; 0xFFFF stands for the first that is free
     * @param pszCreator name of the owner: one value of at most 64 characters
     * @param ppCreator  takes the creator after a success; may be null
     * @return 0; 2 no memory or a name that the character sets do not have, 9 no such name,
     *         235 no private group, 236 number taken or none free, 239 no such number
     */
    uint16_t CreatePrivateCreatorDataElement(_DICOMELEMENT *pElement, uint16_t nGroup,
                                             uint16_t nElement, const wchar_t *pszCreator,
                                             _DICOMELEMENT **ppCreator);
    ///@}

    /// @name Copying
    ///@{
    /**
     * Copies the children of an element with all that is below them. Values are copied into the
     * value store: the source may go afterwards. What a failed copy has finished stays.
     * @param pTarget   takes the copies: null for the top level, where each tag has to be new.
     *                  Below an element, values that are there are replaced and sequences grow.
     * @param pSourceDS may be this data set. An empty data set takes over its flags and preamble.
     * @param pSource   element of the source; null for its top level
     * @return 0; 2 no memory or an element that cannot be inserted, 4 a value of the source is
     *         not readable, 5 not stored, 9 no source or an element that can have no children
     */
    uint16_t CopyDS(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource);
    /** As CopyDS. The callback is asked with code 0 for each child of pSource that pTarget does
     *  not have yet; its result 0 leaves the element out. */
    uint16_t CopyDS(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource,
                    MDICOM_DEBUG_CALLBACK pfnCallback, void *pUserData);
    ///@}

    /// @name Text form of values
    ///@{
    /**
     * Text of a value of any VR for people, values parted by backslashes: dates are 08/15/1997,
     * times 12:30:05.250000, ages 5 weeks, tags 0028:0010, bytes 01\\AB. The value's caches are
     * freed.
     * @param pszBuffer null measures
     * @param nSize     wide characters of the buffer; longer text is cut
     * @return characters with the terminator; 0 for no value, or one that cannot be read
     */
    uint32_t GetConvertValue(_DICOMELEMENT *pElement, wchar_t *pszBuffer, uint32_t nSize);
    /** Sets up to nCount values from the text form; nCount 0 and an empty text empty the value.
     *  Text is stored in the character sets that hold for the element. Nonzero on success. */
    int32_t SetConvertValue(_DICOMELEMENT *pElement, const wchar_t *pszText, uint32_t nCount);
    /** As GetConvertValue, with text as it is stored. The buffer has the size that a call with
     *  null has told. */
    uint32_t GetConvertValueA(_DICOMELEMENT *pElement, char *pszBuffer);
    /** As SetConvertValue, with text that is stored as it is. */
    int32_t SetConvertValueA(_DICOMELEMENT *pElement, const char *pszText, uint32_t nCount);
    ///@}

    /// @name Images
    /// Pixel Data (PS 3.3, C.7.6.3; PS 3.5, 8 and A.4) may stand on any level; its attributes are
    /// looked for on its own level, then outward.
    ///@{
    /** Frames in a Pixel Data element; for null the frames of all Pixel Data elements. */
    uint32_t GetCountImage(_DICOMELEMENT *pElement);
    /**
     * Describes the image of a Pixel Data element.
     * @param nIndex frame, from 0 within this element
     * @return 0; 2 no memory, 9 element not in the tree, 10 no Pixel Data or no such frame, 12
     *         photometric interpretation unknown, 14 rows or columns missing or beyond all memory
     */
    uint16_t GetInfoImage(_DICOMELEMENT *pElement, _DICOMIMAGE *pImage, uint32_t nIndex);
    /** Counts the frames of the Pixel Data on the top level that have no data and those that
     *  have. Null is skipped. Returns 1 if a frame is bad or there is no Pixel Data. */
    int32_t IsBadPixelData(uint32_t *pBadCount, uint32_t *pGoodCount);
    /**
     * Turns a frame into a bitmap (PS 3.3, C.7.6.3; PS 3.5, 8 and A.4).
     * @param pElement      Pixel Data; null: nIndex counts through all Pixel Data elements
     * @param pBitmap       record for the result, which is the caller's to free (KernelFreeBitmap);
     *                      what it held before is not looked at. Without data after a failure.
     * @param nStructSize   sizeof(_BITMAPHANDLE)
     * @param nIndex        frame, from 0
     * @param nBitsPerPixel depth wanted, 0 for the image's own: 8 for gray of 8 bits and palettes,
     *                      12, 16 and 32 for gray with as many bits allocated, 24 for colour, 1
     * @param nOrder        not used: gray of 12 and 16 bits is KERNEL_ORDER_GRAY, colour BGR
     * @param nFlags        DICOM_GETIMAGE_ options
     * @param pfnCallback   hears of each row; null for none
     * @return 0; 1 MPEG, or a compression that the library does not know, 2 no memory, 4 or 5 data
     *         not readable, 8 depth that no bitmap has, 9 bad
     *         argument, 10 no such frame or one that no decoder reads, 11 JPEG-LS, 12 photometric
     *         interpretation unknown, 14 attributes missing, 215, 231 and 232 no library for the
     *         image; or what the callback said
     */
    uint16_t GetImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nStructSize,
                      uint32_t nIndex, int32_t nBitsPerPixel, int32_t nOrder, uint32_t nFlags,
                      MDICOM_LOAD_CALLBACK pfnCallback, void *pUserData);
    /** Appends up to nCount frames from nIndex on to a list. 9 for a null list; else as GetImage:
     *  the frames before one that fails stay in the list. */
    uint16_t GetImageList(_DICOMELEMENT *pElement, HBITMAPLIST__ *hList, uint32_t nIndex,
                          uint32_t nCount, int32_t nBitsPerPixel, int32_t nOrder, uint32_t nFlags);
    /**
     * Stores a bitmap as a frame (PS 3.3, C.7.6.3; PS 3.5, 8 and A.4). The first frame settles the
     * attributes of the image, later ones are made to match it. The bitmap is not changed.
     * @param pElement      Pixel Data; null: nIndex counts through all Pixel Data elements, and a
     *                      new one is made where there is none
     * @param nIndex        frame that the new one goes in front of; past the last one: behind it
     * @param nCompression  IMAGE_COMPRESSION_ value of a first frame: 0 to 3, 6 or 7; in other
     *                      encodings than explicit VR little endian frames are native. Later
     *                      frames have that of the first.
     * @param nPhotometric  PHOTOMETRIC_ value 0 to 3. Values of gray stay as they are: the caller
     *                      says which end is white.
     * @param nBitsPerPixel depth of a first frame, 0 for the bitmap's
     * @param nQuality      2 (best) to 255 for lossy compressions; else not used
     * @param nFlags        DICOM_SETIMAGE_ options
     * @param pfnCallback   may change each row; null for none
     * @return 0; 2 no memory, 4 frames that are there not readable, 5 not stored, or no JPEG
     *         encoder, 9 bad argument, 10 the encoder refused, or frames that are not stored as the
     *         transfer syntax says, 11 compression that does not go with the depth or has no
     *         encoder, 12 lossy palette, 13 bitmap not convertible, 214 null bitmap, 215 and 232 no
     *         library; of later frames also as GetInfoImage; or what the callback said. The data
     *         set is as it was after a failure.
     */
    uint16_t InsertImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                         uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                         int32_t nQuality, uint32_t nFlags, MDICOM_SAVE_CALLBACK pfnCallback,
                         void *pUserData);
    /** Replaces all frames of an element by one; for null all Pixel Data elements but the last are
     *  deleted. Arguments and statuses as those of InsertImage. */
    uint16_t SetImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nCompression,
                      int32_t nPhotometric, int32_t nBitsPerPixel, int32_t nQuality,
                      uint32_t nFlags, MDICOM_SAVE_CALLBACK pfnCallback, void *pUserData);
    /** Inserts the bitmaps of a list, the first in front of frame nIndex. 10 for no list. */
    uint16_t InsertImageList(_DICOMELEMENT *pElement, HBITMAPLIST__ *hList, uint32_t nIndex,
                             uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                             int32_t nQuality, uint32_t nFlags);
    /** Replaces all frames by the bitmaps of a list. */
    uint16_t SetImageList(_DICOMELEMENT *pElement, HBITMAPLIST__ *hList, uint32_t nCompression,
                          int32_t nPhotometric, int32_t nBitsPerPixel, int32_t nQuality,
                          uint32_t nFlags);
    /** Deletes up to nCount frames from nIndex on, without decoding. A native element goes with its
     *  last frame. 0, also where a frame could not be deleted: GetCountImage tells; 2 no memory, 9
     *  an element that is not in the tree. */
    uint16_t DeleteImage(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount);
    /**
     * Reads the bytes that a frame is stored as: native samples, or a code stream.
     * @param pData null asks for the size
     * @param pSize in: room; out: bytes of the frame, or bytes that were read
     * @return 0; 2 no memory, 5 not readable, 9 null size, 10 no such frame, 11 JPEG-LS; else as
     *         GetInfoImage
     */
    uint16_t GetFrameBinaryData(_DICOMELEMENT *pElement, uint32_t nIndex, void *pData,
                                uint32_t *pSize);
    /** Sets the options of JPEG 2000 encoding; null restores the defaults. 0; 2 no side record, 9
     *  options that no codestream can have. */
    uint16_t SetJ2KOptions(const _FILEJ2KOPTIONS *pOptions);
    /** Copies nSize bytes of the options. 0; 2 no side record, 9 null or no bytes. */
    uint16_t GetJ2KOptions(_FILEJ2KOPTIONS *pOptions, uint32_t nSize);
    /** Copies nSize bytes of the default options. 0; 65523 null or no bytes. */
    uint16_t GetDefaultJ2KOptions(_FILEJ2KOPTIONS *pOptions, uint32_t nSize);
    /**
     * Changes the transfer syntax of the data set (PS 3.5, A): encodes the top-level Pixel Data
     * anew where its compression changes, and turns values where byte order or VR encoding does.
     * Nothing has changed after a failure. After a success DS_KEEP_PIXEL_DATA_INTACT is set for a
     * compressed syntax and cleared for another; elements keep their addresses.
     * @param pszTransferSyntaxUID one of the ten of tagDICOM_TRANSFER_SYNTAXES
     * @param nQuality             2 (best) to 255 for lossy syntaxes
     * @param nFlags               1 adds 0x800000 to the JPEG encoder's flags
     * @return 0; 9 UID unknown, or the syntax does not hold the image's bits, 208 palette of 16
     *         bits and a compressed syntax; else as GetImage and InsertImage
     */
    uint16_t ChangeTransferSyntax(const wchar_t *pszTransferSyntaxUID, int32_t nQuality,
                                  uint32_t nFlags);
    ///@}

    /// @name LUTs and windows (PS 3.3, C.11.1, C.11.2, C.7.6.16.2.9, C.7.6.16.2.10)
    /// nSize and the nStructSize of a record are its sizeof. nFrame selects the functional groups
    /// of a frame, behind what stands on the top level. Table data is an array of 16-bit entries,
    /// also where an entry has 8 bits. DICOM_SETIMAGE_ flags say where new attributes go; two that
    /// exclude each other are status 9.
    ///@{
    /** The modality transformation of a frame; 0xFFFFFFFF looks at no functional group. 0; 201 no
     *  item, 204 no descriptor, 205 no transformation, 206, 213 wrong size, 214 null. */
    uint16_t GetModalityLUTAttributes(uint32_t nFrame, tagDICOMMLUTATTRIBS *pAttributes,
                                      uint32_t nSize, uint32_t nFlags);
    /** Table of the modality LUT. 0; 4 not readable, 9 a rescale, fewer entries than the table has,
     *  or null; else as GetModalityLUTAttributes. */
    uint16_t GetModalityLUTData(uint16_t *pData, uint32_t nEntries, uint32_t nFlags);
    /** Sets a rescale, or a table of nEntries entries; the other form goes. What all frames share
     *  changes with DICOM_SETIMAGE_UPDATE_SHARED only. 0; 2, 5 not stored, 9 bad argument, 206, 214
     *  null, 64747 wrong size. */
    uint16_t SetModalityLUT(uint32_t nFrame, const tagDICOMMLUTATTRIBS *pAttributes,
                            uint16_t *pData, uint32_t nEntries, uint32_t nFlags);
    /** Deletes the modality transformation; a shared one only with DICOM_SETIMAGE_UPDATE_SHARED. 0,
     *  also when there is none; 9 flags. */
    uint16_t DeleteModalityLUT(uint32_t nFrame, uint32_t nFlags);
    /** Number of VOI LUTs. 0; 9 null. */
    uint16_t GetVOILUTCount(uint32_t *pCount);
    /** A VOI LUT. 0; 9 no such LUT, or null, 204 no descriptor, 206, 209 no item, 213 wrong size.
     */
    uint16_t GetVOILUT(uint32_t nIndex, tagDICOMVOILUTATTRIBS *pAttributes, uint32_t nSize,
                       uint32_t nFlags);
    /** Table of a VOI LUT. 0; 4 not readable, 9 too little room, or null, 201 no table; else as
     *  GetVOILUT. */
    uint16_t GetVOILUTData(uint32_t nIndex, uint16_t *pData, uint32_t nEntries, uint32_t nFlags);
    /** Replaces a VOI LUT, or appends one when there is none of this index. 0; 2, 5 not stored, 9
     *  bad argument, 206, 64747 wrong size. */
    uint16_t SetVOILUT(uint32_t nIndex, const tagDICOMVOILUTATTRIBS *pAttributes, uint16_t *pData,
                       uint32_t nEntries, uint32_t nFlags);
    /** Deletes all VOI LUTs. Always 0. */
    uint16_t DeleteVOILUT(uint32_t nFlags);
    /** Number of windows of a frame. 0; 9 null. */
    uint16_t GetWindowCount(uint32_t nFrame, uint32_t *pCount);
    /** A window of a frame. 0; 9 no such window, 209 centre or width missing, 213 wrong size. */
    uint16_t GetWindow(uint32_t nFrame, uint32_t nIndex, tagDICOMWINDOWATTRIBS *pAttributes,
                       uint32_t nSize, uint32_t nFlags);
    /** Replaces a window, or appends one when there is none of this index; shared ones change with
     *  DICOM_SETIMAGE_UPDATE_SHARED only. 0; 4, 5, 9 bad argument, 201 the element has 30 windows,
     *  214 null, 64747 wrong size. */
    uint16_t SetWindow(uint32_t nFrame, uint32_t nIndex, const tagDICOMWINDOWATTRIBS *pAttributes,
                       uint32_t nFlags);
    /** Deletes all windows of a frame; shared ones only with DICOM_SETIMAGE_UPDATE_SHARED. Always
     *  0. */
    uint16_t DeleteWindow(uint32_t nFrame, uint32_t nFlags);
    /** Descriptors of the palette. 0; 204 one is missing, 206, 213 wrong size, 214 null. */
    uint16_t GetPaletteColorLUTAttributes(tagDICOMPALCOLORLUTATTRIBS *pAttributes, uint32_t nSize,
                                          uint32_t nFlags);
    /** Sets the descriptors of the palette. 0; 5, 9 bad descriptor, 214 null, 64747 wrong size. */
    uint16_t SetPaletteColorLUTAttributes(const tagDICOMPALCOLORLUTATTRIBS *pAttributes,
                                          uint32_t nFlags);
    /** A table of the palette, segmented ones expanded. nType is a PALETTE_LUT_ value. 0; 2, 4 not
     *  readable, 9 too little room or a bad argument, 201 unknown segment, 207 no table, 208
     *  segmented table of 8 bits; else as GetPaletteColorLUTAttributes. */
    uint16_t GetPaletteColorLUTData(uint16_t *pData, uint32_t nEntries, uint32_t nType,
                                    uint32_t nFlags);
    /** Sets a table of the palette, of which as many entries count as its descriptor says. 0; 2, 5
     *  not stored, 9 bad argument, 204 no descriptor, 206. There is no table after a failure to
     *  store. */
    uint16_t SetPaletteColorLUTData(uint16_t *pData, uint32_t nEntries, uint32_t nType,
                                    uint32_t nFlags);
    /** Deletes descriptors and tables of the palette. Always 0. */
    uint16_t DeletePaletteColorLUT(uint32_t nFlags);
    ///@}

    /// @name Overlays (PS 3.3, C.9.2; PS 3.5, 8.1.2)
    /// Overlays stand in the groups 6000 to 601E of the top level and are counted in order of their
    /// groups, from 0, activation layers that stand alone included. nSize is the sizeof of the
    /// record.
    ///@{
    /** Number of overlays, or of activation layers if those are more. 0; 9 null. */
    uint16_t GetOverlayCount(uint32_t *pCount);
    /** Attributes of an overlay. pGroup, which may be null, gets the group less 6000; pIsOverlay 0
     *  for an activation layer alone. 0; 9 bad argument, 210 attributes missing, 213. */
    uint16_t GetOverlayAttributes(uint32_t nIndex, _OVERLAYATTRIBUTES *pAttributes, uint32_t nSize,
                                  uint32_t *pGroup, int32_t *pIsOverlay, uint32_t nFlags);
    /**
     * Sets the attributes of an overlay, or makes a new one. SetOverlayBitmap with the same index
     * then gives data to the same overlay.
     * @param nIndex  an overlay's index; GetOverlayCount for a new one in group 6000 + 2 x nIndex,
     *                or behind the last if an overlay stands in the way; any higher index up to 15
     *                names the group 6000 + 2 x nIndex
     * @param nFlags  1 leaves an overlay that is there as it is
     * @return 0; 5 not stored, 9 bad argument or no group left, 213 wrong size
     */
    uint16_t SetOverlayAttributes(uint32_t nIndex, const _OVERLAYATTRIBUTES *pAttributes,
                                  uint32_t nFlags);
    /** Name of the activation layer; nLength in wide characters. 0; 9, 211 no layer. */
    uint16_t GetOverlayActivationLayer(uint32_t nIndex, wchar_t *pText, uint32_t nLength);
    /** The first frame of an overlay as a one-bit bitmap, the caller's to free. 0; 2, 4, 9, 210,
     *  212 no data of its own. */
    uint16_t GetOverlayBitmap(uint32_t nIndex, _BITMAPHANDLE *pBitmap, uint32_t nSize,
                              uint32_t nFlags);
    /** Sets the first frame of an overlay whose attributes are there, from a one-bit bitmap of its
     *  size. nIndex is the overlay's; if there is none, the overlay in group 6000 + 2 x nIndex is
     *  meant. 0; 2, 5, 9 bitmap of another form, 10 not readable, 210. */
    uint16_t SetOverlayBitmap(uint32_t nIndex, _BITMAPHANDLE *pBitmap, uint32_t nFlags);
    /** Appends nCount frames of an overlay to a list, from frame nFirst on. 0; 9 null list, no such
     *  overlay or frame; else as GetOverlayBitmap: frames before one that fails stay in the list.
     */
    uint16_t GetOverlayBitmapList(uint32_t nIndex, HBITMAPLIST__ *hList, uint32_t nFirst,
                                  uint32_t nCount, uint32_t nFlags);
    /** Sets the first frames of an overlay from a list; one with fewer frames gets more. 0; 9 null
     *  or empty list, or no such overlay; else as SetOverlayBitmap. */
    uint16_t SetOverlayBitmapList(uint32_t nIndex, HBITMAPLIST__ *hList, uint32_t nFlags);
    /** Deletes an overlay, or an activation layer. 0 also when there is none of this index. */
    uint16_t DeleteOverlay(uint32_t nIndex, uint32_t nFlags);
    ///@}

  private:
    friend class mdicom::ElementReader;
    friend class mdicom::ElementWriter;
    friend class mdicom::FrameLoader;
    friend class mdicom::FrameSaver;
    friend class mdicom::FrameTranscoder;
    friend struct mdicom::UncompressedFrames; // M_DicomInsertUncompressedFrame
    friend struct mdicom::DataSetAccess;      // tests of the value store

    // Element tree
    bool CheckElement(_DICOMELEMENT *pElement);
    void ReportDebug(_DICOMELEMENT *pElement, uint16_t nCode);
    void DeleteNode(_DICOMELEMENT *pElement);
    void DeleteAllNodes();
    static _DICOMELEMENT *GetParentOrNull(_DICOMELEMENT *pElement);
    static bool IsVolatile(const _DICOMELEMENT *pElement);
    static void FreeCaches(_DICOMELEMENT *pElement);
    _DICOMELEMENT *InsertUnder(_DICOMELEMENT *pParent, uint32_t nTag, uint16_t nVR, bool bSequence,
                               uint32_t nIndex, uint16_t *pRefusal);
    _DICOMELEMENT *PlaceOnLevel(_DICOMELEMENT *pParent, uint32_t nTag);
    _DICOMELEMENT *FindOnLevel(_DICOMELEMENT *pParent, uint32_t nTag, _DICOMELEMENT *pPlace);
    _DICOMELEMENT *FindInTree(uint32_t nTag);
    void RecordOffset(_DICOMELEMENT *pElement, uint32_t nOffset);
    void ForgetOffset(_DICOMELEMENT *pElement);
    void ForgetBadElement(const _DICOMELEMENT *pElement);
    void ResetDS(int32_t bClose);

    // Reader and writer
    uint16_t WriteDS(MDicomFile &file, uint16_t nFlags);
    uint16_t LoadOwnFile(uint16_t nFlags);
    uint16_t LoadByTrial(MDicomFile &file, uint64_t nOffset, uint16_t nBaseFlags,
                         std::span<const uint16_t> trials, int32_t bRequireImage);
    uint16_t LoadTrial(MDicomFile &file, uint64_t nOffset, uint16_t nTrialFlags,
                       int32_t bRequireImage, bool *pSound);
    int32_t GetTS(uint16_t *pFlags, uint32_t *pCompression, const char *pszUID);
    int32_t GetClass(uint32_t *pClass, const char *pszUID);
    uint16_t GetDefaultVR(_DICOMELEMENT *pElement, uint32_t nTag, int32_t bChild);
    uint16_t FixBadElements();
    uint16_t RefreshKeys();
    bool CopyFileReference(_DICOMELEMENT *pRecord, _DICOMELEMENT *pSource);

    // Typed values
    int32_t GetTypeValue(_DICOMELEMENT *pElement);
    int32_t SetTypeValue(_DICOMELEMENT *pElement, const void *pArray, uint32_t nCount,
                         int32_t bRange);
    int32_t VerifyVR(_DICOMELEMENT *pElement, uint32_t nKind);
    int32_t VerifyTypeValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t *pCount,
                            uint32_t nKind);
    void *GetEntry(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount, uint32_t nKind);
    int32_t SetEntries(_DICOMELEMENT *pElement, const void *pArray, uint32_t nCount,
                       uint32_t nKind);
    uint16_t GetRange(_DICOMELEMENT *pElement, uint32_t nIndex, void *pRange, uint32_t nKind);
    mdicom::CharacterSetList SplittingSetsOf(_DICOMELEMENT *pElement);
    bool EncodeStrings(_DICOMELEMENT *pElement, const wchar_t *pszText, uint32_t nCount,
                       uint32_t nCharacterSet, std::string *pBytes);
    uint16_t GetSizeVR(uint16_t nVR);
    _DICOMELEMENT *FindOutward(_DICOMELEMENT *pElement, uint32_t nTag);

    // Value store
    bool IsStoredLittleEndian(const _DICOMELEMENT *pElement) const;
    int32_t GetFileBinaryValue(_DICOMELEMENT *pElement, void *pBuffer, uint32_t nOffset,
                               uint32_t nLength);
    int32_t SetFileBinaryValue(_DICOMELEMENT *pElement, void *pData, uint32_t nOffset,
                               uint32_t nLength);
    int32_t InsertFileBinaryValue(_DICOMELEMENT *pElement, void *pData, uint32_t nOffset,
                                  uint32_t nLength);
    int32_t DeleteFileBinaryValue(_DICOMELEMENT *pElement, uint32_t nOffset, uint32_t nLength);

    // Character sets
    uint16_t RefreshCharacterSet();
    int32_t IsElementAffectedByCharacterSet(_DICOMELEMENT *pElement);
    uint16_t ReadCharacterSets(uint32_t *pTable, uint32_t nCapacity, uint32_t *pCount);
    uint16_t ApplyCharacterSet(uint32_t nCharacterSet);
    uint16_t ConvertToWide(const char *pszText, const uint32_t *pTable, uint32_t nCount,
                           wchar_t *pszOut, uint32_t nOutSize);
    mdicom::CharacterSetList CharacterSetsOf(_DICOMELEMENT *pElement);

    // Directory records
    mdicom::KeyIndex *GetKeyIndex();
    mdicom::KeyNode *GetKeyNode(_DICOMELEMENT *pKey);
    _DICOMELEMENT *AddKey(_DICOMELEMENT *pParent, const wchar_t *pszType, int32_t bOptional);
    _DICOMELEMENT *AddRecord();
    bool FillRecord(_DICOMELEMENT *pRecord, const wchar_t *pszType);
    bool LinkRecord(const mdicom::KeyLevel &Level, uint32_t nIdentity);
    bool SetReference(_DICOMELEMENT *pRecord, uint32_t nTag, uint32_t nIdentity);
    void TurnReference(_DICOMELEMENT *pRecord, uint32_t nTag, uint32_t nIdentity);
    void Unlink(const mdicom::KeyNode &Node);
    _DICOMELEMENT *FindChild(_DICOMELEMENT *pParent, uint32_t nTag);
    bool IsKeyOfType(_DICOMELEMENT *pKey, const wchar_t *pszType);
    _DICOMELEMENT *GetItemKey(_DICOMELEMENT *pElement);
    _DICOMELEMENT *FindAttachKey(_DICOMELEMENT *pElement, uint32_t nTag);
    uint32_t GetAvailableKey();
    void InsertModuleKey(_DICOMELEMENT *pElement, _DICOMIOD *pIOD, int32_t bOptional);
    _DICOMELEMENT *InsertRowElement(_DICOMELEMENT *pElement, uint32_t nTag, bool bWithItem);

    // Images
    uint16_t DescribeImage(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, int32_t bWithTables);
    uint16_t LocateFrame(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, uint32_t nFrame);
    uint16_t LocateFragment(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo,
                            const mdicom::FrameRules &Rules, uint32_t nFrame);
    uint16_t GetInfoImage(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, uint32_t nFrame,
                          int32_t bWithTables);
    void FreeInfoImage(_IMAGEINFO *pInfo);
    _DICOMELEMENT *FindPixelData(uint32_t *pIndex);
    _DICOMELEMENT *FindInsertionPoint(uint32_t *pIndex);
    uint16_t SaveImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                       uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                       int32_t nQuality, uint32_t nFlags, MDICOM_SAVE_CALLBACK pfnCallback,
                       void *pUserData);
    template <typename Store>
    uint16_t ReplaceImage(_DICOMELEMENT *pElement, uint32_t nFlags, Store store);
    uint16_t SetVOIlUT(uint32_t nIndex, _DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap,
                       uint32_t nFlags);
    uint16_t EncodeNONE(uint8_t **ppData, _BITMAPHANDLE *pBitmap, uint32_t *pSize);
    uint16_t EncodeRLE(uint8_t **ppData, _BITMAPHANDLE *pBitmap, uint32_t *pSize);
    uint16_t EncodeJPEG(uint8_t **ppData, _BITMAPHANDLE *pBitmap, int32_t nQuality,
                        uint32_t *pSize);
    uint16_t ReadFrame(_IMAGEINFO *pInfo, void *pData, uint32_t nSize);
    uint64_t CountFrameBytes(_IMAGEINFO *pInfo);
    uint16_t DeleteImage(_DICOMELEMENT *pElement, uint32_t nIndex);
    uint16_t DeleteFrames(_DICOMELEMENT *pElement, uint32_t nFirst, uint32_t nCount);
    uint16_t DeleteFragments(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, uint32_t nCount);
    uint16_t DeleteNativeFrames(_IMAGEINFO *pInfo, uint32_t nCount);
    uint16_t RefreshImage(_DICOMELEMENT *pElement);
    int32_t InsertUncompressedFrame(_DICOMELEMENT *pElement, void *pData, uint32_t nSize,
                                    uint32_t nIndex);
    int32_t InsertNativeFrame(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, uint8_t *pFrame,
                              uint32_t nSize, uint32_t nIndex);
    uint16_t ChangeTransferSyntax(int32_t nTransferSyntax, int32_t nQuality);
    int32_t ValidateJ2KOptions(const _FILEJ2KOPTIONS *pOptions);
    uint16_t DecodeNONE(_IMAGEINFO *pImage, uint8_t *pBuffer, uint32_t nBufferSize);
    uint16_t DecodePacked(_IMAGEINFO *pImage, uint8_t *pBuffer);
    uint16_t DecodeRLE(_IMAGEINFO *pImage, uint8_t *pBuffer, uint32_t nBufferSize);
    uint16_t DecodeJPEG(_IMAGEINFO *pImage, uint8_t *pBuffer, uint32_t nBufferSize);
    uint16_t GatherFrame(const _IMAGEINFO *pImage, mdicom::FrameData *pFrame);
    uint16_t DecodeJ2K(_IMAGEINFO *pImage, uint8_t *pBuffer, uint32_t nBufferSize);
    uint16_t EncodeJ2K(uint8_t **ppData, _BITMAPHANDLE *pBitmap, int32_t nQuality, uint32_t *pSize,
                       int32_t bLossless);
    uint16_t SetInfoImage(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, _BITMAPHANDLE *pBitmap,
                          uint32_t nFrame, int32_t nPhotometric, int32_t bWriteElements,
                          uint32_t nFlags);
    uint16_t AddIODSpecificElements(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo);

    // LUTs and windows
    uint16_t GetLUTDescriptor(_DICOMELEMENT *pItem, uint32_t nTag, _DICOMLUTDESCRIPTOR *pDescriptor,
                              uint32_t nType);
    uint16_t SetLUTDescriptor(_DICOMELEMENT *pStart, const _DICOMLUTDESCRIPTOR *pDescriptor,
                              uint32_t nTag);
    uint16_t SetModalityLUTDescriptor(_DICOMELEMENT *pItem, const _DICOMLUTDESCRIPTOR *pDescriptor);
    uint16_t InsertModalityLUTSequence(const tagDICOMMLUTATTRIBS *pAttributes, uint16_t *pData,
                                       uint32_t nEntries);
    uint16_t Set8BitLUT(_DICOMELEMENT *pElement, const uint16_t *pData, uint32_t nEntries);
    uint16_t SetLUTTable(_DICOMELEMENT *pElement, uint16_t *pData, uint32_t nEntries,
                         uint32_t nEntryBits);
    uint16_t SetRescale(uint32_t nFrame, const tagDICOMMLUTATTRIBS &Attributes, uint32_t nFlags);
    uint16_t FillModalityLUT(_DICOMELEMENT *pSequence, const tagDICOMMLUTATTRIBS &Attributes,
                             uint16_t *pData, uint32_t nEntries);
    uint16_t FillVOILUT(_DICOMELEMENT *pItem, const tagDICOMVOILUTATTRIBS &Attributes,
                        uint16_t *pData, uint32_t nEntries);
    int32_t SearchModalityLUT(_DICOMELEMENT *pStart, tagDICOMMLUTATTRIBS *pAttributes);
    int32_t SearchWindowCenterWidth(_DICOMELEMENT *pStart, uint32_t nIndex,
                                    tagDICOMWINDOWATTRIBS *pAttributes);
    uint16_t UpdateWindowElement(_DICOMELEMENT *pStart, uint32_t nIndex, double fValue,
                                 uint32_t nTag);
    uint16_t GetModalityLUTAttributes(uint32_t nFrame, tagDICOMMLUTATTRIBS *pAttributes,
                                      uint32_t nSize, _BITMAPHANDLE *pBitmap, uint32_t nFlags);
    uint16_t ApplyModalityLUT(_BITMAPHANDLE *pBitmap, uint32_t nStructSize, _IMAGEINFO *pImage,
                              int32_t nMin, int32_t nMax, uint32_t nFlags);
    uint16_t ApplyVOILUT(_BITMAPHANDLE *pBitmap, uint32_t nStructSize, _IMAGEINFO *pImage,
                         uint32_t nFlags);
    void ApplyModalityTable(_BITMAPHANDLE *pBitmap, const tagDICOMMLUTATTRIBS &Attributes);
    void ApplyWindow(_BITMAPHANDLE *pBitmap, uint32_t nFrame, uint32_t nCompanionFlags,
                     uint32_t nFlags);
    void ApplyVOITable(_BITMAPHANDLE *pBitmap, uint32_t nCompanionFlags);
    void AutoScaleModalityLUT(tagDICOMMLUTATTRIBS *pAttributes, _BITMAPHANDLE *pBitmap,
                              uint32_t nFlags);
    uint16_t SetNonLinearVOILUT(uint32_t nFrame, _DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap);

    // Functional groups
    int32_t CanAddMultiFrameFunctionalGroup();
    int32_t IsPerFrameMultiFrameFunctionalGroup(_DICOMELEMENT *pElement);
    int32_t IsSharedMultiFrameFunctionalGroup(_DICOMELEMENT *pElement);
    _DICOMELEMENT *FindMultiFrameFunctionalGroupElement(uint32_t nMacroTag, uint32_t nTag,
                                                        uint32_t nFrame);
    _DICOMELEMENT *FindMultiFrameFunctionGroupVOILUT(uint32_t nFrame);
    _DICOMELEMENT *FindMultiFrameFunctionGroupModalityLUT(uint32_t nFrame);
    void GetMultiFrameFunctionGroupLutElements(uint32_t nFlags, uint32_t nFrame,
                                               _DICOMELEMENT **ppVOI, int32_t *pVOIShared,
                                               _DICOMELEMENT **ppModality,
                                               int32_t *pModalityShared);
    _DICOMELEMENT *CreateMultiFrameFunctionalGroupElement(uint32_t nGroupTag, uint32_t nMacroTag,
                                                          uint32_t nTag, uint32_t nFrame,
                                                          int32_t bInsert);
    uint16_t InsertItemPerFrameMultiFrameFunctionalGroup(uint32_t nIndex);
    uint16_t DeleteItemPerFrameMultiFrameFunctionalGroup(uint32_t nFirst, uint32_t nLast);
    int32_t DeleteMultiFrameSequence(uint32_t nMacroTag, uint32_t nItem);

    // Overlays
    uint32_t GetOverlayGroupMaskByIndex(uint32_t nIndex, int32_t *pActivationOnly);
    uint32_t GetOverlayGroupMaskByIndexActLayer(uint32_t nIndex);
    uint16_t GetOverlayBitmap(uint32_t nIndex, _BITMAPHANDLE *pBitmap, uint32_t nSize,
                              uint32_t nFrame, uint32_t nFlags);
    uint16_t SetOverlayBitmap(uint32_t nIndex, _BITMAPHANDLE *pBitmap, uint32_t nFrame,
                              uint32_t nFlags);
    uint16_t DeleteAllOverlays(uint32_t nFlags);
    uint16_t LoadOverlaysIntoBitmap(_BITMAPHANDLE *pBitmap, uint32_t nStructSize, uint32_t nFlags);
    uint16_t SaveOverlaysFromBitmap(_BITMAPHANDLE *pBitmap, uint32_t nFlags);

    // Modules and conformance
    void InsertClass(_DICOMIOD *pClass);
    int32_t SetClass(uint32_t nClass);
    int32_t SetTS(uint16_t nFlags, uint32_t nCompression);
    _DICOMIOD *VerifyModule(_DICOMELEMENT *pElement, uint32_t nModule);
    int32_t InsertModule(_DICOMELEMENT *pElement, uint32_t nModule, uint32_t nIndex,
                         int32_t bOptional);
    void InsertModule(_DICOMELEMENT *pElement, _DICOMIOD *pIOD, int32_t bOptional);
    _DICOMELEMENT *InsertRow(_DICOMELEMENT *pParent, _DICOMIOD *pRow, int32_t bOptional);
    static uint32_t GetCountElementIOD(_DICOMIOD *pIOD, int32_t bOptional);
    _DICOMIOD *FindOwnClass();
    uint16_t GetFindings(_DICOMELEMENT *pElement);
    uint32_t CountForTest(_DICOMELEMENT *pElement);

    // Private elements
    bool MatchesCreator(_DICOMELEMENT *pElement, const std::wstring *pName, uint16_t nGroup);
    _DICOMELEMENT *FindCreatorFrom(_DICOMELEMENT *pElement, int32_t bSameLevel,
                                   const wchar_t *pszCreator, uint16_t nGroup);
    uint16_t ChooseCreator(_DICOMELEMENT *pElement, uint16_t nGroup, uint16_t *pNumber);

    // Copying
    uint16_t CopyTreeDS(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource,
                        MDICOM_DEBUG_CALLBACK pfnCallback, void *pUserData);
    _DICOMELEMENT *FindCopyTarget(_DICOMELEMENT *pParent, uint32_t nTag);
    uint16_t CopyElement(_DICOMELEMENT *pParent, MDicomDS *pSourceDS, _DICOMELEMENT *pSource,
                         bool bIdentity, _DICOMELEMENT **ppTarget);
    uint16_t CopyValue(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource);
    uint16_t CopyLargeValue(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource,
                            uint8_t *pPiece);

    mdicom::ElementIndex *m_pIndex = nullptr;
};

#endif
