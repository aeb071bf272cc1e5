// Frames come, go and are replaced: data sets against a list of frames.

#include <gtest/gtest.h>

#include <random>

#include "Common/DSImage/UncompressedFrames.h"
#include "Frames.h"
#include "support/FailingKernel.h"
#include "support/Images.h"
#include "support/TestFiles.h"

namespace {

constexpr int32_t kGray = PHOTOMETRIC_MONOCHROME2;

struct Stock {
    uint32_t compression;
    Kind kind;
    int width = 5;
    int height = 3;
    int32_t photometric = kGray;
};

constexpr Stock kStocks[] = {
    {kNone, {8, 8}},
    {kNone, {16, 12, true}},
    {kNone, {1, 1}},
    {kNone, {1, 1}, 3, 1},
    {kNone, {24, 8}, 5, 3, PHOTOMETRIC_RGB},
    {kRleClass, {16, 16}},
    {kRleClass, {1, 1}, 37, 21},
    {kRleClass, {12, 12}, 37, 21},
    {kRleClass, {24, 8}, 37, 21, PHOTOMETRIC_RGB},
    {kRleClass, {8, 8, false, true}, 37, 21, PHOTOMETRIC_PALETTE_COLOR},
    {kJpegLossless, {8, 8}, 21, 13, PHOTOMETRIC_MONOCHROME1},
    {kJpegLossless, {16, 16, true}, 37, 21},
    {kJpegLossless, {24, 8}, 64, 33, PHOTOMETRIC_RGB},
    {kJ2kLossless, {16, 12, true}, 37, 21, PHOTOMETRIC_MONOCHROME1},
    {kJ2kLossless, {12, 12}, 37, 21},
    {kJ2kLossless, {24, 8}, 37, 21, PHOTOMETRIC_RGB},
    {kJ2kLossless, {8, 8, false, true}, 37, 21, PHOTOMETRIC_PALETTE_COLOR},
};

/** A data set and what it should hold. */
class Modelled {
  public:
    explicit Modelled(const Stock &stock) : m_Stock(stock) {}

    void Insert(uint32_t index) {
        const uint32_t number = m_Next++;
        const auto bitmap = Make(number);
        ASSERT_EQ(M_DicomInsertImage(&ds, nullptr, bitmap.get(), index, m_Stock.compression,
                                     m_Stock.photometric, 0, 0, 0, nullptr, nullptr),
                  0);
        index = std::min<uint32_t>(index, static_cast<uint32_t>(m_Frames.size()));
        m_Frames.insert(m_Frames.begin() + index, number);
    }

    void Delete(uint32_t index, uint32_t count) {
        ASSERT_EQ(M_DicomDeleteImage(&ds, nullptr, index, count), 0);
        const size_t size = m_Frames.size();
        const size_t end = std::min<size_t>(size, uint64_t{index} + count);
        if (index >= end) return;
        m_Frames.erase(m_Frames.begin() + index, m_Frames.begin() + static_cast<int>(end));
    }

    void Replace() {
        const uint32_t number = m_Next++;
        const auto bitmap = Make(number);
        ASSERT_EQ(M_DicomSetImage(&ds, nullptr, bitmap.get(), m_Stock.compression,
                                  m_Stock.photometric, 0, 0, 0, nullptr, nullptr),
                  0);
        m_Frames = {number};
    }

    /** By the list forms, which write an offset table. */
    void InsertList(uint32_t index, uint32_t count, bool all) {
        HBITMAPLIST__ *list = nullptr;
        KernelCreateBitmapList(&list);
        if (all) m_Frames.clear();
        index = all ? 0 : std::min<uint32_t>(index, static_cast<uint32_t>(m_Frames.size()));
        for (uint32_t i = 0; i < count; ++i) {
            const auto bitmap = Make(m_Next);
            m_Frames.insert(m_Frames.begin() + index + i, m_Next++);
            KernelListInsertItem(list, 0xFFFFFFFF, bitmap.get(), sizeof(_BITMAPHANDLE));
            KernelInitBitmap(bitmap.get(), sizeof(_BITMAPHANDLE), 0, 0, 0);
        }
        const auto &[compression, kind, width, height, photometric] = m_Stock;
        const uint16_t status =
            all ? M_DicomSetImageList(&ds, nullptr, list, compression, photometric, 0, 0, 0)
                : M_DicomInsertImageList(&ds, nullptr, list, index, compression, photometric, 0, 0,
                                         0);
        KernelDestroyBitmapList(list);
        ASSERT_EQ(status, 0);
        if (compression != kNone) ExpectTable();
    }

    void ExpectFrames() {
        ASSERT_EQ(M_DicomGetCountImage(&ds, nullptr), m_Frames.size());
        for (uint32_t i = 0; i < m_Frames.size(); ++i) {
            TestBitmap bitmap;
            ASSERT_EQ(Get(ds, bitmap, i), 0) << i;
            const auto expected = Make(m_Frames[i]);
            ASSERT_TRUE(SamplesOf(bitmap) == SamplesOf(*expected)) << i;
            _RGBQUAD palettes[2][256] = {};
            if (!m_Stock.kind.isPalette) continue;
            KernelGetBitmapColors(&bitmap, 0, 256, palettes[0]);
            KernelGetBitmapColors(expected.get(), 0, 256, palettes[1]);
            ASSERT_EQ(std::memcmp(palettes[0], palettes[1], sizeof palettes[0]), 0);
        }
        if (m_Frames.empty()) return;
        EXPECT_EQ(support::StoredText(ds, 0x00280008), std::to_string(m_Frames.size()));
    }

    size_t Size() const { return m_Frames.size(); }

    MDicomDS ds{nullptr};

  private:
    std::unique_ptr<TestBitmap> Make(uint32_t number) const {
        return MakeBitmap(m_Stock.width, m_Stock.height, m_Stock.kind, number);
    }

    /** One fragment a frame: every offset is the place of its item. */
    void ExpectTable() {
        _DICOMELEMENT *element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
        _DICOMELEMENT *table = ds.GetChildElement(element, 1);
        std::vector<uint32_t> offsets(table->nLength / 4);
        ASSERT_EQ(offsets.size(), m_Frames.size());
        ds.GetBinaryValue(table, offsets.data(), table->nLength);
        uint32_t place = 0;
        _DICOMELEMENT *item = ds.GetNextElement(table, 1, 1);
        for (const uint32_t offset : offsets) {
            ASSERT_EQ(offset, place);
            place += 8 + item->nLength + item->nLength % 2;
            item = ds.GetNextElement(item, 1, 1);
        }
        EXPECT_EQ(item, nullptr);
    }

    const Stock &m_Stock;
    std::vector<uint32_t> m_Frames; ///< numbers of pictures
    uint32_t m_Next = 0;
};

TEST(FrameOperations, LeaveTheFramesOfTheModel) {
    const support::TemporaryFolder folder;
    for (const Stock &stock : kStocks) {
        SCOPED_TRACE(&stock - kStocks);
        std::mt19937 random(7);
        Modelled model(stock);
        const int steps = stock.compression == kNone       ? 120
                          : stock.compression == kRleClass ? 50
                                                           : 20;
        for (int step = 0; step < steps; ++step) {
            const uint32_t index = random() % 9;
            const auto work = random() % 10;
            if (work < 5) model.Insert(index);
            if (work == 5 || work == 6) model.Delete(index, random() % 4);
            if (work == 7) model.InsertList(index, random() % 4 + 1, false);
            if (work == 8) model.InsertList(0, random() % 4 + 1, true);
            if (work == 9) model.Replace();
            if (HasFatalFailure()) FAIL() << "step " << step << ", work " << work;
            model.ExpectFrames();
            if (HasFailure()) FAIL() << "step " << step << ", work " << work;
            if (step % 20 != 0) continue;
            const std::wstring file = folder.WideFile(std::to_string(step % 40));
            ASSERT_EQ(model.ds.SaveDS(file.c_str(), 0), 0);
            ASSERT_EQ(model.ds.LoadDS(file.c_str(), 0), 0);
            model.ExpectFrames();
        }
        const auto size = static_cast<uint32_t>(model.Size());
        model.Delete(size, 3);
        model.Delete(0, 0xFFFFFFFF);
        model.ExpectFrames();
    }
}

/** The centre of each frame's window and the slope of its rescale. */
std::vector<double> ItemsOf(MDicomDS &ds) {
    std::vector<double> numbers;
    for (uint32_t i = 0;; ++i) {
        tagDICOMWINDOWATTRIBS window;
        tagDICOMMLUTATTRIBS rescale{};
        if (M_DicomGetWindow(&ds, i, 0, &window, sizeof window, 0) != 0) return numbers;
        M_DicomGetModalityLUTAttributes(&ds, i, &rescale, sizeof rescale, 0);
        numbers.insert(numbers.end(), {window.fCenter, rescale.fRescaleSlope});
    }
}

TEST(FrameOperations, ItemsOfFunctionalGroupsMoveAlong) {
    using Items = std::vector<double>;
    for (const uint32_t compression : {kNone, kRleClass}) {
        MDicomDS ds(nullptr);
        const auto bitmap = MakeBitmap(4, 4, {8, 8});
        const auto insert = [&](uint32_t index, int32_t photometric = kGray) {
            return M_DicomInsertImage(&ds, nullptr, bitmap.get(), index, compression, photometric,
                                      0, 0, 0, nullptr, nullptr);
        };
        const auto describe = [&](uint32_t index, double number) {
            tagDICOMWINDOWATTRIBS window{};
            window.nStructSize = sizeof window;
            window.fCenter = number;
            window.fWidth = 10;
            tagDICOMMLUTATTRIBS rescale{};
            rescale.nStructSize = sizeof rescale;
            rescale.bIsRescaleSlopeIntercept = 1;
            rescale.fRescaleSlope = number;
            M_DicomSetWindow(&ds, index, 0, &window, DICOM_SETIMAGE_VOI_PER_FRAME);
            M_DicomSetModalityLUT(&ds, index, &rescale, nullptr, 0,
                                  DICOM_SETIMAGE_MODALITY_PER_FRAME);
        };
        for (uint32_t i = 0; i < 4; ++i) {
            ASSERT_EQ(insert(i), 0);
            describe(i, i + 1);
        }
        ASSERT_EQ(M_DicomDeleteImage(&ds, nullptr, 1, 2), 0);
        EXPECT_EQ(ItemsOf(ds), (Items{1, 1, 4, 4}));
        for (const uint32_t index : {1u, 99u}) ASSERT_EQ(insert(index), 0);
        describe(1, 9);
        describe(3, 7);
        EXPECT_EQ(ItemsOf(ds), (Items{1, 1, 9, 9, 4, 4, 7, 7}));
        EXPECT_NE(insert(1, 77), 0);
        EXPECT_EQ(ItemsOf(ds), (Items{1, 1, 9, 9, 4, 4, 7, 7})) << "a failure moves nothing";
    }
}

TEST(FrameOperations, DeletedFramesGoWithAllTheirFragments) {
    Image image(1, 3, 8);
    image.Syntax(kRle);
    const std::string frame = TextOf(RleOf({{1, 2, 3}}));
    // Frames of 1, 2 and 1 fragments by the table.
    std::string table(12, '\0');
    table[4] = static_cast<char>(frame.size() + 8);
    table[8] = static_cast<char>(2 * frame.size() + 24);
    image.Fragments({table, frame, frame.substr(0, 66), frame.substr(66), frame});
    image.Text(0x00280008, "3 ");
    ASSERT_EQ(M_DicomGetCountImage(&image.ds, nullptr), 3u);
    uint32_t size = 0;
    ASSERT_EQ(image.ds.GetFrameBinaryData(image.pixels, 1, nullptr, &size), 0);
    EXPECT_EQ(size, frame.size());
    for (const char *syntax : {kExplicit, kRle}) {
        std::string bytes(size, '\0');
        image.Syntax(syntax);
        ASSERT_EQ(image.ds.GetFrameBinaryData(image.pixels, 1, bytes.data(), &size), 0);
        EXPECT_EQ(bytes, frame);
    }
    TestBitmap bitmap;
    ASSERT_EQ(Get(image.ds, bitmap, 1), 0);
    EXPECT_EQ(RowsOf(bitmap), (Bytes{1, 2, 3}));

    ASSERT_EQ(M_DicomDeleteImage(&image.ds, image.pixels, 1, 1), 0);
    EXPECT_EQ(M_DicomGetCountImage(&image.ds, nullptr), 2u);
    EXPECT_EQ(image.ds.GetChildElement(image.pixels, 1)->nLength, 0u);
    EXPECT_EQ(support::StoredText(image.ds, 0x00280008), "2");
}

TEST(FrameOperations, AFailedDeletionTakesNoOtherFrames) {
    bool isReached = true;
    for (int place = 0; isReached; ++place) {
        SCOPED_TRACE(place);
        MDicomDS ds(nullptr);
        support::MakeImage(ds, {"", "MONOCHROME2", 1, 1, 1, 0, 0, 0, 2});
        _DICOMELEMENT *icons = ds.InsertElement(nullptr, 0, 0x00880200, 0, 1, 0);
        _DICOMELEMENT *item = ds.InsertElement(icons, 1, TAG_ITEM, 0, 1, 0);
        _DICOMELEMENT *icon = ds.InsertElement(item, 1, TAG_PIXEL_DATA, 'O' << 8 | 'B', 0, 0);
        const auto bitmap = MakeBitmap(3, 3, {1, 1});
        for (int i = 0; i < 3; ++i) {
            ds.InsertImage(icon, bitmap.get(), 0, kNone, kGray, 1, 0, 0, nullptr, nullptr);
        }
        {
            const support::FailingKernel fault(place, support::FailingKernel::ThereAlone);
            EXPECT_EQ(ds.DeleteImage(nullptr, 1, 3), 0); // two of the icon, one of the image
            isReached = fault.HasFailed();
        }
        const uint32_t ofIcon = ds.GetCountImage(icon);
        const uint32_t ofImage = ds.GetCountImage(nullptr) - ofIcon;
        EXPECT_TRUE(ofIcon == 1 || (isReached && ofIcon == 3)) << ofIcon;
        EXPECT_TRUE(ofImage == 2 ? isReached : ofImage == 1 && ofIcon == 1) << ofImage;
    }
}

TEST(FrameOperations, FrameBytesAreThoseStored) {
    Image image(2, 5, 1);
    image.Syntax(kExplicit);
    image.Text(0x00280008, "2 ");
    PutValue(image, {0x21, 0x44, 0x0C, 0}); // frames of 10 bits
    uint32_t size = 0;
    Bytes bytes(2);
    ASSERT_EQ(image.ds.GetFrameBinaryData(image.pixels, 1, nullptr, &size), 0);
    EXPECT_EQ(size, 2u);
    ASSERT_EQ(image.ds.GetFrameBinaryData(image.pixels, 1, bytes.data(), &size), 0);
    EXPECT_EQ(bytes, (Bytes{0x11, 0x03}));
    size = 1;
    bytes = {9, 9};
    ASSERT_EQ(image.ds.GetFrameBinaryData(image.pixels, 1, bytes.data(), &size), 0);
    EXPECT_EQ(bytes, (Bytes{0x11, 9}));
    EXPECT_EQ(image.ds.GetFrameBinaryData(image.pixels, 2, nullptr, &size), DICOM_ERROR_IMAGE);
    EXPECT_EQ(image.ds.GetFrameBinaryData(image.pixels, 0, bytes.data(), nullptr), 0);
    Image cut(2, 3, 8);
    PutValue(cut, {1, 2, 3, 4});
    bytes.assign(size = 6, 9);
    ASSERT_EQ(cut.ds.GetFrameBinaryData(cut.pixels, 0, bytes.data(), &size), 0);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(bytes, (Bytes{1, 2, 3, 4, 9, 9}));
    image.Syntax("1.2.840.10008.1.2.4.80");
    EXPECT_EQ(image.ds.GetFrameBinaryData(image.pixels, 0, nullptr, &size),
              DICOM_ERROR_COMPRESSION);
}

TEST(FrameOperations, UncompressedFramesComeTightOrPadded) {
    const auto insert = [](Image &image, Bytes bytes, uint32_t index) {
        return mdicom::UncompressedFrames::Insert(image.ds, image.pixels, bytes.data(),
                                                  static_cast<uint32_t>(bytes.size()), index);
    };
    TestBitmap bitmap;
    Image image(2, 5, 8);
    image.Syntax(kExplicit);
    EXPECT_EQ(insert(image, Bytes(10), 0), 0) << "no element";
    PutValue(image, {});
    EXPECT_EQ(insert(image, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 7), 1);
    EXPECT_EQ(insert(image, {11, 12, 13, 14, 15, 0, 0, 0, 16, 17, 18, 19, 20, 0, 0, 0}, 0), 1);
    EXPECT_EQ(insert(image, Bytes(12), 0), 0);
    ASSERT_EQ(Get(image.ds, bitmap, 0), 0);
    EXPECT_EQ(RowsOf(bitmap), (Bytes{11, 12, 13, 14, 15, 16, 17, 18, 19, 20}));
    ASSERT_EQ(Get(image.ds, bitmap, 1), 0);
    EXPECT_EQ(RowsOf(bitmap), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    Image bilevel(2, 5, 1); // frames of 10 bits
    bilevel.Syntax(kExplicit);
    PutValue(bilevel, {});
    for (uint8_t i = 0; i < 3; ++i) {
        bilevel.Set(0x00280008, {i});
        ASSERT_EQ(insert(bilevel, {static_cast<uint8_t>(0x41 + i), 2}, i), 1);
    }
    bilevel.Set(0x00280008, {3});
    ASSERT_EQ(Get(bilevel.ds, bitmap, 2), 0);
    EXPECT_EQ(RowsOf(bitmap), (Bytes{0xC0, 0x48}));
    Image compressed(2, 3, 8);
    compressed.Syntax(kRle);
    compressed.Fragments({"", TextOf(RleOf({{1, 2, 3, 4, 5, 6}}))});
    EXPECT_EQ(insert(compressed, Bytes(6), 0), 0);
}

TEST(J2kOptions, AreCheckedOneByOne) {
    struct {
        uint32_t _FILEJ2KOPTIONS::*member;
        uint32_t value;
        bool isGood;
    } const kCases[] = {
        {&_FILEJ2KOPTIONS::nStructSize, 155, false},
        {&_FILEJ2KOPTIONS::nCompressionControl, 4, false},
        {&_FILEJ2KOPTIONS::nXOsiz, 641, false}, // behind the first tile
        {&_FILEJ2KOPTIONS::nYOsiz, 480, true},
        {&_FILEJ2KOPTIONS::nXTOsiz, 1, false},
        {&_FILEJ2KOPTIONS::nXTsiz, 63, false},
        {&_FILEJ2KOPTIONS::nYTsiz, 64, true},
        {&_FILEJ2KOPTIONS::nDecompositionLevels, 31, false},
        {&_FILEJ2KOPTIONS::nDecompositionLevels, 0xFFFFFFFF, false},
        {&_FILEJ2KOPTIONS::nProgressionOrder, 5, false},
        {&_FILEJ2KOPTIONS::nCodeBlockWidth, 2, false},
        {&_FILEJ2KOPTIONS::nCodeBlockWidth, 48, false},
        {&_FILEJ2KOPTIONS::nCodeBlockHeight, 128, false}, // 13 bits with the width
        {&_FILEJ2KOPTIONS::nCodeBlockHeight, 4, true},
        {&_FILEJ2KOPTIONS::nGuardBits, 8, false},
        {&_FILEJ2KOPTIONS::nBaseMantissa, 2048, false},
        {&_FILEJ2KOPTIONS::nBaseExponent, 17, false},
    };
    MDicomDS ds(nullptr);
    _FILEJ2KOPTIONS defaults{};
    ASSERT_EQ(M_DicomGetDefaultJ2KOptions(&ds, &defaults, sizeof defaults), 0);
    for (const auto &row : kCases) {
        _FILEJ2KOPTIONS options = defaults;
        options.*row.member = row.value;
        EXPECT_EQ(M_DicomSetJ2KOptions(&ds, &options), row.isGood ? 0 : DICOM_ERROR_PARAMETER)
            << &row - kCases;
        _FILEJ2KOPTIONS kept{};
        ASSERT_EQ(M_DicomGetJ2KOptions(&ds, &kept, sizeof kept), 0);
        EXPECT_EQ(std::memcmp(&kept, row.isGood ? &options : &defaults, sizeof kept), 0);
        ASSERT_EQ(M_DicomSetJ2KOptions(&ds, nullptr), 0);
    }
    EXPECT_EQ(M_DicomGetJ2KOptions(&ds, nullptr, 4), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomGetJ2KOptions(&ds, &defaults, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomGetDefaultJ2KOptions(&ds, nullptr, 4), DICOM_ERROR_NO_RECORD);
}

} // namespace
