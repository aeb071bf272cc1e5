// Gives the files of a folder to a fuzz target, one after the other. The target aborts where
// something does not hold; what takes much time or memory fails as well.

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "support/TestFiles.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

constexpr std::chrono::seconds kLongest{10};
constexpr long kMostKilobytes = 2048 * 1024;

bool IsModest(const std::filesystem::path &path) {
    const support::Bytes input = support::ReadFile(path.string());
    std::printf("%s: %zu bytes\n", path.filename().c_str(), input.size());
    std::fflush(stdout);
    const auto start = std::chrono::steady_clock::now();
    LLVMFuzzerTestOneInput(input.data(), input.size());
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const bool quick = std::chrono::steady_clock::now() - start < kLongest;
    return quick && usage.ru_maxrss < kMostKilobytes;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) return 2;
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1])) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto &path : files) {
        if (!IsModest(path)) return 1;
    }
    return files.empty() ? 1 : 0;
}
