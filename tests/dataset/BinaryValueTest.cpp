// Edits of binary values, against a plain vector of bytes.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>

#include "support/TestFiles.h"
#include "support/TreeCompare.h"

namespace mdicom {

/** Reaches the edits that the imaging code uses. */
struct DataSetAccess {
    static int32_t Set(MDicomDS &ds, _DICOMELEMENT *e, void *data, uint32_t at, uint32_t n) {
        return ds.SetFileBinaryValue(e, data, at, n);
    }
    static int32_t Insert(MDicomDS &ds, _DICOMELEMENT *e, void *data, uint32_t at, uint32_t n) {
        return ds.InsertFileBinaryValue(e, data, at, n);
    }
    static int32_t Delete(MDicomDS &ds, _DICOMELEMENT *e, uint32_t at, uint32_t n) {
        return ds.DeleteFileBinaryValue(e, at, n);
    }
};

} // namespace mdicom

namespace {

using mdicom::DataSetAccess;
using support::Bytes;

constexpr uint32_t kTag = 0x00091010;

_DICOMELEMENT *Insert(MDicomDS &ds, const char *vr) {
    const auto code = static_cast<uint16_t>(vr[0] << 8 | vr[1]);
    return ds.InsertElement(nullptr, 0, kTag, code, 0, 0);
}

/** Reverses the bytes of each unit. */
void Turn(Bytes &bytes, size_t unit) {
    for (auto at = bytes.begin(); at != bytes.end(); at += static_cast<long>(unit)) {
        std::reverse(at, at + static_cast<long>(unit));
    }
}

TEST(BinaryValue, PadsToEvenLengthByVr) {
    const std::pair<const char *, uint8_t> cases[] = {
        {"LO", ' '}, {"UI", 0}, {"OB", 0}, {"OW", 0}, {"UN", ' '}};
    for (const auto &[vr, pad] : cases) {
        MDicomDS ds(nullptr);
        _DICOMELEMENT *element = Insert(ds, vr);
        char text[] = "abc";
        ASSERT_NE(ds.SetBinaryValue(element, text, 3), 0);
        EXPECT_EQ(element->nLength, 4u);
        EXPECT_EQ(element->nBlockCount, 2u);
        EXPECT_EQ(support::ValueOf(ds, element), Bytes({'a', 'b', 'c', pad})) << vr;
        EXPECT_NE(ds.InsertBinaryValue(element, text, 0xFFFFFFFF, 1), 0);
        EXPECT_EQ(element->nLength, 5u); // insertion does not pad
    }
}

TEST(BinaryValue, RefusesWhatHasNoBytes) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *element = Insert(ds, "OB");
    _DICOMELEMENT *sequence = ds.InsertElement(nullptr, 0, 0x00081140, 0, 0, 0);
    uint8_t bytes[4] = {};
    EXPECT_EQ(ds.GetBinaryValue(element, bytes, 4), 0);
    EXPECT_EQ(ds.GetBinaryValue(nullptr, bytes, 4), 0);
    EXPECT_EQ(ds.SetBinaryValue(sequence, bytes, 4), 0);
    EXPECT_EQ(ds.InsertBinaryValue(sequence, bytes, 0, 4), 0);
    ASSERT_NE(ds.SetBinaryValue(element, bytes, 4), 0);
    EXPECT_NE(ds.GetBinaryValue(element, bytes, 0, 0), 0);
    EXPECT_EQ(ds.GetBinaryValue(element, bytes, 4, 1), 0);
    EXPECT_EQ(ds.SetBinaryValue(element, nullptr, 4), 0);
    EXPECT_EQ(element->nLength, 0u);
}

TEST(BinaryValue, StoresUnitsInTheOrderOfTheDataSet) {
    const std::tuple<uint32_t, uint16_t, Bytes> cases[] = {
        {0x00280010, 0x5553, {1, 2, 3, 4}},
        {0x00280009, 0x4154, {1, 2, 3, 4}},
        {0x00091010, 0x554C, {3, 4, 1, 2}},
        {0x00020102, 0x5553, {2, 1, 4, 3}}, // the meta header is always little endian
    };
    for (const auto &[tag, vr, expected] : cases) {
        MDicomDS ds(nullptr);
        ds.m_nFlags = DS_BIG_ENDIAN | DS_EXPLICIT_VR;
        _DICOMELEMENT *element = ds.InsertElement(nullptr, 0, tag, vr, 0, 0);
        uint16_t numbers[] = {0x0102, 0x0304};
        ASSERT_NE(ds.SetBinaryValue(element, numbers, 4), 0);
        EXPECT_EQ(numbers[0], 0x0102) << "the caller's bytes are as they were";
        Bytes stored(4);
        ds.m_TempFile.Seek(element->pBlockOffsets[0], 0);
        ds.m_TempFile.Read(stored.data(), 4);
        EXPECT_EQ(stored, expected) << std::hex << tag;
    }
}

/** Programs may give a VR units of any size. */
TEST(BinaryValue, TurnsNoUnitsOfForeignSizes) {
    constexpr uint16_t kForeign = 0x5151;
    MDicomDS ds(nullptr);
    ds.m_nFlags = DS_BIG_ENDIAN | DS_EXPLICIT_VR;
    for (const uint16_t unit : {0, 3, 16}) {
        _DICOMVR *row = MDicomVR::Insert(kForeign, L"foreign", 0, VR_BINARY, unit);
        _DICOMELEMENT *element = ds.InsertElement(nullptr, 0, kTag, kForeign, 0, 0);
        Bytes bytes(32);
        for (uint8_t &byte : bytes) byte = static_cast<uint8_t>(&byte - bytes.data());
        ASSERT_NE(ds.SetBinaryValue(element, bytes.data(), 32), 0);
        Bytes read(20);
        ASSERT_NE(ds.GetBinaryValue(element, read.data(), 3, 20), 0);
        EXPECT_TRUE(std::equal(read.begin(), read.end(), bytes.begin() + 3)) << unit;
        ds.DeleteElement(element);
        MDicomVR::Delete(row);
    }
}

TEST(BinaryValue, InsertsZerosWithoutData) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *element = Insert(ds, "OB");
    ASSERT_NE(DataSetAccess::Insert(ds, element, nullptr, 0xFFFFFFFF, 100000), 0);
    EXPECT_EQ(support::ValueOf(ds, element), Bytes(100000, 0));
    ASSERT_NE(DataSetAccess::Delete(ds, element, 0, 0xFFFFFFFF), 0);
    EXPECT_EQ(element->nBlockCount, 0u);
}

/** A plain vector that is edited as a value is. */
struct Model {
    Bytes bytes;

    void Pad() {
        if (bytes.size() % 2 != 0) bytes.push_back(0);
    }
    void Set(size_t at, const Bytes &data) {
        at = std::min(at, bytes.size());
        if (bytes.size() < at + data.size()) bytes.resize(at + data.size());
        std::copy(data.begin(), data.end(), bytes.begin() + static_cast<long>(at));
        Pad();
    }
    void Insert(size_t at, const Bytes &data) {
        const auto place = bytes.begin() + static_cast<long>(std::min(at, bytes.size()));
        bytes.insert(place, data.begin(), data.end());
    }
    void Delete(size_t at, size_t count) {
        if (at >= bytes.size()) return;
        const auto from = bytes.begin() + static_cast<long>(at);
        bytes.erase(from, from + static_cast<long>(std::min(count, bytes.size() - at)));
        Pad();
    }
};

/** Random edits of a value that begins in a file: the result is that of the same edits on a
 *  vector, and the file keeps its bytes. */
class RandomEdits : public testing::TestWithParam<std::tuple<uint16_t, const char *>> {
  protected:
    Bytes RandomBytes(size_t count) {
        Bytes data(count);
        for (uint8_t &byte : data) byte = static_cast<uint8_t>(random());
        return data;
    }

    /** One edit of value and model. */
    void Edit(MDicomDS &ds, _DICOMELEMENT *element, Model &model, size_t unit) {
        Bytes data = RandomBytes(unit * 2 * (1 + random() % 10) - (random() % 2) * (unit == 1));
        const Bytes given = data;
        const auto count = static_cast<uint32_t>(data.size());
        const auto at = static_cast<uint32_t>(unit * (random() % (model.bytes.size() / unit + 2)));
        switch (random() % 5) {
            case 0:
                ASSERT_NE(ds.SetBinaryValue(element, data.data(), count), 0);
                model.bytes = given;
                model.Pad();
                break;
            case 1:
                ASSERT_NE(DataSetAccess::Set(ds, element, data.data(), at, count), 0);
                model.Set(at, given);
                break;
            case 2:
                ASSERT_NE(DataSetAccess::Insert(ds, element, data.data(), at, count), 0);
                model.Insert(at, given);
                model.Pad();
                break;
            case 3:
                // Odd lengths stay odd here; the next edit decides where a pad byte goes.
                ASSERT_NE(ds.InsertBinaryValue(element, data.data(), at, count & ~1u), 0);
                model.Insert(at, Bytes(given.begin(), given.begin() + (count & ~1u)));
                break;
            default:
                ASSERT_NE(DataSetAccess::Delete(ds, element, at, count), 0);
                model.Delete(at, count);
        }
        ASSERT_EQ(data, given);
    }

    std::mt19937 random{5};
};

TEST_P(RandomEdits, AgreeWithAVector) {
    const auto [flags, vr] = GetParam();
    const size_t unit = std::string(vr) == "OB" ? 1 : std::string(vr) == "FD" ? 8 : 2;
    for (int round = 0; round < 40; ++round) {
        Model model;
        model.bytes = RandomBytes(8 * (random() % 50));
        Bytes stored = model.bytes;
        if (flags & DS_BIG_ENDIAN) Turn(stored, unit);
        support::Encoder file((flags & DS_LITTLE_ENDIAN) != 0);
        file.Element(kTag, vr, std::string(stored.begin(), stored.end()));
        const Bytes before = file.bytes;
        MDicomDS ds(nullptr);
        ASSERT_EQ(support::LoadBytes(ds, file.bytes, flags | DS_METAHEADER_ABSENT), 0);
        _DICOMELEMENT *element = ds.FindFirstElement(nullptr, kTag, 1);
        ASSERT_NE(element, nullptr);
        for (int step = 0; step < 150; ++step) {
            ASSERT_NO_FATAL_FAILURE(Edit(ds, element, model, unit));
            ASSERT_EQ(element->nLength, model.bytes.size());
            ASSERT_EQ(support::ValueOf(ds, element), model.bytes) << "step " << step;
            if (model.bytes.empty()) continue;
            const auto from =
                static_cast<uint32_t>(unit * (random() % (model.bytes.size() / unit)));
            Bytes part(unit * (1 + random() % ((model.bytes.size() - from) / unit)));
            ASSERT_NE(
                ds.GetBinaryValue(element, part.data(), from, static_cast<uint32_t>(part.size())),
                0);
            ASSERT_TRUE(std::equal(part.begin(), part.end(), model.bytes.begin() + from));
        }
        EXPECT_EQ(file.bytes, before);
    }
}

INSTANTIATE_TEST_SUITE_P(BothOrders, RandomEdits,
                         testing::Combine(testing::Values(uint16_t(36), uint16_t(40)),
                                          testing::Values("OB", "US", "FD")));

} // namespace
