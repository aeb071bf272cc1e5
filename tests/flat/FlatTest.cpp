// A C program that uses the flat interface.

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <string>

#include "FlatFromC.h"

namespace {

TEST(FlatTest, DictionariesServeAProgramInC) {
    EXPECT_EQ(UseDictionariesFromC(), 0) << "line of FlatFromC.c";
}

TEST(FlatTest, TreesServeAProgramInC) {
    EXPECT_EQ(UseTreeFromC(), 0) << "line of FlatFromC.c";
}

TEST(FlatTest, DataSetsServeAProgramInC) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("mdicom-flat-" + std::to_string(getpid()) + ".dcm");
    EXPECT_EQ(UseDataSetFromC(path.wstring().c_str()), 0) << "line of FlatFromC.c";
    std::filesystem::remove(path);
}

} // namespace
