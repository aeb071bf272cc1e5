// Copies of data sets and of their parts.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "MDicomFlat.h"
#include "support/RealFiles.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"
#include "values/Values.h"

namespace {

using support::Bytes;
using support::Difference;
using support::Encoder;
using support::Encoding;
using support::kEncodings;
using support::LoadBytes;
using support::StoredText;

constexpr size_t kLarge = 300001; // more than is copied in one piece

/** Numbers of all sizes, a large value, nested items, private and unknown elements. */
Bytes RichFile(const Encoding &encoding) {
    Encoder file(encoding.littleEndian, encoding.isExplicit);
    file.Meta(encoding.uid);
    file.Element(0x00080005, "CS", "ISO_IR 192");
    support::PutNestedSequences(file, 0x00081140);
    file.Header(0x00081145, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    file.Header(0x00089215, "SQ", 0xFFFFFFFF).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    file.Element(0x00091001, "UN", "raw bytes!");
    file.Element(0x00100010, "PN", "Doe^Jane");
    file.Header(0x00189306, "FD", 8).Put32(0x01020304).Put32(0x05060708);
    file.Header(0x00280009, "AT", 4).Tag(0x00181063);
    file.Header(0x00280010, "US", 2).Put16(0x0102);
    file.Header(0x00720064, "IS", 0);
    file.Header(0x7FE00010, "OW", kLarge - 1);
    for (size_t i = 0; i < kLarge / 2; ++i) file.Put16(static_cast<uint32_t>(i));
    return file.bytes;
}

constexpr Encoding kExplicit = kEncodings[1];

_DICOMELEMENT *Find(MDicomDS &ds, uint32_t tag) {
    return M_DicomFindFirstElement(&ds, nullptr, tag, 0);
}

_DICOMELEMENT *Insert(MDicomDS &ds, _DICOMELEMENT *parent, uint32_t tag, const char *vr) {
    return M_DicomInsertElement(&ds, parent, parent != nullptr, tag, Code(vr), tag == TAG_ITEM,
                                0xFFFFFFFF);
}

_DICOMELEMENT *InsertText(MDicomDS &ds, _DICOMELEMENT *parent, uint32_t tag, const char *vr,
                          std::string text) {
    _DICOMELEMENT *element = Insert(ds, parent, tag, vr);
    ds.SetBinaryValue(element, text.data(), static_cast<uint32_t>(text.size()));
    return element;
}

/** Sequence with one item that holds one text. */
_DICOMELEMENT *InsertSequence(MDicomDS &ds, uint32_t tag, const char *text) {
    _DICOMELEMENT *sequence = Insert(ds, nullptr, tag, "SQ");
    InsertText(ds, Insert(ds, sequence, TAG_ITEM, "OB"), 0x00080100, "SH", text);
    return sequence;
}

uint32_t CountElements(MDicomDS &ds) {
    return ds.m_Tree.GetCount(nullptr, 0);
}

/** True if all values are where their elements say. */
bool IsWhole(MDicomDS &ds) {
    bool whole = true;
    for (auto *element = M_DicomGetFirstElement(&ds, nullptr, 0, 1); element != nullptr;
         element = M_DicomGetNextElement(&ds, element, 0, 1)) {
        const uint32_t length = element->nLength;
        uint8_t last = 0;
        whole = whole && (length == 0 || length == 0xFFFFFFFF ||
                          ds.GetBinaryValue(element, &last, length - 1, 1));
    }
    return whole;
}

struct Leaving {
    uint32_t tag;
    std::set<uint32_t> seen;
};

int32_t LeaveOut(_DICOMELEMENT *element, uint16_t code, void *data) {
    auto *leaving = static_cast<Leaving *>(data);
    EXPECT_EQ(code, 0);
    leaving->seen.insert(element->nTag);
    return element->nTag != leaving->tag;
}

} // namespace

TEST(Copy, OfADataSetOutlivesItsSource) {
    Bytes bytes = RichFile(kExplicit);
    std::fill_n(bytes.begin(), 128, uint8_t{'p'});
    Bytes kept = bytes;
    MDicomDS expected(nullptr);
    ASSERT_EQ(LoadBytes(expected, kept), 0);
    MDicomDS target(nullptr);
    {
        MDicomDS source(nullptr);
        ASSERT_EQ(LoadBytes(source, bytes), 0);
        ASSERT_EQ(M_DicomCopyDS(&target, nullptr, &source, nullptr), 0);
        EXPECT_EQ(target.m_nFlags, source.m_nFlags);
    }
    std::fill(bytes.begin(), bytes.end(), uint8_t{0xEE});
    EXPECT_EQ(Difference(expected, target, {.skipTransferSyntax = false}), "");
    EXPECT_EQ(target.m_Preamble[127], 'p');
    EXPECT_EQ(target.m_nCharacterSets, 1u);
    EXPECT_EQ(Find(target, TAG_PIXEL_DATA)->nBlockCount, 1u);
}

TEST(Copy, OfRealFilesIsEqualInBothByteOrders) {
    const auto files = support::RealFiles();
    if (files.empty()) GTEST_SKIP() << "no real files here";
    for (const auto &path : files) {
        MDicomDS source(nullptr);
        if (source.LoadDS(path.wstring().c_str(), 0) != 0) continue;
        MDicomDS target(nullptr);
        const bool whole = IsWhole(source);
        ASSERT_EQ(target.CopyDS(nullptr, &source, nullptr), whole ? 0 : 4) << path;
        if (!whole) continue;
        EXPECT_EQ(Difference(source, target, {.skipTransferSyntax = false}), "") << path;
        MDicomDS turned(nullptr);
        turned.m_nFlags =
            DS_EXPLICIT_VR | (source.m_nFlags & DS_BIG_ENDIAN ? DS_LITTLE_ENDIAN : DS_BIG_ENDIAN);
        const uint16_t flags = turned.m_nFlags;
        // Not empty, so that it keeps its encoding.
        _DICOMELEMENT *first = InsertText(turned, nullptr, 0x00010FFF, "LO", "here");
        ASSERT_EQ(turned.CopyDS(nullptr, &source, nullptr), 0) << path;
        M_DicomDeleteElement(&turned, first);
        EXPECT_EQ(turned.m_nFlags, flags);
        EXPECT_EQ(Difference(source, turned), "") << path;
    }
}

TEST(Copy, OfAPartGoesWhereItIsTold) {
    Bytes bytes = RichFile(kExplicit);
    MDicomDS source(nullptr);
    ASSERT_EQ(LoadBytes(source, bytes), 0);
    MDicomDS target(nullptr);
    _DICOMELEMENT *sequence = Insert(target, nullptr, 0x00081140, "SQ");
    _DICOMELEMENT *item = Insert(target, sequence, TAG_ITEM, "OB");
    // The children of an item, not the item.
    ASSERT_EQ(
        target.CopyDS(item, &source, M_DicomGetChildElement(&source, Find(source, 0x00081140), 1)),
        0);
    EXPECT_EQ(StoredText(target, 0x00081150), "1.2.840.10");
    EXPECT_EQ(StoredText(target, 0x00081155), "1.2.3.40");
    EXPECT_EQ(CountElements(target), 6u);
    // A leaf has nothing to give, and takes nothing.
    EXPECT_EQ(target.CopyDS(item, &source, Find(source, 0x00100010)), 0);
    EXPECT_EQ(target.CopyDS(Find(target, 0x00081150), &source, nullptr), 9);
    EXPECT_EQ(target.CopyDS(nullptr, nullptr, nullptr), 9);
    EXPECT_EQ(CountElements(target), 6u);
}

TEST(Copy, BelowAnElementReplacesValuesAndExtendsSequences) {
    MDicomDS source(nullptr);
    InsertText(source, nullptr, 0x00080060, "CS", "CT");
    InsertText(source, nullptr, 0x00080070, "LO", "new maker");
    Insert(source, nullptr, 0x00080080, "LO");
    InsertText(source, nullptr, 0x00080090, "PN", std::string(kLarge, 'n'));
    InsertSequence(source, 0x00081032, "second");

    MDicomDS target(nullptr);
    _DICOMELEMENT *item = Insert(target, Insert(target, nullptr, 0x00400275, "SQ"), TAG_ITEM, "OB");
    InsertText(target, item, 0x00080060, "CS", "LONGER THAN CT");
    InsertText(target, item, 0x00080080, "LO", "stays");
    InsertText(target, item, 0x00080090, "PN", "o");
    _DICOMELEMENT *codes = Insert(target, item, 0x00081032, "SQ");
    Insert(target, codes, TAG_ITEM, "OB");
    target.GetStringValue(Find(target, 0x00080060), 0, 1); // a cache that goes out of date

    ASSERT_EQ(target.CopyDS(item, &source, nullptr), 0);
    EXPECT_EQ(StoredText(target, 0x00080060), "CT");
    EXPECT_EQ(std::wstring(target.GetStringValue(Find(target, 0x00080060), 0, 1)), L"CT");
    EXPECT_EQ(StoredText(target, 0x00080070), "new maker");
    EXPECT_EQ(StoredText(target, 0x00080080), "stays") << "an empty value copies nothing";
    EXPECT_EQ(StoredText(target, 0x00080090), std::string(kLarge, 'n'));
    EXPECT_EQ(Find(target, 0x00080090)->nLength, kLarge + 1);
    EXPECT_EQ(target.m_Tree.GetCount(codes->Link.pFirstChild, 1), 2u);
    EXPECT_EQ(StoredText(target, 0x00080100), "second");

    // A value and children do not mix.
    MDicomDS mixed(nullptr);
    InsertText(mixed, nullptr, 0x00081032, "LO", "text");
    EXPECT_EQ(target.CopyDS(item, &mixed, nullptr), 5);
    MDicomDS reverse(nullptr);
    InsertSequence(reverse, 0x00080060, "no");
    EXPECT_EQ(target.CopyDS(item, &reverse, nullptr), 2);
    EXPECT_EQ(StoredText(target, 0x00080060), "CT");
}

TEST(Copy, AsksForElementsOfTheFirstLevel) {
    Bytes bytes = RichFile(kExplicit);
    MDicomDS source(nullptr);
    ASSERT_EQ(LoadBytes(source, bytes), 0);
    for (const uint32_t left : {uint32_t{TAG_PIXEL_DATA}, 0x00081140u}) {
        MDicomDS target(nullptr);
        Leaving leaving{left, {}};
        ASSERT_EQ(M_DicomCopyDSExt(&target, nullptr, &source, nullptr, LeaveOut, &leaving), 0);
        EXPECT_EQ(Find(target, left), nullptr);
        EXPECT_NE(Find(target, 0x00100010), nullptr);
        EXPECT_TRUE(leaving.seen.contains(0x00081140)) << "sequences are offered";
        EXPECT_FALSE(leaving.seen.contains(TAG_ITEM)) << "their content is not";
        EXPECT_FALSE(leaving.seen.contains(0x00081155));
    }
    MDicomDS target(nullptr);
    _DICOMELEMENT *item = Insert(target, Insert(target, nullptr, 0x00400275, "SQ"), TAG_ITEM, "OB");
    Insert(target, item, 0x00100010, "PN");
    Leaving leaving{0x00100010, {}};
    ASSERT_EQ(target.CopyDS(item, &source, nullptr, LeaveOut, &leaving), 0);
    EXPECT_FALSE(leaving.seen.contains(0x00100010)) << "only what is missing is asked for";
    EXPECT_EQ(StoredText(target, 0x00100010), "Doe^Jane");
}

TEST(Copy, WithinADataSetEnds) {
    MDicomDS ds(nullptr);
    InsertText(ds, nullptr, 0x00080060, "CS", "CT");
    _DICOMELEMENT *sequence = InsertSequence(ds, 0x00081032, "code");
    const uint32_t before = CountElements(ds);
    EXPECT_EQ(ds.CopyDS(nullptr, &ds, nullptr), 2) << "each tag stands there";
    EXPECT_EQ(CountElements(ds), before);

    _DICOMELEMENT *item = M_DicomGetChildElement(&ds, sequence, 1);
    ASSERT_EQ(ds.CopyDS(item, &ds, nullptr), 0) << "into a part of what is copied";
    EXPECT_EQ(CountElements(ds), before * 2);
    ASSERT_EQ(ds.CopyDS(sequence, &ds, sequence), 0) << "items onto themselves";
    EXPECT_EQ(ds.m_Tree.GetCount(&item->Link, 1), 2u);
    ASSERT_EQ(ds.CopyDS(item, &ds, item), 0);
    EXPECT_EQ(StoredText(ds, 0x00080100), "code");
    EXPECT_EQ(ds.m_Tree.Verify(), nullptr);
}

TEST(Copy, OfADeepTreeDoesNotRecurse) {
    MDicomDS source(nullptr);
    _DICOMELEMENT *parent = nullptr;
    for (int depth = 0; depth < 100000; ++depth) {
        parent = Insert(source, Insert(source, parent, 0x00081032, "SQ"), TAG_ITEM, "OB");
    }
    InsertText(source, parent, 0x00080100, "SH", "deep");
    MDicomDS target(nullptr);
    ASSERT_EQ(target.CopyDS(nullptr, &source, nullptr), 0);
    EXPECT_EQ(CountElements(target), 200001u);
    EXPECT_EQ(StoredText(target, 0x00080100), "deep");
}

TEST(Copy, KeepsVrsThatTheDictionaryWouldChange) {
    MDicomDS source(nullptr);
    source.m_nFlags = DS_BIG_ENDIAN | DS_EXPLICIT_VR;
    // Both are not UN in the dictionary, and the second is a sequence there.
    _DICOMELEMENT *rows = InsertText(source, nullptr, 0x00280010, "US", "ab");
    _DICOMELEMENT *codes = InsertText(source, nullptr, 0x00400260, "LO", "cd");
    rows->nVR = codes->nVR = Code("UN");
    MDicomDS target(nullptr);
    ASSERT_EQ(target.CopyDS(nullptr, &source, nullptr), 0);
    EXPECT_EQ(Difference(source, target), "");
    EXPECT_EQ(Find(target, 0x00280010)->nVR, Code("UN"));
}

TEST(Copy, OfAValueThatIsNotThereFails) {
    MDicomDS source(nullptr);
    InsertText(source, nullptr, 0x00080008, "CS", "ORIGINAL");
    _DICOMELEMENT *missing = InsertText(source, nullptr, 0x00080060, "CS", "CT");
    missing->nLength = missing->pBlockLengths[0] = 0xFFFFFF00; // as a header may say
    MDicomDS target(nullptr);
    EXPECT_EQ(target.CopyDS(nullptr, &source, nullptr), 4);
    EXPECT_EQ(StoredText(target, 0x00080008), "ORIGINAL");
    EXPECT_EQ(Find(target, 0x00080060), nullptr);
    EXPECT_LT(target.m_TempFile.nLength, 100u);
}
