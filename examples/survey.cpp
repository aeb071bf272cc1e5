// survey: loads files, or all files of folders, and prints a table of what was found.

#include <cstdio>
#include <filesystem>

#include "ExampleText.h"

namespace {

namespace fs = std::filesystem;

/** The flags that a load leaves tell how the file was encoded. */
std::string EncodingOf(MDicomDS &ds) {
    uint16_t flags = 0;
    ds.GetInfoDS(nullptr, &flags);
    std::string text = flags & DS_EXPLICIT_VR ? "explicit " : "implicit ";
    text += flags & DS_LITTLE_ENDIAN ? "little" : "big";
    return flags & DS_METAHEADER_PRESENT ? text : text + ", bare";
}

uint32_t CountElements(MDicomDS &ds) {
    uint32_t count = 0;
    _DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1);
    for (; element != nullptr; element = ds.GetNextElement(element, 0, 1)) ++count;
    return count;
}

/** Prints the row of a file; false if it does not load. */
bool Survey(const fs::path &path) {
    const std::string name = path.filename().string();
    MDicomDS ds(nullptr);
    const uint16_t status = ds.LoadDS(Wide(path.string()).c_str(), 0);
    const bool loaded = status == DICOM_SUCCESS;
    const std::string encoding = loaded ? EncodingOf(ds) : "-";
    const std::string count = loaded ? std::to_string(CountElements(ds)) : "-";
    std::printf("%-46.46s %u %-24s %-21s %8s\n", name.c_str(), status, StatusText(status),
                encoding.c_str(), count.c_str());
    return loaded;
}

} // namespace

int main(int argc, char **argv) try {
    size_t files = 0;
    size_t loaded = 0;
    std::printf("%-46s %-26s %-21s %8s\n", "file", "status", "encoding", "elements");
    for (int i = 1; i < argc; ++i) {
        for (const fs::path &path : FilesUnder(argv[i])) {
            ++files;
            loaded += Survey(path) ? 1 : 0;
        }
    }
    std::printf("%zu files, %zu loaded, %zu refused\n", files, loaded, files - loaded);
    return loaded > 0 ? 0 : 1;
} catch (const fs::filesystem_error &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
