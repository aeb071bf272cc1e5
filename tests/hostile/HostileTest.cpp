// Input that is out to break the reader: each ends in a status, in little time and memory.

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <random>

#include "MDicomFlat.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"

namespace {

using support::Bytes;
using support::Encoder;
using support::Encoding;
using support::kBigUid;
using support::kEncodings;
using support::kExplicitUid;
using support::kImplicitUid;
using support::LoadBytes;
using support::TemporaryFolder;

/** Touches everything that a load left behind. */
void Use(MDicomDS &ds) {
    uint8_t byte[16];
    for (auto *e = M_DicomGetFirstElement(&ds, nullptr, 0, 1); e != nullptr;
         e = M_DicomGetNextElement(&ds, e, 0, 1)) {
        ds.GetBinaryValue(e, byte, sizeof byte);
        if (ds.GetCountValue(e) > 0) {
            ds.GetStringValue(e, 0, 1);
            ds.GetLongValue(e, 0, 1);
            ds.GetDoubleValue(e, 0, 1);
        }
        ds.FreeValue(e);
    }
    MDicomFile out;
    out.Open(nullptr, FILE_MODE_MEMORY | FILE_MODE_AUTO_CLOSE);
    ds.SaveDS(&out, 0);
}

void LoadAndUse(Bytes bytes, uint16_t flags = 0) {
    MDicomDS ds(nullptr);
    if (LoadBytes(ds, bytes, flags) == DICOM_SUCCESS) Use(ds);
    MDicomDS closed(nullptr);
    if (LoadBytes(closed, bytes, flags | DS_LOAD_CLOSE) == DICOM_SUCCESS) Use(closed);
}

/** A data set with nested sequences, all header forms and encapsulated Pixel Data. */
Bytes RichFile(const Encoding &encoding) {
    Encoder file(encoding.littleEndian, encoding.isExplicit);
    file.Meta(encoding.uid);
    file.Element(0x00080005, "CS", "ISO_IR 192");
    file.Element(0x00080060, "CS", "CT");
    support::PutNestedSequences(file, 0x00081140);
    file.Element(0x00100010, "PN", "Doe^Jane");
    file.Element(0x00180050, "DS", "1.25\\2.5");
    file.Element(0x00280010, "US", std::string("\2\0", 2));
    file.Element(0x00420011, "OB", std::string(200, 'x'));
    file.Header(TAG_PIXEL_DATA, "OB", 0xFFFFFFFF).Plain(TAG_ITEM, 0);
    file.Plain(TAG_ITEM, 30).Text(std::string(30, 'p'));
    file.Plain(TAG_SEQUENCE_DELIMITATION, 0);
    return file.bytes;
}

double SecondsOf(const std::function<void()> &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** Bytes in use by the heap. */
size_t HeapInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/** Files that are cut, have wrong bytes, or both. */
TEST(Hostile, AnyByteMayBeWrongOrMissing) {
    std::mt19937 random(17);
    for (const auto &encoding : kEncodings) {
        const Bytes whole = RichFile(encoding);
        for (int round = 0; round < 4000; ++round) {
            Bytes bytes = whole;
            const bool isCut = random() % 4 == 0;
            if (isCut) bytes.resize(133 + random() % (whole.size() - 133));
            for (unsigned i = isCut ? 8 : 0; i < 1 + random() % 8; ++i) {
                static constexpr uint8_t kNasty[] = {0x00, 0xFF, 0xFE, 0xE0, 0xDD, 0x7F};
                const size_t place = random() % 4 == 0 ? random() % bytes.size()
                                                       : 132 + random() % (bytes.size() - 132);
                bytes[place] = random() % 2 != 0 ? kNasty[random() % std::size(kNasty)]
                                                 : static_cast<uint8_t>(random());
            }
            LoadAndUse(bytes, random() % 5 == 0 ? uint16_t(DS_METAHEADER_ABSENT) : uint16_t(0));
        }
    }
}

TEST(Hostile, LengthsBeyondTheStreamCostNothing) {
    for (const uint32_t length : {0xFFFFFFFFu, 0xFFFFFFFEu, 0x7FFFFFFEu}) {
        for (const char *vr : {"AT", "DS", "FD", "IS", "LO", "OB", "OW", "PN", "SQ", "TM", "UC",
                               "UI", "UN", "US", "UT", "UV", "ZZ"}) {
            for (const uint32_t tag : {0x00091010u, 0x00100010u, 0x7FE00010u, 0x54001010u}) {
                Encoder file;
                file.Meta(kExplicitUid).Header(tag, vr, length).Text("abcdefgh");
                const size_t before = HeapInUse();
                MDicomDS ds(nullptr);
                if (LoadBytes(ds, file.bytes) == DICOM_SUCCESS) Use(ds);
                EXPECT_LT(HeapInUse(), before + (1 << 20)) << vr;
                LoadAndUse(file.bytes);
                Encoder implicit(true, false);
                implicit.Meta(kImplicitUid).Plain(tag, length).Text("abcdefgh");
                LoadAndUse(implicit.bytes);
            }
        }
    }
}

Bytes NestedSequences(size_t depth, bool closed) {
    Encoder file;
    file.Meta(kExplicitUid);
    for (size_t i = 0; i < depth; ++i) {
        file.Header(0x00081140, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    }
    for (size_t i = 0; i < depth && closed; ++i) {
        file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    }
    return file.bytes;
}

TEST(Hostile, NestingIsLimited) {
    MDicomDS ds(nullptr);
    Bytes deepest = NestedSequences(1024, true);
    ASSERT_EQ(LoadBytes(ds, deepest), DICOM_SUCCESS);
    EXPECT_EQ(M_DicomGetLevelElement(&ds, M_DicomGetLastElement(&ds, nullptr, 0, 1)), 2047u);
    Use(ds);
    for (const bool closed : {true, false}) {
        Bytes deeper = NestedSequences(1025, closed);
        EXPECT_EQ(LoadBytes(ds, deeper), DICOM_ERROR_FORMAT);
        EXPECT_EQ(M_DicomGetFirstElement(&ds, nullptr, 0, 1), nullptr);
        Bytes absurd = NestedSequences(200000, closed);
        EXPECT_EQ(LoadBytes(ds, absurd), DICOM_ERROR_FORMAT);
    }
}

/** Items without end make a chain of levels by themselves. */
TEST(Hostile, ItemsInItemsAreLimited) {
    Encoder file;
    file.Meta(kExplicitUid).Header(0x00081140, "SQ", 0xFFFFFFFF);
    for (int i = 0; i < 100000; ++i) file.Plain(TAG_ITEM, 0xFFFFFFFF);
    MDicomDS ds(nullptr);
    EXPECT_EQ(LoadBytes(ds, file.bytes), DICOM_ERROR_FORMAT);
}

/** Millions of elements, in file order or against it, take linear time and bounded memory. */
TEST(Hostile, MillionsOfEmptyElements) {
    constexpr uint32_t kCount = 5'000'000;
    for (const bool ascending : {true, false}) {
        Encoder file(true, false);
        file.bytes.reserve(8 * size_t{kCount} + 200);
        file.Meta(kImplicitUid);
        for (uint32_t i = 0; i < kCount; ++i) {
            const uint32_t number = ascending ? i : kCount - i;
            file.Plain(0x00110001 + number + number / 0xFFFF, 0);
        }
        const size_t before = HeapInUse();
        MDicomDS ds(nullptr);
        EXPECT_LT(SecondsOf([&] { ASSERT_EQ(LoadBytes(ds, file.bytes), 0); }), 30.0);
        EXPECT_LT(HeapInUse() - before, (64u << 20) + 160 * size_t{kCount});
        EXPECT_GT(ds.m_Tree.GetCount(nullptr, 1), kCount - 200);
        EXPECT_LT(SecondsOf([&] { M_DicomResetDS(&ds); }), 10.0);
    }
}

/** Levels where items stand between elements lose their order: still no quadratic walk. */
TEST(Hostile, LevelsWithoutOrderEnd) {
    Encoder file(true, false);
    file.Meta(kImplicitUid);
    file.Plain(0xFFFFFFF1, 0).Plain(TAG_ITEM, 0).Plain(0xFFFFFFF2, 0).Plain(TAG_ITEM, 0);
    for (uint32_t i = 0; i < 400000; ++i) file.Plain(0x50000001 - i * 3 - (i % 5), 0);
    MDicomDS ds(nullptr);
    EXPECT_LT(SecondsOf([&] { LoadBytes(ds, file.bytes); }), 20.0);
}

/** Look-ups during a load, as implicit waveform data make them, do not walk the tree each time. */
TEST(Hostile, LookUpsDuringALoadStayCheap) {
    Encoder file(true, false);
    file.Meta(kImplicitUid);
    file.Plain(0x00081140, 0xFFFFFFFF);
    for (int i = 0; i < 200000; ++i) file.Plain(TAG_ITEM, 0);
    file.Plain(TAG_SEQUENCE_DELIMITATION, 0);
    file.Plain(0x00409999, 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Plain(0x54001004, 2).Text(std::string("\20\0", 2));
    file.Plain(TAG_ITEM_DELIMITATION, 0);
    for (int i = 0; i < 50000; ++i) {
        file.Plain(TAG_ITEM, 0xFFFFFFFF).Plain(0x54001010, 0).Plain(TAG_ITEM_DELIMITATION, 0);
    }
    MDicomDS ds(nullptr);
    EXPECT_LT(SecondsOf([&] { EXPECT_EQ(LoadBytes(ds, file.bytes), 0); }), 10.0);
}

TEST(Hostile, MetaElementsInTheMiddle) {
    Encoder meta;
    meta.Element(0x00020016, "AE", "MIDDLE"); // little endian, as everywhere in its group
    Encoder file(false, true);
    file.Meta(kBigUid).Element(0x00080060, "CS", "CT");
    file.bytes.insert(file.bytes.end(), meta.bytes.begin(), meta.bytes.end());
    file.Element(0x00100010, "PN", "Doe^Jane");
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
    EXPECT_EQ(support::StoredText(ds, 0x00020016), "MIDDLE");
    EXPECT_EQ(support::StoredText(ds, 0x00100010), "Doe^Jane");
}

/** Delimiters that are missing, doubled or of the wrong kind cost at most their own level. */
TEST(Hostile, DelimitersOutOfPlace) {
    const auto item = TAG_ITEM_DELIMITATION;
    const auto sequence = TAG_SEQUENCE_DELIMITATION;
    const std::vector<std::vector<uint32_t>> endings = {
        {item, sequence},           // as it should be
        {item, item, sequence},     // doubled
        {sequence},                 // the item's is missing
        {sequence, sequence},       // the item's is of the wrong kind
        {item, item},               // the sequence's is of the wrong kind
        {item, sequence, sequence}, // one too many
    };
    for (const auto &ending : endings) {
        Encoder file;
        file.Meta(kExplicitUid);
        file.Header(0x00081140, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
        file.Element(0x00081150, "UI", "1.2.3.40");
        for (const uint32_t delimiter : ending) file.Plain(delimiter, 0);
        file.Element(0x00100010, "PN", "Doe^Jane");
        MDicomDS ds(nullptr);
        ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
        auto *name = M_DicomFindFirstElement(&ds, nullptr, 0x00100010, 1);
        ASSERT_NE(name, nullptr) << "ending " << (&ending - endings.data());
        EXPECT_EQ(ds.m_Tree.GetCount(nullptr, 0), 5u);
    }
}

TEST(Hostile, MoreOddLengthsThanCanBeRepaired) {
    for (const uint32_t count : {1u, 50u, 51u}) {
        Encoder file;
        file.Meta(kExplicitUid);
        for (uint32_t i = 0; i < count; ++i) file.Element(0x00091000u + i, "LO", "odd");
        MDicomDS ds(nullptr);
        EXPECT_EQ(LoadBytes(ds, file.bytes), count <= 50 ? DICOM_SUCCESS : DICOM_ERROR_FORMAT);
        if (count > 50) continue;
        EXPECT_EQ(M_DicomGetLastElement(&ds, nullptr, 0, 1)->nLength, 4u);
        EXPECT_EQ(support::StoredText(ds, 0x00091000), "odd");
    }
    // A reference that is resolved and deleted before its odd length could be repaired.
    Encoder file;
    file.Meta(kExplicitUid).Header(0x00041220, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Element(0x00041504, "UL", "odd").Plain(TAG_ITEM_DELIMITATION, 0);
    file.Plain(TAG_SEQUENCE_DELIMITATION, 0);
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
    EXPECT_EQ(M_DicomFindFirstElement(&ds, nullptr, 0x00041504, 0), nullptr);
}

TEST(Hostile, NamesThatAreNoFiles) {
    TemporaryFolder folder;
    MDicomDS ds(nullptr);
    EXPECT_EQ(ds.LoadDS(folder.Path().wstring().c_str(), 0), DICOM_ERROR_OPEN);
    EXPECT_EQ(ds.LoadDS(L"", 0), DICOM_ERROR_OPEN);
    EXPECT_EQ(ds.LoadDS(static_cast<const wchar_t *>(nullptr), 0), DICOM_ERROR_OPEN);
    EXPECT_EQ(ds.LoadDS(static_cast<MDicomFile *>(nullptr), 0, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(ds.LoadDSMemory(nullptr, 10, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(ds.SaveDS(folder.Path().wstring().c_str(), 0), DICOM_ERROR_OPEN);
    EXPECT_EQ(ds.SaveDS(folder.WideFile("no/such/folder").c_str(), 0), DICOM_ERROR_OPEN);
    EXPECT_EQ(ds.SaveDS(static_cast<const wchar_t *>(nullptr), 0), DICOM_ERROR_OPEN);
    EXPECT_EQ(ds.SaveDS(static_cast<MDicomFile *>(nullptr), 0), DICOM_ERROR_PARAMETER);
    support::WriteFile(folder.File("empty"), {});
    EXPECT_EQ(ds.LoadDS(folder.WideFile("empty").c_str(), 0), DICOM_SUCCESS);
    EXPECT_EQ(ds.LoadDS(folder.WideFile("empty").c_str(), DS_METAHEADER_PRESENT), DICOM_ERROR_READ);
    support::WriteFile(folder.File("zeros"), Bytes(200, 0));
    EXPECT_EQ(ds.LoadDS(folder.WideFile("zeros").c_str(), DS_METAHEADER_PRESENT),
              DICOM_ERROR_FORMAT);
}

/** Values that are not there cannot be read, and a data set that lacks one is not saved. */
TEST(Hostile, ValuesBeyondTheEndOfTheFile) {
    for (const bool shrinks : {false, true}) {
        TemporaryFolder folder;
        Encoder file;
        file.Meta(kExplicitUid).Header(0x00420011, "OB", shrinks ? 300000 : 0x40000000);
        file.Text(std::string(300000, 'x'));
        support::WriteFile(folder.File("short"), file.bytes);
        MDicomDS ds(nullptr);
        ASSERT_EQ(ds.LoadDS(folder.WideFile("short").c_str(), 0), DICOM_SUCCESS);
        if (shrinks) {
            ASSERT_EQ(truncate(folder.File("short").c_str(), 1000), 0);
        }
        auto *element = M_DicomFindFirstElement(&ds, nullptr, 0x00420011, 1);
        ASSERT_NE(element, nullptr);
        EXPECT_EQ(ds.GetCharValue(element, 0, 1), nullptr);
        char bytes[4];
        EXPECT_NE(ds.GetBinaryValue(element, bytes, 4), 0) << "what is there";
        EXPECT_EQ(ds.SaveDS(folder.WideFile("copy").c_str(), 0), DICOM_ERROR_WRITE);
        EXPECT_EQ(folder.Count(), 1u);
    }
}

} // namespace
