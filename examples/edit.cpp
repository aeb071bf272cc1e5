// edit: loads a file, sets one element of its top level, and saves it in an encoding.
//
//   edit in.dcm out.dcm 0010,0010=Doe^Jane explicit
//
// Texts may be several, separated by backslashes; of numbers one is set. The two files may be the
// same.

#include <charconv>
#include <cstdio>
#include <string_view>

#include "ExampleText.h"

namespace {

/** Flags of SaveDS for a word; 0 for an unknown one. */
uint16_t EncodingOf(std::string_view word) {
    if (word == "implicit") return DS_LITTLE_ENDIAN | DS_IMPLICIT_VR;
    if (word == "explicit") return DS_LITTLE_ENDIAN | DS_EXPLICIT_VR;
    if (word == "big") return DS_BIG_ENDIAN | DS_EXPLICIT_VR;
    return 0;
}

/** Texts go through the character set of the data set. Each value ends with a NUL. */
bool SetTexts(MDicomDS &ds, _DICOMELEMENT *element, std::wstring value) {
    uint32_t count = 1;
    for (wchar_t &c : value) {
        if (c != L'\\') continue;
        c = L'\0';
        ++count;
    }
    return ds.SetStringValue(element, value.c_str(), count, 0) != 0;
}

/** Sets a value by the class of the VR: texts, one number, or a text of another kind. */
bool SetValue(MDicomDS &ds, _DICOMELEMENT *element, std::string value) {
    if (SetTexts(ds, element, Wide(value))) return true;
    const _DICOMVR *vr = MDicomVR::Find(element->nVR);
    if (vr == nullptr) return false;
    if (vr->nRestrict & VR_BINARY) {
        double number = 0;
        const char *end = value.data() + value.size();
        if (std::from_chars(value.data(), end, number).ptr != end) return false;
        return ds.FindSetValue(element, element->nTag, &number, 1, VALUE_ARRAY_DOUBLE) != nullptr;
    }
    // Dates, times, ages and numbers written as text are taken as they are.
    return ds.SetBinaryValue(element, value.data(), static_cast<uint32_t>(value.size())) != 0;
}

/** Finds or makes the element of "gggg,eeee=value" and sets it. */
bool Change(MDicomDS &ds, const std::string &assignment) {
    const size_t equals = assignment.find('=');
    uint32_t tag = 0;
    if (equals == std::string::npos || !ParseTag(assignment.substr(0, equals), &tag)) return false;
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, tag, 1);
    if (element == nullptr) element = ds.InsertElement(nullptr, 0, tag, 0, 0, 0);
    return element != nullptr && SetValue(ds, element, assignment.substr(equals + 1));
}

} // namespace

int main(int argc, char **argv) {
    const uint16_t encoding = argc == 5 ? EncodingOf(argv[4]) : 0;
    if (encoding == 0) {
        std::fprintf(stderr, "usage: edit in out gggg,eeee=value implicit|explicit|big\n");
        return 2;
    }
    MDicomDS ds(nullptr);
    uint16_t status = ds.LoadDS(Wide(argv[1]).c_str(), 0);
    if (status != DICOM_SUCCESS) return Fail(argv[1], StatusText(status));
    if (!Change(ds, argv[3])) return Fail(argv[3], "cannot be set");
    status = ds.SaveDS(Wide(argv[2]).c_str(), encoding);
    return status == DICOM_SUCCESS ? 0 : Fail(argv[2], StatusText(status));
}
