// MDicomFile: both back ends against a plain vector of bytes, and the rules of opening and closing.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "Mvkrnx.h"
#include "support/TestFiles.h"

namespace {

using support::Bytes;
using support::TemporaryFolder;

constexpr uint16_t kCreate = FILE_MODE_CREATE | FILE_MODE_READ | FILE_MODE_WRITE;
constexpr uint16_t kStore = 207;
constexpr uint16_t kMemory = FILE_MODE_MEMORY | FILE_MODE_AUTO_CLOSE;

class EachBackEnd : public testing::TestWithParam<uint16_t> {
  protected:
    void SetUp() override {
        const bool file = (GetParam() & (FILE_MODE_TEMPORARY | FILE_MODE_MEMORY)) == 0;
        const std::wstring name = file ? folder.WideFile("stream") : folder.Path().wstring();
        ASSERT_EQ(stream.Open(name.c_str(), GetParam()), 1);
    }

    TemporaryFolder folder;
    MDicomFile stream;
};

/** Random reads, writes, seeks and cuts must leave the stream as they leave a vector. */
TEST_P(EachBackEnd, BehavesLikeAVector) {
    std::mt19937 random(11);
    Bytes model;
    uint64_t place = 0;
    for (int step = 0; step < 4000; ++step) {
        const uint32_t size = random() % (step % 97 == 0 ? 150000 : 600);
        switch (random() % 4) {
            case 0: {
                Bytes data(size + 1);
                for (uint8_t &byte : data) byte = static_cast<uint8_t>(random());
                ASSERT_EQ(stream.Write(data.data(), static_cast<uint32_t>(data.size())), 1);
                if (model.size() < place + data.size()) model.resize(place + data.size());
                std::copy(data.begin(), data.end(), model.begin() + static_cast<long>(place));
                place += data.size();
                break;
            }
            case 1: {
                Bytes data(size + 1);
                const uint64_t left = place < model.size() ? model.size() - place : 0;
                const uint64_t count = std::min<uint64_t>(left, data.size());
                ASSERT_EQ(stream.Read(data.data(), static_cast<uint32_t>(data.size())),
                          count == data.size() ? 1 : 0);
                ASSERT_TRUE(std::equal(data.begin(), data.begin() + count, model.end() - left));
                place += count;
                break;
            }
            case 2: // now and then
                if (random() % 30 != 0 || place == 0 || place > model.size()) break;
                ASSERT_EQ(stream.Write(nullptr, 0), 1);
                model.resize(place);
                break;
            default:
                // A gap is filled with zeros.
                place = model.empty() ? 0 : random() % (model.size() + 600);
                ASSERT_EQ(stream.Seek(static_cast<int64_t>(place), 0), 1);
        }
        ASSERT_EQ(stream.Tell(), place);
        ASSERT_EQ(stream.nLength, model.size());
    }
    Bytes all(model.size());
    ASSERT_EQ(stream.Seek(0, 0), 1);
    ASSERT_EQ(stream.Read(all.data(), static_cast<uint32_t>(all.size())), 1);
    EXPECT_EQ(all, model);
}

TEST_P(EachBackEnd, SeeksToNoPlaceFail) {
    ASSERT_EQ(stream.Write("abcdef", 6), 1);
    EXPECT_EQ(stream.Seek(-7, 2), 0);
    EXPECT_EQ(stream.Seek(0, 3), 0);
    EXPECT_EQ(stream.Tell(), 6u);
    EXPECT_EQ(stream.Seek(-4, 2), 1);
    EXPECT_EQ(stream.Tell(), 2u);
    char byte;
    EXPECT_EQ(stream.Seek(9, 0), 1);
    EXPECT_EQ(stream.Read(&byte, 1), 0);
}

INSTANTIATE_TEST_SUITE_P(Stream, EachBackEnd,
                         testing::Values(uint16_t(kCreate | FILE_MODE_AUTO_CLOSE), kStore,
                                         kMemory));

TEST(Stream, OpensRegularFilesOnly) {
    TemporaryFolder folder;
    MDicomFile stream;
    EXPECT_EQ(stream.Open(folder.Path().wstring().c_str(), 98), 0);
    EXPECT_EQ(stream.Open(folder.WideFile("absent").c_str(), 98), 0);
    EXPECT_EQ(stream.Open(nullptr, 98), 0);
    EXPECT_EQ(stream.Open(folder.WideFile("absent/folder").c_str(), kStore), 0);
    EXPECT_EQ(stream.Read(nullptr, 1), 0);
    EXPECT_EQ(stream.Write("x", 1), 0);
    EXPECT_EQ(stream.Seek(0, 0), 0);
}

TEST(Stream, KeepsLongNamesOutOfTheRecordButOpensThem) {
    TemporaryFolder folder;
    std::wstring name = folder.Path().wstring();
    for (int i = 0; i < 3; ++i) name += L"/" + std::wstring(100, L'a' + i);
    std::filesystem::create_directories(std::filesystem::path(name).parent_path());
    MDicomFile stream;
    EXPECT_EQ(stream.Open(name.c_str(), kCreate | FILE_MODE_AUTO_CLOSE), 1);
    EXPECT_EQ(stream.szName[0], L'\0');
}

TEST(Stream, ClosesByForceWithoutAutoClose) {
    TemporaryFolder folder;
    MDicomFile stream;
    ASSERT_EQ(stream.Open(folder.Path().wstring().c_str(), 143), 1);
    ASSERT_EQ(stream.Write("abc", 3), 1);
    stream.Close(0);
    EXPECT_EQ(stream.Seek(0, 0), 1);
    stream.Close(1);
    EXPECT_EQ(stream.Seek(0, 0), 0);
}

TEST(Stream, TemporaryFilesStayIfTheyHaveAName) {
    constexpr uint16_t kNamed = kCreate | FILE_MODE_TEMPORARY | FILE_MODE_AUTO_CLOSE;
    const Bytes large(200000, 7);
    TemporaryFolder folder;
    for (const uint16_t mode : {kStore, kNamed}) {
        MDicomFile stream;
        ASSERT_EQ(stream.Open(folder.Path().wstring().c_str(), mode), 1);
        ASSERT_EQ(stream.Write(large.data(), 200000), 1);
    }
    ASSERT_EQ(folder.Count(), 1u);
    const auto entry = *std::filesystem::directory_iterator(folder.Path());
    EXPECT_EQ(entry.path().filename().string().substr(0, 3), "DIC");
    EXPECT_EQ(support::ReadFile(entry.path().string()), large);
}

TEST(Stream, ExternalBlocksAreNeitherResizedNorCut) {
    Bytes block(8, 1);
    MDicomFile stream;
    EXPECT_EQ(stream.SetMemoryBuffer(nullptr, 8, 0), 0);
    EXPECT_EQ(stream.SetMemoryBuffer(block.data(), 0, 0), 0);
    ASSERT_EQ(stream.SetMemoryBuffer(block.data(), block.size(), 0), 1);
    EXPECT_EQ(stream.Write("abcd", 4), 1);
    EXPECT_EQ(stream.Write("efghi", 5), 0);
    EXPECT_EQ(stream.Write(nullptr, 0), 0);
    EXPECT_EQ(block[3], 'd');
    EXPECT_EQ(block[4], 1);
}

TEST(Stream, AdoptsBlocksWithTheirSize) {
    void *block = KernelAlloc(1, 1000, 0, nullptr);
    MDicomFile stream;
    stream.SetHandle(block, kMemory);
    EXPECT_EQ(stream.nLength, 1000u);
    EXPECT_EQ(stream.Write(nullptr, 0), 1); // frees the block
    EXPECT_EQ(stream.nLength, 0u);
}

TEST(Stream, CopiesShareTheirFile) {
    TemporaryFolder folder;
    MDicomFile first;
    ASSERT_EQ(first.Open(folder.Path().wstring().c_str(), kStore), 1);
    ASSERT_EQ(first.Write("shared", 6), 1);
    MDicomFile second(first);
    MDicomFile third;
    third = first;
    first.Close(0);
    for (MDicomFile *copy : {&second, &third}) {
        char text[7] = {};
        ASSERT_EQ(copy->Seek(0, 0), 1);
        EXPECT_EQ(copy->Read(text, 6), 1);
        EXPECT_STREQ(text, "shared");
    }
}

TEST(Stream, CopiesRangesBetweenStreams) {
    TemporaryFolder folder;
    Bytes data(300000);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 7);
    support::WriteFile(folder.File("source"), data);
    MDicomFile source;
    ASSERT_EQ(source.Open(folder.WideFile("source").c_str(), 98), 1);
    for (const uint16_t mode : {kStore, kMemory}) {
        MDicomFile target;
        ASSERT_EQ(target.Open(folder.Path().wstring().c_str(), mode), 1);
        ASSERT_EQ(target.Write("x", 1), 1);
        EXPECT_EQ(target.CopyFrom(source, 5, 290000), 1);
        EXPECT_EQ(target.CopyFrom(source, 299990, 11), 0);
        Bytes copy(290000);
        ASSERT_EQ(target.Seek(1, 0), 1);
        ASSERT_EQ(target.Read(copy.data(), 290000), 1);
        EXPECT_TRUE(std::equal(copy.begin(), copy.end(), data.begin() + 5));
    }
}

} // namespace
