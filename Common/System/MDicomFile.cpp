// MDicomFile: opening, closing and sharing of streams, and the operations that both back ends
// share. FileBackEnd.cpp and MemoryBackEnd.cpp hold the two back ends.

#include "MDicomFile.h"

#include <cwchar>
#include <new>
#include <random>

#include "Common/System/StreamBuffer.h"
#include "Common/Utils/Text.h"
#include "Mvkrnx.h"

using mdicom::StreamBuffer;
using mdicom::StreamShare;

namespace {

/** A new file with a unique name in the folder. */
M_HFILE__ *CreateUniqueFile(const std::string &folder, std::string *path) {
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        *path = folder + "/DIC";
        for (int i = 0; i < 10; ++i) *path += kLetters[random() % (sizeof kLetters - 1)];
        const int flags =
            KERNEL_OPEN_READ | KERNEL_OPEN_WRITE | KERNEL_OPEN_CREATE | KERNEL_OPEN_EXCLUSIVE;
        M_HFILE__ *file = KernelFileOpen(path->c_str(), flags, 0600);
        if (file != KERNEL_NO_FILE) return file;
    }
    return KERNEL_NO_FILE;
}

int KernelFlagsOf(uint16_t mode) {
    const bool writes = (mode & (FILE_MODE_WRITE | FILE_MODE_CREATE)) != 0;
    int flags = KERNEL_OPEN_READ;
    if (writes) flags |= KERNEL_OPEN_WRITE;
    if (mode & FILE_MODE_CREATE) flags |= KERNEL_OPEN_CREATE;
    return flags;
}

} // namespace

MDicomFile::MDicomFile() : hFile(KERNEL_NO_FILE) {
    szName[0] = L'\0';
}

MDicomFile::~MDicomFile() {
    Close(0);
    Forget();
}

MDicomFile::MDicomFile(const MDicomFile &Source) : MDicomFile() {
    ShareFrom(Source);
}

MDicomFile &MDicomFile::operator=(const MDicomFile &Source) {
    if (this == &Source) return *this;
    Close(0);
    Forget();
    ShareFrom(Source);
    return *this;
}

void MDicomFile::ShareFrom(const MDicomFile &Source) {
    // Only what stands in the file or block can be shared, so the source is brought there first.
    auto &source = const_cast<MDicomFile &>(Source);
    source.MaterializeTemporary();
    source.Flush();
    std::wmemcpy(szName, source.szName, std::size(szName));
    if (source.m_pShare == nullptr) source.m_pShare = new (std::nothrow) StreamShare{1};
    if (source.m_pShare == nullptr) return;
    m_pShare = source.m_pShare;
    ++m_pShare->owners;
    hFile = source.hFile;
    nFlags = source.nFlags;
    nLength = source.nLength;
    nPosition = source.nPosition;
    pData = source.pData;
}

bool MDicomFile::LastOwner() {
    if (m_pShare == nullptr) return true;
    const bool last = --m_pShare->owners == 0;
    if (last) delete m_pShare;
    m_pShare = nullptr;
    return last;
}

int32_t MDicomFile::Open(const wchar_t *pszName, uint16_t nNewFlags) {
    Close(0);
    Forget();
    nFlags = nNewFlags;
    szName[0] = L'\0';
    if (pszName != nullptr && std::wcslen(pszName) < std::size(szName)) {
        std::wcscpy(szName, pszName);
    }
    if (nFlags & FILE_MODE_MEMORY) return 1;
    try {
        const std::string path = mdicom::NarrowUtf8(pszName != nullptr ? pszName : L"");
        const bool temporary = (nFlags & FILE_MODE_TEMPORARY) && (nFlags & FILE_MODE_CREATE);
        if (!temporary) return OpenFile(path.c_str());
        return OpenTemporary(path.empty() ? KernelTemporaryFolder() : path.c_str());
    } catch (const std::bad_alloc &) {
        return 0;
    }
}

int32_t MDicomFile::OpenFile(const char *pszPath) {
    M_HFILE__ *file = KernelFileOpen(pszPath, KernelFlagsOf(nFlags), 0666);
    if (file == KERNEL_NO_FILE) return 0;
    if ((nFlags & FILE_MODE_DELETE_ON_CLOSE) && EnsureBuffer(0)) m_pBuffer->path = pszPath;
    const int64_t length = KernelFileLength(file);
    if (length < 0) {
        KernelFileClose(file);
        return 0;
    }
    hFile = file;
    nLength = static_cast<uint64_t>(length);
    return 1;
}

int32_t MDicomFile::OpenTemporary(const char *pszFolder) {
    if (!KernelFolderIsWritable(pszFolder) || !EnsureBuffer(0)) return 0;
    if (nFlags & FILE_MODE_DELETE_ON_CLOSE) {
        m_pBuffer->folder = pszFolder;
        m_pBuffer->pending = true;
        return 1;
    }
    M_HFILE__ *file = CreateUniqueFile(pszFolder, &m_pBuffer->path);
    hFile = file;
    return file != KERNEL_NO_FILE ? 1 : 0;
}

void MDicomFile::Close(int32_t bForce) {
    if (!(nFlags & FILE_MODE_AUTO_CLOSE) && !bForce) return;
    if (nFlags & FILE_MODE_MEMORY) {
        if (pData != nullptr && LastOwner() && !(nFlags & FILE_MODE_EXTERNAL)) {
            KernelFree(pData, __LINE__, nullptr);
        }
        pData = nullptr;
        nLength = 0;
        nPosition = 0;
        return;
    }
    Flush();
    if (hFile != KERNEL_NO_FILE && LastOwner()) {
        KernelFileClose(static_cast<M_HFILE__ *>(hFile));
        const bool named = m_pBuffer != nullptr && !m_pBuffer->path.empty();
        if (named && (nFlags & FILE_MODE_DELETE_ON_CLOSE)) {
            KernelFileRemove(m_pBuffer->path.c_str());
        }
    }
    hFile = KERNEL_NO_FILE;
    DropBuffer();
}

/** Leaves what was open to its other owners: a stream without auto close is not closed. */
void MDicomFile::Forget() {
    Flush();
    DropBuffer();
    LastOwner();
    hFile = KERNEL_NO_FILE;
    pData = nullptr;
    nLength = 0;
    nPosition = 0;
}

int32_t MDicomFile::Seek(int64_t nOffset, int32_t nOrigin) {
    const bool closed = hFile == KERNEL_NO_FILE && (m_pBuffer == nullptr || !m_pBuffer->pending);
    if (!(nFlags & FILE_MODE_MEMORY) && closed) return 0;
    int64_t base = 0;
    switch (nOrigin) {
        case 0:
            break;
        case 1:
            base = static_cast<int64_t>(nPosition);
            break;
        case 2:
            base = static_cast<int64_t>(nLength);
            break;
        default:
            return 0;
    }
    int64_t target = 0;
    if (__builtin_add_overflow(base, nOffset, &target) || target < 0) return 0;
    nPosition = static_cast<uint64_t>(target);
    return 1;
}

uint64_t MDicomFile::Tell() {
    return nPosition;
}

int32_t MDicomFile::SetMemoryBuffer(void *pBlock, uint64_t nBytes, int32_t bReadOnly) {
    Close(0);
    Forget();
    nFlags = FILE_MODE_MEMORY | FILE_MODE_EXTERNAL;
    if (bReadOnly) nFlags |= FILE_MODE_NO_TRUNCATE;
    if (pBlock == nullptr || nBytes == 0) return 0;
    pData = static_cast<uint8_t *>(pBlock);
    nLength = nBytes;
    return 1;
}

void MDicomFile::SetHandle(void *hNewFile, uint16_t nNewFlags) {
    Close(0);
    Forget();
    nFlags = nNewFlags;
    if (nFlags & FILE_MODE_MEMORY) {
        nLength = KernelMemSize(hNewFile);
        pData = nLength != 0 ? static_cast<uint8_t *>(hNewFile) : nullptr;
        return;
    }
    hFile = hNewFile;
    if (hFile == KERNEL_NO_FILE) return;
    const int64_t length = KernelFileLength(static_cast<M_HFILE__ *>(hFile));
    nLength = length > 0 ? static_cast<uint64_t>(length) : 0;
}
