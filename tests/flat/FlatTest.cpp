// The flat interface: what is exported, and a C program that uses it.

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "FlatFromC.h"

namespace {

using Names = std::set<std::string>;

/** Adds the names that a header declares, the start of each of which stands behind a blank or a
 *  star and the end before a parenthesis. */
void AddDeclaredNames(const char *header, Names &names) {
    std::ifstream file(std::filesystem::path(MDICOM_SOURCE_DIR) / "include" / header);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("MDICOM_API ")) continue;
        const size_t end = line.find('(');
        const size_t start = line.find_last_of(" *", end) + 1;
        names.insert(line.substr(start, end - start));
    }
}

/** The flat names among what the loaded library defines for others. */
Names ExportedNames() {
    Dl_info info{};
    dladdr(dlsym(RTLD_DEFAULT, "M_DicomEngineStartup"), &info);
    const std::string command = "nm -D --defined-only '" + std::string(info.dli_fname) + "'";
    FILE *symbols = popen(command.c_str(), "r");
    if (symbols == nullptr) return {};
    Names names;
    for (char line[4096]; std::fgets(line, sizeof line, symbols) != nullptr;) {
        const std::string text = line;
        const size_t start = text.rfind(' ') + 1;
        const std::string name = text.substr(start, text.find('\n') - start);
        if (name.starts_with("M_Dicom") || name.starts_with("flt")) names.insert(name);
    }
    pclose(symbols);
    return names;
}

TEST(FlatTest, ExportsWhatTheHeadersDeclareAndNothingElse) {
    Names declared;
    AddDeclaredNames("MDicomEngine.h", declared);
    AddDeclaredNames("MDicomFlat.h", declared);
    ASSERT_GT(declared.size(), 90u);
    EXPECT_EQ(ExportedNames(), declared);
}

TEST(FlatTest, DictionariesServeAProgramInC) {
    EXPECT_EQ(UseDictionariesFromC(), 0) << "line of FlatFromC.c";
}

TEST(FlatTest, DataSetsServeAProgramInC) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("mdicom-flat-" + std::to_string(getpid()) + ".dcm");
    EXPECT_EQ(UseDataSetFromC(path.wstring().c_str()), 0) << "line of FlatFromC.c";
    std::filesystem::remove(path);
}

} // namespace
