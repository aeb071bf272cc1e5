// dump: prints a DICOM file as a tree, one line an element: tag, VR, length, name and value.
// Of several files, or all files of folders, one after the other.

#include <cstdio>

#include "ExampleText.h"

namespace {

std::string NameOf(uint32_t tag) {
    if (tag == TAG_ITEM) return "Item";
    const _DICOMTAG *row = MDicomTag::Find(tag);
    if (row != nullptr) return Utf8(row->pszName);
    return (tag >> 16) % 2 != 0 ? "(private)" : "(unknown)";
}

std::string LengthOf(const _DICOMELEMENT *element) {
    return element->nLength == 0xFFFFFFFF ? "-" : std::to_string(element->nLength);
}

void PrintElement(MDicomDS &ds, _DICOMELEMENT *element) {
    const int indent = 2 * static_cast<int>(ds.GetLevelElement(element));
    std::printf("%*s%s %c%c %s %s", indent, "", TagText(element->nTag).c_str(), element->nVR >> 8,
                element->nVR & 0xFF, LengthOf(element).c_str(), NameOf(element->nTag).c_str());
    const std::string value = ValueText(ds, element);
    std::printf(value.empty() ? "\n" : " = %s\n", value.c_str());
}

/** False for a file that does not load. */
bool PrintFile(const std::filesystem::path &path) {
    MDicomDS ds(nullptr);
    const uint16_t status = ds.LoadDS(Wide(path.string()).c_str(), 0);
    if (status != DICOM_SUCCESS) {
        std::fprintf(stderr, "%s: %s (%u)\n", path.c_str(), StatusText(status), status);
        return false;
    }
    // Zero for bSameLevel walks the whole tree, depth first; nonzero for bVolatile leaves nothing
    // out.
    _DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1);
    for (; element != nullptr; element = ds.GetNextElement(element, 0, 1)) {
        PrintElement(ds, element);
    }
    return true;
}

} // namespace

int main(int argc, char **argv) try {
    if (argc < 2) {
        std::fprintf(stderr, "usage: dump files-or-folders...\n");
        return 2;
    }
    bool allLoaded = true;
    for (int i = 1; i < argc; ++i) {
        const std::vector<std::filesystem::path> files = FilesUnder(argv[i]);
        for (const std::filesystem::path &file : files) {
            if (argc > 2 || files.size() > 1) std::printf("%s:\n", file.c_str());
            allLoaded = PrintFile(file) && allLoaded;
        }
    }
    return allLoaded ? 0 : 1;
} catch (const std::filesystem::filesystem_error &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
