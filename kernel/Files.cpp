// The kernel's files: positional reads and writes on descriptors.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "Fault.h"
#include "Mvkrnx.h"
#include "Redirect.h"

namespace {

int DescriptorOf(M_HFILE__ *file) {
    return static_cast<int>(reinterpret_cast<intptr_t>(file));
}

M_HFILE__ *HandleOf(int descriptor) {
    return reinterpret_cast<M_HFILE__ *>(static_cast<intptr_t>(descriptor));
}

bool HoldsData(int descriptor) {
    struct stat info;
    return fstat(descriptor, &info) == 0 && (S_ISREG(info.st_mode) || S_ISBLK(info.st_mode));
}

int SystemOpenFlags(int flags) {
    int result = O_CLOEXEC;
    result |= (flags & KERNEL_OPEN_WRITE) ? O_RDWR : O_RDONLY | O_NONBLOCK;
    if (flags & KERNEL_OPEN_CREATE) {
        result |= O_CREAT | ((flags & KERNEL_OPEN_EXCLUSIVE) ? O_EXCL : O_TRUNC);
    }
    return result;
}

} // namespace

extern "C" {

M_HFILE__ *KernelFileOpen(const char *pszPath, int nFlags, int nPermissions) {
    if (pszPath == nullptr || kernel::FaultWanted(KERNEL_FAULT_OPEN)) return KERNEL_NO_FILE;
    if (kernel::IsRedirected()) return kernel::RedirectedOpen(pszPath, nFlags, nPermissions);
    const int descriptor = open(pszPath, SystemOpenFlags(nFlags), nPermissions);
    if (descriptor < 0) return KERNEL_NO_FILE;
    if (!HoldsData(descriptor)) {
        close(descriptor);
        return KERNEL_NO_FILE;
    }
    return HandleOf(descriptor);
}

M_HFILE__ *KernelFileOpenUnnamed(const char *pszFolder) {
    if (pszFolder == nullptr || kernel::FaultWanted(KERNEL_FAULT_OPEN)) return KERNEL_NO_FILE;
    if (kernel::IsRedirected()) return KERNEL_NO_FILE;
    int descriptor = open(pszFolder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (descriptor >= 0) return HandleOf(descriptor);
    std::string name = std::string(pszFolder) + "/DICXXXXXX";
    descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) return KERNEL_NO_FILE;
    unlink(name.c_str());
    return HandleOf(descriptor);
}

int64_t KernelFileRead(M_HFILE__ *hFile, void *pBuffer, size_t nBytes, uint64_t nOffset) {
    if (kernel::FaultWanted(KERNEL_FAULT_READ)) return -1;
    if (kernel::IsRedirected()) return kernel::RedirectedRead(hFile, pBuffer, nBytes, nOffset);
    size_t done = 0;
    while (done < nBytes) {
        const ssize_t count = pread(DescriptorOf(hFile), static_cast<char *>(pBuffer) + done,
                                    nBytes - done, static_cast<off_t>(nOffset + done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return -1;
        if (count == 0) break;
        done += static_cast<size_t>(count);
    }
    return static_cast<int64_t>(done);
}

int64_t KernelFileWrite(M_HFILE__ *hFile, const void *pBuffer, size_t nBytes, uint64_t nOffset) {
    if (kernel::FaultWanted(KERNEL_FAULT_WRITE)) return -1;
    if (kernel::IsRedirected()) return kernel::RedirectedWrite(hFile, pBuffer, nBytes, nOffset);
    size_t done = 0;
    while (done < nBytes) {
        const ssize_t count = pwrite(DescriptorOf(hFile), static_cast<const char *>(pBuffer) + done,
                                     nBytes - done, static_cast<off_t>(nOffset + done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return done > 0 ? static_cast<int64_t>(done) : -1;
        done += static_cast<size_t>(count);
    }
    return static_cast<int64_t>(done);
}

int64_t KernelFileCopy(M_HFILE__ *hSource, uint64_t nSourceOffset, M_HFILE__ *hTarget,
                       uint64_t nTargetOffset, uint64_t nBytes) {
    if (kernel::IsRedirected() || kernel::FaultWanted(KERNEL_FAULT_WRITE)) return -1;
    off_t from = static_cast<off_t>(nSourceOffset);
    off_t to = static_cast<off_t>(nTargetOffset);
    uint64_t done = 0;
    while (done < nBytes) {
        const ssize_t count = copy_file_range(DescriptorOf(hSource), &from, DescriptorOf(hTarget),
                                              &to, static_cast<size_t>(nBytes - done), 0);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return done > 0 ? static_cast<int64_t>(done) : -1;
        if (count == 0) break;
        done += static_cast<uint64_t>(count);
    }
    return static_cast<int64_t>(done);
}

int64_t KernelFileLength(M_HFILE__ *hFile) {
    if (kernel::FaultWanted(KERNEL_FAULT_SEEK)) return -1;
    if (kernel::IsRedirected()) return kernel::RedirectedLength(hFile);
    struct stat info;
    if (fstat(DescriptorOf(hFile), &info) != 0) return -1;
    if (S_ISREG(info.st_mode)) return info.st_size;
    return lseek(DescriptorOf(hFile), 0, SEEK_END);
}

int KernelFileTruncate(M_HFILE__ *hFile, uint64_t nLength) {
    if (kernel::IsRedirected() || kernel::FaultWanted(KERNEL_FAULT_WRITE)) return 0;
    return ftruncate(DescriptorOf(hFile), static_cast<off_t>(nLength)) == 0 ? 1 : 0;
}

int KernelFileClose(M_HFILE__ *hFile) {
    if (hFile == KERNEL_NO_FILE) return 1;
    const bool fault = kernel::FaultWanted(KERNEL_FAULT_CLOSE);
    if (kernel::IsRedirected()) {
        kernel::RedirectedClose(hFile);
        return fault ? 0 : 1;
    }
    // An interrupted close has closed the descriptor: another one would hit that of someone else.
    const bool closed = close(DescriptorOf(hFile)) == 0 || errno == EINTR;
    return closed && !fault ? 1 : 0;
}

int KernelFolderIsWritable(const char *pszFolder) {
    if (pszFolder == nullptr) return 0;
    // Only a folder can be asked for by a name that ends so. Callers may be out of memory.
    char folder[PATH_MAX];
    const int length = std::snprintf(folder, sizeof folder, "%s/", pszFolder);
    if (length <= 1 || length >= PATH_MAX) return 0;
    return access(folder, W_OK | X_OK) == 0 ? 1 : 0;
}

int KernelFileRemove(const char *pszPath) {
    return unlink(pszPath) == 0 ? 1 : 0;
}

int KernelFileRename(const char *pszOldPath, const char *pszNewPath) {
    if (kernel::FaultWanted(KERNEL_FAULT_RENAME)) return 0;
    return rename(pszOldPath, pszNewPath) == 0 ? 1 : 0;
}

const char *KernelTemporaryFolder(void) {
    const char *folder = std::getenv("TMPDIR");
    return folder != nullptr && folder[0] != '\0' ? folder : "/tmp";
}

} // extern "C"
