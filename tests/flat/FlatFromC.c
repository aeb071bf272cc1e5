/* A C program's use of the library: the header compiles as C11, and the functions link. */

#include "MDicomFlat.h"

#include "FlatFromC.h"

#define CHECK(condition) \
    if (!(condition)) return __LINE__

_Static_assert(__STDC_VERSION__ >= 201112L, "the header is for C11");

int UseDictionariesFromC(void) {
    CHECK(M_DicomFindVR(0x5549) != NULL);
    CHECK(wcscmp(M_DicomFindTag(0x00100010)->pszName, L"Patient's Name") == 0);
    CHECK(M_DicomFindUID(L"1.2.840.10008.1.2.5")->nType == UID_TYPE_TRANSFER2);

    const uint32_t count = M_DicomGetCountTag();
    _DICOMTAG *row = M_DicomInsertTag(0x00770010, 0xFFFFFFFF, L"Own", 0x4C4F, 1, 2, 1);
    CHECK(row != NULL && row->nMaxVM == 2);
    CHECK(M_DicomFindTag(0x00770010) == row);
    CHECK(M_DicomGetCountTag() == count + 1);
    CHECK(M_DicomSetNameTag(row, L"Other") && wcscmp(row->pszName, L"Other") == 0);
    M_DicomDeleteTag(row);
    CHECK(M_DicomFindTag(0x00770010) == NULL);
    return 0;
}

static int Fill(MDicomDS *hDS) {
    _DICOMELEMENT *name = M_DicomInsertElement(hDS, NULL, 0, 0x00100010, 0, 0, 0);
    CHECK(M_DicomSetStringValue(hDS, name, L"Doe^Jane", 1, 0));
    _DICOMELEMENT *rows = M_DicomInsertElement(hDS, NULL, 0, 0x00280010, 0, 0, 0);
    int16_t number = 512;
    CHECK(M_DicomSetShortValue(hDS, rows, &number, 1));
    _DICOMELEMENT *series = M_DicomInsertElement(hDS, NULL, 0, 0x00081115, 0, 0, 0);
    _DICOMELEMENT *item = M_DicomInsertElement(hDS, series, 1, TAG_ITEM, 0, 0, 0);
    CHECK(M_DicomGetParentElement(hDS, item) == series);
    CHECK(M_DicomGetLevelElement(hDS, item) == 1);
    return 0;
}

static int Compare(MDicomDS *hDS) {
    _DICOMELEMENT *name = M_DicomFindFirstElement(hDS, NULL, 0x00100010, 1);
    const wchar_t *text = M_DicomGetStringValue(hDS, name, 0, 1);
    CHECK(text != NULL && wcscmp(text, L"Doe^Jane") == 0);
    CHECK(M_DicomGetCountValue(hDS, name) == 1);
    uint32_t rows = 0;
    CHECK(M_DicomFindGetValue(hDS, NULL, 0x00280010, &rows, 0, 1, VALUE_ARRAY_DWORD) == 1);
    CHECK(rows == 512);
    _DICOMELEMENT *series = M_DicomFindFirstElement(hDS, NULL, 0x00081115, 1);
    CHECK(M_DicomGetChildElement(hDS, series, 1) != NULL);
    return 0;
}

int UseDataSetFromC(const wchar_t *path) {
    MDicomDS *built = M_DicomCreateDS(NULL);
    CHECK(built != NULL);
    int line = Fill(built);
    if (line == 0) line = Compare(built);
    const uint16_t saved = M_DicomSaveDS(built, path, DS_METAHEADER_PRESENT | DS_EXPLICIT_VR);
    M_DicomFreeDS(built);
    if (line != 0) return line;
    CHECK(saved == DICOM_SUCCESS);

    MDicomDS *loaded = M_DicomCreateDS(NULL);
    CHECK(loaded != NULL);
    const uint16_t status = M_DicomLoadDS(loaded, path, 0);
    line = status == DICOM_SUCCESS ? Compare(loaded) : __LINE__;
    M_DicomFreeDS(loaded);
    M_DicomFreeDS(NULL);
    return line;
}

static int32_t Hear(_DICOMELEMENT *element, uint16_t code, void *userData) {
    *(uint16_t *)userData = element != NULL ? code : 0;
    return 0;
}

static int Walk(MDicomDS *hDS) {
    _DICOMELEMENT *syntax = M_DicomInsertElement(hDS, NULL, 0, 0x00020010, 0, 0, 0);
    _DICOMELEMENT *sequence = M_DicomInsertElement(hDS, NULL, 0, 0x00081140, 0, 1, 0);
    _DICOMELEMENT *uids[2];
    for (uint32_t i = 0; i < 2; ++i) {
        _DICOMELEMENT *item = M_DicomInsertElement(hDS, sequence, 1, TAG_ITEM, 0, 1, i);
        uids[i] = M_DicomInsertElement(hDS, item, 1, 0x00081150, 0, 0, 0);
    }
    _DICOMELEMENT *name = M_DicomInsertElement(hDS, NULL, 0, 0x00100010, 0, 0, 0);
    CHECK(M_DicomGetPrevElement(hDS, name, 1, 0) == sequence);
    CHECK(M_DicomGetPrevElement(hDS, name, 0, 0) == uids[1]);
    CHECK(M_DicomGetPrevElement(hDS, sequence, 1, 1) == syntax);
    CHECK(M_DicomGetPrevElement(hDS, sequence, 1, 0) == NULL);
    CHECK(M_DicomGetRootElement(hDS, uids[1]) == sequence);
    CHECK(M_DicomIsVolatileElement(hDS, syntax) && !M_DicomIsVolatileElement(hDS, name));
    CHECK(M_DicomFindLastElement(hDS, NULL, 0x00081150, 0) == uids[1]);
    CHECK(M_DicomFindNextElement(hDS, uids[0], 0) == uids[1]);
    CHECK(M_DicomFindPrevElement(hDS, uids[1], 0) == uids[0]);
    CHECK(M_DicomFindNextElement(hDS, uids[0], 1) == NULL);
    CHECK(M_DicomFindPrevElement(hDS, uids[1], 1) == NULL);

    CHECK(M_DicomExistsElement(hDS, name));
    uint16_t heard = 0;
    M_DicomSetDebugDS(hDS, Hear, &heard);
    CHECK(M_DicomInsertElement(hDS, name, 0, 0x00100010, 0, 0, 0) == NULL);
    CHECK(heard == DS_DEBUG_DUPLICATE);
    M_DicomDeleteElement(hDS, name);
    CHECK(!M_DicomExistsElement(hDS, name));

    CHECK(!M_DicomSetKeepPixelDataIntactFlag(hDS, 1) && M_DicomGetKeepPixelDataIntactFlag(hDS));
    uint8_t preamble[3] = {1, 2, 3};
    M_DicomSetPreamble(hDS, preamble, 2);
    M_DicomGetPreamble(hDS, preamble + 1, 2);
    CHECK(preamble[1] == 1 && preamble[2] == 2);
    return 0;
}

int UseTreeFromC(void) {
    MDicomDS *built = M_DicomCreateDS(NULL);
    CHECK(built != NULL);
    const int line = Walk(built);
    M_DicomFreeDS(built);
    return line;
}
