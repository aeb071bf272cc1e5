// Real files that tests run over, where they are installed.

#pragma once

#include <algorithm>
#include <filesystem>
#include <vector>

namespace support {

/** All files of the sample folders, in order; none where the folders are absent. */
inline std::vector<std::filesystem::path> RealFiles() {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (const fs::path &folder : {fs::path("/usr/lib/python3/dist-packages/pydicom/data"),
                                   fs::path(MDICOM_SOURCE_DIR) / "../shared/samples"}) {
        std::error_code error;
        for (const auto &entry : fs::recursive_directory_iterator(folder, error)) {
            if (entry.is_regular_file()) files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace support
