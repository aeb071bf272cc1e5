// The file back end of MDicomFile: reading ahead, writing behind, and temporary streams that
// have no file until they need one.

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "Common/System/StreamBuffer.h"
#include "MDicomFile.h"
#include "Mvkrnx.h"

using mdicom::StreamBuffer;

namespace {

constexpr uint32_t kWindow = 64 * 1024;
constexpr uint32_t kFirstAhead = 16 * 1024;
constexpr uint32_t kRandomAhead = 4 * 1024;
constexpr uint32_t kCopyPiece = 256 * 1024;
constexpr uint32_t kPage = 4096;

M_HFILE__ *KernelHandle(void *file) {
    return static_cast<M_HFILE__ *>(file);
}

/** Where in a block pieces go. Copies are slow between addresses that lie almost alike in their
 *  pages, as the processor takes what it reads next for what it has just written: the place is far
 *  from that of the target, which is the beginning of a page, and from that of the source. */
uint32_t PlaceOfPiece(const uint8_t *block, uint64_t sourceAhead) {
    const uint64_t source = sourceAhead % kPage;
    const uint64_t wanted = source / 2 + (source < kPage / 2 ? kPage / 2 : 0);
    return static_cast<uint32_t>((wanted - reinterpret_cast<uintptr_t>(block)) % kPage);
}

/** Copies by pieces that end with pages of the target. */
int32_t CopyPieces(MDicomFile &source, uint64_t offset, MDicomFile &target, uint64_t bytes) {
    const auto size = static_cast<uint32_t>(std::min<uint64_t>(bytes, kCopyPiece));
    auto *block = static_cast<uint8_t *>(KernelHeapAlloc(1, size + kPage, __LINE__, nullptr));
    if (block == nullptr) return 0;
    uint8_t *piece = block + PlaceOfPiece(block, offset - target.nPosition);
    auto untilPage = static_cast<uint32_t>(target.nPosition % kPage); // of the first piece
    int32_t result = source.Seek(static_cast<int64_t>(offset), 0);
    while (result && bytes > 0) {
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(bytes, kCopyPiece - untilPage));
        result = source.Read(piece, count) && target.Write(piece, count);
        bytes -= count;
        untilPage = 0;
    }
    KernelHeapFree(block, __LINE__, nullptr);
    return result;
}

} // namespace

int32_t MDicomFile::EnsureBuffer(uint32_t nBytes) {
    if (m_pBuffer == nullptr) m_pBuffer = new (std::nothrow) StreamBuffer;
    if (m_pBuffer == nullptr) return 0;
    if (nBytes <= m_pBuffer->capacity) return 1;
    const uint32_t capacity = std::max(kRandomAhead, std::bit_ceil(nBytes));
    void *bytes = KernelHeapRealloc(m_pBuffer->bytes, capacity, __LINE__, nullptr);
    if (bytes == nullptr) return 0;
    m_pBuffer->bytes = static_cast<uint8_t *>(bytes);
    m_pBuffer->capacity = capacity;
    return 1;
}

void MDicomFile::DropBuffer() {
    if (m_pBuffer == nullptr) return;
    KernelHeapFree(m_pBuffer->bytes, __LINE__, nullptr);
    delete m_pBuffer;
    m_pBuffer = nullptr;
}

int32_t MDicomFile::Flush() {
    if (m_pBuffer == nullptr || !m_pBuffer->dirty || m_pBuffer->pending) return 1;
    const int64_t written =
        KernelFileWrite(KernelHandle(hFile), m_pBuffer->bytes, m_pBuffer->size, m_pBuffer->start);
    if (written != static_cast<int64_t>(m_pBuffer->size)) return 0;
    m_pBuffer->dirty = false;
    return 1;
}

/** Gives a pending temporary stream its file. */
int32_t MDicomFile::MaterializeTemporary() {
    if (m_pBuffer == nullptr || !m_pBuffer->pending) return 1;
    M_HFILE__ *file = KernelFileOpenUnnamed(m_pBuffer->folder.c_str());
    if (file == KERNEL_NO_FILE) return 0;
    hFile = file;
    m_pBuffer->pending = false;
    m_pBuffer->dirty = m_pBuffer->size > 0;
    return Flush();
}

int32_t MDicomFile::Read(void *pBuffer, uint32_t nBytes) {
    auto *target = static_cast<uint8_t *>(pBuffer);
    if (nFlags & FILE_MODE_MEMORY) {
        if (pData == nullptr || nPosition > nLength) return 0;
        const uint64_t count = std::min<uint64_t>(nBytes, nLength - nPosition);
        if (count > 0) std::memcpy(target, pData + nPosition, count);
        nPosition += count;
        return count == nBytes ? 1 : 0;
    }
    if (nBytes == 0) return 1;
    const uint64_t left = nPosition < nLength ? nLength - nPosition : 0;
    const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(nBytes, left));
    uint32_t done = 0;
    const int32_t complete = ReadFile(target, wanted, &done);
    nPosition += done;
    return complete && done == nBytes ? 1 : 0;
}

int32_t MDicomFile::ReadFile(uint8_t *pTarget, uint32_t nBytes, uint32_t *pRead) {
    while (*pRead < nBytes) {
        const uint64_t place = nPosition + *pRead;
        const uint32_t rest = nBytes - *pRead;
        const StreamBuffer *buffer = m_pBuffer;
        const bool inside =
            buffer != nullptr && place >= buffer->start && place - buffer->start < buffer->size;
        if (!inside && rest >= kWindow) {
            if (!Flush() || hFile == KERNEL_NO_FILE) return 0;
            const int64_t count =
                KernelFileRead(KernelHandle(hFile), pTarget + *pRead, rest, place);
            if (count > 0) *pRead += static_cast<uint32_t>(count);
            return count == static_cast<int64_t>(rest) ? 1 : 0;
        }
        const std::span<const uint8_t> window = Peek(place, 1);
        if (window.empty()) return 0;
        const size_t count = std::min<size_t>(window.size(), rest);
        std::memcpy(pTarget + *pRead, window.data(), count);
        *pRead += static_cast<uint32_t>(count);
    }
    return 1;
}

std::span<const uint8_t> MDicomFile::Peek(uint64_t nOffset, uint32_t nWanted) {
    if (nOffset >= nLength) return {};
    if (nFlags & FILE_MODE_MEMORY) return {pData + nOffset, nLength - nOffset};
    const std::span<const uint8_t> window = PeekFile(nOffset, nWanted);
    if (window.empty()) m_bReadFailed = 1;
    return window;
}

int32_t MDicomFile::TakeReadFailure() {
    return std::exchange(m_bReadFailed, 0);
}

std::span<const uint8_t> MDicomFile::PeekFile(uint64_t nOffset, uint32_t nWanted) {
    const uint64_t wanted = std::min<uint64_t>({nWanted, nLength - nOffset, kWindow});
    if (m_pBuffer != nullptr && nOffset >= m_pBuffer->start) {
        const uint64_t skip = nOffset - m_pBuffer->start;
        const uint64_t rest = skip < m_pBuffer->size ? m_pBuffer->size - skip : 0;
        if (rest > 0 && rest >= wanted) return {m_pBuffer->bytes + skip, rest};
    }
    if (hFile == KERNEL_NO_FILE || !Flush()) return {};
    const bool first = m_pBuffer == nullptr || m_pBuffer->ahead == 0;
    const uint64_t end = first ? 0 : m_pBuffer->start + m_pBuffer->size;
    const bool sequential = !first && nOffset <= end && nOffset + kRandomAhead >= end;
    const uint32_t ahead = first        ? kFirstAhead
                           : sequential ? std::min(m_pBuffer->ahead * 2, kWindow)
                                        : kRandomAhead;
    const auto size = static_cast<uint32_t>(
        std::min<uint64_t>(std::max<uint64_t>(ahead, wanted), nLength - nOffset));
    if (!EnsureBuffer(size)) return {};
    m_pBuffer->ahead = ahead;
    m_pBuffer->start = nOffset;
    m_pBuffer->size = 0;
    const int64_t count = KernelFileRead(KernelHandle(hFile), m_pBuffer->bytes, size, nOffset);
    if (count <= 0) return {};
    m_pBuffer->size = static_cast<uint32_t>(count);
    return {m_pBuffer->bytes, m_pBuffer->size};
}

int32_t MDicomFile::Write(const void *pBuffer, uint32_t nBytes) {
    const bool memory = (nFlags & FILE_MODE_MEMORY) != 0;
    if (nBytes == 0) return memory ? TruncateMemory() : TruncateFile();
    if (memory) return WriteMemory(pBuffer, nBytes);
    return WriteFile(static_cast<const uint8_t *>(pBuffer), nBytes);
}

int32_t MDicomFile::WriteFile(const uint8_t *pSource, uint32_t nBytes) {
    if (!(nFlags & (FILE_MODE_WRITE | FILE_MODE_CREATE)) || !EnsureBuffer(0)) return 0;
    StreamBuffer &buffer = *m_pBuffer;
    if (buffer.pending && nPosition + nBytes > kWindow && !MaterializeTemporary()) return 0;
    if (!buffer.pending && hFile == KERNEL_NO_FILE) return 0;
    if (!buffer.pending && nBytes >= kWindow) {
        if (!Flush()) return 0;
        buffer.size = 0;
        const int64_t count = KernelFileWrite(KernelHandle(hFile), pSource, nBytes, nPosition);
        if (count > 0) nPosition += static_cast<uint64_t>(count);
        nLength = std::max(nLength, nPosition);
        return count == static_cast<int64_t>(nBytes) ? 1 : 0;
    }
    const bool adjoins = nPosition >= buffer.start && nPosition - buffer.start <= buffer.size &&
                         nPosition - buffer.start + nBytes <= kWindow &&
                         (buffer.dirty || buffer.size == 0);
    if (!buffer.pending && !adjoins) {
        if (!Flush()) return 0;
        buffer.start = nPosition;
        buffer.size = 0;
    }
    if (!buffer.pending && buffer.size == 0) buffer.start = nPosition;
    const auto skip = static_cast<uint32_t>(nPosition - buffer.start);
    if (!EnsureBuffer(skip + nBytes)) return 0;
    if (skip > buffer.size) std::memset(buffer.bytes + buffer.size, 0, skip - buffer.size);
    std::memcpy(buffer.bytes + skip, pSource, nBytes);
    buffer.size = std::max(buffer.size, skip + nBytes);
    buffer.dirty = true;
    nPosition += nBytes;
    nLength = std::max(nLength, nPosition);
    return 1;
}

int32_t MDicomFile::TruncateFile() {
    if (m_pBuffer != nullptr && m_pBuffer->pending) {
        if (nPosition > kWindow && !MaterializeTemporary()) return 0;
        if (m_pBuffer->pending) {
            const auto size = static_cast<uint32_t>(nPosition);
            if (!EnsureBuffer(size)) return 0;
            if (size > m_pBuffer->size) {
                std::memset(m_pBuffer->bytes + m_pBuffer->size, 0, size - m_pBuffer->size);
            }
            m_pBuffer->size = size;
            nLength = nPosition;
            return 1;
        }
    }
    if (hFile == KERNEL_NO_FILE || !Flush()) return 0;
    if (!KernelFileTruncate(KernelHandle(hFile), nPosition)) return 0;
    if (m_pBuffer != nullptr) m_pBuffer->size = 0;
    nLength = nPosition;
    return 1;
}

int32_t MDicomFile::CopyFrom(MDicomFile &Source, uint64_t nOffset, uint64_t nBytes) {
    if (nOffset > Source.nLength || nBytes > Source.nLength - nOffset) return 0;
    const bool files = hFile != KERNEL_NO_FILE && Source.hFile != KERNEL_NO_FILE &&
                       !((nFlags | Source.nFlags) & FILE_MODE_MEMORY);
    // Pages that do not lie upon each other the system copies in two parts each, which takes half
    // as long again as whole pages out of a block of memory.
    const bool isAligned = nOffset % kPage == nPosition % kPage;
    if (files && isAligned && nBytes >= kWindow) {
        if (!Flush() || !Source.Flush()) return 0;
        if (m_pBuffer != nullptr) m_pBuffer->size = 0;
        const int64_t copied = KernelFileCopy(KernelHandle(Source.hFile), nOffset,
                                              KernelHandle(hFile), nPosition, nBytes);
        if (copied > 0) {
            nPosition += static_cast<uint64_t>(copied);
            nLength = std::max(nLength, nPosition);
            nOffset += static_cast<uint64_t>(copied);
            nBytes -= static_cast<uint64_t>(copied);
        }
    }
    // What the system could not copy goes through a block of memory.
    return nBytes == 0 ? 1 : CopyPieces(Source, nOffset, *this, nBytes);
}
