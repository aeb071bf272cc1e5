// check: tests a DICOM file against the dictionaries, one line a finding: where it is, and what.
//
//   (0040,0275)[1].(0040,0007) LO Scheduled Procedure Step Description: fewer values than ...

#include <cstdio>

#include "ExampleText.h"

namespace {

struct Meaning {
    uint16_t finding;
    const char *text;
};

constexpr Meaning kMeanings[] = {
    {CONFORMANCE_NO_CLASS, "the data set names no class that is known"},
    {CONFORMANCE_NO_TAG, "the tag is not in the dictionary"},
    {CONFORMANCE_NO_VR, "there is no such VR"},
    {CONFORMANCE_BAD_VR, "the VR is not that of the dictionary"},
    {CONFORMANCE_MIN_VM, "fewer values than the dictionary asks for"},
    {CONFORMANCE_MAX_VM, "more values than the dictionary allows"},
    {CONFORMANCE_DIVIDE_VM, "the number of values is no multiple that the dictionary allows"},
    {CONFORMANCE_IMAGE, "the image cannot be described"},
};

/** Tags from the top level on; items by their number. */
std::string PathOf(MDicomDS &ds, _DICOMELEMENT *element) {
    if (element == nullptr) return "";
    const std::string parent = PathOf(ds, ds.GetParentElement(element));
    if (element->nTag != TAG_ITEM) {
        return (parent.empty() ? "" : parent + ".") + TagText(element->nTag);
    }
    int number = 1;
    for (_DICOMELEMENT *item = element; (item = ds.GetPrevElement(item, 1, 1)) != nullptr;) {
        ++number;
    }
    return parent + "[" + std::to_string(number) + "]";
}

/** The two letters of a VR. Where the file has something else, nobody wants to see it. */
std::string VrText(uint16_t vr) {
    const std::string letters = {static_cast<char>(vr >> 8), static_cast<char>(vr)};
    const bool sound = letters.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == letters.npos;
    return sound ? letters : "??";
}

/** Called for each element with findings. A result of 0 would end the test. */
int32_t Print(_DICOMELEMENT *element, uint16_t findings, void *userData) {
    MDicomDS &ds = *static_cast<MDicomDS *>(userData);
    const _DICOMTAG *row = MDicomTag::Find(element->nTag);
    const std::string name = row != nullptr ? Utf8(row->pszName) : "(unknown)";
    for (const Meaning &meaning : kMeanings) {
        if (!(findings & meaning.finding)) continue;
        std::printf("%s %s %s: %s\n", PathOf(ds, element).c_str(), VrText(element->nVR).c_str(),
                    name.c_str(), meaning.text);
    }
    return 1;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: check file\n");
        return 2;
    }
    MDicomDS ds(nullptr);
    const uint16_t status = ds.LoadDS(Wide(argv[1]).c_str(), 0);
    if (status != DICOM_SUCCESS) {
        std::fprintf(stderr, "%s: %s (%u)\n", argv[1], StatusText(status), status);
        return 2;
    }
    return ds.ConformanceDS(Print, &ds) ? 0 : 1;
}
