// Saves files in every encoding, loads them again and compares the elements.
//
// Usage: resave FOLDER FILE...
// Writes FOLDER/<number>_<variant>.dcm and prints "saved", source and result for each. A value
// that passes the end of its file cannot be saved: "cut", source. Exits 1 on any difference.

#include <cstdio>
#include <string>

#include "MDicom.h"
#include "support/TreeCompare.h"

namespace {

struct Variant {
    const char *name;
    uint16_t flags;
};

constexpr Variant kEncodings[] = {
    {"implicit", DS_LITTLE_ENDIAN | DS_IMPLICIT_VR},
    {"explicit", DS_LITTLE_ENDIAN | DS_EXPLICIT_VR},
    {"big", DS_BIG_ENDIAN | DS_EXPLICIT_VR},
};
constexpr Variant kForms[] = {
    {"undefined", 0},
    {"defined", DS_LENGTH_EXPLICIT},
    {"undefined_groups", DS_GROUP_LENGTHS},
    {"defined_groups", DS_LENGTH_EXPLICIT | DS_GROUP_LENGTHS},
};

bool IsCutOff(MDicomDS &ds) {
    uint8_t last;
    for (_DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        if (element->nLength == 0 || element->nLength == 0xFFFFFFFF) continue;
        if (!ds.GetBinaryValue(element, &last, element->nLength - 1, 1)) return true;
    }
    return false;
}

bool SaveAndCompare(MDicomDS &ds, const char *source, const std::string &path, uint16_t flags) {
    const A2U_Class name(path.c_str());
    const unsigned saved = ds.SaveDS(name.pszText, flags);
    MDicomDS again(nullptr);
    const unsigned loaded = saved == 0 ? again.LoadDS(name.pszText, 0) : 0u;
    support::CompareOptions options;
    options.compareVr = (flags & DS_IMPLICIT_VR) == 0;
    const std::string difference =
        saved == 0 && loaded == 0 ? support::Difference(ds, again, options) : "";
    if (saved == 0 && loaded == 0 && difference.empty()) {
        std::printf("saved\t%s\t%s\n", source, path.c_str());
        return true;
    }
    std::printf("wrong\t%s\t%s\tsave %u load %u %s\n", source, path.c_str(), saved, loaded,
                difference.c_str());
    return false;
}

} // namespace

int main(int count, char **arguments) {
    bool good = true;
    for (int i = 2; i < count; ++i) {
        MDicomDS ds(nullptr);
        const A2U_Class name(arguments[i]);
        if (ds.LoadDS(name.pszText, 0) != DICOM_SUCCESS) continue;
        if (IsCutOff(ds)) {
            std::printf("cut\t%s\n", arguments[i]);
            continue;
        }
        for (const Variant &encoding : kEncodings) {
            for (const Variant &form : kForms) {
                const std::string path = std::string(arguments[1]) + "/" + std::to_string(i) + "_" +
                                         encoding.name + "_" + form.name + ".dcm";
                const uint16_t flags = DS_METAHEADER_PRESENT | encoding.flags | form.flags;
                good = SaveAndCompare(ds, arguments[i], path, flags) && good;
            }
        }
    }
    return good ? 0 : 1;
}
