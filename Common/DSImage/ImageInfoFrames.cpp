// Frames of encapsulated Pixel Data: by the Basic Offset Table, else by what fragments begin with.

#include "Common/DSImage/ImageInfoFrames.h"

#include <algorithm>
#include <array>
#include <span>

#include "Common/DS/ElementNode.h"
#include "Common/DSImage/Compression.h"
#include "Common/Utils/ByteOrder.h"
#include "MDicomDS.h"

namespace mdicom {

namespace {

constexpr uint32_t kItemHeader = 8;
constexpr uint32_t kHeadOfJ2k = 512;
constexpr uint32_t kShortestFragment = 4;
constexpr uint8_t kJpegStart[] = {0xFF, 0xD8, 0xFF};
constexpr uint8_t kJ2kStart[] = {0xFF, 0x4F, 0xFF, 0x51};

/** Number of fragments behind the offset table; false if something else is among them. */
bool CountFragments(const _DICOMELEMENT *pixelData, uint32_t *count) {
    *count = 0;
    for (const _DICOMELEMENT *item = FirstChildOf(pixelData); item != nullptr;
         item = NextOf(item)) {
        if (item->nTag != TAG_ITEM || item->nLength >= 0xFFFFFFFE) return false;
        if (item->Link.pPrev != nullptr) ++*count;
    }
    return true;
}

/** The offsets of the table; none if it is empty or cannot be a table of these fragments. */
std::vector<uint32_t> ReadOffsets(MDicomDS &dataSet, _DICOMELEMENT *table, uint32_t fragments) {
    const uint32_t count = table->nLength / 4;
    if (count == 0 || count > fragments || table->nLength % 4 != 0) return {};
    std::vector<uint32_t> offsets(count);
    if (!dataSet.GetBinaryValue(table, offsets.data(), 0, table->nLength)) return {};
    for (uint32_t &offset : offsets) {
        offset = Load32(reinterpret_cast<const uint8_t *>(&offset), true);
    }
    return offsets;
}

/** Frames by the offset table. False, and no frames, unless every offset is the place of a
 *  fragment, in ascending order from the first on. */
bool FollowOffsets(MDicomDS &dataSet, _DICOMELEMENT *table, uint32_t fragments, FrameList &list) {
    const std::vector<uint32_t> offsets = ReadOffsets(dataSet, table, fragments);
    const uint32_t expected = list.rules.numberOfFrames;
    if (offsets.empty() || (expected != 0 && expected != offsets.size())) return false;
    if (offsets.front() != 0) return false;
    uint64_t place = 0;
    for (_DICOMELEMENT *item = NextOf(table); item != nullptr; item = NextOf(item)) {
        if (list.starts.size() < offsets.size() && offsets[list.starts.size()] == place) {
            list.starts.push_back(item);
        }
        place += kItemHeader + uint64_t{item->nLength};
    }
    if (list.starts.size() == offsets.size()) return true;
    list.starts.clear();
    return false;
}

bool BeginsWithJpeg(MDicomDS &dataSet, _DICOMELEMENT *item) {
    std::array<uint8_t, sizeof kJpegStart> head{};
    if (item->nLength < head.size()) return false;
    if (!dataSet.GetBinaryValue(item, head.data(), 0, sizeof head)) return false;
    return std::equal(head.begin(), head.end(), std::begin(kJpegStart));
}

bool BeginsWithJ2k(MDicomDS &dataSet, _DICOMELEMENT *item) {
    std::array<uint8_t, kHeadOfJ2k> head{};
    if (item->nLength < head.size()) return false;
    if (!dataSet.GetBinaryValue(item, head.data(), 0, sizeof head)) return false;
    return std::search(head.begin(), head.end(), std::begin(kJ2kStart), std::end(kJ2kStart)) !=
           head.end();
}

/** True for an item that begins as an offset table does and no code stream: with an offset of 0. */
bool BeginsAsTable(MDicomDS &dataSet, _DICOMELEMENT *item) {
    uint32_t offset = 1;
    if (item->nLength < sizeof offset) return false;
    return dataSet.GetBinaryValue(item, &offset, 0, sizeof offset) && offset == 0;
}

using StartTest = bool (*)(MDicomDS &, _DICOMELEMENT *);

bool AlwaysBegins(MDicomDS &, _DICOMELEMENT *) {
    return true;
}

StartTest StartTestOf(uint32_t compression) {
    if (IsJpeg(compression) || IsJpegLs(compression)) return BeginsWithJpeg;
    return IsJ2k(compression) ? BeginsWithJ2k : AlwaysBegins;
}

void ScanFragments(MDicomDS &dataSet, _DICOMELEMENT *table, uint32_t fragments, FrameList &list) {
    // As many fragments as frames are one for each (PS 3.5, A.4), also where a code stream is
    // too short to show how it begins; none has to be read then.
    const bool isOneEach = fragments == list.rules.numberOfFrames;
    const StartTest begins = isOneEach ? AlwaysBegins : StartTestOf(list.rules.compression);
    list.starts.reserve(isOneEach ? fragments : 0);
    for (_DICOMELEMENT *item = NextOf(table); item != nullptr; item = NextOf(item)) {
        if (begins(dataSet, item)) list.starts.push_back(item);
    }
    // A single frame needs no sign of its start: JPEG 2000 may stand in a file format of its own.
    const bool single = list.rules.numberOfFrames <= 1;
    if (!list.starts.empty()) return;
    if (fragments > 0 && (single || BeginsAsTable(dataSet, table))) {
        list.starts.push_back(NextOf(table));
    } else if (table->nLength >= kShortestFragment) { // some writers leave the table out
        list.starts.push_back(table);
    }
}

} // namespace

FrameList ListFrames(MDicomDS &dataSet, _DICOMELEMENT *pixelData, const FrameRules &rules) {
    FrameList list;
    list.rules = rules;
    uint32_t fragments = 0;
    if (!CountFragments(pixelData, &fragments)) {
        list.status = DICOM_ERROR_IMAGE;
        return list;
    }
    _DICOMELEMENT *table = FirstChildOf(pixelData);
    if (table == nullptr) return list;
    if (!FollowOffsets(dataSet, table, fragments, list)) {
        ScanFragments(dataSet, table, fragments, list);
    }
    return list;
}

const FrameList &FrameIndex::Get(MDicomDS &dataSet, _DICOMELEMENT *pixelData,
                                 const FrameRules &rules) {
    const auto found = m_Lists.find(pixelData);
    if (found != m_Lists.end() && found->second.rules == rules) return found->second;
    FrameList list = ListFrames(dataSet, pixelData, rules);
    return m_Lists.insert_or_assign(pixelData, std::move(list)).first->second;
}

} // namespace mdicom
