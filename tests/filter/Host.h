// A file engine in small: calls the file filter with the argument records of the kernel.

#pragma once

#include <cstring>
#include <map>

#include "MDicom.h"
#include "MDicomFlat.h"
#include "Mvkrnx.h"
#include "support/Bitmaps.h"
#include "support/TestFiles.h"

/** A bitmap with a wave. */
struct Picture : TestBitmap {
    Picture(int32_t width, int32_t height, int32_t depth, int32_t order)
        : TestBitmap(width, height, depth, order) {
        DrawWave(*this, static_cast<uint32_t>(SampleBits(static_cast<size_t>(depth))));
    }
};

/** What a page was loaded to. */
struct Loaded {
    int32_t result = 0;
    TestBitmap bitmap;
    support::Bytes rows; ///< without the padding of rows
    uint32_t calls = 0;
    int32_t stopAt = -1; ///< row at which the callback stops the load
    bool inOrder = true;
};

constexpr int32_t kStopped = -100;

inline int32_t TakeRow(_FILEINFO *info, _BITMAPHANDLE *bitmap, uint8_t *row, uint32_t flags,
                       int32_t number, int32_t count, void *userData) {
    auto &loaded = *static_cast<Loaded *>(userData);
    const uint32_t first = number == 0 ? KERNEL_ROW_FIRST : 0;
    const uint32_t last = number == bitmap->nHeight - 1 ? KERNEL_ROW_LAST : 0;
    loaded.inOrder = loaded.inOrder && number == static_cast<int32_t>(loaded.calls) && count == 1 &&
                     bitmap == &loaded.bitmap && info != nullptr &&
                     flags == (KERNEL_ROW | first | last);
    ++loaded.calls;
    loaded.rows.insert(loaded.rows.end(), row,
                       row + (bitmap->nWidth * bitmap->nBitsPerPixel + 7) / 8);
    return number == loaded.stopAt ? kStopped : FILTER_SUCCESS;
}

inline void LoadPage(const std::wstring &name, int32_t page, Loaded &loaded) {
    _FILEINFO info{};
    _LOADFILEOPTION options{};
    options.nStructSize = sizeof options;
    options.nPageNumber = page;
    _FILTERLOAD argument{};
    argument.pszName = name.c_str();
    argument.pBitmap = &loaded.bitmap;
    argument.pfnCallback = TakeRow;
    argument.pUserData = &loaded;
    argument.pFileInfo = &info;
    argument.pOptions = page < 0 ? nullptr : &options;
    loaded.result = fltLoad(&argument);
}

/** Page -1 stands for a request without options. */
inline int32_t Describe(const std::string &path, int32_t page, _FILEINFO &info) {
    _LOADFILEOPTION options{};
    options.nStructSize = sizeof options;
    options.nPageNumber = page;
    _FILTERINFO argument{};
    argument.hFile = KernelFileOpen(path.c_str(), KERNEL_OPEN_READ, 0);
    argument.pFileInfo = &info;
    argument.pOptions = page < 0 ? nullptr : &options;
    const int32_t result = fltInfo(&argument);
    KernelFileClose(argument.hFile);
    return result;
}

inline std::string CompressionOf(const _FILEINFO &info) {
    std::string text;
    for (size_t i = 0; i < 20 && info.szCompression[i] != 0; ++i) {
        text += static_cast<char>(info.szCompression[i]);
    }
    return text;
}

using Comments = std::map<uint32_t, const char *>;

inline int32_t SavePicture(const std::wstring &name, TestBitmap &picture, int32_t format,
                           int32_t quality = 0, const Comments *comments = nullptr) {
    support::Bytes table(12 * 21);
    if (comments != nullptr) {
        for (const auto &[id, text] : *comments) std::memcpy(&table[12 * id], &text, sizeof text);
    }
    _FILTERSAVE argument{};
    argument.pszName = name.c_str();
    argument.pBitmap = &picture;
    argument.nBitsPerPixel = picture.nBitsPerPixel;
    argument.nFormat = format;
    argument.nQuality = quality;
    argument.pComments = comments != nullptr ? table.data() : nullptr;
    return fltSave(&argument);
}

/** Room 0 asks for the size. */
inline int32_t ReadComment(const std::wstring &name, uint32_t id, uint32_t room,
                           std::string *text = nullptr) {
    std::string buffer(room + 1, '#');
    _FILTERCOMMENT argument{};
    argument.pszName = name.c_str();
    argument.nId = id;
    argument.pText = room > 0 ? buffer.data() : nullptr;
    argument.nSize = room;
    const int32_t result = fltComment(&argument);
    if (buffer.back() != '#') return -1000; // wrote past the end
    if (text != nullptr) *text = buffer.c_str();
    return result;
}

inline std::string CommentOf(const std::wstring &name, uint32_t id) {
    std::string text;
    ReadComment(name, id, 200, &text);
    return text;
}
