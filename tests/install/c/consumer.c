/* A program over the installed tree: C through pkg-config. */

#include <MDicomFlat.h>
#include <stdio.h>
#include <wchar.h>

int main(void) {
    static const wchar_t expected[] = L"Doe^Jane";
    MDicomDS *ds = M_DicomCreateDS(NULL);
    _DICOMELEMENT *name = M_DicomInsertElement(ds, NULL, 0, 0x00100010, 0, 0, 0);
    if (name == NULL || !M_DicomSetStringValue(ds, name, expected, 1, 0)) return 1;
    const wchar_t *text = M_DicomGetStringValue(ds, name, 0, 1);
    const int equal = text != NULL && wcscmp(text, expected) == 0;
    M_DicomFreeDS(ds);
    const _DICOMTAG *row = M_DicomFindTag(0x00100010);
    return equal && row != NULL ? 0 : 2;
}
