// MDicomFile: the one stream type of the library, over a file or a block of memory.

#ifndef MDICOM_FILE_H
#define MDICOM_FILE_H

#include <span>

#include "MDicomApi.h"
#include "MDicomTypes.h"

namespace mdicom {
struct StreamBuffer;
struct StreamShare;
} // namespace mdicom

/**
 * A stream with a 64-bit position. All results are 1 for success and 0 for failure.
 *
 * File back ends read ahead and write behind by up to 64 KiB. A temporary stream that is deleted
 * on close has no file until its content outgrows that buffer. Bytes written are in the file
 * after Flush or Close.
 *
 * A stream is for one thread at a time.
 */
class MDICOM_API MDicomFile {
  public:
    wchar_t szName[260];      ///< path given to Open; empty when null or too long to fit
    void *hFile;              ///< open file of the kernel, or none
    uint16_t nFlags = 0;      ///< FILE_MODE_ bits
    uint64_t nLength = 0;     ///< bytes in the stream
    uint64_t nPosition = 0;   ///< bytes from the start
    uint8_t *pData = nullptr; ///< block of the memory back end, null while empty

    MDicomFile();
    /** Close(0). */
    ~MDicomFile();
    /** The copy and its source share file and block; the last of them to close gives them back. */
    MDicomFile(const MDicomFile &Source);
    /** Close(0), then as the copy. */
    MDicomFile &operator=(const MDicomFile &Source);

    /**
     * Opens a file, or makes ready for a block of memory.
     * @param pszName path; with FILE_MODE_TEMPORARY a folder, null or empty for the system's
     * @param nFlags  FILE_MODE_ bits
     */
    int32_t Open(const wchar_t *pszName, uint16_t nFlags);
    /** Closes if FILE_MODE_AUTO_CLOSE is set or bForce is nonzero; else does nothing. */
    void Close(int32_t bForce);
    /** Reads nBytes at the position. A read that crosses the end delivers what is there, moves
     *  the position by that and fails. */
    int32_t Read(void *pBuffer, uint32_t nBytes);
    /** Writes nBytes at the position. nBytes 0 cuts the stream at the position. */
    int32_t Write(const void *pBuffer, uint32_t nBytes);
    /** Moves the position. nOrigin 0: from the start, 1: from the position, 2: from the end. A
     *  position past the end is accepted; a read there fails. */
    int32_t Seek(int64_t nOffset, int32_t nOrigin);
    /** The position, in bytes from the start. */
    uint64_t Tell();
    /** Closes, and puts the stream on a block of the caller's, which has to outlive it.
     *  bReadOnly nonzero: cutting the stream fails. Null or empty blocks are refused. */
    int32_t SetMemoryBuffer(void *pBlock, uint64_t nBytes, int32_t bReadOnly);
    /** Closes, and adopts an open file of the kernel or, with FILE_MODE_MEMORY, a block from
     *  KernelAlloc. */
    void SetHandle(void *hNewFile, uint16_t nNewFlags);
    /** Brings everything written into the file. */
    int32_t Flush();

    /**
     * The bytes that can be had at nOffset without a copy: the rest of a block of memory, or the
     * read-ahead window, filled anew when fewer than nWanted bytes of it lie there. Empty at and
     * past the end and when reading fails; shorter than nWanted only at the end. Valid until the
     * next operation on the stream. The position does not change.
     */
    std::span<const uint8_t> Peek(uint64_t nOffset, uint32_t nWanted);
    /** Nonzero if, since the last call, bytes that the stream has could not be read. */
    int32_t TakeReadFailure();

    /** Copies nBytes at nOffset of Source to the position of this stream, inside the operating
     *  system where it can. The position of Source is unspecified afterwards. */
    int32_t CopyFrom(MDicomFile &Source, uint64_t nOffset, uint64_t nBytes);

  private:
    int32_t OpenFile(const char *pszPath);
    int32_t OpenTemporary(const char *pszFolder);
    int32_t MaterializeTemporary();
    int32_t EnsureBuffer(uint32_t nBytes);
    std::span<const uint8_t> PeekFile(uint64_t nOffset, uint32_t nWanted);
    int32_t ReadFile(uint8_t *pTarget, uint32_t nBytes, uint32_t *pRead);
    int32_t WriteFile(const uint8_t *pSource, uint32_t nBytes);
    int32_t WriteMemory(const void *pBuffer, uint32_t nBytes);
    int32_t TruncateFile();
    int32_t TruncateMemory();
    void DropBuffer();
    void Forget();
    void ShareFrom(const MDicomFile &Source);
    bool LastOwner();

    mdicom::StreamBuffer *m_pBuffer = nullptr;
    mdicom::StreamShare *m_pShare = nullptr;
    int32_t m_bReadFailed = 0;
};

#endif
