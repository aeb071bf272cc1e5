// Figures of the data set core: start-up, classes, loading, saving.

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "MDicom.h"
#include "Measure.h"
#include "Mvkrnx.h"
#include "support/TestFiles.h"

extern char **environ;

namespace {

using bench::Check;
using bench::Compare;
using bench::Duration;
using bench::Row;
using bench::Text;
using bench::Times;
using support::Bytes;
using support::Encoder;

/** Memory for elements, and nothing else: an allocation each. */
void AllocateNodes(uint32_t count) {
    constexpr size_t kNode = 128;
    std::vector<void *> nodes;
    nodes.reserve(count);
    for (uint32_t i = 0; i < count; ++i) nodes.push_back(std::malloc(kNode));
    for (void *node : nodes) std::free(node);
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
    const double peak = bench::PeakMegabytes([&] { support::LoadBytes(ds, file.bytes); });
    Check(ds.m_Tree.GetCount(nullptr, 0) == count);
    const Times times =
        Compare(51, {[&] { support::LoadBytes(ds, file.bytes); }, [=] { AllocateNodes(count); }});
    const double each = times.Of(0) / count;
    Row{"load, per element",
        "20,000 elements in nested sequences, in memory",
        Duration(each),
        "an allocation each: " + Duration(times.Of(1) / count),
        Text("%.2f", times.Ratio(0, 1)),
        bench::Megabytes(peak),
        "< 200 ns",
        each < 200e-9}
        .Print();
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

/** What no reader can do without: opens a file, asks for its size, reads its first part. */
void ReadHead(const std::string &path) {
    static char head[16384];
    const int file = open(path.c_str(), O_RDONLY);
    struct stat info;
    Check(fstat(file, &info) == 0 && pread(file, head, sizeof head, 0) > 0);
    close(file);
}

struct Files {
    const char *input;
    int count;
    uint32_t elements;
    uint32_t pixelBytes;
    double wanted; ///< microseconds a file
};

void ManyFiles(const support::TemporaryFolder &folder, const Files &files) {
    const Bytes bytes = ImageFile(files.elements, files.pixelBytes);
    std::vector<std::string> names;
    for (int i = 0; i < files.count; ++i) {
        names.push_back(folder.File(std::to_string(i)));
        support::WriteFile(names.back(), bytes);
    }
    const auto load = [&](const std::string &name) {
        MDicomDS ds(nullptr);
        Check(ds.LoadDS(std::filesystem::path(name).wstring().c_str(), 0) == DICOM_SUCCESS);
    };
    const double peak = bench::PeakMegabytes([&] { load(names[0]); });
    const Times times = Compare(9, {[&] {
                                        for (const std::string &name : names) load(name);
                                    },
                                    [&] {
                                        for (const std::string &name : names) ReadHead(name);
                                    }});
    const double each = times.Of(0) / files.count;
    Row{"load, per file",
        files.input,
        Duration(each),
        "open and read 16 KB: " + Duration(times.Of(1) / files.count),
        Text("%.2f", times.Ratio(0, 1)),
        bench::Megabytes(peak),
        Text("< %.0f us", files.wanted),
        each < files.wanted * 1e-6}
        .Print();
    for (const std::string &name : names) std::remove(name.c_str());
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

void WriteLargeFile(const std::string &path, uint32_t megabytes) {
    Encoder head;
    head.Meta(support::kExplicitUid);
    for (uint32_t i = 0; i < 90; ++i) head.Element(0x00100100 + i, "LO", "value of it ");
    head.Header(TAG_PIXEL_DATA, "OW", megabytes << 20);
    support::WriteFile(path, head.bytes);
    FILE *file = std::fopen(path.c_str(), "ab");
    const std::string piece(1 << 20, 'p');
    for (uint32_t i = 0; i < megabytes; ++i) std::fwrite(piece.data(), 1, piece.size(), file);
    std::fclose(file);
}

void LargeFile(const support::TemporaryFolder &folder) {
    const uint32_t megabytes = bench::isQuick ? 64 : 512;
    const std::string input = "a file of " + std::to_string(megabytes) + " MB";
    WriteLargeFile(folder.File("large"), megabytes);
    const std::wstring name = folder.WideFile("large");
    MDicomDS ds(nullptr);
    const auto load = [&] { Check(ds.LoadDS(name.c_str(), 0) == DICOM_SUCCESS); };
    const double loadPeak = bench::PeakMegabytes(load);
    const Times loads = Compare(11, {load, [&] { ReadHead(folder.File("large")); }});
    Row{"load",
        input,
        Duration(loads.Of(0)),
        "open and read 16 KB: " + Duration(loads.Of(1)),
        Text("%.2f", loads.Ratio(0, 1)),
        bench::Megabytes(loadPeak),
        "< 1 ms, < 4 MB",
        loads.Of(0) < 1e-3 && loadPeak < 4}
        .Print();
    // Both begin without a target: to empty a large one takes time of its own.
    const auto copy = [&] { PlainCopy(folder.File("large"), folder.File("copy")); };
    const auto save = [&] {
        Check(ds.SaveDS(folder.WideFile("saved").c_str(), 0) == DICOM_SUCCESS);
    };
    const double savePeak = bench::PeakMegabytes(save);
    copy();
    std::vector<double> times[2];
    std::vector<double> ratios;
    for (int i = 0; i < bench::Runs(10); ++i) {
        std::remove(folder.File("copy").c_str());
        std::remove(folder.File("saved").c_str());
        // The second of two such writes may have to wait for the first.
        const bool saveFirst = i % 2 == 0;
        const double first = bench::Seconds(saveFirst ? bench::Work(save) : bench::Work(copy));
        const double second = bench::Seconds(saveFirst ? bench::Work(copy) : bench::Work(save));
        times[0].push_back(saveFirst ? first : second);
        times[1].push_back(saveFirst ? second : first);
        ratios.push_back(times[1].back() / times[0].back());
    }
    const double ratio = bench::Median(ratios);
    Row{"save unchanged",
        input,
        Duration(bench::Median(times[0])),
        "copy by the kernel: " + Duration(bench::Median(times[1])),
        Text("%.2f", ratio),
        bench::Megabytes(savePeak),
        ">= 0.8",
        ratio >= 0.8}
        .Print();
}

void Classes() {
    double seconds = 0;
    const double treePeak = bench::PeakMegabytes(
        [&] { seconds = bench::Seconds([] { MDicomIOD::GetFirst(nullptr, 1); }); });
    Row{"unfold the tree of IODs",
        "158 classes, 122,678 elements",
        Duration(seconds),
        "-",
        "-",
        bench::Megabytes(treePeak),
        "< 15 ms, < 24 MB",
        seconds < 15e-3 && treePeak < 24}
        .Print();
    MDicomDS ds(nullptr);
    const double peak = bench::PeakMegabytes([&] { ds.InitDS(1, 0); });
    const double init = Compare(51, {[&] { ds.InitDS(1, 0); }}).Of(0);
    Row{"InitDS", "class 1, all elements", Duration(init), "-",
        "-",      bench::Megabytes(peak),  "< 2 ms",       init < 2e-3}
        .Print();
}

/** Runs a program and waits for its end. */
void RunProgram(const std::string &path) {
    pid_t child = 0;
    char *arguments[] = {const_cast<char *>(path.c_str()), nullptr};
    Check(posix_spawn(&child, path.c_str(), nullptr, nullptr, arguments, environ) == 0);
    int status = 0;
    waitpid(child, &status, 0);
    Check(status == 0);
}

void StartUp(const char *self) {
    const double start = bench::Seconds([] {
        M_DicomEngineStartup(3);
        MDicomTag::Find(0x00100010);
    });
    Row{"start of the engine",
        "all tables, first look-up",
        Duration(start),
        "-",
        "-",
        "-",
        "< 2 ms",
        start < 2e-3}
        .Print();
    const std::string program = self;
    const std::string lookup = program.substr(0, program.rfind('/') + 1) + "bench_lookup";
    const Times times =
        Compare(51, {[&] { RunProgram(lookup); }, [&] { RunProgram("/bin/true"); }});
    Row{"a process that looks up one tag",
        "-",
        Duration(times.Of(0)),
        "an empty process: " + Duration(times.Of(1)),
        Text("%.2f", times.Ratio(0, 1)),
        "-",
        "< 5 ms",
        times.Of(0) < 5e-3}
        .Print();
}

} // namespace

int main(int count, char **arguments) {
    bench::Start(count, arguments);
    const support::TemporaryFolder folder;
    if (!bench::countsProcessor) StartUp(arguments[0]);
    Classes();
    NestedElements();
    ManyFiles(folder, {"1,000 CT files of 96 elements, 2 KB of pixels", 1000, 96, 2048, 35});
    ManyFiles(folder, {"200 files of 500 KB and 260 elements", 200, 260, 490000, 60});
    LargeFile(folder);
    return 0;
}
