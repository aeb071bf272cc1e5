// A stream in memory that the kernel's file operations of a thread can be pointed at.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Mvkrnx.h"

/** nFileFlags of a MEMORYFILE. */
enum : uint32_t {
    MEMORYFILE_OWNED = 1,    ///< the block belongs to the stream
    MEMORYFILE_MAY_GROW = 2, ///< writing may enlarge it
};

/** Result of writing beyond a block that may not grow. */
constexpr int64_t MEMORYFILE_ERROR_FULL = -290;

struct MEMORYFILE;

/** Enlarges pData and nCapacity to nNeeded bytes at least; 1, or 0 on failure. */
using MEMORYFILE_GROW = int32_t (*)(MEMORYFILE *pFile, uint64_t nNeeded, void *pUserData);

/** The stream. Its file functions take one handle only, that of the one file there is. */
struct MEMORYFILE {
    uint8_t *pData;          ///< the bytes
    uint64_t nCapacity;      ///< bytes allocated
    uint64_t nEnd;           ///< bytes valid
    uint64_t nPosition;      ///< where the next byte is read or written
    KERNEL_IO Io;            ///< for KernelRedirectIO; holds the old functions while redirected
    uint32_t nFileFlags;     ///< MEMORYFILE_ flags
    MEMORYFILE_GROW pfnGrow; ///< null for the kernel's allocator
    void *pGrowUserData;     ///< passed to pfnGrow
};
static_assert(sizeof(MEMORYFILE) == 136 && offsetof(MEMORYFILE, Io) == 32 &&
              offsetof(MEMORYFILE, nFileFlags) == 112);

namespace mdicom {

/** A stream for reading. */
MEMORYFILE MemoryFileOver(std::span<const uint8_t> bytes);
/** A stream over a block for writing; an empty one is owned and grows. */
MEMORYFILE MemoryFileInto(uint8_t *block, uint64_t capacity);

/** Points the kernel's file operations of this thread at a stream, for its own life. The stream
 *  must not move meanwhile. */
class RedirectedFiles {
  public:
    explicit RedirectedFiles(MEMORYFILE &file);
    ~RedirectedFiles();
    RedirectedFiles(const RedirectedFiles &) = delete;
    RedirectedFiles &operator=(const RedirectedFiles &) = delete;

  private:
    MEMORYFILE &m_File;
};

} // namespace mdicom
