// The functions that the library exports: files in and out through the kernel.

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "Codestream.h"
#include "Decoder.h"
#include "Encoder.h"
#include "MFJ2KX.h"

using namespace j2k;

namespace {

struct HeapFreer {
    void operator()(void *block) const { KernelHeapFree(block, 0, nullptr); }
};

/** An open file, closed with its scope. */
class File {
  public:
    File(const wchar_t *name, int flags);
    ~File() {
        if (IsOpen()) KernelFileClose(m_Handle);
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    bool IsOpen() const { return m_Handle != KERNEL_NO_FILE; }
    M_HFILE__ *Get() const { return m_Handle; }

  private:
    M_HFILE__ *m_Handle;
};

struct Block {
    std::unique_ptr<uint8_t[], HeapFreer> bytes;
    size_t size = 0;
    MutableBytes Span() const { return {bytes.get(), size}; }
};

void AppendUtf8(uint32_t code, std::string &out) {
    const auto follow = [&](uint32_t shift) {
        out += static_cast<char>(0x80 | (code >> shift & 0x3F));
    };
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | code >> 6);
        follow(0);
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | code >> 12);
        follow(6);
        follow(0);
    } else {
        out += static_cast<char>(0xF0 | (code >> 18 & 7));
        follow(12);
        follow(6);
        follow(0);
    }
}

std::string Utf8(const wchar_t *text) {
    std::string result;
    for (; *text != L'\0'; ++text) AppendUtf8(static_cast<uint32_t>(*text), result);
    return result;
}

File::File(const wchar_t *name, int flags)
    : m_Handle(KernelFileOpen(Utf8(name).c_str(), flags, 0666)) {}

/** Reads a file from its start, up to a size. */
int32_t ReadBytes(M_HFILE__ *file, uint64_t most, Block &block) {
    const int64_t length = KernelFileLength(file);
    if (length < 0) return MFJ2KX_ERROR_READ;
    const auto size = static_cast<size_t>(std::min(most, static_cast<uint64_t>(length)));
    block.bytes.reset(static_cast<uint8_t *>(KernelHeapAlloc(1, size, 0, nullptr)));
    if (block.bytes == nullptr) return MFJ2KX_ERROR_MEMORY;
    const int64_t read = KernelFileRead(file, block.bytes.get(), size, 0);
    if (read < 0) return MFJ2KX_ERROR_READ;
    block.size = std::min(size, static_cast<size_t>(read));
    return MFJ2KX_SUCCESS;
}

template <typename Work>
int32_t Guarded(Work work) noexcept {
    try {
        return work();
    } catch (const std::exception &) {
        return MFJ2KX_ERROR_MEMORY;
    }
}

void Describe(const Head &head, uint64_t bytesInFile, _FILEINFO &info) {
    constexpr char16_t kCompression[] = u"JPEG 2000";
    const uint32_t precision = head.components[0].precision;
    const bool colour = head.componentCount >= 3;
    info.nFormat = MFJ2KX_FORMAT;
    info.nWidth = static_cast<int32_t>(head.width);
    info.nHeight = static_cast<int32_t>(head.height);
    info.nBitsPerPixel = colour ? 24 : precision <= 8 ? 8 : precision <= 16 ? 16 : 32;
    info.nOrder = colour                     ? KERNEL_ORDER_BGR
                  : info.nBitsPerPixel == 16 ? KERNEL_ORDER_GRAY
                                             : KERNEL_ORDER_RGB;
    const uint64_t bits = uint64_t{head.width} * static_cast<uint32_t>(info.nBitsPerPixel);
    info.nSizeDisk = bytesInFile;
    info.nSizeMem = (bits + 31) / 32 * 4 * head.height;
    std::memcpy(info.szCompression, kCompression, sizeof kCompression);
    info.nViewPerspective = 1;
    info.nPageNumber = info.nTotalPages = 1;
    info.nXResolution = info.nYResolution = 0;
}

int32_t ReadInfo(_FILTERINFO &argument) {
    constexpr uint64_t kRoomOfHead = 65536;
    constexpr uint32_t kMostSize = 0x7FFFFFFF;
    Block block;
    const int32_t result = ReadBytes(argument.hFile, kRoomOfHead, block);
    if (result != MFJ2KX_SUCCESS) return result;
    const std::optional<Head> head = ReadHead(FindCodestream(block.Span()));
    if (!head || head->width > kMostSize || head->height > kMostSize) return MFJ2KX_ERROR_FORMAT;
    Describe(*head, static_cast<uint64_t>(KernelFileLength(argument.hFile)), *argument.pFileInfo);
    return MFJ2KX_SUCCESS;
}

int32_t Load(_FILTERLOAD &argument) {
    Block block;
    {
        const File file(argument.pszName, KERNEL_OPEN_READ);
        if (!file.IsOpen()) return MFJ2KX_ERROR_OPEN;
        const int32_t result = ReadBytes(file.Get(), SIZE_MAX, block);
        if (result != MFJ2KX_SUCCESS) return result;
    }
    return Decode(FindCodestream(block.Span()), argument);
}

int32_t Save(_FILTERSAVE &argument) {
    const File file(argument.pszName, KERNEL_OPEN_WRITE | KERNEL_OPEN_CREATE);
    return file.IsOpen() ? Encode(argument, file.Get()) : int32_t{MFJ2KX_ERROR_OPEN};
}

} // namespace

extern "C" {

int32_t fltInfo(_FILTERINFO *pArgument) {
    const bool complete = pArgument != nullptr && pArgument->hFile != nullptr &&
                          pArgument->hFile != KERNEL_NO_FILE && pArgument->pFileInfo != nullptr;
    return complete ? Guarded([&] { return ReadInfo(*pArgument); }) : MFJ2KX_ERROR_ARGUMENT;
}

int32_t fltLoad(_FILTERLOAD *pArgument) {
    const bool complete = pArgument != nullptr && pArgument->pszName != nullptr &&
                          pArgument->pBitmap != nullptr && pArgument->pfnCallback != nullptr;
    return complete ? Guarded([&] { return Load(*pArgument); }) : MFJ2KX_ERROR_ARGUMENT;
}

int32_t fltSave(_FILTERSAVE *pArgument) {
    const bool complete = pArgument != nullptr && pArgument->pszName != nullptr &&
                          pArgument->pBitmap != nullptr && pArgument->pfnGetRow != nullptr;
    return complete ? Guarded([&] { return Save(*pArgument); }) : MFJ2KX_ERROR_ARGUMENT;
}

} // extern "C"
