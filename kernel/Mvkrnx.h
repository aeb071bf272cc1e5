// The kernel: memory, low-level files, bitmaps and dynamic loading. Compiles as C11 and as C++.

#ifndef MVKRNX_H
#define MVKRNX_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#define MVKRNX_API __attribute__((visibility("default")))

#include "MvkrnxBitmap.h"
#include "MvkrnxFilter.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Memory
/// Two families of allocation. A block goes back through the family that gave it. Allocators
/// multiply count and size with an overflow check; contents are undefined. nLine and pszFile name
/// the caller for debugging and may be 0 and null.
///@{
/** A block of nCount x nSize bytes; null on failure. */
MVKRNX_API void *KernelAlloc(size_t nCount, size_t nSize, int nLine, const char *pszFile);
/** Null on failure; the old block stays then. A null block is allocated. */
MVKRNX_API void *KernelRealloc(void *pBlock, size_t nSize, int nLine, const char *pszFile);
/** Gives a block back; null is allowed. */
MVKRNX_API void KernelFree(void *pBlock, int nLine, const char *pszFile);
/** Bytes that a block of the KernelAlloc family was asked for. */
MVKRNX_API size_t KernelMemSize(const void *pBlock);

/** As KernelAlloc, on the plain heap. */
MVKRNX_API void *KernelHeapAlloc(size_t nCount, size_t nSize, int nLine, const char *pszFile);
/** As KernelRealloc, on the plain heap. */
MVKRNX_API void *KernelHeapRealloc(void *pBlock, size_t nSize, int nLine, const char *pszFile);
/** As KernelFree, on the plain heap. */
MVKRNX_API void KernelHeapFree(void *pBlock, int nLine, const char *pszFile);

/** 0 when the bytes are equal. */
MVKRNX_API int KernelMemCompare(const void *pFirst, const void *pSecond, size_t nBytes);
/** Copies bytes between blocks that do not overlap. */
MVKRNX_API void KernelMemCopy(void *pTarget, const void *pSource, size_t nBytes);
/** Sets bytes to one value. */
MVKRNX_API void KernelMemSet(void *pTarget, int nValue, size_t nBytes);
///@}

/// @name Files
/// Positional files: there is no file position to share. Paths are UTF-8.
///@{
typedef struct M_HFILE__ M_HFILE__; ///< an open file

/** The value of a handle without a file. */
#define KERNEL_NO_FILE ((M_HFILE__ *)(intptr_t)-1)

/** Flags of KernelFileOpen. */
enum {
    KERNEL_OPEN_READ = 0x01,     ///< reading
    KERNEL_OPEN_WRITE = 0x02,    ///< reading and writing
    KERNEL_OPEN_CREATE = 0x04,   ///< make the file, or cut it to nothing
    KERNEL_OPEN_EXCLUSIVE = 0x08 ///< with CREATE: fail if the file exists
};

/** Opens a regular file or a block device. Anything else that stands under the name, a folder or a
 *  pipe, fails. nFlags are KERNEL_OPEN_ bits, nPermissions the rights of a new file, from which
 *  the process takes some away (umask). KERNEL_NO_FILE on failure. */
MVKRNX_API M_HFILE__ *KernelFileOpen(const char *pszPath, int nFlags, int nPermissions);
/** Opens a file without a name in a folder, which only its owner can read; it vanishes when it is
 *  closed. KERNEL_NO_FILE on failure. */
MVKRNX_API M_HFILE__ *KernelFileOpenUnnamed(const char *pszFolder);
/** Reads up to nBytes at nOffset. Returns the bytes read, fewer only at the end, or -1. */
MVKRNX_API int64_t KernelFileRead(M_HFILE__ *hFile, void *pBuffer, size_t nBytes, uint64_t nOffset);
/** Writes nBytes at nOffset. Returns the bytes written, fewer when there is no room for all, or
 *  -1. */
MVKRNX_API int64_t KernelFileWrite(M_HFILE__ *hFile, const void *pBuffer, size_t nBytes,
                                   uint64_t nOffset);
/** Copies bytes from file to file inside the operating system. Returns the bytes copied, fewer at
 *  the end of the source or when there is no room for all, or -1 when the systems of the two
 *  files cannot do it. */
MVKRNX_API int64_t KernelFileCopy(M_HFILE__ *hSource, uint64_t nSourceOffset, M_HFILE__ *hTarget,
                                  uint64_t nTargetOffset, uint64_t nBytes);
/** Bytes in the file, or -1. */
MVKRNX_API int64_t KernelFileLength(M_HFILE__ *hFile);
/** Cuts or extends the file; 1, or 0 on failure. */
MVKRNX_API int KernelFileTruncate(M_HFILE__ *hFile, uint64_t nLength);
/** Closes a file; KERNEL_NO_FILE is allowed. 1, or 0 when bytes that were written may be lost: some
 *  file systems find out that late. The handle is gone in both cases. */
MVKRNX_API int KernelFileClose(M_HFILE__ *hFile);
/** 1 if the folder exists and files can be made in it. */
MVKRNX_API int KernelFolderIsWritable(const char *pszFolder);
/** Removes a file; 1, or 0 on failure. */
MVKRNX_API int KernelFileRemove(const char *pszPath);
/** Gives a file another name, in one step, replacing what stands there; 1, or 0 on failure. */
MVKRNX_API int KernelFileRename(const char *pszOldPath, const char *pszNewPath);
/** The system's folder for temporary files: what TMPDIR names, else /tmp. */
MVKRNX_API const char *KernelTemporaryFolder(void);
///@}

/// @name Redirection of files
/// A thread can have its file operations go to functions of its own: to memory, say. Open, read,
/// write, length and close use them then; a positional operation is a seek and the operation, and
/// gives what the function gave, negative codes included. Unnamed files, copies between files and
/// truncation fail meanwhile; names in folders stay what they are.
///@{

/** Added to the flags of an open function that has to empty the file. */
enum { KERNEL_IO_TRUNCATE = 0x200 };

/** Gives a file number from 0 on, or a negative code. */
typedef intptr_t (*KERNEL_IO_OPEN)(const char *pszPath, int nFlags, int nPermissions,
                                   void *pUserData);
/** Gives the bytes read or written, or a negative code. */
typedef int64_t (*KERNEL_IO_READ)(intptr_t nFile, void *pBuffer, size_t nBytes, void *pUserData);
/** As KERNEL_IO_READ, with bytes to write. */
typedef int64_t (*KERNEL_IO_WRITE)(intptr_t nFile, const void *pBuffer, size_t nBytes,
                                   void *pUserData);
/** nOrigin is 0 for the start, 1 for the position, 2 for the end. Gives the new position, or a
 *  negative code. */
typedef int64_t (*KERNEL_IO_SEEK)(intptr_t nFile, int64_t nOffset, int nOrigin, void *pUserData);
/** Closes a file; the result is not looked at. */
typedef int (*KERNEL_IO_CLOSE)(intptr_t nFile, void *pUserData);

/** The file functions of a thread and what each is called with. Without an open function the
 *  files are the system's. */
typedef struct KERNEL_IO {
    KERNEL_IO_OPEN pfnOpen;   ///< null for real files
    KERNEL_IO_READ pfnRead;   ///< null: reading fails
    KERNEL_IO_WRITE pfnWrite; ///< null: writing fails
    KERNEL_IO_SEEK pfnSeek;   ///< null: reading, writing and lengths fail
    KERNEL_IO_CLOSE pfnClose; ///< may be null
    void *pOpenData;          ///< user data of pfnOpen
    void *pReadData;          ///< user data of pfnRead
    void *pWriteData;         ///< user data of pfnWrite
    void *pSeekData;          ///< user data of pfnSeek
    void *pCloseData;         ///< user data of pfnClose
} KERNEL_IO;

/** Swaps the file functions of the calling thread with those of the record, so that a second call
 *  puts the old ones back. Other threads are not concerned. 1, or -13 for null. */
MVKRNX_API int32_t KernelRedirectIO(KERNEL_IO *pIo);
///@}

/// @name Fault injection, for tests
///@{
/** Kinds of operations that a fault hook is asked about. */
enum {
    KERNEL_FAULT_ALLOCATE = 0, ///< memory of both families, bitmaps included
    KERNEL_FAULT_OPEN = 1,     ///< opening a file, named or not
    KERNEL_FAULT_READ = 2,     ///< reading from a file
    KERNEL_FAULT_WRITE = 3,    ///< writing, copying between files, truncation
    KERNEL_FAULT_RENAME = 4,   ///< giving a file another name
    KERNEL_FAULT_SEEK = 5,     ///< asking for a length: I/O is positional, nothing else seeks
    KERNEL_FAULT_CLOSE = 6     ///< closing a file, which is closed all the same
};
/** A function that is asked before each operation and makes it fail by a nonzero result. It is
 *  called from every thread. */
typedef int (*KERNEL_FAULT_HOOK)(int nKind);
/** Installs a fault hook; null for none. */
MVKRNX_API void KernelSetFaultHook(KERNEL_FAULT_HOOK pfnHook);
///@}

#ifdef __cplusplus
} // extern "C"

#include <string>
#include <vector>

/**
 * A companion library that is found at run time. Users are counted: LoadWithPath and Load add
 * one, Unload takes one away, and the library goes with the last. Not safe against itself from
 * several threads.
 */
class MVKRNX_API M_DllLoader {
  public:
    M_DllLoader() = default;
    ~M_DllLoader();
    M_DllLoader(const M_DllLoader &) = delete;
    M_DllLoader &operator=(const M_DllLoader &) = delete;

    /**
     * Loads a library for the first user.
     * @param hInstance    any address inside the library that asks: its folder is searched first
     * @param pszName      file name of the library
     * @param pszPath      path to try in place of the folder of hInstance; null or the name for
     *                     none
     * @param pszComponent name of the component, for diagnosis
     * @return nonzero if the library is loaded
     */
    int32_t LoadWithPath(void *hInstance, const wchar_t *pszName, const wchar_t *pszPath,
                         const wchar_t *pszComponent);
    /** Counts one more user of a loaded library; 0 if it is not loaded. */
    int32_t Load();
    /** Counts a user less. */
    void Unload();
    /** Nonzero while the library is loaded. */
    int32_t IsLoaded();
    /** Registers a function by its exported name. Resolved at once if the library is loaded, else
     *  by LoadWithPath. */
    void AddFunction(const char *pszName);
    /** The address of a registered function; null if it is not there. */
    void *GetFunction(const char *pszName);
    /** Nonzero if GetFunction has an address for this name. */
    int32_t IsFunctionOk(const char *pszName);

  private:
    struct Function {
        std::string Name;
        void *Address;
    };
    void Resolve();

    void *m_hLibrary = nullptr;
    uint32_t m_nUsers = 0;
    std::vector<Function> m_Functions;
};
#endif

#endif
