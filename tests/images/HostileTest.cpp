// Damaged frames, lying attributes, and memory that fails at every place.

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <set>

#include "Common/DSImage/RleCodec.h"
#include "Frames.h"

namespace {

constexpr Kind kKinds[] = {{8, 8}, {16, 12}, {24, 8}};

uint16_t Insert(MDicomDS &ds, TestBitmap &bitmap, uint32_t compression) {
    const int32_t photometric =
        bitmap.nBitsPerPixel == 24 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MONOCHROME2;
    return ds.InsertImage(nullptr, &bitmap, 0, compression, photometric, 0, 2, 0, nullptr, nullptr);
}

uint16_t Insert(MDicomDS &ds, const Kind &kind, uint32_t compression) {
    return Insert(ds, *MakeBitmap(33, 17, kind), compression);
}

/** A decoded frame, or nothing; damage may be met by a status or by pixels of the right size. */
Bytes Decode(MDicomDS &ds, uint32_t frame = 0) {
    TestBitmap bitmap;
    const uint16_t status = Get(ds, bitmap, frame);
    static const std::set<unsigned> kStatuses = {
        DICOM_SUCCESS,           DICOM_ERROR_FAILURE,     DICOM_ERROR_MEMORY,
        DICOM_ERROR_READ,        DICOM_ERROR_WRITE,       DICOM_ERROR_FORMAT,
        DICOM_ERROR_IMAGE,       DICOM_ERROR_COMPRESSION, DICOM_ERROR_IMAGE_ATTRIBUTE,
        DICOM_ERROR_PHOTOMETRIC, DICOM_ERROR_JPEG_COLOR};
    EXPECT_EQ(kStatuses.count(status), 1u) << status;
    EXPECT_EQ(bitmap.nWidth == 0, status != 0);
    return status == 0 ? RowsOf(bitmap) : Bytes();
}

_DICOMELEMENT *FrameItem(MDicomDS &ds) {
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    if (element->nLength != 0xFFFFFFFF) return element;
    return ds.GetNextElement(ds.GetChildElement(element, 1), 1, 1);
}

Bytes ValueOf(MDicomDS &ds, _DICOMELEMENT *element) {
    Bytes bytes(element->nLength);
    ds.GetBinaryValue(element, bytes.data(), element->nLength);
    return bytes;
}

void SetValue(MDicomDS &ds, _DICOMELEMENT *element, Bytes bytes) {
    ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
}

template <typename Damage>
void ForEveryForm(Damage damage) {
    for (const Encoding &encoding : kEncodings) {
        for (const Kind &kind : kKinds) {
            SCOPED_TRACE(std::string(encoding.name) + " " + std::to_string(kind.depth));
            MDicomDS ds(nullptr);
            ASSERT_EQ(Insert(ds, kind, encoding.compression), 0);
            damage(ds);
        }
    }
}

TEST(HostileFrames, CutOrFlippedTheyAreAStatusOrAPicture) {
    const auto start = std::chrono::steady_clock::now();
    ForEveryForm([](MDicomDS &ds) {
        _DICOMELEMENT *item = FrameItem(ds);
        const Bytes whole = ValueOf(ds, item);
        const Bytes good = Decode(ds);
        const auto expectStatusOrPicture = [&](const Bytes &damaged) {
            SetValue(ds, item, damaged);
            const Bytes rows = Decode(ds);
            EXPECT_TRUE(rows.empty() || rows.size() == good.size());
        };
        const size_t step = std::max<size_t>(1, whole.size() / 100);
        for (size_t size = 1; size < whole.size(); size += step) {
            expectStatusOrPicture({whole.begin(), whole.begin() + static_cast<int>(size)});
        }
        std::minstd_rand random(5);
        for (int round = 0; round < 300; ++round) {
            Bytes bytes = whole;
            const size_t most = round % 2 == 0 ? 700 : whole.size();
            const size_t reach = std::min(most, whole.size());
            for (int flips = 1 + round % 4; flips > 0; --flips) {
                uint8_t &byte = bytes[random() % reach];
                byte = static_cast<uint8_t>(byte ^ 1 << random() % 8);
            }
            expectStatusOrPicture(bytes);
        }
        SetValue(ds, item, whole);
        EXPECT_EQ(Decode(ds), good) << "one that is whole still comes out";
    });
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(120));
}

TEST(HostileFrames, AttributesMayLie) {
    struct {
        uint32_t tag;
        std::vector<uint32_t> numbers;
    } const kLies[] = {
        {0x00280010, {0, 1, 16, 18, 3000, 65535}},
        {0x00280011, {0, 1, 32, 34, 3000}},
        {0x00280100, {0, 1, 2, 7, 8, 12, 16, 24, 32, 33, 64, 65535}},
        {0x00280101, {0, 1, 2, 7, 8, 12, 16, 24, 32, 33, 64, 65535}},
        {0x00280102, {0, 1, 2, 7, 8, 15, 16, 31, 32, 65535}},
        {0x00280103, {1, 2, 65535}},
        {0x00280002, {0, 1, 2, 3, 4, 5, 65535}},
        {0x00280006, {1, 2, 65535}},
        {0x00280008, {0, 2, 0x7FFFFFFF}},
    };
    constexpr const char *kPhotometrics[] = {"MONOCHROME1", "PALETTE COLOR", "RGB",      "ARGB",
                                             "CMYK",        "YBR_FULL_422",  "YBR_FULL", "YBR_RCT"};
    ForEveryForm([&](MDicomDS &ds) {
        const Bytes photometric = ValueOf(ds, ds.FindFirstElement(nullptr, 0x00280004, 1));
        for (const auto &lie : kLies) {
            uint32_t before = 0;
            ds.FindGetValue(nullptr, lie.tag, &before, 0, 1, VALUE_ARRAY_DWORD);
            for (const uint32_t number : lie.numbers) {
                ds.FindSetValue(nullptr, lie.tag, &number, 1, VALUE_ARRAY_DWORD);
                for (const char *text : kPhotometrics) {
                    SetValue(ds, ds.FindFirstElement(nullptr, 0x00280004, 1),
                             Bytes(text, text + std::strlen(text)));
                    Decode(ds);
                    Decode(ds, 1);
                }
            }
            ds.FindSetValue(nullptr, lie.tag, &before, 1, VALUE_ARRAY_DWORD);
            SetValue(ds, ds.FindFirstElement(nullptr, 0x00280004, 1), photometric);
        }
        EXPECT_FALSE(Decode(ds).empty());
    });
}

TEST(HostileFrames, AttributesAloneMakeNoLargePicture) {
    for (const bool isRle : {false, true}) {
        Image image(65535, 65535, 8);
        image.Syntax(isRle ? kRle : kExplicit);
        if (isRle) {
            image.Fragments({"", TextOf(RleOf({{1, 2, 3}}))});
        } else {
            PutValue(image, {1, 2, 3, 4});
        }
        TestBitmap bitmap;
        EXPECT_EQ(Get(image.ds, bitmap), DICOM_ERROR_IMAGE);
    }
}

TEST(RleCodec, GivesBackWhatItPackedAndHoldsItsLimit) {
    std::minstd_rand random(3);
    for (int round = 0; round < 2000; ++round) {
        // Now and then one that is packed by pieces.
        Bytes plane(round % 40 != 0 ? random() % 700 : 7900 + random() % 9000);
        const uint32_t change = 1 + random() % 6; // how long runs are
        uint8_t value = 0;
        for (uint8_t &byte : plane) {
            if (random() % change == 0) value = static_cast<uint8_t>(random() >> 8);
            byte = value;
        }
        Bytes packed(mdicom::MostRleBytes(plane.size()));
        const uint8_t *end = mdicom::PackRle(plane, packed.data());
        ASSERT_LE(end, packed.data() + packed.size());
        packed.resize(static_cast<size_t>(end - packed.data()));
        Bytes expanded(plane.size());
        ASSERT_EQ(mdicom::ExpandRle(packed, expanded), plane.size());
        ASSERT_EQ(expanded, plane);
        // By pieces, each of which ends behind what was wanted.
        mdicom::RleExpander expander(packed);
        const size_t wanted = 1 + random() % 300;
        Bytes piece(wanted + mdicom::kRleSurplus);
        for (size_t made = wanted, at = 0; made >= wanted; at += made) {
            made = expander.Expand(piece.data(), wanted, piece.size());
            ASSERT_LE(at + made, plane.size());
            ASSERT_TRUE(std::equal(piece.data(), piece.data() + made, plane.data() + at));
            ASSERT_TRUE(made >= wanted || at + made == plane.size());
        }
    }
    const Bytes constant(1000, 7);
    Bytes expanded(1000);
    Bytes packed(mdicom::MostRleBytes(1000));
    packed.resize(static_cast<size_t>(mdicom::PackRle(constant, packed.data()) - packed.data()));
    EXPECT_EQ(packed.size(), 16u);
    ASSERT_EQ(mdicom::ExpandRle(packed, expanded), 1000u);
    EXPECT_EQ(expanded, constant);
}

} // namespace
