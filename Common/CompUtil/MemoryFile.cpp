// The file functions of a stream in memory.

#include "Common/CompUtil/MemoryFile.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "Common/Utils/CheckedMath.h"

using namespace mdicom;

namespace {

constexpr intptr_t kHandle = 5;
constexpr uint64_t kGrowStep = 32768;
constexpr uint64_t kMost = std::numeric_limits<int64_t>::max();

enum SeekOrigin { kStart = 0, kPosition = 1, kEnd = 2 };

MEMORYFILE &FileOf(void *userData) {
    return *static_cast<MEMORYFILE *>(userData);
}

bool Resize(MEMORYFILE &file, uint64_t capacity) {
    auto *block = static_cast<uint8_t *>(KernelRealloc(file.pData, capacity, 0, nullptr));
    if (block == nullptr) return false;
    file.pData = block;
    file.nCapacity = capacity;
    return true;
}

/** Makes room for bytes up to needed; 1 or the code of the failure. */
int64_t Reserve(MEMORYFILE &file, uint64_t needed) {
    if (needed <= file.nCapacity) return 1;
    if (file.pfnGrow != nullptr) {
        return file.pfnGrow(&file, needed, file.pGrowUserData) == 1 ? 1 : KERNEL_ERROR_MEMORY;
    }
    if ((file.nFileFlags & MEMORYFILE_MAY_GROW) == 0) return MEMORYFILE_ERROR_FULL;
    if (needed > kMost - kGrowStep) return KERNEL_ERROR_MEMORY;
    const uint64_t capacity = (needed + kGrowStep - 1) / kGrowStep * kGrowStep;
    return Resize(file, capacity) ? 1 : KERNEL_ERROR_MEMORY;
}

intptr_t Open(const char *, int flags, int, void *userData) {
    MEMORYFILE &file = FileOf(userData);
    file.nPosition = 0;
    if ((flags & KERNEL_IO_TRUNCATE) != 0) file.nEnd = 0;
    return kHandle;
}

int64_t Read(intptr_t handle, void *buffer, size_t bytes, void *userData) {
    MEMORYFILE &file = FileOf(userData);
    if (handle != kHandle) return -1;
    const bool beyond = file.nPosition > file.nEnd;
    const auto count =
        static_cast<size_t>(beyond ? 0 : std::min<uint64_t>(bytes, file.nEnd - file.nPosition));
    if (count > 0) std::memcpy(buffer, file.pData + file.nPosition, count);
    // What the stream does not have reads as zeroes.
    if (bytes > count) std::memset(static_cast<uint8_t *>(buffer) + count, 0, bytes - count);
    if (beyond) return -1;
    file.nPosition += count;
    return static_cast<int64_t>(count);
}

int64_t Write(intptr_t handle, const void *buffer, size_t bytes, void *userData) {
    MEMORYFILE &file = FileOf(userData);
    if (handle != kHandle) return -1;
    const auto needed = CheckedAdd<uint64_t>(file.nPosition, bytes);
    if (!needed) return -1;
    const int64_t reserved = Reserve(file, *needed);
    if (reserved != 1) return reserved;
    if (file.nPosition > file.nEnd) {
        // A gap behind the old end reads as zeroes, as in a file.
        const uint64_t gapEnd = std::min(file.nPosition, file.nCapacity);
        if (gapEnd > file.nEnd) std::memset(file.pData + file.nEnd, 0, gapEnd - file.nEnd);
    }
    const uint64_t room = file.nCapacity - std::min(file.nPosition, file.nCapacity);
    const auto count = static_cast<size_t>(std::min<uint64_t>(bytes, room));
    if (count > 0) std::memcpy(file.pData + file.nPosition, buffer, count);
    file.nPosition += count;
    file.nEnd = std::max(file.nEnd, std::min(file.nPosition, file.nCapacity));
    return static_cast<int64_t>(count);
}

int64_t Seek(intptr_t, int64_t offset, int origin, void *userData) {
    MEMORYFILE &file = FileOf(userData);
    if (origin < kStart || origin > kEnd) return -1;
    const uint64_t base = origin == kStart ? 0 : origin == kPosition ? file.nPosition : file.nEnd;
    int64_t place = 0;
    if (__builtin_add_overflow(static_cast<int64_t>(base), offset, &place) || place < 0) return -1;
    file.nPosition = static_cast<uint64_t>(place);
    return place;
}

int Close(intptr_t handle, void *userData) {
    MEMORYFILE &file = FileOf(userData);
    if (handle != kHandle) return -1;
    constexpr uint32_t kBoth = MEMORYFILE_OWNED | MEMORYFILE_MAY_GROW;
    const bool shrinks = (file.nFileFlags & kBoth) == kBoth && file.nEnd > 0;
    // A block that cannot shrink stays as large as it is.
    if (shrinks && file.nEnd < file.nCapacity) Resize(file, file.nEnd);
    return 0;
}

MEMORYFILE MakeFile(uint8_t *data, uint64_t capacity) {
    MEMORYFILE file{};
    file.pData = data;
    file.nCapacity = capacity;
    return file;
}

} // namespace

MEMORYFILE mdicom::MemoryFileOver(std::span<const uint8_t> bytes) {
    // Nothing writes to a stream that is read.
    MEMORYFILE file = MakeFile(const_cast<uint8_t *>(bytes.data()), bytes.size());
    file.nEnd = bytes.size();
    return file;
}

MEMORYFILE mdicom::MemoryFileInto(uint8_t *block, uint64_t capacity) {
    MEMORYFILE file = MakeFile(block, block != nullptr ? capacity : 0);
    if (block == nullptr) file.nFileFlags = MEMORYFILE_OWNED | MEMORYFILE_MAY_GROW;
    return file;
}

RedirectedFiles::RedirectedFiles(MEMORYFILE &file) : m_File(file) {
    file.Io = {Open, Read, Write, Seek, Close, &file, &file, &file, &file, &file};
    KernelRedirectIO(&file.Io);
}

RedirectedFiles::~RedirectedFiles() {
    KernelRedirectIO(&m_File.Io);
}
