// Figures of the data set core: loading, saving, start-up. Inputs are made in a temporary folder.
//
// Usage: bench_data_set_core [FOLDER] (default: the system's folder for temporary files)

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>

#include "MDicom.h"
#include "Mvkrnx.h"
#include "support/TestFiles.h"

extern char **environ;

namespace {

using support::Bytes;
using support::Encoder;

double Seconds(const std::function<void()> &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** The middle of several runs, in seconds. */
double Median(int runs, const std::function<void()> &work) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) times.push_back(Seconds(work));
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[static_cast<size_t>(runs) / 2];
}

void Row(const char *what, double value, const char *unit, const char *wanted) {
    std::printf("%-58s %10.2f %-10s wanted: %s\n", what, value, unit, wanted);
}

long ResidentKilobytes() {
    long pages = 0;
    long resident = 0;
    FILE *file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr || std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
    if (file != nullptr) std::fclose(file);
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

/** 20,000 elements, ten to an item, items in sequences. */
void NestedElements() {
    Encoder file;
    file.Meta(support::kExplicitUid);
    uint32_t count = 1;
    for (uint32_t s = 0; s < 20; ++s) {
        file.Header(0x00081100 + s, "SQ", 0xFFFFFFFF);
        for (int i = 0; i < 83; ++i) {
            file.Plain(TAG_ITEM, 0xFFFFFFFF);
            for (uint32_t e = 0; e < 11; ++e) file.Element(0x00100010 + e, "LO", "some text ");
            file.Plain(TAG_ITEM_DELIMITATION, 0);
            count += 12;
        }
        file.Plain(TAG_SEQUENCE_DELIMITATION, 0);
        ++count;
    }
    MDicomDS ds(nullptr);
    const double seconds = Median(51, [&] { support::LoadBytes(ds, file.bytes); });
    if (ds.m_Tree.GetCount(nullptr, 0) != count) std::abort();
    Row("load, nested sequences, per element", seconds / count * 1e9, "ns", "< 200");
}

/** An image file with a number of elements of usual kinds. */
Bytes ImageFile(uint32_t elements, uint32_t pixelBytes) {
    Encoder file;
    file.Meta(support::kExplicitUid);
    for (uint32_t i = 0; i < elements - 2; ++i) {
        const uint32_t tag = ((0x0008 + 2 * (i / 40)) << 16) + 0x0100 + i % 40;
        file.Element(tag, i % 3 != 0 ? "LO" : "DS", i % 3 != 0 ? "value of it " : "1.25\\2.5");
    }
    file.Header(TAG_PIXEL_DATA, "OW", pixelBytes).Text(std::string(pixelBytes, 'p'));
    return file.bytes;
}

void ManyFiles(const support::TemporaryFolder &folder, const char *what, int files,
               uint32_t elements, uint32_t pixelBytes, const char *wanted) {
    const Bytes bytes = ImageFile(elements, pixelBytes);
    std::vector<std::wstring> names;
    for (int i = 0; i < files; ++i) {
        support::WriteFile(folder.File(std::to_string(i)), bytes);
        names.push_back(folder.WideFile(std::to_string(i)));
    }
    const double seconds = Median(5, [&] {
        for (const std::wstring &name : names) {
            MDicomDS ds(nullptr);
            if (ds.LoadDS(name.c_str(), 0) != DICOM_SUCCESS) std::abort();
        }
    });
    Row(what, seconds / files * 1e6, "us", wanted);
    for (int i = 0; i < files; ++i) std::remove(folder.File(std::to_string(i)).c_str());
}

/** Copies a file as the kernel does it by itself. */
void PlainCopy(const std::string &from, const std::string &to) {
    const int source = open(from.c_str(), O_RDONLY);
    const int target = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    while (copy_file_range(source, nullptr, target, nullptr, 1 << 30, 0) > 0) {
    }
    close(source);
    close(target);
}

void LargeFile(const support::TemporaryFolder &folder) {
    constexpr uint32_t kPixels = 512u << 20;
    {
        Encoder head;
        head.Meta(support::kExplicitUid);
        for (uint32_t i = 0; i < 90; ++i) head.Element(0x00100100 + i, "LO", "value of it ");
        head.Header(TAG_PIXEL_DATA, "OW", kPixels);
        support::WriteFile(folder.File("large"), head.bytes);
        FILE *file = std::fopen(folder.File("large").c_str(), "ab");
        const std::string piece(1 << 20, 'p');
        for (int i = 0; i < 512; ++i) std::fwrite(piece.data(), 1, piece.size(), file);
        std::fclose(file);
    }
    const std::wstring name = folder.WideFile("large");
    const long before = ResidentKilobytes();
    MDicomDS ds(nullptr);
    Row("load, 512 MB multi-frame file", Median(11, [&] { ds.LoadDS(name.c_str(), 0); }) * 1e3,
        "ms", "< 1");
    Row("  memory that it takes", static_cast<double>(ResidentKilobytes() - before) / 1024, "MB",
        "< 4");
    const auto copy = [&] { PlainCopy(folder.File("large"), folder.File("copy")); };
    const auto save = [&] {
        if (ds.SaveDS(folder.WideFile("saved").c_str(), 0) != DICOM_SUCCESS) std::abort();
    };
    copy();
    save();
    std::vector<double> ratios;
    for (int i = 0; i < 6; ++i) {
        std::remove(folder.File("copy").c_str());
        std::remove(folder.File("saved").c_str());
        // The second of two such writes has to wait for the first: each goes first half the time.
        const double first = i % 2 == 0 ? Seconds(copy) : Seconds(save);
        const double second = i % 2 == 0 ? Seconds(save) : Seconds(copy);
        ratios.push_back((i % 2 == 0 ? first / second : second / first) * 100);
    }
    std::sort(ratios.begin(), ratios.end());
    Row("save unchanged, speed against a plain kernel copy", (ratios[2] + ratios[3]) / 2, "%",
        ">= 80");
}

void Classes() {
    Row("unfold the IOD tree", Seconds([] { MDicomIOD::GetFirst(nullptr, 1); }) * 1e3, "ms",
        "< 15");
    MDicomDS ds(nullptr);
    Row("InitDS of CT, all elements", Median(51, [&] { ds.InitDS(1, 0); }) * 1e3, "ms", "< 2");
}

/** Runs a program of this folder and waits for its end. */
void RunProgram(const std::string &path) {
    pid_t child = 0;
    char *arguments[] = {const_cast<char *>(path.c_str()), nullptr};
    if (posix_spawn(&child, path.c_str(), nullptr, nullptr, arguments, environ) != 0) std::abort();
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) std::abort();
}

void StartUp(const char *self) {
    Row("start of the engine, all tables",
        Median(51,
               [] {
                   M_DicomEngineStartup(3);
                   MDicomTag::Find(0x00100010);
               }) *
            1e3,
        "ms", "< 2");
    const std::string program = self;
    const std::string lookup = program.substr(0, program.rfind('/') + 1) + "bench_lookup";
    if (access(lookup.c_str(), X_OK) != 0) return;
    Row("a process that looks up one tag", Median(51, [&] { RunProgram(lookup); }) * 1e3, "ms",
        "< 5");
    Row("  an empty process in the same run", Median(51, [&] { RunProgram("/bin/true"); }) * 1e3,
        "ms", "-");
}

} // namespace

int main(int count, char **arguments) {
    if (count > 1) setenv("TMPDIR", arguments[1], 1);
    const support::TemporaryFolder folder;
    StartUp(arguments[0]);
    Classes();
    NestedElements();
    ManyFiles(folder, "load, 1,000 CT files of 96 elements, per file", 1000, 96, 2048, "< 35");
    ManyFiles(folder, "load, files of 500 KB and 260 elements, per file", 200, 260, 490000, "< 60");
    LargeFile(folder);
    return 0;
}
