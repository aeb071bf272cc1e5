#include <gtest/gtest.h>

#include "Host.h"

namespace {

using support::Bytes;

struct Refusals : testing::Test {
    support::TemporaryFolder folder;
    std::string path = folder.File("file");
    std::wstring name = folder.WideFile("file");

    int32_t Describe() {
        _FILEINFO info{};
        return ::Describe(path, 1, info);
    }
    int32_t Load() {
        Loaded loaded;
        LoadPage(name, 1, loaded);
        return loaded.result;
    }
};

Bytes Filled(size_t size, uint8_t value, size_t markAt = 0, const std::string &mark = {}) {
    Bytes bytes(size, value);
    std::copy(mark.begin(), mark.end(), bytes.begin() + static_cast<ptrdiff_t>(markAt));
    return bytes;
}

TEST_F(Refusals, OtherFormatsAreScreenedOut) {
    const std::pair<Bytes, int32_t> cases[] = {
        {Filled(108, 0, 40, " EMF"), FILTER_ERROR_FORMAT},
        {Filled(107, 0, 40, " EMF"), FILTER_ERROR_OPEN}, // too short to tell
        {Filled(132, 0xFF), FILTER_ERROR_FORMAT},
        {Filled(131, 0xFF), FILTER_ERROR_OPEN},
        {Filled(200, 0xFF, 128, "DICM"), FILTER_ERROR_OPEN},
        {Filled(200, 0), FILTER_ERROR_OPEN},
        {{}, FILTER_ERROR_OPEN},
    };
    for (const auto &[bytes, code] : cases) {
        support::WriteFile(path, bytes);
        EXPECT_EQ(Describe(), code) << bytes.size();
    }
}

TEST_F(Refusals, APreambleOfOnesIsStillDicom) {
    Picture picture(4, 4, 8, KERNEL_ORDER_RGB);
    ASSERT_EQ(SavePicture(name, picture, FILTER_FORMAT_DICOM_GRAY), FILTER_SUCCESS);
    Bytes bytes = support::ReadFile(path);
    std::fill_n(bytes.begin(), 128, uint8_t{0xFF});
    support::WriteFile(path, bytes);
    EXPECT_EQ(Describe(), FILTER_SUCCESS);
}

TEST_F(Refusals, StatusesBecomeCodes) {
    EXPECT_EQ(Load(), FILTER_ERROR_OPEN) << "no file";
    struct {
        const char *syntax;
        bool hasRows;
        int32_t info;
        int32_t load;
    } const cases[] = {
        {support::kExplicitUid, false, FILTER_ERROR_HEADER, FILTER_ERROR_HEADER},
        {"1.2.840.10008.1.2.4.80", true, FILTER_SUCCESS, FILTER_ERROR_FORMAT}, // not decoded
        {"1.2.840.10008.1.2.4.50", true, FILTER_SUCCESS, FILTER_ERROR_FORMAT}, // a bad stream
    };
    for (const auto &[syntax, hasRows, info, load] : cases) {
        SCOPED_TRACE(syntax);
        support::Encoder file;
        file.Meta(syntax);
        for (const uint32_t tag : {0x00100010u, 0x00100020u, 0x0020000Du, 0x0020000Eu}) {
            file.Element(tag, "LO", "ab");
        }
        const auto put = [&](uint32_t tag, uint32_t number) {
            file.Header(tag, "US", 2).Put16(number);
        };
        put(0x00280002, 1);
        file.Element(0x00280004, "CS", "MONOCHROME2 ");
        if (hasRows) put(0x00280010, 2);
        if (hasRows) put(0x00280011, 2);
        put(0x00280100, 8);
        put(0x00280101, 8);
        put(0x00280102, 7);
        put(0x00280103, 0);
        if (hasRows) {
            file.Header(TAG_PIXEL_DATA, "OB", 0xFFFFFFFF).Plain(TAG_ITEM, 0);
            file.Plain(TAG_ITEM, 4).Text("abcd").Plain(TAG_SEQUENCE_DELIMITATION, 0);
        } else {
            file.Element(TAG_PIXEL_DATA, "OW", "abcd");
        }
        support::WriteFile(path, file.bytes);
        EXPECT_EQ(Describe(), info);
        EXPECT_EQ(Load(), load);
    }
    support::Encoder text;
    text.Meta(support::kExplicitUid).Element(0x00100010, "PN", "Doe^Jane");
    support::WriteFile(path, text.bytes);
    EXPECT_EQ(Describe(), FILTER_ERROR_OPEN) << "no image";
    EXPECT_EQ(Load(), FILTER_ERROR_FORMAT);
}

TEST_F(Refusals, FilesThatAreCutAnywhereDoNoHarm) {
    Picture picture(16, 16, 24, KERNEL_ORDER_BGR);
    ASSERT_EQ(SavePicture(name, picture, FILTER_FORMAT_DICOM_RLE_COLOR), FILTER_SUCCESS);
    const Bytes whole = support::ReadFile(path);
    for (size_t size = 0; size < whole.size(); size += 1 + size / 24) {
        support::WriteFile(path, Bytes(whole.begin(), whole.begin() + static_cast<long>(size)));
        for (const int32_t code : {Describe(), Load()}) {
            EXPECT_TRUE(code == FILTER_SUCCESS || code < 0) << size;
        }
        EXPECT_NE(ReadComment(name, 10, 9), -1000);
    }
}

TEST_F(Refusals, ASaveThatFailsLeavesTheOldFile) {
    Picture picture(4, 4, 8, KERNEL_ORDER_RGB);
    support::WriteFile(path, {1, 2, 3});
    TestBitmap rowless;
    EXPECT_EQ(SavePicture(name, rowless, FILTER_FORMAT_DICOM_GRAY), FILTER_ERROR_WRITE);
    EXPECT_EQ(support::ReadFile(path), Bytes({1, 2, 3}));
    EXPECT_EQ(SavePicture(L"/no/such/folder/file", picture, 89), FILTER_ERROR_WRITE);
    EXPECT_EQ(folder.Count(), 1u);
}

TEST_F(Refusals, NullPointersAndForeignRecords) {
    for (int32_t (*function)(void *) : {fltInfo, fltComment, fltLoad, fltSave}) {
        EXPECT_EQ(function(nullptr), FILTER_ERROR_ARGUMENT);
    }
    _FILTERINFO info{};
    EXPECT_EQ(fltInfo(&info), FILTER_ERROR_ARGUMENT);
    _FILTERCOMMENT comment{};
    EXPECT_EQ(fltComment(&comment), FILTER_ERROR_ARGUMENT);
    _FILTERLOAD load{};
    EXPECT_EQ(fltLoad(&load), FILTER_ERROR_ARGUMENT);
    _FILTERSAVE save{};
    EXPECT_EQ(fltSave(&save), FILTER_ERROR_ARGUMENT);
    Picture picture(4, 4, 8, KERNEL_ORDER_RGB);
    ASSERT_EQ(SavePicture(name, picture, 89), FILTER_SUCCESS);
    Loaded loaded;
    loaded.bitmap.nStructSize = 228;
    LoadPage(name, 1, loaded);
    EXPECT_EQ(loaded.result, KERNEL_ERROR_STRUCT_SIZE);
    EXPECT_EQ(loaded.calls, 0u);
}

} // namespace
