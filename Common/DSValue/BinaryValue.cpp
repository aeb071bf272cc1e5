// Binary values: reading and editing the bytes of a value, wherever its blocks lie.
//
// Only the value store grows: an edit appends new bytes to it and rearranges the block list, and
// bytes of a loaded file are never written. New bytes are in the store before the list changes,
// so a failed edit leaves the value as it was.

#include <algorithm>
#include <mutex>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

/** The lock of a data set's value store; a data set without a side record has none. */
class StoreGuard {
  public:
    explicit StoreGuard(DICOMDSEXTRA *extra) : m_Lock(extra != nullptr ? &extra->Lock : nullptr) {
        if (m_Lock != nullptr) m_Lock->lock();
    }
    ~StoreGuard() {
        if (m_Lock != nullptr) m_Lock->unlock();
    }
    StoreGuard(const StoreGuard &) = delete;
    StoreGuard &operator=(const StoreGuard &) = delete;

  private:
    std::recursive_mutex *m_Lock;
};

/** Turns the units of a caller's buffer into stored order for as long as it lives. */
class StoredOrder {
  public:
    StoredOrder(void *data, uint32_t length, uint16_t vr, bool storedLittleEndian)
        : m_Bytes(static_cast<uint8_t *>(data), data != nullptr ? length : 0),
          m_Unit(storedLittleEndian ? 1 : SwapUnitOf(vr)) {
        ReverseUnits(m_Bytes, m_Unit);
    }
    ~StoredOrder() { ReverseUnits(m_Bytes, m_Unit); }
    StoredOrder(const StoredOrder &) = delete;
    StoredOrder &operator=(const StoredOrder &) = delete;

  private:
    std::span<uint8_t> m_Bytes;
    unsigned m_Unit;
};

bool ReadBlocks(const _DICOMELEMENT *element, uint8_t *target, uint32_t offset, uint32_t length) {
    uint32_t skip = offset;
    for (uint32_t i = FindBlock(element, &skip); length > 0; ++i, skip = 0) {
        if (i >= element->nBlockCount) return false;
        const ValueBlock block = BlockAt(element, i);
        const uint32_t count = std::min(length, block.length - skip);
        const uint64_t place = uint64_t{block.offset} + skip;
        if (place + count > block.file->nLength) return false;
        if (!block.file->Seek(static_cast<int64_t>(place), 0)) return false;
        if (!block.file->Read(target, count)) return false;
        target += count;
        length -= count;
    }
    return true;
}

/** Appends bytes, or room without content, to the value store. */
bool AppendToStore(MDicomFile &store, const void *data, uint32_t length, uint32_t *offset) {
    if (!store.Seek(0, 2)) return false;
    const uint64_t end = store.Tell();
    if (end + length > 0xFFFFFFFE) return false; // block offsets have 32 bits
    *offset = static_cast<uint32_t>(end);
    if (data != nullptr) return store.Write(data, length) != 0;
    const uint8_t zero = 0;
    return store.Seek(int64_t{length} - 1, 1) && store.Write(&zero, 1);
}

/** Splits the block at offset, so that a block begins there; its place. Two entries of room have
 *  to be reserved. */
uint32_t SplitAt(_DICOMELEMENT *element, uint32_t offset) {
    if (offset >= element->nLength) return element->nBlockCount;
    const uint32_t index = FindBlock(element, &offset);
    if (offset == 0) return index;
    ValueBlock rest = BlockAt(element, index);
    rest.offset += offset;
    rest.length -= offset;
    element->pBlockLengths[index] = offset;
    InsertBlock(element, index + 1, rest);
    return index + 1;
}

/** True if the bytes of a range, which has to lie within the value, all lie in the store. */
bool AllInStore(const _DICOMELEMENT *element, uint32_t offset, uint32_t length,
                const MDicomFile *store) {
    uint32_t first = offset;
    uint32_t last = offset + length - 1;
    const uint32_t lastIndex = FindBlock(element, &last);
    for (uint32_t i = FindBlock(element, &first); i <= lastIndex; ++i) {
        if (element->pBlockFiles[i] != store) return false;
    }
    return true;
}

/** Writes over bytes of blocks that lie in the store. */
bool OverwriteBlocks(const _DICOMELEMENT *element, const uint8_t *data, uint32_t offset,
                     uint32_t length) {
    uint32_t skip = offset;
    for (uint32_t i = FindBlock(element, &skip); length > 0; ++i, skip = 0) {
        const ValueBlock block = BlockAt(element, i);
        const uint32_t count = std::min(length, block.length - skip);
        if (!block.file->Seek(int64_t{block.offset} + skip, 0)) return false;
        if (!block.file->Write(data, count)) return false;
        data += count;
        length -= count;
    }
    return true;
}

/** Reads bytes of one unit, which lies turned in its stream. */
bool ReadPartOfUnit(const _DICOMELEMENT *element, uint8_t *data, uint32_t offset, uint32_t length,
                    unsigned unit) {
    uint8_t whole[8];
    const uint32_t skip = offset % unit;
    const uint32_t there = std::min(unit, element->nLength - (offset - skip));
    if (!ReadBlocks(element, whole, offset - skip, there)) return false;
    ReverseUnits({whole, there}, unit);
    std::copy_n(whole + skip, length, data);
    return true;
}

/** Reads bytes whose units lie turned in their streams; the first and the last may be cut. */
bool ReadTurned(const _DICOMELEMENT *element, uint8_t *data, uint32_t offset, uint32_t length,
                unsigned unit) {
    const uint32_t head = std::min(length, (unit - offset % unit) % unit);
    const uint32_t tail = (length - head) % unit;
    const uint32_t middle = length - head - tail;
    if (head > 0 && !ReadPartOfUnit(element, data, offset, head, unit)) return false;
    if (middle > 0 && !ReadBlocks(element, data + head, offset + head, middle)) return false;
    if (unit > 1) ReverseUnits({data + head, middle}, unit);
    return tail == 0 ||
           ReadPartOfUnit(element, data + head + middle, offset + head + middle, tail, unit);
}

bool IsUndefined(const _DICOMELEMENT *element) {
    return element->nLength == kUndefinedLength;
}

/** Before an edit: what is remembered of fragments may no longer hold. */
void NoteEdit(ElementIndex *index, const _DICOMELEMENT *element) {
    if (index != nullptr) index->ValueChanged(element);
}

} // namespace

bool MDicomDS::IsStoredLittleEndian(const _DICOMELEMENT *pElement) const {
    return (m_nFlags & DS_LITTLE_ENDIAN) != 0 || GroupOf(pElement->nTag) == 0x0002;
}

int32_t MDicomDS::GetBinaryValue(_DICOMELEMENT *pElement, void *pBuffer, uint32_t nLength) {
    return CheckElement(pElement) ? GetFileBinaryValue(pElement, pBuffer, 0, nLength) : 0;
}

int32_t MDicomDS::GetBinaryValue(_DICOMELEMENT *pElement, void *pBuffer, uint32_t nOffset,
                                 uint32_t nLength) {
    return GetFileBinaryValue(pElement, pBuffer, nOffset, nLength);
}

int32_t MDicomDS::GetFileBinaryValue(_DICOMELEMENT *pElement, void *pBuffer, uint32_t nOffset,
                                     uint32_t nLength) {
    if (pElement == nullptr || IsUndefined(pElement) || nLength == kUndefinedLength) return 0;
    if (nOffset >= pElement->nLength || pBuffer == nullptr) return 0;
    nLength = std::min(nLength, pElement->nLength - nOffset);
    const StoreGuard guard(m_pExtra);
    auto *bytes = static_cast<uint8_t *>(pBuffer);
    const unsigned unit = IsStoredLittleEndian(pElement) ? 1 : SwapUnitOf(pElement->nVR);
    return ReadTurned(pElement, bytes, nOffset, nLength, unit) ? 1 : 0;
}

int32_t MDicomDS::SetBinaryValue(_DICOMELEMENT *pElement, void *pData, uint32_t nLength) {
    if (pElement == nullptr || !CheckElement(pElement) || IsUndefined(pElement)) return 0;
    NoteEdit(m_pIndex, pElement);
    if (pData == nullptr || nLength == 0) {
        const int32_t emptied = DeleteFileBinaryValue(pElement, 0, kUndefinedLength);
        return pData != nullptr ? emptied : 0;
    }
    if (nLength >= 0xFFFFFFFE) return 0;
    const StoreGuard guard(m_pExtra);
    const bool pad = nLength % 2 != 0;
    const uint8_t padByte = PadByteOf(pElement->nVR);
    uint32_t place = 0;
    uint32_t padPlace = 0;
    if (!ReserveBlocks(pElement, pad ? 2 : 1)) return 0;
    {
        const bool littleEndian = IsStoredLittleEndian(pElement);
        const StoredOrder stored(pData, nLength, pElement->nVR, littleEndian);
        if (!AppendToStore(m_TempFile, pData, nLength, &place)) return 0;
    }
    if (pad && !AppendToStore(m_TempFile, &padByte, 1, &padPlace)) return 0;
    pElement->nBlockCount = 0;
    InsertBlock(pElement, 0, {&m_TempFile, place, nLength});
    if (pad) InsertBlock(pElement, 1, {&m_TempFile, padPlace, 1});
    pElement->nLength = nLength + (pad ? 1 : 0);
    return 1;
}

int32_t MDicomDS::InsertBinaryValue(_DICOMELEMENT *pElement, void *pData, uint32_t nOffset,
                                    uint32_t nLength) {
    if (pElement == nullptr || !CheckElement(pElement) || IsUndefined(pElement)) return 0;
    NoteEdit(m_pIndex, pElement);
    if (nLength == kUndefinedLength) return 0;
    if (nLength == 0) return 1;
    const StoreGuard guard(m_pExtra);
    const uint64_t total = uint64_t{pElement->nLength} + nLength;
    if (total >= 0xFFFFFFFE || !ReserveBlocks(pElement, pElement->nBlockCount + 2)) return 0;
    uint32_t place = 0;
    {
        const bool littleEndian = IsStoredLittleEndian(pElement);
        const StoredOrder stored(pData, nLength, pElement->nVR, littleEndian);
        if (!AppendToStore(m_TempFile, pData, nLength, &place)) return 0;
    }
    DropEmptyBlock(pElement);
    InsertBlock(pElement, SplitAt(pElement, nOffset), {&m_TempFile, place, nLength});
    pElement->nLength = static_cast<uint32_t>(total);
    return 1;
}

int32_t MDicomDS::InsertFileBinaryValue(_DICOMELEMENT *pElement, void *pData, uint32_t nOffset,
                                        uint32_t nLength) {
    if (pElement == nullptr || !CheckElement(pElement) || IsUndefined(pElement)) return 0;
    const StoreGuard guard(m_pExtra);
    const uint64_t total = uint64_t{pElement->nLength} + nLength;
    const bool pad = total % 2 != 0;
    if (total + pad >= 0xFFFFFFFE) return 0;
    // The pad byte is stored first, so that it cannot fail when the others are there.
    const uint8_t padByte = PadByteOf(pElement->nVR);
    uint32_t padPlace = 0;
    if (pad && !ReserveBlocks(pElement, pElement->nBlockCount + 3)) return 0;
    if (pad && !AppendToStore(m_TempFile, &padByte, 1, &padPlace)) return 0;
    if (!InsertBinaryValue(pElement, pData, nOffset, nLength)) return 0;
    if (!pad) return 1;
    InsertBlock(pElement, pElement->nBlockCount, {&m_TempFile, padPlace, 1});
    ++pElement->nLength;
    return 1;
}

int32_t MDicomDS::DeleteFileBinaryValue(_DICOMELEMENT *pElement, uint32_t nOffset,
                                        uint32_t nLength) {
    if (pElement == nullptr || IsUndefined(pElement)) return 0;
    NoteEdit(m_pIndex, pElement);
    if (nOffset >= pElement->nLength) return 1;
    nLength = std::min(nLength, pElement->nLength - nOffset);
    if (nLength == 0) return 1;
    const StoreGuard guard(m_pExtra);
    // Two splits at most, and a pad byte: reserved and stored first, so that the rest cannot fail.
    const bool pad = (pElement->nLength - nLength) % 2 != 0;
    const uint8_t padByte = PadByteOf(pElement->nVR);
    uint32_t padPlace = 0;
    if (!ReserveBlocks(pElement, pElement->nBlockCount + 3)) return 0;
    if (pad && !AppendToStore(m_TempFile, &padByte, 1, &padPlace)) return 0;
    const uint32_t first = SplitAt(pElement, nOffset);
    const uint32_t end = SplitAt(pElement, nOffset + nLength);
    RemoveBlocks(pElement, first, end);
    pElement->nLength -= nLength;
    if (!pad) return 1;
    InsertBlock(pElement, pElement->nBlockCount, {&m_TempFile, padPlace, 1});
    ++pElement->nLength;
    return 1;
}

int32_t MDicomDS::SetFileBinaryValue(_DICOMELEMENT *pElement, void *pData, uint32_t nOffset,
                                     uint32_t nLength) {
    if (pElement == nullptr || pData == nullptr) return 0;
    if (IsUndefined(pElement) || nLength == kUndefinedLength) return 0;
    NoteEdit(m_pIndex, pElement);
    if (nLength == 0) return DeleteFileBinaryValue(pElement, nOffset, kUndefinedLength);
    const StoreGuard guard(m_pExtra);
    DropEmptyBlock(pElement);
    if (pElement->nBlockCount == 0 || nOffset >= pElement->nLength) {
        return InsertFileBinaryValue(pElement, pData, kUndefinedLength, nLength);
    }
    const uint32_t inside = std::min(nLength, pElement->nLength - nOffset);
    auto *bytes = static_cast<uint8_t *>(pData);
    if (AllInStore(pElement, nOffset, inside, &m_TempFile)) {
        const bool littleEndian = IsStoredLittleEndian(pElement);
        {
            const StoredOrder stored(pData, inside, pElement->nVR, littleEndian);
            if (!OverwriteBlocks(pElement, bytes, nOffset, inside)) return 0;
        }
        if (inside == nLength) return 1;
        return InsertFileBinaryValue(pElement, bytes + inside, kUndefinedLength, nLength - inside);
    }
    // The new bytes go in front of the old ones, which then leave: a failure in between would
    // leave too much, never too little.
    if (!InsertBinaryValue(pElement, pData, nOffset, nLength)) return 0;
    return DeleteFileBinaryValue(pElement, nOffset + nLength, inside);
}
