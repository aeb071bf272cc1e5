// Image processing: transformations against their formulas, for every value.

#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "companions/MVIMGCORX/MVIMGCORX.h"
#include "support/Bitmaps.h"

namespace {

/** A form of gray samples. */
struct Form {
    int depth;
    int low;
    int high;
    bool isSigned;

    int Bits() const { return high - low + 1; }
    int Least() const { return isSigned ? -(1 << (Bits() - 1)) : 0; }
    int Greatest() const { return Least() + (1 << Bits()) - 1; }
    uint32_t IndexOf(int value) const {
        return static_cast<uint32_t>(value) & ((1u << Bits()) - 1);
    }
    /** A sample with its other bits set to noise. */
    uint16_t SampleOf(int value) const {
        const uint32_t mask = ((1u << Bits()) - 1) << low;
        return static_cast<uint16_t>((0x5A5A & ~mask) | IndexOf(value) << low);
    }
    std::string Name() const {
        return std::to_string(depth) + " bits, " + std::to_string(low) + " to " +
               std::to_string(high) + (isSigned ? " signed" : "");
    }
};

const Form kForms[] = {{8, 0, 7, false},   {8, 0, 7, true},    {12, 0, 11, false},
                       {12, 0, 11, true},  {12, 2, 9, true},   {16, 0, 15, false},
                       {16, 0, 15, true},  {16, 0, 11, false}, {16, 0, 11, true},
                       {16, 4, 15, false}, {16, 4, 15, true},  {16, 3, 12, true}};

/** Rows of an odd width that hold some values of a form. */
class Picture : public TestBitmap {
  public:
    static constexpr int kWidth = 251;

    Picture(const Form &form, int least, int greatest)
        : TestBitmap(kWidth, (greatest - least) / kWidth + 1, form.depth, OrderOf(form.depth)),
          m_Least(least),
          m_Greatest(greatest) {
        SetBits(form.low, form.high, form.isSigned);
        for (int row = 0; row < nHeight; ++row) {
            uint8_t *bytes = KernelLendBitmapRow(this, row);
            for (int x = 0; x < kWidth; ++x) {
                PutSample(bytes, static_cast<size_t>(x), static_cast<size_t>(form.depth),
                          form.SampleOf(ValueAt(row, x)));
            }
        }
    }
    explicit Picture(const Form &form) : Picture(form, form.Least(), form.Greatest()) {}

    /** Values ascend; the last goes on to the end. */
    int ValueAt(int row, int x) const { return std::min(m_Least + row * kWidth + x, m_Greatest); }
    /** The number that a sample stands for by the record. */
    int NumberAt(int row, int x) const {
        const auto sample =
            static_cast<int>(GetSample(KernelLendBitmapRow(this, row), static_cast<size_t>(x),
                                       static_cast<size_t>(nBitsPerPixel)));
        const int bits = nBitsPerPixel == 8 ? 8 : nHighBit - nLowBit + 1;
        const int low = nBitsPerPixel == 8 ? 0 : nLowBit;
        const int index = sample >> low & ((1 << bits) - 1);
        const bool negative = (nBitmapFlags & KERNEL_BITMAP_SIGNED) && index >> (bits - 1) != 0;
        return negative ? index - (1 << bits) : index;
    }
    const _RGBQUAD *Lut() const { return static_cast<const _RGBQUAD *>(pLUT); }
    const _RGBQUAD16 *Lut16() const { return static_cast<const _RGBQUAD16 *>(pLUT16); }

  private:
    int m_Least;
    int m_Greatest;
};

/** The first pixel that a function does not expect; empty if there is none. */
std::string FirstWrong(const Picture &picture, const std::function<int(int)> &expected) {
    for (int row = 0; row < picture.nHeight; ++row) {
        for (int x = 0; x < Picture::kWidth; ++x) {
            const int value = picture.ValueAt(row, x);
            if (picture.NumberAt(row, x) == expected(value)) continue;
            return std::to_string(value) + " became " + std::to_string(picture.NumberAt(row, x));
        }
    }
    return {};
}

TEST(ImageProcessing, RangeIsThatOfTheSignificantBits) {
    for (const Form &form : kForms) {
        SCOPED_TRACE(form.Name());
        int32_t min = 1;
        int32_t max = 1;
        const Picture all(form);
        ASSERT_EQ(M_GetMinMaxVal(&all, &min, &max), KERNEL_SUCCESS);
        EXPECT_EQ(min, form.Least());
        EXPECT_EQ(max, form.Greatest());
        const Picture some(form, form.Least() + 5, form.Greatest() - 9);
        ASSERT_EQ(M_GetMinMaxVal(&some, &min, &max), KERNEL_SUCCESS);
        EXPECT_EQ(min, form.Least() + 5);
        EXPECT_EQ(max, form.Greatest() - 9);
    }
}

TEST(ImageProcessing, RangeOfColourIsThatOfItsBytesWithoutPadding) {
    TestBitmap colour(3, 1, 24, KERNEL_ORDER_BGR);
    colour.PutBytes(0, {7, 9, 200, 30, 4, 8, 12, 13, 14, 255, 0, 255});
    int32_t min = 0;
    int32_t max = 0;
    ASSERT_EQ(M_GetMinMaxVal(&colour, &min, &max), KERNEL_SUCCESS);
    EXPECT_EQ(min, 4);
    EXPECT_EQ(max, 200);
    // Of a large picture, the end may hold what the rest does not.
    TestBitmap large(600, 600, 8);
    for (const uint8_t last : {0, 255}) {
        uint8_t *rows = KernelLendBitmapRow(&large, 0);
        std::fill_n(rows, 600 * 600, uint8_t{100});
        rows[0] = static_cast<uint8_t>(255 - last);
        rows[600 * 600 - 1] = last;
        ASSERT_EQ(M_GetMinMaxVal(&large, &min, &max), KERNEL_SUCCESS);
        EXPECT_EQ(min, 0);
        EXPECT_EQ(max, 255);
    }
    TestBitmap bits(3, 1, 1);
    ASSERT_EQ(M_GetMinMaxVal(&bits, &min, &max), KERNEL_SUCCESS);
    EXPECT_EQ(max - min, 1);
    TestBitmap deep(3, 1, 32);
    EXPECT_LT(M_GetMinMaxVal(&deep, &min, &max), 0);
    EXPECT_LT(M_GetMinMaxVal(nullptr, &min, &max), 0);
}

struct WindowCase {
    double center;
    double width;
};

/** The level of a value in a window by its centre and width, from 0 to 255. */
double WindowedLevel(double x, double c, double w) {
    if (x <= c - 0.5 - (w - 1) / 2) return 0;
    if (x > c - 0.5 + (w - 1) / 2) return 255;
    return ((x - (c - 0.5)) / (w - 1) + 0.5) * 255;
}

TEST(ImageProcessing, WindowFollowsItsFormulaForEveryValue) {
    const WindowCase windows[] = {{40, 400},    {0, 1}, {-600, 1500.5}, {2048, 4096},
                                  {127.5, 256}, {3, 2}, {0, 100}};
    for (const Form &form : kForms) {
        Picture picture(form, form.Least(), form.Least() + 20);
        for (const WindowCase &window : windows) {
            for (const uint32_t flags : {0u, uint32_t{MVIMGCORX_INVERT}}) {
                SCOPED_TRACE(form.Name() + ", window " + std::to_string(window.center));
                const Bytes before = RowsOf(picture);
                ASSERT_EQ(M_ApplyLinearVOILUT(&picture, window.center, window.width, flags), 1);
                ASSERT_EQ(RowsOf(picture), before);
                ASSERT_EQ(picture.nLUTLength, 1u << form.Bits());
                ASSERT_NE(picture.nBitmapFlags & KERNEL_BITMAP_LUT_IN_USE, 0u);
                int wrong = 0;
                for (int x = form.Least(); x <= form.Greatest(); ++x) {
                    const long level = std::lround(WindowedLevel(x, window.center, window.width));
                    const _RGBQUAD &entry = picture.Lut()[form.IndexOf(x)];
                    if (entry.rgbRed != (flags == 0 ? level : 255 - level)) ++wrong;
                    if (entry.rgbRed != entry.rgbBlue || entry.rgbReserved != 0) ++wrong;
                }
                ASSERT_EQ(wrong, 0);
            }
        }
    }
}

TEST(ImageProcessing, WindowIsReadBackFromTheLut) {
    const WindowCase windows[] = {{40, 400}, {50, 350}, {-600, 1500}, {300, 1500},  {40, 80},
                                  {0, 1},    {100, 12}, {1024, 4096}, {12.5, 33.25}};
    const Form form{16, 0, 11, true};
    for (const WindowCase &window : windows) {
        for (const uint32_t flags : {0u, uint32_t{MVIMGCORX_INVERT}}) {
            SCOPED_TRACE(window.center);
            Picture picture(form, 0, 20);
            M_ApplyLinearVOILUT(&picture, window.center, window.width, flags);
            double center = 0;
            double width = 0;
            ASSERT_EQ(M_GetLinearVOILUT(&picture, &center, &width, 0), KERNEL_SUCCESS);
            EXPECT_NEAR(center, window.center, 0.1);
            EXPECT_NEAR(width, window.width, 0.002 * window.width + 0.1);
        }
    }
}

TEST(ImageProcessing, NoWindowIsReadFromOtherLuts) {
    double number = 0;
    Picture picture({16, 0, 7, false}, 0, 20);
    EXPECT_LT(M_GetLinearVOILUT(&picture, &number, &number, 0), 0) << "without a LUT";
    M_ApplyLinearVOILUT(&picture, 5000, 10, 0);
    EXPECT_LT(M_GetLinearVOILUT(&picture, &number, &number, 0), 0) << "all black";
    std::vector<uint16_t> curve;
    for (int i = 0; i < 256; ++i) curve.push_back(static_cast<uint16_t>(i * i));
    const _DICOMLUTDESCRIPTOR descriptor{sizeof descriptor, 256, 0, 16};
    M_ApplyVOILUT(&picture, curve.data(), &descriptor, 0);
    EXPECT_LT(M_GetLinearVOILUT(&picture, &number, &number, 0), 0) << "a curve";
    static_cast<_RGBQUAD *>(picture.pLUT)[3].rgbRed = 9;
    picture.nLUT16Length = 100;
    EXPECT_LT(M_GetLinearVOILUT(&picture, &number, &number, 0), 0) << "too short";
}

TEST(ImageProcessing, VoiTableMapsAndHoldsItsEnds) {
    for (const Form &form : kForms) {
        for (const uint32_t bits : {8u, 12u, 16u}) {
            SCOPED_TRACE(form.Name());
            const int first = form.Least() + 7;
            std::vector<uint16_t> table;
            const uint32_t top = (1u << bits) - 1;
            for (uint32_t i = 0; i < 100; ++i) table.push_back(static_cast<uint16_t>(top - i * 2));
            const _DICOMLUTDESCRIPTOR descriptor{sizeof descriptor, 100, first, bits};
            Picture picture(form, form.Least(), form.Least() + 20);
            ASSERT_EQ(M_ApplyVOILUT(&picture, table.data(), &descriptor, MVIMGCORX_INVERT), 1);
            ASSERT_EQ(picture.nLUT16Length, 1u << form.Bits());
            int wrong = 0;
            for (int x = form.Least(); x <= form.Greatest(); ++x) {
                const double level = 1.0 * table[std::clamp(x - first, 0, 99)] / top;
                const _RGBQUAD16 &wide = picture.Lut16()[form.IndexOf(x)];
                if (std::abs(wide.rgbRed - (1 - level) * 65535) > 0.51) ++wrong;
                if (std::abs(picture.Lut()[form.IndexOf(x)].rgbRed - (1 - level) * 255) > 0.51) {
                    ++wrong;
                }
            }
            ASSERT_EQ(wrong, 0);
        }
    }
}

TEST(ImageProcessing, RescaleRoundsClampsAndTakesASignWhenAllowed) {
    struct {
        Form form;
        double slope;
        double intercept;
        uint32_t flags;
        bool isSigned;
    } const cases[] = {
        {{16, 0, 11, false}, 1, -1024, MVIMGCORX_SIGNED, true},
        {{16, 0, 11, false}, 1, -1024, 0, false},
        {{16, 0, 15, false}, 1, -1024, MVIMGCORX_SIGNED, true},
        {{16, 0, 15, false}, 2.5, 3, MVIMGCORX_SIGNED, false},
        {{16, 4, 15, true}, 0.37, 12.2, 0, true},
        {{16, 0, 15, true}, -3, 0, MVIMGCORX_SIGNED, true},
        {{16, 3, 12, true}, 1, 512, MVIMGCORX_SIGNED, true},
        {{12, 0, 11, false}, 1, -1024, MVIMGCORX_SIGNED, true},
        {{12, 0, 11, false}, 1.5, 0.4, MVIMGCORX_SIGNED, false},
        {{8, 0, 7, false}, 2, -20, MVIMGCORX_SIGNED, false},
        {{8, 0, 7, true}, 0.5, 3, MVIMGCORX_SIGNED, true},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.form.Name() + ", slope " + std::to_string(test.slope));
        Picture picture(test.form);
        picture.nBitmapFlags |= 0x100;
        M_ApplyLinearVOILUT(&picture, 40, 400, 0);
        ASSERT_EQ(M_ApplyLinearModalityLUT(&picture, test.intercept, test.slope,
                                           test.flags | MVIMGCORX_ALWAYS),
                  KERNEL_SUCCESS);
        const int top = (test.isSigned ? 1 << (test.form.depth - 1) : 1 << test.form.depth) - 1;
        const int bottom = test.isSigned ? -top - 1 : 0;
        EXPECT_EQ(FirstWrong(picture,
                             [&](int value) {
                                 const double result = value * test.slope + test.intercept;
                                 return static_cast<int>(
                                     std::lround(std::clamp<double>(result, bottom, top)));
                             }),
                  "");
        EXPECT_EQ((picture.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0, test.isSigned);
        EXPECT_NE(picture.nBitmapFlags & 0x100, 0u) << "flags of others stay";
        EXPECT_EQ(picture.nLUTLength, 0u) << "it was for other numbers";
        EXPECT_EQ(picture.nLowBit, 0);
        EXPECT_EQ(picture.nPaintHighBit, picture.nHighBit);
        int32_t min = 0;
        int32_t max = 0;
        M_GetMinMaxVal(&picture, &min, &max);
        EXPECT_EQ(picture.nMinVal, min);
        EXPECT_EQ(picture.nMaxVal, max);
    }
}

TEST(ImageProcessing, RescaleWithoutASignIsWideEnough) {
    // Numbers that only fit without sign stay without: a sign would cut them.
    Picture picture({16, 0, 15, false}, 100, 60000);
    ASSERT_EQ(M_ApplyLinearModalityLUT(&picture, -50, 1, MVIMGCORX_SIGNED), KERNEL_SUCCESS);
    EXPECT_EQ(picture.nMaxVal, 59950);
    EXPECT_EQ(FirstWrong(picture, [](int value) { return value - 50; }), "");
    Picture grown({16, 0, 9, false});
    ASSERT_EQ(M_ApplyLinearModalityLUT(&grown, 0, 5, MVIMGCORX_SIGNED), KERNEL_SUCCESS);
    EXPECT_EQ(grown.nHighBit, 12);
    EXPECT_EQ(FirstWrong(grown, [](int value) { return value * 5; }), "");
}

TEST(ImageProcessing, ModalityTableMapsAndHoldsItsEnds) {
    std::vector<uint16_t> table;
    for (uint32_t i = 0; i < 65536; ++i) table.push_back(static_cast<uint16_t>(i * 7 + 11));
    for (const Form &form : kForms) {
        for (const uint32_t entries : {1u, 50u, 65536u}) {
            SCOPED_TRACE(form.Name() + ", entries " + std::to_string(entries));
            const int first = form.Least() + 3;
            const _DICOMLUTDESCRIPTOR descriptor{sizeof descriptor, entries, first, 16};
            Picture picture(form);
            ASSERT_EQ(M_ApplyModalityLUT(&picture, table.data(), &descriptor, 2), KERNEL_SUCCESS);
            const int top = (1 << form.depth) - 1;
            EXPECT_EQ(FirstWrong(picture,
                                 [&](int value) {
                                     const int place = std::clamp<int>(
                                         value - first, 0, static_cast<int>(entries) - 1);
                                     return std::min<int>(table[static_cast<size_t>(place)], top);
                                 }),
                      "");
            EXPECT_EQ(picture.nBitmapFlags & KERNEL_BITMAP_SIGNED, 0u);
        }
    }
}

TEST(ImageProcessing, HostileArgumentsAreRefused) {
    const uint16_t table[1] = {5};
    const _DICOMLUTDESCRIPTOR none{sizeof none, 0, 0, 16};
    const _DICOMLUTDESCRIPTOR far{sizeof far, 1, INT32_MIN, 16};
    const _DICOMLUTDESCRIPTOR bare{sizeof bare, 1, 0, 0};
    const _DICOMLUTDESCRIPTOR deep{sizeof deep, 1, INT32_MAX, 0xFFFFFFFF};
    Picture picture({16, 0, 15, true}, -5, 5);
    picture.nHighBit = 1000000; // makes no sense: all bits count then
    EXPECT_LT(M_ApplyModalityLUT(&picture, table, &none, 2), 0);
    EXPECT_LT(M_ApplyVOILUT(&picture, table, &none, 0), 0);
    EXPECT_LT(M_ApplyVOILUT(&picture, table, &bare, 0), 0);
    EXPECT_EQ(M_ApplyVOILUT(&picture, table, &deep, 0), KERNEL_SUCCESS);
    EXPECT_LT(M_ApplyLinearModalityLUT(&picture, NAN, 1, 2), 0);
    EXPECT_LT(M_ApplyLinearVOILUT(&picture, 0, INFINITY, 0), 0);
    EXPECT_EQ(M_ApplyLinearVOILUT(&picture, 1e308, -1e308, 0), KERNEL_SUCCESS);
    EXPECT_EQ(M_ApplyModalityLUT(&picture, table, &far, 2), KERNEL_SUCCESS);
    EXPECT_EQ(picture.nMaxVal, 5);
    TestBitmap empty;
    TestBitmap colour(4, 4, 24, KERNEL_ORDER_BGR);
    for (_BITMAPHANDLE *bitmap :
         {static_cast<_BITMAPHANDLE *>(&empty), static_cast<_BITMAPHANDLE *>(&colour),
          static_cast<_BITMAPHANDLE *>(nullptr)}) {
        EXPECT_LT(M_ApplyModalityLUT(bitmap, table, &far, 2), 0);
        EXPECT_LT(M_ApplyLinearModalityLUT(bitmap, 0, 2, 2), 0);
        EXPECT_LT(M_ApplyVOILUT(bitmap, table, &far, 0), 0);
        EXPECT_LT(M_ApplyLinearVOILUT(bitmap, 1, 1, 0), 0);
    }
}

TEST(ImageProcessing, CountsTheEntriesBetweenTheFlatEnds) {
    struct {
        std::vector<uint16_t> levels;
        uint32_t flags;
        int first;
        uint32_t number;
    } const cases[] = {
        {{0, 0, 0, 5, 9, 9}, MVIMGCORX_COUNT_UNSIGNED, 2, 3},
        {{1, 2, 3, 4}, MVIMGCORX_COUNT_UNSIGNED, 0, 4},
        {{7, 7, 7, 7}, MVIMGCORX_COUNT_UNSIGNED, 0, 1},
        {{3, 4, 4, 4, 0, 0, 0, 2}, MVIMGCORX_COUNT_SIGNED, -2, 4},
        {{5, 5}, MVIMGCORX_COUNT_SIGNED, -1, 1},
    };
    int32_t first = 99;
    uint32_t number = 99;
    for (const auto &test : cases) {
        std::vector<_RGBQUAD> narrow;
        std::vector<_RGBQUAD16> wide;
        for (const uint16_t level : test.levels) {
            narrow.push_back({0, 0, static_cast<uint8_t>(level), 0});
            wide.push_back({0, static_cast<uint16_t>(level << 8), 0, 0});
        }
        const auto count = static_cast<uint32_t>(test.levels.size());
        ASSERT_EQ(M_CountLUTColors(narrow.data(), count, &first, &number, test.flags), 1);
        EXPECT_EQ(std::pair(first, number), std::pair(test.first, test.number));
        ASSERT_EQ(M_CountLUTColorsExt(wide.data(), count, &first, &number, test.flags), 1);
        EXPECT_EQ(std::pair(first, number), std::pair(test.first, test.number));
    }
    const _RGBQUAD entry{};
    EXPECT_LT(M_CountLUTColors(&entry, 0, &first, &number, MVIMGCORX_COUNT_SIGNED), 0);
}

TEST(ImageProcessing, ShiftedBitmapKeepsItsNumbersAndItsLut) {
    const Form form{12, 0, 11, true};
    Picture source(form);
    source.nMinVal = -2048;
    source.nMaxVal = 2047;
    M_ApplyLinearVOILUT(&source, 40, 400, 0);
    TestBitmap wide;
    ASSERT_EQ(M_ShiftBitmapData(&wide, &source, sizeof wide, 0, 11, 0, 16), KERNEL_SUCCESS);
    EXPECT_EQ(wide.nBitsPerPixel, 16);
    EXPECT_EQ(wide.nHighBit, 11);
    EXPECT_EQ(wide.nMinVal, -2048);
    wide.nBitmapFlags ^= KERNEL_BITMAP_SIGNED;
    EXPECT_EQ(SamplesOf(wide), SamplesOf(source));
    ASSERT_EQ(wide.nLUTLength, 4096u);
    EXPECT_EQ(std::memcmp(wide.pLUT, source.pLUT, 4096 * sizeof(_RGBQUAD)), 0);
    EXPECT_EQ(wide.nBitmapFlags & KERNEL_BITMAP_SIGNED, 0u) << "it had a sign";

    TestBitmap top;
    ASSERT_EQ(M_ShiftBitmapData(&top, &source, sizeof top, 4, 11, 0, 8), KERNEL_SUCCESS);
    EXPECT_EQ(top.Bytes(3, 4), (Bytes{175, 175, 175, 175})) << "-1295 without its sign";
    EXPECT_TRUE(top.pLUT == nullptr);
    TestBitmap low;
    ASSERT_EQ(M_ShiftBitmapData(&low, &source, sizeof low, 0, 7, 0, 16), KERNEL_SUCCESS);
    EXPECT_EQ(low.nBitmapFlags & (KERNEL_BITMAP_SIGNED | KERNEL_BITMAP_LUT_IN_USE), 0u);
    TestBitmap refused;
    for (const auto &[low, high, target, depth] : {std::array{0u, 12u, 0u, 16u},
                                                   {0u, 11u, 5u, 16u},
                                                   {0u, 11u, 0u, 24u},
                                                   {5u, 4u, 0u, 16u}}) {
        EXPECT_LT(M_ShiftBitmapData(&refused, &source, sizeof refused, low, high, target, depth),
                  0);
    }
}

} // namespace
