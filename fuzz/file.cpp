// Loads a file by its name and by a stream, which must come to the same as a load from memory,
// then saves the data set onto its own file. The first two bytes are the load flags.

#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "Support.h"

namespace {

using namespace fuzz;

/** A file that goes with the program, in memory where the system has such files. */
class Scratch {
  public:
    Scratch() {
        namespace fs = std::filesystem;
        const fs::path memory("/dev/shm");
        const fs::path folder = fs::is_directory(memory) ? memory : fs::temp_directory_path();
        m_Path = folder / ("mdicom_fuzz_" + std::to_string(getpid()));
    }
    ~Scratch() {
        std::error_code error;
        std::filesystem::remove(m_Path, error);
    }
    void Write(const std::vector<uint8_t> &bytes) const {
        std::FILE *file = std::fopen(m_Path.c_str(), "wb");
        Require(file != nullptr);
        Require(std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
        std::fclose(file);
    }
    std::wstring Name() const { return m_Path.wstring(); }

  private:
    std::filesystem::path m_Path;
};

void RequireSame(MDicomDS &first, MDicomDS &second) {
    Require(first.m_nFlags == second.m_nFlags);
    const support::CompareOptions all{true, false};
    const std::string difference = support::Difference(first, second, all);
    if (!difference.empty()) std::fprintf(stderr, "%s\n", difference.c_str());
    Require(difference.empty());
}

void LoadStream(const Scratch &scratch, MDicomDS &expected, uint16_t flags) {
    MDicomFile stream;
    Require(stream.Open(scratch.Name().c_str(), FILE_MODE_READ | FILE_MODE_KERNEL));
    MDicomDS ds(nullptr);
    Require(ds.LoadDS(&stream, flags, 0) == DICOM_SUCCESS);
    // Values of odd length stay as they are in a stream of the caller's.
    Require(ds.m_Tree.GetCount(nullptr, 1) == expected.m_Tree.GetCount(nullptr, 1));
    const uint16_t status = ds.LoadDS(&stream, flags, 1);
    const bool image = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0) != nullptr;
    Require(image == (status == DICOM_SUCCESS));
    ds.ResetDS();
    stream.Close(1);
}

void SaveOntoItself(const Scratch &scratch, MDicomDS &ds) {
    const Saved expected = Save(ds, 0);
    const uint16_t status = ds.SaveDS(scratch.Name().c_str(), 0);
    Require(status == expected.status);
    if (status != DICOM_SUCCESS) return;
    MDicomFile file;
    Require(file.Open(scratch.Name().c_str(), FILE_MODE_READ | FILE_MODE_KERNEL));
    std::vector<uint8_t> bytes(file.nLength);
    Require(file.Read(bytes.data(), static_cast<uint32_t>(bytes.size())) || bytes.empty());
    file.Close(1);
    Require(bytes == expected.bytes);
    const Saved again = Save(ds, 0); // from the file that has lost its name
    Require(again.bytes == expected.bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Scratch scratch;
    Input input(data, size);
    const uint16_t flags = input.Word();
    std::vector<uint8_t> bytes = input.Rest();
    if (bytes.empty()) return 0;
    scratch.Write(bytes);
    MDicomDS memory(nullptr);
    MDicomDS file(nullptr);
    const uint16_t status = memory.LoadDSMemory(bytes.data(), bytes.size(), flags);
    Require(file.LoadDS(scratch.Name().c_str(), flags) == status);
    if (status != DICOM_SUCCESS) return 0;
    RequireSame(memory, file);
    LoadStream(scratch, memory, flags);
    SaveOntoItself(scratch, file);
    return 0;
}
