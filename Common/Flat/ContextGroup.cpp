// Flat functions: context groups.

#include "MDicomContextGroup.h"
#include "MDicomFlat.h"

uint16_t M_DicomLoadContextGroup(const wchar_t *pszContextIdentifier) {
    return MDicomContextGroup::Load(pszContextIdentifier);
}

int32_t M_DicomDefaultContextGroup(tagDICOMCONTEXTGROUP *pGroup) {
    return MDicomContextGroup::Default(pGroup);
}

void M_DicomResetContextGroup() {
    MDicomContextGroup::Reset();
}

tagDICOMCONTEXTGROUP *M_DicomInsertContextGroup(const wchar_t *pszContextIdentifier,
                                                const wchar_t *pszName, int32_t bExtensible,
                                                const _VALUEDATETIME *pVersion, uint32_t nFlags) {
    return MDicomContextGroup::Insert(pszContextIdentifier, pszName, bExtensible, pVersion, nFlags);
}

tagDICOMCONTEXTGROUP *M_DicomDeleteContextGroup(tagDICOMCONTEXTGROUP *pGroup) {
    return MDicomContextGroup::Delete(pGroup);
}

tagDICOMCONTEXTGROUP *M_DicomFindContextGroup(const wchar_t *pszContextIdentifier) {
    return MDicomContextGroup::Find(pszContextIdentifier);
}

tagDICOMCONTEXTGROUP *M_DicomFindIndexContextGroup(uint32_t nIndex) {
    return MDicomContextGroup::FindIndex(nIndex);
}

int32_t M_DicomExistsContextGroup(tagDICOMCONTEXTGROUP *pGroup) {
    return MDicomContextGroup::Exists(pGroup);
}

tagDICOMCONTEXTGROUP *M_DicomGetFirstContextGroup() {
    return MDicomContextGroup::GetFirst();
}

tagDICOMCONTEXTGROUP *M_DicomGetLastContextGroup() {
    return MDicomContextGroup::GetLast();
}

tagDICOMCONTEXTGROUP *M_DicomGetNextContextGroup(tagDICOMCONTEXTGROUP *pGroup) {
    return MDicomContextGroup::GetNext(pGroup);
}

tagDICOMCONTEXTGROUP *M_DicomGetPrevContextGroup(tagDICOMCONTEXTGROUP *pGroup) {
    return MDicomContextGroup::GetPrev(pGroup);
}

uint32_t M_DicomGetCountContextGroup() {
    return MDicomContextGroup::GetCount();
}

tagDICOMCODEDCONCEPT *M_DicomInsertCodedConcept(tagDICOMCONTEXTGROUP *pGroup,
                                                const wchar_t *pszScheme, const wchar_t *pszVersion,
                                                const wchar_t *pszValue, const wchar_t *pszMeaning,
                                                const _VALUEDATETIME *pLocalVersion,
                                                const wchar_t *pszCreatorUID, uint32_t nFlags) {
    return MDicomContextGroup::InsertCodedConcept(pGroup, pszScheme, pszVersion, pszValue,
                                                  pszMeaning, pLocalVersion, pszCreatorUID, nFlags);
}

tagDICOMCODEDCONCEPT *M_DicomDeleteCodedConcept(tagDICOMCODEDCONCEPT *pConcept) {
    return MDicomContextGroup::DeleteCodedConcept(pConcept);
}

tagDICOMCODEDCONCEPT *M_DicomFindCodedConcept(tagDICOMCONTEXTGROUP *pGroup,
                                              const wchar_t *pszScheme, const wchar_t *pszValue) {
    return MDicomContextGroup::FindCodedConcept(pGroup, pszScheme, pszValue);
}

tagDICOMCODEDCONCEPT *M_DicomFindIndexCodedConcept(tagDICOMCONTEXTGROUP *pGroup, uint32_t nIndex) {
    return MDicomContextGroup::FindIndexCodedConcept(pGroup, nIndex);
}

int32_t M_DicomSetCodedConceptCodeMeaning(tagDICOMCODEDCONCEPT *pConcept,
                                          const wchar_t *pszMeaning) {
    return MDicomContextGroup::SetCodeMeaning(pConcept, pszMeaning);
}

tagDICOMCONTEXTGROUP *M_DicomGetCodedConceptGroup(tagDICOMCODEDCONCEPT *pConcept) {
    return MDicomContextGroup::GetContextGroup(pConcept);
}

int32_t M_DicomExistsCodedConcept(tagDICOMCODEDCONCEPT *pConcept) {
    return MDicomContextGroup::ExistsCodedConcept(pConcept);
}

tagDICOMCODEDCONCEPT *M_DicomGetFirstCodedConcept(tagDICOMCONTEXTGROUP *pGroup) {
    return MDicomContextGroup::GetFirstCodedConcept(pGroup);
}

tagDICOMCODEDCONCEPT *M_DicomGetLastCodedConcept(tagDICOMCONTEXTGROUP *pGroup) {
    return MDicomContextGroup::GetLastCodedConcept(pGroup);
}

tagDICOMCODEDCONCEPT *M_DicomGetNextCodedConcept(tagDICOMCODEDCONCEPT *pConcept) {
    return MDicomContextGroup::GetNextCodedConcept(pConcept);
}

tagDICOMCODEDCONCEPT *M_DicomGetPrevCodedConcept(tagDICOMCODEDCONCEPT *pConcept) {
    return MDicomContextGroup::GetPrevCodedConcept(pConcept);
}

uint32_t M_DicomGetCountCodedConcept(tagDICOMCONTEXTGROUP *pGroup) {
    return MDicomContextGroup::GetCountCodedConcept(pGroup);
}
