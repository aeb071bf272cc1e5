// Loading and saving: how encodings are found out, and what a save writes and leaves behind.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TestFiles.h"
#include "support/TreeCompare.h"

namespace {

using support::Bytes;
using support::Encoder;
using support::kBigUid;
using support::kExplicitUid;
using support::kImplicitUid;
using support::LoadBytes;
using support::StoredText;
using support::TemporaryFolder;

void AddAttributes(Encoder &file) {
    file.Element(0x00080005, "CS", "ISO_IR 100").Element(0x00080060, "CS", "MR");
    file.Element(0x00100010, "PN", "Doe^Jane");
}

/** A small file in explicit little endian. */
Encoder PlainFile() {
    Encoder file;
    file.Meta(kExplicitUid);
    AddAttributes(file);
    return file;
}

TEST(Load, FindsTheEncodingOut) {
    const struct {
        const char *uid; ///< null: no meta header
        bool littleEndian;
        bool isExplicit;
        uint16_t flags;
    } cases[] = {
        {kImplicitUid, true, false, 21},
        {kExplicitUid, true, true, 37},
        {kBigUid, false, true, 41},
        {nullptr, true, false, 22},
        {nullptr, true, true, 38},
        {nullptr, false, true, 42},
        // Elements are believed more than a wrong meta header.
        {kImplicitUid, true, true, 37},
        {kExplicitUid, true, false, 21},
    };
    for (const auto &row : cases) {
        Encoder file(row.littleEndian, row.isExplicit);
        if (row.uid != nullptr) file.Meta(row.uid);
        AddAttributes(file);
        MDicomDS ds(nullptr);
        ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
        EXPECT_EQ(ds.m_nFlags, row.flags);
        EXPECT_EQ(StoredText(ds, 0x00100010), "Doe^Jane");
    }
}

TEST(Load, ReadsOldAndBrokenBeginnings) {
    Encoder prefix;
    prefix.Text("DICM");
    AddAttributes(prefix);
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, prefix.bytes), DICOM_SUCCESS);
    EXPECT_EQ(StoredText(ds, 0x00080060), "MR");
    Encoder implicitMeta; // one meta element in the wrong form
    implicitMeta.Meta(kExplicitUid).Plain(0x00020016, 4).Text("HERE");
    AddAttributes(implicitMeta);
    ASSERT_EQ(LoadBytes(ds, implicitMeta.bytes), DICOM_SUCCESS);
    EXPECT_EQ(StoredText(ds, 0x00020016), "HERE");
    Encoder shortText; // UT with the short header
    shortText.Meta(kExplicitUid).Tag(0x00080119).Text("UT").Put16(4).Text("text");
    AddAttributes(shortText);
    ASSERT_EQ(LoadBytes(ds, shortText.bytes), DICOM_SUCCESS);
    EXPECT_EQ(StoredText(ds, 0x00080119), "text");
}

TEST(Load, TakesACutImageAsFarAsItGoes) {
    Encoder file = PlainFile();
    for (uint32_t i = 0; i < 8; ++i) file.Element(0x00280010 + i, "US", "ab");
    file.Header(TAG_PIXEL_DATA, "OB", 0xFFFFFFFF).Plain(TAG_ITEM, 0).Text("\xFE\xFF");
    MDicomDS ds(nullptr);
    EXPECT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
    EXPECT_NE(ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1), nullptr);
    Encoder noImage = PlainFile();
    noImage.Text(std::string("\x28\0\x10\0", 4));
    EXPECT_EQ(LoadBytes(ds, noImage.bytes), DICOM_ERROR_FORMAT);
    Encoder whole = PlainFile();
    MDicomFile stream;
    ASSERT_EQ(stream.SetMemoryBuffer(whole.bytes.data(), whole.bytes.size(), 1), 1);
    EXPECT_EQ(ds.LoadDS(&stream, 0, 1), DICOM_ERROR_FORMAT);
    EXPECT_EQ(ds.LoadDS(&stream, 0, 0), DICOM_SUCCESS);
    ds.ResetDS();
}

TEST(Load, DecidesVrs) {
    Encoder file;
    file.Meta("1.2.840.10008.1.2.4.50");
    file.Header(0x00091010, "UN", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Plain(0x00091011, 2).Text("xy"); // implicit inside
    file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    file.Element(0x00100010, "UN", "Doe^Jane");
    file.Header(TAG_PIXEL_DATA, "OW", 0xFFFFFFFF).Plain(TAG_ITEM, 0);
    file.Plain(TAG_ITEM, 2).Text("pp").Plain(TAG_SEQUENCE_DELIMITATION, 0);
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00091010, 1)->nVR, 0x5351);
    EXPECT_EQ(StoredText(ds, 0x00091011), "xy");
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00100010, 1)->nVR, 0x504E);
    auto *pixels = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    EXPECT_EQ(pixels->nVR, 0x4F42);
    EXPECT_EQ(ds.GetLastElement(nullptr, 0, 1)->nLength, 2u);
    Encoder curve(true, false);
    curve.Meta(kImplicitUid).Plain(0x50000103, 2).Text(std::string("\3\0", 2));
    curve.Plain(0x50003000, 8).Text("12345678");
    ASSERT_EQ(LoadBytes(ds, curve.bytes), DICOM_SUCCESS);
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x50003000, 1)->nVR, 0x4644);
}

TEST(Load, DuplicatesAndDisorderAreSortedOut) {
    Encoder file;
    file.Meta(kExplicitUid).Element(0x00100010, "PN", "Doe^Jane");
    file.Element(0x00080060, "CS", "MR").Element(0x00080060, "CS", "CT");
    file.Element(0x00080000, "UL", "1234").Element(0xFFFCFFFC, "OB", "padding!");
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
    EXPECT_EQ(ds.m_Tree.GetCount(nullptr, 0), 3u);
    EXPECT_EQ(StoredText(ds, 0x00080060), "MR");
}

TEST(Load, RecordsGetTheFileThatTheyShare) {
    Encoder file;
    file.Meta(kExplicitUid).Header(0x00041220, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Element(0x00041500, "CS", "OLD ").Header(0x00041504, "UL", 4);
    file.Put32(static_cast<uint32_t>(file.bytes.size()) + 4 + 8); // where the next item stands
    file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Element(0x00041500, "CS", "IMAGES\\A").Plain(TAG_ITEM_DELIMITATION, 0);
    file.Plain(TAG_SEQUENCE_DELIMITATION, 0);
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
    EXPECT_EQ(StoredText(ds, 0x00041500), "IMAGES\\A");
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00041504, 0), nullptr);
}

TEST(Load, RecordsOffsetsOnRequest) {
    Encoder file = PlainFile();
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, file.bytes, DS_RECORD_OFFSETS), DICOM_SUCCESS);
    auto *charset = ds.FindFirstElement(nullptr, 0x00080005, 1);
    EXPECT_EQ(ds.GetElementOffset(ds.FindFirstElement(nullptr, 0x00020010, 1)), 132u);
    EXPECT_EQ(ds.GetElementOffset(charset), 132u + 8 + 20);
    ds.DeleteElement(charset);
    EXPECT_EQ(ds.GetElementOffset(charset), 0u);
}

TEST(Load, LoadCloseLetsTheFileGo) {
    TemporaryFolder folder;
    Encoder file = PlainFile();
    file.Element(0x00420011, "OB", std::string(200000, 'd'));
    support::WriteFile(folder.File("a"), file.bytes);
    MDicomDS ds(nullptr);
    ASSERT_EQ(ds.LoadDS(folder.WideFile("a").c_str(), DS_LOAD_CLOSE), DICOM_SUCCESS);
    support::WriteFile(folder.File("a"), Bytes(10, 0));
    EXPECT_EQ(StoredText(ds, 0x00420011), std::string(200000, 'd'));
    EXPECT_EQ(ds.m_pFile, &ds.m_File);
}

// --- Saving -------------------------------------------------------------------------------------

Bytes Saved(MDicomDS &ds, uint16_t flags) {
    TemporaryFolder folder;
    EXPECT_EQ(ds.SaveDS(folder.WideFile("out").c_str(), flags), DICOM_SUCCESS);
    EXPECT_EQ(folder.Count(), 1u);
    return support::ReadFile(folder.File("out"));
}

TEST(Save, WritesSequencesInBothForms) {
    MDicomDS ds(nullptr);
    auto *sequence = ds.InsertElement(nullptr, 0, 0x00081140, 0, 0, 0);
    ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
    ds.InsertElement(nullptr, 0, 0x00081199, 0, 0, 0);
    constexpr uint16_t kBare =
        DS_METAHEADER_ABSENT | DS_EXCLUDE_METAHEADER_GROUP | DS_LITTLE_ENDIAN;
    Encoder undefined(true, false);
    undefined.Plain(0x00081140, 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    undefined.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    undefined.Plain(0x00081199, 0xFFFFFFFF).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    EXPECT_EQ(Saved(ds, kBare | DS_IMPLICIT_VR), undefined.bytes);
    Encoder defined;
    defined.Header(0x00081140, "SQ", 8).Plain(TAG_ITEM, 0).Header(0x00081199, "SQ", 0);
    EXPECT_EQ(Saved(ds, kBare | DS_EXPLICIT_VR | DS_LENGTH_EXPLICIT), defined.bytes);
    Encoder grouped;
    grouped.Element(0x00080000, "UL", std::string("\x2C\0\0\0", 4));
    grouped.Header(0x00081140, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    grouped.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    grouped.Header(0x00081199, "SQ", 0xFFFFFFFF).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    grouped.bytes[8] = static_cast<uint8_t>(grouped.bytes.size() - 12);
    EXPECT_EQ(Saved(ds, kBare | DS_EXPLICIT_VR | DS_GROUP_LENGTHS), grouped.bytes);
}

TEST(Save, NamesTheEncodingThatItWrites) {
    Encoder file = PlainFile();
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
    Bytes implicit = Saved(ds, DS_IMPLICIT_VR);
    MDicomDS again(nullptr);
    ASSERT_EQ(LoadBytes(again, implicit), DICOM_SUCCESS);
    EXPECT_EQ(StoredText(again, 0x00020010), kImplicitUid);
    EXPECT_EQ(StoredText(ds, 0x00020010), kExplicitUid); // the data set's own stays
    ds.DeleteElement(ds.FindFirstElement(nullptr, 0x00020010, 1));
    Bytes big = Saved(ds, DS_BIG_ENDIAN);
    ASSERT_EQ(LoadBytes(again, big), DICOM_SUCCESS);
    EXPECT_EQ(StoredText(again, 0x00020010), kBigUid);
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00020010, 1), nullptr);
    TemporaryFolder folder;
    EXPECT_EQ(ds.SaveDS(folder.WideFile("x").c_str(), DS_BIG_ENDIAN | DS_IMPLICIT_VR),
              DICOM_ERROR_PARAMETER);
    EXPECT_EQ(folder.Count(), 0u);
}

/** Also under a transfer syntax that is younger than the library. */
TEST(Save, KeepsCompressedDataExplicitLittleEndian) {
    for (const char *uid : {"1.2.840.10008.1.2.4.70", "1.2.840.10008.1.2.4.202"}) {
        Encoder file;
        file.Meta(uid);
        file.Header(TAG_PIXEL_DATA, "OB", 0xFFFFFFFF).Plain(TAG_ITEM, 0);
        file.Plain(TAG_ITEM, 4).Text("jpeg").Plain(TAG_SEQUENCE_DELIMITATION, 0);
        MDicomDS ds(nullptr);
        ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
        for (const uint16_t flags : {DS_BIG_ENDIAN, DS_IMPLICIT_VR, DS_LENGTH_EXPLICIT}) {
            Bytes saved = Saved(ds, flags);
            MDicomDS again(nullptr);
            ASSERT_EQ(LoadBytes(again, saved), DICOM_SUCCESS);
            EXPECT_EQ(again.m_nFlags, 37);
            EXPECT_EQ(StoredText(again, 0x00020010), uid);
            EXPECT_EQ(again.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1)->nVR, 0x4F42);
            EXPECT_EQ(support::Difference(ds, again, {.skipTransferSyntax = false}), "");
        }
    }
}

/** PS 3.5, 6.2.2: what the short header cannot hold is written as UN and comes back as it was. */
TEST(Save, WritesLongValuesOfShortVrs) {
    MDicomDS ds(nullptr);
    std::string numbers;
    while (numbers.size() < 100000) numbers += "1.25\\";
    auto *element = ds.InsertElement(nullptr, 0, 0x30060050, 0x4453, 0, 0);
    ASSERT_NE(ds.SetBinaryValue(element, numbers.data(), 100000), 0);
    auto *units = ds.InsertElement(nullptr, 0, 0x00283006, 0x5553, 0, 0);
    std::vector<uint16_t> words(40000, 0x0102);
    ASSERT_NE(ds.SetBinaryValue(units, words.data(), 80000), 0);
    for (const uint16_t flags : {36, 20, 40}) {
        Bytes saved = Saved(ds, DS_METAHEADER_PRESENT | flags);
        MDicomDS again(nullptr);
        ASSERT_EQ(LoadBytes(again, saved), DICOM_SUCCESS);
        EXPECT_EQ(support::Difference(ds, again, {.compareVr = false}), "") << flags;
    }
}

TEST(Save, KeepsTreesOfOddShape) {
    MDicomDS ds(nullptr);
    auto *content = ds.InsertElement(nullptr, 0, 0x00091010, 0x554E, 1, 0); // UN
    auto *item = ds.InsertElement(content, 1, TAG_ITEM, 0, 1, 0);
    ds.InsertElement(item, 1, 0x00100020, 0, 0, 0);
    ds.InsertElement(nullptr, 0, TAG_ITEM, 0, 1, 0); // before all others
    ds.InsertElement(ds.InsertElement(nullptr, 0, 0x00020102, 0, 1, 0), 1, TAG_ITEM, 0, 1, 0);
    constexpr int kFile = DS_METAHEADER_PRESENT | DS_EXPLICIT_VR;
    for (const int encoding : {DS_LITTLE_ENDIAN, DS_BIG_ENDIAN}) {
        for (const int flags : {0, int{DS_LENGTH_EXPLICIT}}) {
            Bytes saved = Saved(ds, static_cast<uint16_t>(kFile | encoding | flags));
            MDicomDS again(nullptr);
            ASSERT_EQ(LoadBytes(again, saved), DICOM_SUCCESS);
            EXPECT_EQ(again.FindFirstElement(nullptr, 0x00091010, 1)->nVR, 0x5351);
            EXPECT_EQ(again.m_Tree.GetCount(nullptr, 0), ds.m_Tree.GetCount(nullptr, 0) + 1);
            EXPECT_EQ(again.GetLevelElement(again.FindFirstElement(nullptr, 0x00100020, 0)), 2u);
        }
    }
}

TEST(Save, ToANameAsLongAsNamesCanBe) {
    TemporaryFolder folder;
    MDicomDS ds(nullptr);
    EXPECT_EQ(ds.SaveDS(folder.WideFile(std::string(255, 'n')).c_str(), 0), DICOM_SUCCESS);
    EXPECT_EQ(ds.SaveDS(folder.WideFile(std::string(256, 'n')).c_str(), 0), DICOM_ERROR_OPEN);
    EXPECT_EQ(folder.Count(), 1u);
}

TEST(Save, OntoTheLoadedFileWorks) {
    TemporaryFolder folder;
    Encoder file = PlainFile();
    file.Element(0x00420011, "OB", std::string(200000, 'd'));
    support::WriteFile(folder.File("a"), file.bytes);
    ASSERT_EQ(chmod(folder.File("a").c_str(), 0640), 0);
    std::filesystem::create_symlink(folder.File("a"), folder.File("link"));
    MDicomDS ds(nullptr);
    ASSERT_EQ(ds.LoadDS(folder.WideFile("link").c_str(), 0), DICOM_SUCCESS);
    auto *name = ds.FindFirstElement(nullptr, 0x00100010, 1);
    ASSERT_NE(ds.SetStringValueA(name, "New^Name", 1), 0);
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(ds.SaveDS(folder.WideFile("link").c_str(), 0), DICOM_SUCCESS);
        EXPECT_EQ(StoredText(ds, 0x00420011), std::string(200000, 'd'));
    }
    MDicomDS again(nullptr);
    ASSERT_EQ(again.LoadDS(folder.WideFile("a").c_str(), 0), DICOM_SUCCESS);
    EXPECT_EQ(support::Difference(ds, again), "");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.File("link")));
    EXPECT_EQ(std::filesystem::status(folder.File("a")).permissions(),
              std::filesystem::perms(0640));
}

TEST(Save, RefusesElementsBelowAValue) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *name = ds.InsertElement(nullptr, 0, 0x00100010, 0, 0, 0);
    ASSERT_NE(ds.InsertElement(name, 1, 0x00100020, 0, 0, 0), nullptr);
    MDicomFile file;
    file.Open(nullptr, FILE_MODE_MEMORY | FILE_MODE_AUTO_CLOSE);
    EXPECT_EQ(ds.SaveDS(&file, 0), DICOM_ERROR_WRITE);
}

TEST(Save, TakesAReferenceOfTheWrongLengthForAPlainValue) {
    Encoder file;
    file.Meta(kExplicitUid).Element(0x00041400, "UL", "12345678").Element(0x00041420, "UL", "");
    MDicomDS ds(nullptr);
    ASSERT_EQ(LoadBytes(ds, file.bytes), DICOM_SUCCESS);
    Bytes saved = Saved(ds, 0);
    MDicomDS again(nullptr);
    ASSERT_EQ(LoadBytes(again, saved), DICOM_SUCCESS);
    EXPECT_EQ(support::Difference(ds, again), "");
    EXPECT_EQ(StoredText(again, 0x00041400), "12345678");
}

} // namespace
