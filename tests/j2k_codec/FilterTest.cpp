#include <gtest/gtest.h>

#include "Codec.h"
#include "Common/System/Companions.h"
#include "support/TestFiles.h"

namespace {

template <typename Argument>
int32_t Call(const char *function, Argument &argument) {
    const auto address = reinterpret_cast<int32_t (*)(Argument *)>(
        mdicom::CompanionFunction(mdicom::Companion::Jpeg2000, function));
    return address != nullptr ? address(&argument) : 0;
}

int32_t KeepRow(_FILEINFO *, _BITMAPHANDLE *, uint8_t *row, uint32_t flags, int32_t number, int32_t,
                void *userData) {
    auto &bitmap = *static_cast<Bitmap *>(userData);
    const bool first = (flags & KERNEL_ROW_FIRST) != 0;
    const bool last = (flags & KERNEL_ROW_LAST) != 0;
    EXPECT_EQ(first, number == 0);
    EXPECT_EQ(last, number == bitmap.nHeight - 1);
    KernelPutBitmapRow(&bitmap, row, number, bitmap.nBytesPerLine);
    return number == 30 ? 77 : 1;
}

TEST(J2kFilter, WorksOnFilesOfTheSystem) {
    const MDicomDS keepsCodecLoaded(nullptr);
    const support::TemporaryFolder folder;
    const std::wstring name = folder.WideFile("p") + L"\u00e4\u20ac\U0001F600.j2k";
    Bitmap source(50, 30, 16, true);
    source.Paint(16);
    const _FILEJ2KOPTIONS options = DefaultOptions();
    _FILTERSAVE save{};
    save.pszName = name.c_str();
    save.pBitmap = &source;
    save.pfnGetRow = KernelGetBitmapRow;
    std::memcpy(save.nOptions, &options, sizeof options);
    ASSERT_EQ(Call("fltSave", save), 1);

    const std::string path = folder.File("p") + "\u00e4\u20ac\U0001F600.j2k";
    _FILEINFO info{};
    _FILTERINFO describe{};
    M_HFILE__ *file = KernelFileOpen(path.c_str(), KERNEL_OPEN_READ, 0);
    ASSERT_NE(file, KERNEL_NO_FILE) << "named in UTF-8";
    describe.hFile = file;
    describe.pFileInfo = &info;
    EXPECT_EQ(Call("fltInfo", describe), 1);
    KernelFileClose(file);
    EXPECT_EQ(info.nFormat, 164);
    EXPECT_EQ(info.nWidth, 50);
    EXPECT_EQ(info.nHeight, 30);
    EXPECT_EQ(info.nBitsPerPixel, 16);
    EXPECT_EQ(info.nOrder, KERNEL_ORDER_GRAY);

    Bitmap target(50, 30, 16);
    _FILTERLOAD load{};
    load.pszName = name.c_str();
    load.pBitmap = &target;
    load.pfnCallback = KeepRow;
    load.pUserData = &target;
    EXPECT_EQ(Call("fltLoad", load), 1);
    EXPECT_EQ(target.Rows(), source.Rows());
    EXPECT_NE(target.nBitmapFlags & KERNEL_BITMAP_SIGNED, 0u);
    load.pszName = L"/no/such/file";
    EXPECT_EQ(Call("fltLoad", load), -14);
}

TEST(J2kFilter, WhatTheCallbackGivesEndsLoading) {
    Bitmap source(8, 40, 8);
    const Bytes stream = Encode(source, 0, DefaultOptions());
    LoadRequest request(source, 8);
    request.pfnCallback = KeepRow;
    Bitmap seen(8, 40, 8);
    request.pUserData = &seen;
    EXPECT_EQ(CEmbeddedCompressionBase().LoadMemory(stream.data(), stream.size(), &request), 77);
}

/** 5 x 5 pixels: luminance 0, 10, 20 and so on, chrominance from 100 and from 200 on. */
constexpr char kHalvedColour[] =
    "FF4FFF51002F0000000000050000000500000000000000000000000500000005000000000000000000030701010702"
    "02070202FF52000C00000001000004040001FF5C00044040FF6400040001FF90000A00000000003F0001FF93DF80C0"
    "121B1BB09898AE776FCD00A17B9595C92F40ABDFBDAFFF7FC3E70E08EC6828BFB3D7CFB424023410B8BC50FE8EEFFF"
    "D9";

TEST(J2kFilter, HalvedComponentsAreRepeated) {
    Bytes stream;
    for (size_t i = 0; i + 1 < sizeof kHalvedColour; i += 2) {
        stream.push_back(
            static_cast<uint8_t>(std::stoul(std::string(kHalvedColour + i, 2), nullptr, 16)));
    }
    Bitmap target(5, 5, 24);
    ASSERT_EQ(Decode(stream, target, 24), 1);
    const Bytes rows = target.Rows();
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 5; ++x) {
            const uint8_t *pixel = &rows[static_cast<size_t>(y * 5 + x) * 3];
            ASSERT_EQ(pixel[2], (y * 5 + x) * 10);
            ASSERT_EQ(pixel[1], 100 + y / 2 * 3 + x / 2);
            ASSERT_EQ(pixel[0], 200 + y / 2 * 3 + x / 2);
        }
    }
}

} // namespace
