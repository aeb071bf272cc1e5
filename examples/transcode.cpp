// transcode: changes the transfer syntax of a file, or of all files of a folder.
//
//   transcode in out implicit|explicit|big|rle|jpeg|jpeg12|jpeg-lossless|jpeg-lossless-sv1|
//                    j2k-lossless|j2k|<UID> [quality]
//
// The quality of lossy syntaxes is 2 (best) to 255. A lossy image is marked as one; where it is to
// live beside the original, it also needs a SOP Instance UID of its own (PS 3.3, C.7.6.1.1.5).

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <vector>

#include "ExampleText.h"

namespace {

namespace fs = std::filesystem;

struct Syntax {
    std::string_view word;
    const char *uid;
    bool isLossy;
};

constexpr Syntax kSyntaxes[] = {
    {"implicit", "1.2.840.10008.1.2", false},
    {"explicit", "1.2.840.10008.1.2.1", false},
    {"big", "1.2.840.10008.1.2.2", false},
    {"rle", "1.2.840.10008.1.2.5", false},
    {"jpeg", "1.2.840.10008.1.2.4.50", true},
    {"jpeg12", "1.2.840.10008.1.2.4.51", true},
    {"jpeg-lossless", "1.2.840.10008.1.2.4.57", false},
    {"jpeg-lossless-sv1", "1.2.840.10008.1.2.4.70", false},
    {"j2k-lossless", "1.2.840.10008.1.2.4.90", false},
    {"j2k", "1.2.840.10008.1.2.4.91", true},
};

struct Target {
    const Syntax *syntax = nullptr;
    int32_t quality = 10;
};

struct Tally {
    size_t done = 0;
    uint64_t bytesBefore = 0;
    uint64_t bytesAfter = 0;
    std::vector<std::string> failures;
};

const Syntax *FindSyntax(std::string_view text) {
    for (const Syntax &syntax : kSyntaxes) {
        if (text == syntax.word || text == syntax.uid) return &syntax;
    }
    return nullptr;
}

bool ParseQuality(std::string_view text, int32_t *quality) {
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, *quality);
    return error == std::errc() && stop == end && *quality >= 2 && *quality <= 255;
}

/** Empty after a success, else what failed. */
std::string Transcode(const fs::path &in, const fs::path &out, const Target &target) {
    const auto failure = [](const char *step, uint16_t status) {
        return std::string(step) + ": " + StatusText(status) + " (" + std::to_string(status) + ")";
    };
    MDicomDS ds(nullptr);
    uint16_t status = ds.LoadDS(Wide(in.string()).c_str(), 0);
    if (status != DICOM_SUCCESS) return failure("load", status);
    const bool hasImage = ds.GetCountImage(nullptr) > 0;
    status = ds.ChangeTransferSyntax(Wide(target.syntax->uid).c_str(), target.quality, 0);
    if (status != DICOM_SUCCESS) return failure("change", status);
    if (hasImage && target.syntax->isLossy) {
        ds.FindSetValue(nullptr, 0x00282110, "01", 2, VALUE_ARRAY_BYTE);
    }
    status = ds.SaveDS(Wide(out.string()).c_str(), DS_METAHEADER_PRESENT);
    return status == DICOM_SUCCESS ? std::string() : failure("save", status);
}

void TranscodeFile(const fs::path &in, const fs::path &out, const Target &target, Tally &tally) {
    const uint64_t before = fs::file_size(in);
    if (out.has_parent_path()) fs::create_directories(out.parent_path());
    const std::string failure = Transcode(in, out, target);
    if (!failure.empty()) {
        tally.failures.push_back(in.string() + ": " + failure);
        return;
    }
    ++tally.done;
    tally.bytesBefore += before;
    tally.bytesAfter += fs::file_size(out);
}

void ShowProgress(const Tally &tally, size_t files) {
    std::printf("\r%zu of %zu files, %zu failed", tally.done + tally.failures.size(), files,
                tally.failures.size());
    std::fflush(stdout);
}

void ShowResult(const Tally &tally) {
    constexpr double kMega = 1e6;
    const auto before = static_cast<double>(tally.bytesBefore);
    const auto after = static_cast<double>(tally.bytesAfter);
    std::printf(", %.1f MB to %.1f MB", before / kMega, after / kMega);
    if (after > 0) std::printf(" (%.2f : 1)", before / after);
    std::printf("\n");
    for (const std::string &failure : tally.failures) std::printf("%s\n", failure.c_str());
}

} // namespace

int main(int argc, char **argv) try {
    Target target;
    if (argc == 4 || argc == 5) target.syntax = FindSyntax(argv[3]);
    if (target.syntax == nullptr || (argc == 5 && !ParseQuality(argv[4], &target.quality))) {
        std::fprintf(stderr, "usage: transcode in out syntax [quality]\n");
        for (const Syntax &syntax : kSyntaxes) {
            std::fprintf(stderr, "  %-18s %s\n", syntax.word.data(), syntax.uid);
        }
        return 2;
    }
    const fs::path in = argv[1];
    const fs::path out = argv[2];
    const bool isFolder = fs::is_directory(in);
    const std::vector<fs::path> files = FilesUnder(in);
    Tally tally;
    for (const fs::path &file : files) {
        TranscodeFile(file, isFolder ? out / fs::relative(file, in) : out, target, tally);
        ShowProgress(tally, files.size());
    }
    ShowResult(tally);
    return tally.failures.empty() ? 0 : 1;
} catch (const fs::filesystem_error &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
