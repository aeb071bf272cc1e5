// A program over the installed tree: C++ through the CMake package.

#include <MDicom.h>
#include <Mvkrnx.h>

#include <cstring>
#include <string>

namespace {

int Run(const wchar_t *path) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *name = ds.InsertElement(nullptr, 0, 0x00100010, 0, 0, 0);
    if (name == nullptr || !ds.SetStringValue(name, L"Doe^Jane", 1, 0)) return 1;
    if (ds.SaveDS(path, DS_METAHEADER_PRESENT) != DICOM_SUCCESS) return 2;

    MDicomDS loaded(nullptr);
    if (loaded.LoadDS(path, 0) != DICOM_SUCCESS) return 3;
    _DICOMELEMENT *read = loaded.FindFirstElement(nullptr, 0x00100010, 1);
    const char *text = read != nullptr ? loaded.GetStringValueA(read, 0, 1) : nullptr;
    return text != nullptr && std::strcmp(text, "Doe^Jane") == 0 ? 0 : 4;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) return 9;
    const A2U_Class path(argv[1]);
    void *block = KernelAlloc(1, 16, __LINE__, __FILE__); // the kernel links, too
    KernelFree(block, __LINE__, __FILE__);
    return Run(path.pszText);
}
