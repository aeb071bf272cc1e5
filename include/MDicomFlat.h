// The toolkit for C, and for every language that can call C.
//
// A function forwards to the class member that its comment names and does nothing else: the
// arguments, results and ownership are those of the member. Handles come first and are not
// checked.

#ifndef MDICOM_FLAT_H
#define MDICOM_FLAT_H

#include "MDicomApi.h"
#include "MDicomEngine.h"
#include "MDicomTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name VR table
///@{
/** Fills the VR table with its default rows (MDicomVR::Default). */
MDICOM_API void M_DicomDefaultVR(void);
/** Empties the VR table (MDicomVR::Reset). */
MDICOM_API void M_DicomResetVR(void);
/** Appends a row to the VR table (MDicomVR::Insert). */
MDICOM_API _DICOMVR *M_DicomInsertVR(uint16_t nCode, const wchar_t *pszName, uint32_t nLength,
                                     uint16_t nRestrict, uint16_t nUnitSize);
/** Deletes a row of the VR table and returns its neighbour (MDicomVR::Delete). */
MDICOM_API _DICOMVR *M_DicomDeleteVR(_DICOMVR *pRecord);
/** Gives a row of the VR table another name (MDicomVR::SetName). */
MDICOM_API int32_t M_DicomSetNameVR(_DICOMVR *pRecord, const wchar_t *pszName);
/** Finds a row of the VR table by its key (MDicomVR::Find). */
MDICOM_API _DICOMVR *M_DicomFindVR(uint16_t nCode);
/** Finds a row of the VR table by its position (MDicomVR::FindIndex). */
MDICOM_API _DICOMVR *M_DicomFindIndexVR(uint32_t nIndex);
/** Tells whether a record is a row of the VR table (MDicomVR::Exists). */
MDICOM_API int32_t M_DicomExistsVR(_DICOMVR *pRecord);
/** First row of the VR table (MDicomVR::GetFirst). */
MDICOM_API _DICOMVR *M_DicomGetFirstVR(void);
/** Last row of the VR table (MDicomVR::GetLast). */
MDICOM_API _DICOMVR *M_DicomGetLastVR(void);
/** Row of the VR table behind another (MDicomVR::GetNext). */
MDICOM_API _DICOMVR *M_DicomGetNextVR(_DICOMVR *pRecord);
/** Row of the VR table before another (MDicomVR::GetPrev). */
MDICOM_API _DICOMVR *M_DicomGetPrevVR(_DICOMVR *pRecord);
/** Number of rows of the VR table (MDicomVR::GetCount). */
MDICOM_API uint32_t M_DicomGetCountVR(void);
///@}

/// @name Data dictionary
///@{
/** Fills the data dictionary with its default rows (MDicomTag::Default). */
MDICOM_API void M_DicomDefaultTag(void);
/** Empties the data dictionary (MDicomTag::Reset). */
MDICOM_API void M_DicomResetTag(void);
/** Appends a row to the data dictionary (MDicomTag::Insert). */
MDICOM_API _DICOMTAG *M_DicomInsertTag(uint32_t nCode, uint32_t nMask, const wchar_t *pszName,
                                       uint16_t nVR, uint32_t nMinVM, uint32_t nMaxVM,
                                       uint32_t nDivideVM);
/** Deletes a row of the data dictionary and returns its neighbour (MDicomTag::Delete). */
MDICOM_API _DICOMTAG *M_DicomDeleteTag(_DICOMTAG *pRecord);
/** Gives a row of the data dictionary another name (MDicomTag::SetName). */
MDICOM_API int32_t M_DicomSetNameTag(_DICOMTAG *pRecord, const wchar_t *pszName);
/** Finds a row of the data dictionary by its key (MDicomTag::Find). */
MDICOM_API _DICOMTAG *M_DicomFindTag(uint32_t nCode);
/** Finds a row of the data dictionary by its position (MDicomTag::FindIndex). */
MDICOM_API _DICOMTAG *M_DicomFindIndexTag(uint32_t nIndex);
/** Tells whether a record is a row of the data dictionary (MDicomTag::Exists). */
MDICOM_API int32_t M_DicomExistsTag(_DICOMTAG *pRecord);
/** First row of the data dictionary (MDicomTag::GetFirst). */
MDICOM_API _DICOMTAG *M_DicomGetFirstTag(void);
/** Last row of the data dictionary (MDicomTag::GetLast). */
MDICOM_API _DICOMTAG *M_DicomGetLastTag(void);
/** Row of the data dictionary behind another (MDicomTag::GetNext). */
MDICOM_API _DICOMTAG *M_DicomGetNextTag(_DICOMTAG *pRecord);
/** Row of the data dictionary before another (MDicomTag::GetPrev). */
MDICOM_API _DICOMTAG *M_DicomGetPrevTag(_DICOMTAG *pRecord);
/** Number of rows of the data dictionary (MDicomTag::GetCount). */
MDICOM_API uint32_t M_DicomGetCountTag(void);
///@}

/// @name UID registry
///@{
/** Fills the UID registry with its default rows (MDicomUID::Default). */
MDICOM_API void M_DicomDefaultUID(void);
/** Empties the UID registry (MDicomUID::Reset). */
MDICOM_API void M_DicomResetUID(void);
/** Appends a row to the UID registry (MDicomUID::Insert). */
MDICOM_API _DICOMUID *M_DicomInsertUID(const wchar_t *pszCode, const wchar_t *pszName,
                                       uint32_t nType);
/** Deletes a row of the UID registry and returns its neighbour (MDicomUID::Delete). */
MDICOM_API _DICOMUID *M_DicomDeleteUID(_DICOMUID *pRecord);
/** Gives a row of the UID registry another name (MDicomUID::SetName). */
MDICOM_API int32_t M_DicomSetNameUID(_DICOMUID *pRecord, const wchar_t *pszName);
/** Finds a row of the UID registry by its key (MDicomUID::Find). */
MDICOM_API _DICOMUID *M_DicomFindUID(const wchar_t *pszCode);
/** Finds a row of the UID registry by its position (MDicomUID::FindIndex). */
MDICOM_API _DICOMUID *M_DicomFindIndexUID(uint32_t nIndex);
/** Tells whether a record is a row of the UID registry (MDicomUID::Exists). */
MDICOM_API int32_t M_DicomExistsUID(_DICOMUID *pRecord);
/** First row of the UID registry (MDicomUID::GetFirst). */
MDICOM_API _DICOMUID *M_DicomGetFirstUID(void);
/** Last row of the UID registry (MDicomUID::GetLast). */
MDICOM_API _DICOMUID *M_DicomGetLastUID(void);
/** Row of the UID registry behind another (MDicomUID::GetNext). */
MDICOM_API _DICOMUID *M_DicomGetNextUID(_DICOMUID *pRecord);
/** Row of the UID registry before another (MDicomUID::GetPrev). */
MDICOM_API _DICOMUID *M_DicomGetPrevUID(_DICOMUID *pRecord);
/** Number of rows of the UID registry (MDicomUID::GetCount). */
MDICOM_API uint32_t M_DicomGetCountUID(void);
///@}

/// @name Data set and element tree
///@{
/** Makes a data set; null when memory is short (constructor of MDicomDS). */
MDICOM_API MDicomDS *M_DicomCreateDS(const wchar_t *pszTempPath);
/** Frees a data set; null is ignored (destructor of MDicomDS). */
MDICOM_API void M_DicomFreeDS(MDicomDS *hDS);
/** Inserts an element (MDicomDS::InsertElement). */
MDICOM_API _DICOMELEMENT *M_DicomInsertElement(MDicomDS *hDS, _DICOMELEMENT *pNeighbor,
                                               int32_t bChild, uint32_t nTag, uint16_t nVR,
                                               int32_t bSequence, uint32_t nIndex);
/** Deletes an element and what stands below it (MDicomDS::DeleteElement). */
MDICOM_API _DICOMELEMENT *M_DicomDeleteElement(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** First element of a level or of the tree (MDicomDS::GetFirstElement). */
MDICOM_API _DICOMELEMENT *M_DicomGetFirstElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                 int32_t bSameLevel, int32_t bVolatile);
/** Last element of a level or of the tree (MDicomDS::GetLastElement). */
MDICOM_API _DICOMELEMENT *M_DicomGetLastElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                int32_t bSameLevel, int32_t bVolatile);
/** Element behind another (MDicomDS::GetNextElement). */
MDICOM_API _DICOMELEMENT *M_DicomGetNextElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                int32_t bSameLevel, int32_t bVolatile);
/** Element before another (MDicomDS::GetPrevElement). */
MDICOM_API _DICOMELEMENT *M_DicomGetPrevElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                int32_t bSameLevel, int32_t bVolatile);
/** First child of an element (MDicomDS::GetChildElement). */
MDICOM_API _DICOMELEMENT *M_DicomGetChildElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                 int32_t bVolatile);
/** Parent of an element (MDicomDS::GetParentElement). */
MDICOM_API _DICOMELEMENT *M_DicomGetParentElement(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** Ancestor of an element on the top level (MDicomDS::GetRootElement). */
MDICOM_API _DICOMELEMENT *M_DicomGetRootElement(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** Number of ancestors of an element (MDicomDS::GetLevelElement). */
MDICOM_API uint32_t M_DicomGetLevelElement(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** Tells whether an address is an element of the data set (MDicomDS::ExistsElement). */
MDICOM_API int32_t M_DicomExistsElement(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** Tells whether the library derives an element by itself (MDicomDS::IsVolatileElement). */
MDICOM_API int32_t M_DicomIsVolatileElement(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** First element with a tag (MDicomDS::FindFirstElement). */
MDICOM_API _DICOMELEMENT *M_DicomFindFirstElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                  uint32_t nTag, int32_t bSameLevel);
/** Last element with a tag (MDicomDS::FindLastElement). */
MDICOM_API _DICOMELEMENT *M_DicomFindLastElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                 uint32_t nTag, int32_t bSameLevel);
/** Next element with the tag of another (MDicomDS::FindNextElement). */
MDICOM_API _DICOMELEMENT *M_DicomFindNextElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                 int32_t bSameLevel);
/** Previous element with the tag of another (MDicomDS::FindPrevElement). */
MDICOM_API _DICOMELEMENT *M_DicomFindPrevElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                 int32_t bSameLevel);
/** Sets the callback that hears of refused operations (MDicomDS::SetDebugDS). */
MDICOM_API void M_DicomSetDebugDS(MDicomDS *hDS, MDICOM_DEBUG_CALLBACK pfnDebug, void *pUserData);
/** Tells whether compressed pixels stay as they are (MDicomDS::GetKeepPixelDataIntactFlag). */
MDICOM_API int32_t M_DicomGetKeepPixelDataIntactFlag(MDicomDS *hDS);
/** Sets whether compressed pixels stay as they are (MDicomDS::SetKeepPixelDataIntactFlag). */
MDICOM_API int32_t M_DicomSetKeepPixelDataIntactFlag(MDicomDS *hDS, int32_t bKeep);
/** Copies bytes out of the preamble (MDicomDS::GetPreamble). */
MDICOM_API void M_DicomGetPreamble(MDicomDS *hDS, uint8_t *pBuffer, uint32_t nLength);
/** Copies bytes into the preamble (MDicomDS::SetPreamble). */
MDICOM_API void M_DicomSetPreamble(MDicomDS *hDS, const uint8_t *pBuffer, uint32_t nLength);
/** Deletes all elements and closes the loaded file (MDicomDS::ResetDS). */
MDICOM_API void M_DicomResetDS(MDicomDS *hDS);
///@}

/// @name Loading and saving
///@{
/** Loads a file (MDicomDS::LoadDS). */
MDICOM_API uint16_t M_DicomLoadDS(MDicomDS *hDS, const wchar_t *pszName, uint16_t nFlags);
/** Loads a block of memory that outlives its use (MDicomDS::LoadDSMemory). */
MDICOM_API uint16_t M_DicomLoadDSMemory(MDicomDS *hDS, void *pData, uint64_t nLength,
                                        uint16_t nFlags);
/** Saves to a file (MDicomDS::SaveDS). */
MDICOM_API uint16_t M_DicomSaveDS(MDicomDS *hDS, const wchar_t *pszName, uint16_t nFlags);
///@}

/// @name Modules
///@{
/** IOD class and flags of a data set (MDicomDS::GetInfoDS). */
MDICOM_API void M_DicomGetInfoDS(MDicomDS *hDS, uint32_t *pClass, uint16_t *pFlags);
///@}

/// @name Typed values
///@{
/** Values of a byte element (MDicomDS::GetCharValue). */
MDICOM_API uint8_t *M_DicomGetCharValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                        uint32_t nCount);
/** Values of a 16-bit element (MDicomDS::GetShortValue). */
MDICOM_API int16_t *M_DicomGetShortValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                         uint32_t nCount);
/** Values of a 32-bit element (MDicomDS::GetLongValue). */
MDICOM_API int32_t *M_DicomGetLongValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                        uint32_t nCount);
/** Values of a float element (MDicomDS::GetFloatValue). */
MDICOM_API float *M_DicomGetFloatValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                       uint32_t nCount);
/** Values of a double element (MDicomDS::GetDoubleValue). */
MDICOM_API double *M_DicomGetDoubleValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                         uint32_t nCount);
/** Values of an integer text as 64-bit numbers (MDicomDS::GetLong64Value). */
MDICOM_API uint16_t M_DicomGetLong64Value(MDicomDS *hDS, _DICOMELEMENT *pElement, int64_t *pArray,
                                          uint32_t nIndex, uint32_t nCount);
/** Text of a value as wide text (MDicomDS::GetStringValue). */
MDICOM_API const wchar_t *M_DicomGetStringValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                uint32_t nIndex, uint32_t nCount);
/** Text of a value as it is stored (MDicomDS::GetStringValueA). */
MDICOM_API const char *M_DicomGetStringValueA(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                              uint32_t nIndex, uint32_t nCount);
/** Values of an age element (MDicomDS::GetAgeValue). */
MDICOM_API _VALUEAGE *M_DicomGetAgeValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                         uint32_t nCount);
/** Values of a date element (MDicomDS::GetDateValue). */
MDICOM_API _VALUEDATE *M_DicomGetDateValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                           uint32_t nCount);
/** Values of a time element (MDicomDS::GetTimeValue). */
MDICOM_API _VALUETIME *M_DicomGetTimeValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                           uint32_t nCount);
/** Values of a date-time element (MDicomDS::GetDateTimeValue). */
MDICOM_API _VALUEDATETIME *M_DicomGetDateTimeValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                   uint32_t nIndex, uint32_t nCount);
/** Value multiplicity of an element (MDicomDS::GetCountValue). */
MDICOM_API uint32_t M_DicomGetCountValue(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** Frees the parsed values of an element (MDicomDS::FreeValue). */
MDICOM_API void M_DicomFreeValue(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** Sets the values of a byte element (MDicomDS::SetCharValue). */
MDICOM_API int32_t M_DicomSetCharValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint8_t *pArray,
                                       uint32_t nCount);
/** Sets the values of a 16-bit element (MDicomDS::SetShortValue). */
MDICOM_API int32_t M_DicomSetShortValue(MDicomDS *hDS, _DICOMELEMENT *pElement, int16_t *pArray,
                                        uint32_t nCount);
/** Sets the values of a 32-bit element (MDicomDS::SetLongValue). */
MDICOM_API int32_t M_DicomSetLongValue(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t *pArray,
                                       uint32_t nCount);
/** Sets the values of a float element (MDicomDS::SetFloatValue). */
MDICOM_API int32_t M_DicomSetFloatValue(MDicomDS *hDS, _DICOMELEMENT *pElement, float *pArray,
                                        uint32_t nCount);
/** Sets the values of a double element (MDicomDS::SetDoubleValue). */
MDICOM_API int32_t M_DicomSetDoubleValue(MDicomDS *hDS, _DICOMELEMENT *pElement, double *pArray,
                                         uint32_t nCount);
/** Sets the texts of an element from wide text (MDicomDS::SetStringValue). */
MDICOM_API int32_t M_DicomSetStringValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                         const wchar_t *pszText, uint32_t nCount,
                                         uint32_t nCharacterSet);
/** Sets the values of an age element (MDicomDS::SetAgeValue). */
MDICOM_API int32_t M_DicomSetAgeValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                      const _VALUEAGE *pArray, uint32_t nCount);
/** Sets the values of a date element (MDicomDS::SetDateValue). */
MDICOM_API int32_t M_DicomSetDateValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                       const _VALUEDATE *pArray, uint32_t nCount);
/** Sets the values of a time element (MDicomDS::SetTimeValue). */
MDICOM_API int32_t M_DicomSetTimeValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                       const _VALUETIME *pArray, uint32_t nCount);
/** Sets the values of a date-time element (MDicomDS::SetDateTimeValue). */
MDICOM_API int32_t M_DicomSetDateTimeValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                           const _VALUEDATETIME *pArray, uint32_t nCount);
/** Finds an element and reads values of it (MDicomDS::FindGetValue). */
MDICOM_API uint32_t M_DicomFindGetValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nTag,
                                        void *pArray, uint32_t nIndex, uint32_t nCount,
                                        uint32_t nArrayType);
///@}

/// @name Binary values
///@{
/** Reads bytes of a value from its start (MDicomDS::GetBinaryValue). */
MDICOM_API int32_t M_DicomGetBinaryValue(MDicomDS *hDS, _DICOMELEMENT *pElement, void *pBuffer,
                                         uint32_t nLength);
/** Replaces the bytes of a value (MDicomDS::SetBinaryValue). */
MDICOM_API int32_t M_DicomSetBinaryValue(MDicomDS *hDS, _DICOMELEMENT *pElement, void *pData,
                                         uint32_t nLength);
/** Inserts bytes into a value (MDicomDS::InsertBinaryValue). */
MDICOM_API int32_t M_DicomInsertBinaryValue(MDicomDS *hDS, _DICOMELEMENT *pElement, void *pData,
                                            uint32_t nOffset, uint32_t nLength);
///@}

#ifdef __cplusplus
}
#endif

#endif
