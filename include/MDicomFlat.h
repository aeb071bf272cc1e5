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
/** Makes a new data set of a class (MDicomDS::InitDS). */
MDICOM_API void M_DicomInitDS(MDicomDS *hDS, uint32_t nClass, uint16_t nFlags);
/** Makes a new command set (MDicomDS::InitCS). */
MDICOM_API void M_DicomInitCS(MDicomDS *hDS, uint16_t nCommand, int32_t bRequest);
/** Command of a command set (MDicomDS::GetInfoCS). */
MDICOM_API void M_DicomGetInfoCS(MDicomDS *hDS, uint16_t *pCommand, int32_t *pRequest);
/** Elements of a module that are present (MDicomDS::FindModule). */
MDICOM_API _DICOMMODULE *M_DicomFindModule(MDicomDS *hDS, uint32_t nModule);
/** A module among those that are present (MDicomDS::FindIndexModule). */
MDICOM_API _DICOMMODULE *M_DicomFindIndexModule(MDicomDS *hDS, uint32_t nIndex);
/** Number of modules that are present (MDicomDS::GetCountModule). */
MDICOM_API uint32_t M_DicomGetCountModule(MDicomDS *hDS);
/** Inserts the elements of a module (MDicomDS::InsertModule). */
MDICOM_API _DICOMMODULE *M_DicomInsertModule(MDicomDS *hDS, uint32_t nModule, int32_t bOptional);
/** Deletes the elements of a module (MDicomDS::DeleteModule). */
MDICOM_API void M_DicomDeleteModule(MDicomDS *hDS, uint32_t nModule);
/** Tests a data set against the dictionaries (MDicomDS::ConformanceDS). */
MDICOM_API int32_t M_DicomConformanceDS(MDicomDS *hDS, MDICOM_DEBUG_CALLBACK pfnCallback,
                                        void *pUserData);
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

/// @name IOD tree
///@{
/** Fills the IOD tree with its default rows (MDicomIOD::Default). */
MDICOM_API void M_DicomDefaultIOD(void);
/** Empties the IOD tree (MDicomIOD::Reset). */
MDICOM_API void M_DicomResetIOD(void);
/** Inserts a row into the IOD tree (MDicomIOD::Insert). */
MDICOM_API _DICOMIOD *M_DicomInsertIOD(_DICOMIOD *pNeighbor, int32_t bChild, uint32_t nCode,
                                       const wchar_t *pszName, uint8_t nType, uint16_t nUsage,
                                       const wchar_t *pszDescription);
/** Deletes a row of the IOD tree with all rows below it (MDicomIOD::Delete). */
MDICOM_API _DICOMIOD *M_DicomDeleteIOD(_DICOMIOD *pIOD);
/** Gives a row of the IOD tree another name (MDicomIOD::SetName). */
MDICOM_API int32_t M_DicomSetNameIOD(_DICOMIOD *pIOD, const wchar_t *pszName);
/** Gives a row of the IOD tree another description (MDicomIOD::SetDescription). */
MDICOM_API int32_t M_DicomSetDescriptionIOD(_DICOMIOD *pIOD, const wchar_t *pszDescription);
/** Finds a row of the IOD tree by its type and code (MDicomIOD::Find). */
MDICOM_API _DICOMIOD *M_DicomFindIOD(_DICOMIOD *pIOD, uint32_t nCode, uint8_t nType,
                                     int32_t bSameLevel);
/** Finds a class by its number (MDicomIOD::FindClass). */
MDICOM_API _DICOMIOD *M_DicomFindClassIOD(uint32_t nClass);
/** Finds a module of a class by its number (MDicomIOD::FindModule). */
MDICOM_API _DICOMIOD *M_DicomFindModuleIOD(uint32_t nClass, uint32_t nModule);
/** Finds a module of a class by its position (MDicomIOD::FindIndexModule). */
MDICOM_API _DICOMIOD *M_DicomFindIndexModuleIOD(uint32_t nClass, uint32_t nIndex);
/** Number of modules directly below a class (MDicomIOD::GetCountModule). */
MDICOM_API uint32_t M_DicomGetCountModuleIOD(uint32_t nClass);
/** First row of a level or of the IOD tree (MDicomIOD::GetFirst). */
MDICOM_API _DICOMIOD *M_DicomGetFirstIOD(_DICOMIOD *pIOD, int32_t bSameLevel);
/** Last row of a level or of the IOD tree (MDicomIOD::GetLast). */
MDICOM_API _DICOMIOD *M_DicomGetLastIOD(_DICOMIOD *pIOD, int32_t bSameLevel);
/** Row of the IOD tree behind another (MDicomIOD::GetNext). */
MDICOM_API _DICOMIOD *M_DicomGetNextIOD(_DICOMIOD *pIOD, int32_t bSameLevel);
/** Row of the IOD tree before another (MDicomIOD::GetPrev). */
MDICOM_API _DICOMIOD *M_DicomGetPrevIOD(_DICOMIOD *pIOD, int32_t bSameLevel);
/** First row below a row of the IOD tree (MDicomIOD::GetChild). */
MDICOM_API _DICOMIOD *M_DicomGetChildIOD(_DICOMIOD *pIOD);
/** Row above a row of the IOD tree (MDicomIOD::GetParent). */
MDICOM_API _DICOMIOD *M_DicomGetParentIOD(_DICOMIOD *pIOD);
/** Class that a row of the IOD tree belongs to (MDicomIOD::GetRoot). */
MDICOM_API _DICOMIOD *M_DicomGetRootIOD(_DICOMIOD *pIOD);
/** Tells whether a record is a row of the IOD tree (MDicomIOD::Exists). */
MDICOM_API int32_t M_DicomExistsIOD(_DICOMIOD *pIOD);

///@}

/// @name Context groups
///@{
/** Brings a known context group, or all of them, into the tree (MDicomContextGroup::Load). */
MDICOM_API uint16_t M_DicomLoadContextGroup(const wchar_t *pszContextIdentifier);
/** Gives context groups their original concepts (MDicomContextGroup::Default). */
MDICOM_API int32_t M_DicomDefaultContextGroup(tagDICOMCONTEXTGROUP *pGroup);
/** Deletes all context groups (MDicomContextGroup::Reset). */
MDICOM_API void M_DicomResetContextGroup(void);
/** Appends a context group (MDicomContextGroup::Insert). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomInsertContextGroup(const wchar_t *pszContextIdentifier,
                                                           const wchar_t *pszName,
                                                           int32_t bExtensible,
                                                           const _VALUEDATETIME *pVersion,
                                                           uint32_t nFlags);
/** Deletes a context group and returns its neighbour (MDicomContextGroup::Delete). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomDeleteContextGroup(tagDICOMCONTEXTGROUP *pGroup);
/** Finds a context group by its identifier (MDicomContextGroup::Find). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomFindContextGroup(const wchar_t *pszContextIdentifier);
/** Finds a context group by its position (MDicomContextGroup::FindIndex). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomFindIndexContextGroup(uint32_t nIndex);
/** Tells whether a record is a context group of the tree (MDicomContextGroup::Exists). */
MDICOM_API int32_t M_DicomExistsContextGroup(tagDICOMCONTEXTGROUP *pGroup);
/** First context group (MDicomContextGroup::GetFirst). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomGetFirstContextGroup(void);
/** Last context group (MDicomContextGroup::GetLast). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomGetLastContextGroup(void);
/** Context group behind another (MDicomContextGroup::GetNext). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomGetNextContextGroup(tagDICOMCONTEXTGROUP *pGroup);
/** Context group before another (MDicomContextGroup::GetPrev). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomGetPrevContextGroup(tagDICOMCONTEXTGROUP *pGroup);
/** Number of context groups in the tree (MDicomContextGroup::GetCount). */
MDICOM_API uint32_t M_DicomGetCountContextGroup(void);
/** Appends a concept to a context group (MDicomContextGroup::InsertCodedConcept). */
MDICOM_API tagDICOMCODEDCONCEPT *M_DicomInsertCodedConcept(
    tagDICOMCONTEXTGROUP *pGroup, const wchar_t *pszScheme, const wchar_t *pszVersion,
    const wchar_t *pszValue, const wchar_t *pszMeaning, const _VALUEDATETIME *pLocalVersion,
    const wchar_t *pszCreatorUID, uint32_t nFlags);
/** Deletes a concept and returns its neighbour (MDicomContextGroup::DeleteCodedConcept). */
MDICOM_API tagDICOMCODEDCONCEPT *M_DicomDeleteCodedConcept(tagDICOMCODEDCONCEPT *pConcept);
/** Finds a concept of a context group by scheme and value (MDicomContextGroup::FindCodedConcept).
 */
MDICOM_API tagDICOMCODEDCONCEPT *M_DicomFindCodedConcept(tagDICOMCONTEXTGROUP *pGroup,
                                                         const wchar_t *pszScheme,
                                                         const wchar_t *pszValue);
/** Finds a concept of a context group by its position (MDicomContextGroup::FindIndexCodedConcept).
 */
MDICOM_API tagDICOMCODEDCONCEPT *M_DicomFindIndexCodedConcept(tagDICOMCONTEXTGROUP *pGroup,
                                                              uint32_t nIndex);
/** Gives a concept another meaning (MDicomContextGroup::SetCodeMeaning). */
MDICOM_API int32_t M_DicomSetCodedConceptCodeMeaning(tagDICOMCODEDCONCEPT *pConcept,
                                                     const wchar_t *pszMeaning);
/** Context group that a concept belongs to (MDicomContextGroup::GetContextGroup). */
MDICOM_API tagDICOMCONTEXTGROUP *M_DicomGetCodedConceptGroup(tagDICOMCODEDCONCEPT *pConcept);
/** Tells whether a record is a concept of a context group (MDicomContextGroup::ExistsCodedConcept).
 */
MDICOM_API int32_t M_DicomExistsCodedConcept(tagDICOMCODEDCONCEPT *pConcept);
/** First concept of a context group (MDicomContextGroup::GetFirstCodedConcept). */
MDICOM_API tagDICOMCODEDCONCEPT *M_DicomGetFirstCodedConcept(tagDICOMCONTEXTGROUP *pGroup);
/** Last concept of a context group (MDicomContextGroup::GetLastCodedConcept). */
MDICOM_API tagDICOMCODEDCONCEPT *M_DicomGetLastCodedConcept(tagDICOMCONTEXTGROUP *pGroup);
/** Concept behind another (MDicomContextGroup::GetNextCodedConcept). */
MDICOM_API tagDICOMCODEDCONCEPT *M_DicomGetNextCodedConcept(tagDICOMCODEDCONCEPT *pConcept);
/** Concept before another (MDicomContextGroup::GetPrevCodedConcept). */
MDICOM_API tagDICOMCODEDCONCEPT *M_DicomGetPrevCodedConcept(tagDICOMCODEDCONCEPT *pConcept);
/** Number of concepts of a context group (MDicomContextGroup::GetCountCodedConcept). */
MDICOM_API uint32_t M_DicomGetCountCodedConcept(tagDICOMCONTEXTGROUP *pGroup);

///@}

/// @name Text form of values
///@{
/** Text of a value for people (MDicomDS::GetConvertValue). */
MDICOM_API uint32_t M_DicomGetConvertValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                           wchar_t *pszBuffer, uint32_t nSize);
/** Sets a value from its text (MDicomDS::SetConvertValue). */
MDICOM_API int32_t M_DicomSetConvertValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                          const wchar_t *pszText, uint32_t nCount);
///@}

/// @name Private elements
///@{
/** First private creator that matches (MDicomDS::FindFirstPrivateCreatorDataElement). */
MDICOM_API _DICOMELEMENT *M_DicomFindFirstPrivateCreatorDataElement(MDicomDS *hDS,
                                                                    _DICOMELEMENT *pElement,
                                                                    int32_t bSameLevel,
                                                                    const wchar_t *pszCreator,
                                                                    uint16_t nGroup);
/** Next private creator that matches (MDicomDS::FindNextPrivateCreatorDataElement). */
MDICOM_API _DICOMELEMENT *M_DicomFindNextPrivateCreatorDataElement(MDicomDS *hDS,
                                                                   _DICOMELEMENT *pElement,
                                                                   int32_t bSameLevel,
                                                                   const wchar_t *pszCreator,
                                                                   uint16_t nGroup);
/** First element of a creator's block (MDicomDS::FindFirstPrivateElement). */
MDICOM_API _DICOMELEMENT *M_DicomFindFirstPrivateElement(MDicomDS *hDS, _DICOMELEMENT *pCreator);
/** Next element of a creator's block (MDicomDS::FindNextPrivateElement). */
MDICOM_API _DICOMELEMENT *M_DicomFindNextPrivateElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                        _DICOMELEMENT *pCreator);
/** Lowest free tag of a creator's block (MDicomDS::GetNextUnusedPrivateTag). */
MDICOM_API uint16_t M_DicomGetNextUnusedPrivateTag(MDicomDS *hDS, _DICOMELEMENT *pCreator,
                                                   uint32_t *pTag);
/** Inserts a private creator (MDicomDS::CreatePrivateCreatorDataElement). */
MDICOM_API uint16_t M_DicomCreatePrivateCreatorDataElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                           uint16_t nGroup, uint16_t nElement,
                                                           const wchar_t *pszCreator,
                                                           _DICOMELEMENT **ppCreator);
///@}

/// @name Copying
///@{
/** Copies the children of an element (MDicomDS::CopyDS). */
MDICOM_API uint16_t M_DicomCopyDS(MDicomDS *hDS, _DICOMELEMENT *pTarget, MDicomDS *pSourceDS,
                                  _DICOMELEMENT *pSource);
/** Copies the children of an element that a callback agrees to (MDicomDS::CopyDS). */
MDICOM_API uint16_t M_DicomCopyDSExt(MDicomDS *hDS, _DICOMELEMENT *pTarget, MDicomDS *pSourceDS,
                                     _DICOMELEMENT *pSource, MDICOM_DEBUG_CALLBACK pfnCallback,
                                     void *pUserData);
///@}

/// @name Directory records
///@{
/** Inserts a directory record (MDicomDS::InsertKey). */
MDICOM_API _DICOMELEMENT *M_DicomInsertKey(MDicomDS *hDS, _DICOMELEMENT *pParent,
                                           const wchar_t *pszType, int32_t bOptional);
/** Deletes a directory record with all below it (MDicomDS::DeleteKey). */
MDICOM_API void M_DicomDeleteKey(MDicomDS *hDS, _DICOMELEMENT *pKey);
/** Ancestor of a record at the root (MDicomDS::GetRootKey). */
MDICOM_API _DICOMELEMENT *M_DicomGetRootKey(MDicomDS *hDS, _DICOMELEMENT *pKey);
/** Record above a record (MDicomDS::GetParentKey). */
MDICOM_API _DICOMELEMENT *M_DicomGetParentKey(MDicomDS *hDS, _DICOMELEMENT *pKey);
/** First record below a record (MDicomDS::GetChildKey). */
MDICOM_API _DICOMELEMENT *M_DicomGetChildKey(MDicomDS *hDS, _DICOMELEMENT *pKey);
/** First record of a level or of the tree (MDicomDS::GetFirstKey). */
MDICOM_API _DICOMELEMENT *M_DicomGetFirstKey(MDicomDS *hDS, _DICOMELEMENT *pKey,
                                             int32_t bSameLevel);
/** Last record of a level or of the tree (MDicomDS::GetLastKey). */
MDICOM_API _DICOMELEMENT *M_DicomGetLastKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel);
/** Record behind another (MDicomDS::GetNextKey). */
MDICOM_API _DICOMELEMENT *M_DicomGetNextKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel);
/** Record before another (MDicomDS::GetPrevKey). */
MDICOM_API _DICOMELEMENT *M_DicomGetPrevKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel);
/** Type of a record (MDicomDS::GetValueKey). */
MDICOM_API const wchar_t *M_DicomGetValueKey(MDicomDS *hDS, _DICOMELEMENT *pKey);
/** First record of a type (MDicomDS::FindFirstKey). */
MDICOM_API _DICOMELEMENT *M_DicomFindFirstKey(MDicomDS *hDS, _DICOMELEMENT *pKey,
                                              const wchar_t *pszType, int32_t bSameLevel);
/** Last record of a type (MDicomDS::FindLastKey). */
MDICOM_API _DICOMELEMENT *M_DicomFindLastKey(MDicomDS *hDS, _DICOMELEMENT *pKey,
                                             const wchar_t *pszType, int32_t bSameLevel);
/** Next record of the type of another (MDicomDS::FindNextKey). */
MDICOM_API _DICOMELEMENT *M_DicomFindNextKey(MDicomDS *hDS, _DICOMELEMENT *pKey,
                                             int32_t bSameLevel);
/** Previous record of the type of another (MDicomDS::FindPrevKey). */
MDICOM_API _DICOMELEMENT *M_DicomFindPrevKey(MDicomDS *hDS, _DICOMELEMENT *pKey,
                                             int32_t bSameLevel);
///@}

/// @name Image description
///@{
/** Counts frames with and without data (MDicomDS::IsBadPixelData). */
MDICOM_API int32_t M_DicomIsBadPixelData(MDicomDS *hDS, uint32_t *pBadCount, uint32_t *pGoodCount);
/** Describes the image of a Pixel Data element (MDicomDS::GetInfoImage). */
MDICOM_API uint16_t M_DicomGetInfoImage(MDicomDS *hDS, _DICOMELEMENT *pElement, _DICOMIMAGE *pImage,
                                        uint32_t nIndex);
/** Number of frames (MDicomDS::GetCountImage). */
MDICOM_API uint32_t M_DicomGetCountImage(MDicomDS *hDS, _DICOMELEMENT *pElement);
/** Turns a frame into a bitmap (MDicomDS::GetImage). */
MDICOM_API uint16_t M_DicomGetImage(MDicomDS *hDS, _DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap,
                                    uint32_t nStructSize, uint32_t nIndex, int32_t nBitsPerPixel,
                                    int32_t nOrder, uint32_t nFlags,
                                    MDICOM_LOAD_CALLBACK pfnCallback, void *pUserData);
/** Appends frames to a list (MDicomDS::GetImageList). */
MDICOM_API uint16_t M_DicomGetImageList(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                        HBITMAPLIST__ *hList, uint32_t nIndex, uint32_t nCount,
                                        int32_t nBitsPerPixel, int32_t nOrder, uint32_t nFlags);
/** Stores a bitmap as a frame (MDicomDS::InsertImage). */
MDICOM_API uint16_t M_DicomInsertImage(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                       _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                                       uint32_t nCompression, int32_t nPhotometric,
                                       int32_t nBitsPerPixel, int32_t nQuality, uint32_t nFlags,
                                       MDICOM_SAVE_CALLBACK pfnCallback, void *pUserData);
/** Replaces all frames by a bitmap (MDicomDS::SetImage). */
MDICOM_API uint16_t M_DicomSetImage(MDicomDS *hDS, _DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap,
                                    uint32_t nCompression, int32_t nPhotometric,
                                    int32_t nBitsPerPixel, int32_t nQuality, uint32_t nFlags,
                                    MDICOM_SAVE_CALLBACK pfnCallback, void *pUserData);
/** Stores the bitmaps of a list as frames (MDicomDS::InsertImageList). */
MDICOM_API uint16_t M_DicomInsertImageList(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                           HBITMAPLIST__ *hList, uint32_t nIndex,
                                           uint32_t nCompression, int32_t nPhotometric,
                                           int32_t nBitsPerPixel, int32_t nQuality,
                                           uint32_t nFlags);
/** Replaces all frames by the bitmaps of a list (MDicomDS::SetImageList). */
MDICOM_API uint16_t M_DicomSetImageList(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                        HBITMAPLIST__ *hList, uint32_t nCompression,
                                        int32_t nPhotometric, int32_t nBitsPerPixel,
                                        int32_t nQuality, uint32_t nFlags);
/** Deletes frames (MDicomDS::DeleteImage). */
MDICOM_API uint16_t M_DicomDeleteImage(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                       uint32_t nCount);
/** Sets the options of JPEG 2000 encoding (MDicomDS::SetJ2KOptions). */
MDICOM_API uint16_t M_DicomSetJ2KOptions(MDicomDS *hDS, const _FILEJ2KOPTIONS *pOptions);
/** Options of JPEG 2000 encoding (MDicomDS::GetJ2KOptions). */
MDICOM_API uint16_t M_DicomGetJ2KOptions(MDicomDS *hDS, _FILEJ2KOPTIONS *pOptions, uint32_t nSize);
/** Default options of JPEG 2000 encoding (MDicomDS::GetDefaultJ2KOptions). */
MDICOM_API uint16_t M_DicomGetDefaultJ2KOptions(MDicomDS *hDS, _FILEJ2KOPTIONS *pOptions,
                                                uint32_t nSize);
/** Changes the transfer syntax (MDicomDS::ChangeTransferSyntax). */
MDICOM_API uint16_t M_DicomChangeTransferSyntax(MDicomDS *hDS, const wchar_t *pszTransferSyntaxUID,
                                                int32_t nQuality, uint32_t nFlags);
/**
 * Inserts a native frame in front of frame nIndex, or behind the last one. The attributes around
 * the element say what a frame is; the number of frames and functional groups stay as they are.
 * @param pElement Pixel Data that is native or empty
 * @param pData    rows one behind the other, or each padded to 32 bits
 * @return 1; 0 for a size that is neither, an encapsulated element, or a failed store
 */
MDICOM_API int32_t M_DicomInsertUncompressedFrame(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                  void *pData, uint32_t nSize, uint32_t nIndex);
///@}

/// @name LUTs and windows
///@{
/** Modality transformation (MDicomDS::GetModalityLUTAttributes). */
MDICOM_API uint16_t M_DicomGetModalityLUTAttributes(MDicomDS *hDS, uint32_t nFrame,
                                                    tagDICOMMLUTATTRIBS *pAttributes,
                                                    uint32_t nSize, uint32_t nFlags);
/** Table of the modality LUT (MDicomDS::GetModalityLUTData). */
MDICOM_API uint16_t M_DicomGetModalityLUTData(MDicomDS *hDS, uint16_t *pData, uint32_t nEntries,
                                              uint32_t nFlags);
/** Sets the modality transformation (MDicomDS::SetModalityLUT). */
MDICOM_API uint16_t M_DicomSetModalityLUT(MDicomDS *hDS, uint32_t nFrame,
                                          const tagDICOMMLUTATTRIBS *pAttributes, uint16_t *pData,
                                          uint32_t nEntries, uint32_t nFlags);
/** Deletes the modality transformation (MDicomDS::DeleteModalityLUT). */
MDICOM_API uint16_t M_DicomDeleteModalityLUT(MDicomDS *hDS, uint32_t nFrame, uint32_t nFlags);
/** Number of VOI LUTs (MDicomDS::GetVOILUTCount). */
MDICOM_API uint16_t M_DicomGetVOILUTCount(MDicomDS *hDS, uint32_t *pCount);
/** A VOI LUT (MDicomDS::GetVOILUT). */
MDICOM_API uint16_t M_DicomGetVOILUT(MDicomDS *hDS, uint32_t nIndex,
                                     tagDICOMVOILUTATTRIBS *pAttributes, uint32_t nSize,
                                     uint32_t nFlags);
/** Table of a VOI LUT (MDicomDS::GetVOILUTData). */
MDICOM_API uint16_t M_DicomGetVOILUTData(MDicomDS *hDS, uint32_t nIndex, uint16_t *pData,
                                         uint32_t nEntries, uint32_t nFlags);
/** Sets a VOI LUT (MDicomDS::SetVOILUT). */
MDICOM_API uint16_t M_DicomSetVOILUT(MDicomDS *hDS, uint32_t nIndex,
                                     const tagDICOMVOILUTATTRIBS *pAttributes, uint16_t *pData,
                                     uint32_t nEntries, uint32_t nFlags);
/** Deletes all VOI LUTs (MDicomDS::DeleteVOILUT). */
MDICOM_API uint16_t M_DicomDeleteVOILUT(MDicomDS *hDS, uint32_t nFlags);
/** Number of windows (MDicomDS::GetWindowCount). */
MDICOM_API uint16_t M_DicomGetWindowCount(MDicomDS *hDS, uint32_t nFrame, uint32_t *pCount);
/** A window (MDicomDS::GetWindow). */
MDICOM_API uint16_t M_DicomGetWindow(MDicomDS *hDS, uint32_t nFrame, uint32_t nIndex,
                                     tagDICOMWINDOWATTRIBS *pAttributes, uint32_t nSize,
                                     uint32_t nFlags);
/** Sets a window (MDicomDS::SetWindow). */
MDICOM_API uint16_t M_DicomSetWindow(MDicomDS *hDS, uint32_t nFrame, uint32_t nIndex,
                                     const tagDICOMWINDOWATTRIBS *pAttributes, uint32_t nFlags);
/** Deletes all windows (MDicomDS::DeleteWindow). */
MDICOM_API uint16_t M_DicomDeleteWindow(MDicomDS *hDS, uint32_t nFrame, uint32_t nFlags);
/** Descriptors of the palette (MDicomDS::GetPaletteColorLUTAttributes). */
MDICOM_API uint16_t M_DicomGetPaletteColorLUTAttributes(MDicomDS *hDS,
                                                        tagDICOMPALCOLORLUTATTRIBS *pAttributes,
                                                        uint32_t nSize, uint32_t nFlags);
/** Sets the descriptors of the palette (MDicomDS::SetPaletteColorLUTAttributes). */
MDICOM_API uint16_t M_DicomSetPaletteColorLUTAttributes(
    MDicomDS *hDS, const tagDICOMPALCOLORLUTATTRIBS *pAttributes, uint32_t nFlags);
/** A table of the palette (MDicomDS::GetPaletteColorLUTData). */
MDICOM_API uint16_t M_DicomGetPaletteColorLUTData(MDicomDS *hDS, uint16_t *pData, uint32_t nEntries,
                                                  uint32_t nType, uint32_t nFlags);
/** Sets a table of the palette (MDicomDS::SetPaletteColorLUTData). */
MDICOM_API uint16_t M_DicomSetPaletteColorLUTData(MDicomDS *hDS, uint16_t *pData, uint32_t nEntries,
                                                  uint32_t nType, uint32_t nFlags);
/** Deletes the palette (MDicomDS::DeletePaletteColorLUT). */
MDICOM_API uint16_t M_DicomDeletePaletteColorLUT(MDicomDS *hDS, uint32_t nFlags);
///@}

/// @name Overlays
///@{
/** Number of overlays (MDicomDS::GetOverlayCount). */
MDICOM_API uint16_t M_DicomGetOverlayCount(MDicomDS *hDS, uint32_t *pCount);
/** Attributes of an overlay (MDicomDS::GetOverlayAttributes). */
MDICOM_API uint16_t M_DicomGetOverlayAttributes(MDicomDS *hDS, uint32_t nIndex,
                                                _OVERLAYATTRIBUTES *pAttributes, uint32_t nSize,
                                                uint32_t *pGroup, int32_t *pIsOverlay,
                                                uint32_t nFlags);
/** Sets the attributes of an overlay (MDicomDS::SetOverlayAttributes). */
MDICOM_API uint16_t M_DicomSetOverlayAttributes(MDicomDS *hDS, uint32_t nIndex,
                                                const _OVERLAYATTRIBUTES *pAttributes,
                                                uint32_t nFlags);
/** Name of an activation layer (MDicomDS::GetOverlayActivationLayer). */
MDICOM_API uint16_t M_DicomGetOverlayActivationLayer(MDicomDS *hDS, uint32_t nIndex, wchar_t *pText,
                                                     uint32_t nLength);
/** First frame of an overlay (MDicomDS::GetOverlayBitmap). */
MDICOM_API uint16_t M_DicomGetOverlayBitmap(MDicomDS *hDS, uint32_t nIndex, _BITMAPHANDLE *pBitmap,
                                            uint32_t nSize, uint32_t nFlags);
/** Sets the first frame of an overlay (MDicomDS::SetOverlayBitmap). */
MDICOM_API uint16_t M_DicomSetOverlayBitmap(MDicomDS *hDS, uint32_t nIndex, _BITMAPHANDLE *pBitmap,
                                            uint32_t nFlags);
/** Appends frames of an overlay to a list (MDicomDS::GetOverlayBitmapList). */
MDICOM_API uint16_t M_DicomGetOverlayBitmapList(MDicomDS *hDS, uint32_t nIndex,
                                                HBITMAPLIST__ *hList, uint32_t nFirst,
                                                uint32_t nCount, uint32_t nFlags);
/** Sets the frames of an overlay (MDicomDS::SetOverlayBitmapList). */
MDICOM_API uint16_t M_DicomSetOverlayBitmapList(MDicomDS *hDS, uint32_t nIndex,
                                                HBITMAPLIST__ *hList, uint32_t nFlags);
/** Deletes an overlay (MDicomDS::DeleteOverlay). */
MDICOM_API uint16_t M_DicomDeleteOverlay(MDicomDS *hDS, uint32_t nIndex, uint32_t nFlags);
///@}

/// @name File filter
/// DICOM as a file format of the kernel's file engine. The arguments are the records of
/// MvkrnxFilter.h; a page is a frame, counted from 1 through all Pixel Data. Results are 1 or a
/// negative filter code.
///@{
/** Describes a page of the file behind an open handle (_FILTERINFO). */
MDICOM_API int32_t fltInfo(void *pArgument);
/** Reads one of the texts that FILTER_COMMENT_ numbers name (_FILTERCOMMENT). Returns its length
 *  with the terminator, 0 for another number. */
MDICOM_API int32_t fltComment(void *pArgument);
/** Loads a page (_FILTERLOAD). */
MDICOM_API int32_t fltLoad(void *pArgument);
/** Saves a bitmap as a new Secondary Capture file (_FILTERSAVE). */
MDICOM_API int32_t fltSave(void *pArgument);
///@}

#ifdef __cplusplus
}
#endif

#endif
