// Image codecs that know files only, put to work on frames in memory: a codec's file is a stream
// over the frame, its rows go to the bitmap.

#include "Common/CompUtil/EmbeddedCompression.h"

#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "Common/CompUtil/MemoryFile.h"
#include "Common/CompUtil/RowConversion.h"
#include "Common/System/Companions.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr const wchar_t *kDummyName = L"DUMMY";

using LoadFunction = int32_t (*)(_FILTERLOAD *);
using SaveFunction = int32_t (*)(_FILTERSAVE *);

struct HeapFreer {
    void operator()(void *block) const { KernelHeapFree(block, 0, nullptr); }
};

/** Depth in which a codec gives samples of so many bits; 0 if it cannot. */
int32_t CodecDepth(int32_t bits) {
    if (bits == 24 || bits == 32) return bits;
    if (bits < 1 || bits > 16) return 0;
    return bits <= 8 ? 8 : 16;
}

/** Between the codec, which gives rows of its own bitmap record, and the target. */
struct LoadState {
    MEMORYLOADREQUEST &request;
    _BITMAPHANDLE codecBitmap{};
    std::optional<RowConversion> conversion; ///< none if the depths agree
    std::unique_ptr<uint8_t[], HeapFreer> row;
};

void TakeLut(_BITMAPHANDLE &from, _BITMAPHANDLE &to) {
    if (from.pLUT == nullptr) return;
    KernelFree(to.pLUT, 0, nullptr);
    to.pLUT = std::exchange(from.pLUT, nullptr);
    to.nLUTLength = std::exchange(from.nLUTLength, 0);
}

/** What the codec found out about the picture while it read. */
void TakeDescription(_BITMAPHANDLE &from, _BITMAPHANDLE &to) {
    if (from.pPalette != nullptr && from.nBitsPerPixel == to.nBitsPerPixel) {
        KernelSetBitmapPalette(&to, static_cast<const _RGBQUAD *>(from.pPalette));
    }
    if (to.nOrder != KERNEL_ORDER_GRAY) return;
    to.nLowBit = from.nLowBit;
    to.nHighBit = from.nHighBit;
    to.nMinVal = from.nMinVal;
    to.nMaxVal = from.nMaxVal;
    TakeLut(from, to);
}

/** Stores a row and hands it on as it is stored. */
int32_t StoreRow(LoadState &state, const _BITMAPHANDLE &source, uint8_t *row, int32_t number,
                 uint32_t rowFlags) {
    const MEMORYLOADREQUEST &request = state.request;
    _BITMAPHANDLE &target = *request.pBitmap;
    if (state.conversion) {
        const bool isSigned = (source.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
        state.conversion->Convert(row, state.row.get(), static_cast<uint32_t>(target.nWidth),
                                  isSigned);
        row = state.row.get();
    }
    const int64_t stored = KernelPutBitmapRow(&target, row, number, target.nBytesPerLine);
    if (stored < 0) return static_cast<int32_t>(stored);
    if (request.pfnCallback == nullptr) return KERNEL_SUCCESS;
    return request.pfnCallback(request.pFileInfo, &target, row, rowFlags, number, 1,
                               request.pUserData);
}

int32_t TakeRows(_FILEINFO *, _BITMAPHANDLE *bitmap, uint8_t *rows, uint32_t rowFlags,
                 int32_t firstRow, int32_t count, void *userData) {
    auto &state = *static_cast<LoadState *>(userData);
    constexpr uint32_t kEnds = KERNEL_ROW_FIRST | KERNEL_ROW_LAST;
    if ((rowFlags & KERNEL_ROW_FIRST) != 0) TakeDescription(*bitmap, *state.request.pBitmap);
    for (int32_t i = 0; i < count; ++i) {
        uint32_t flags = rowFlags & ~kEnds;
        if (i == 0) flags |= rowFlags & KERNEL_ROW_FIRST;
        if (i == count - 1) flags |= rowFlags & KERNEL_ROW_LAST;
        uint8_t *row = rows + size_t{bitmap->nBytesPerLine} * static_cast<size_t>(i);
        const int32_t result = StoreRow(state, *bitmap, row, firstRow + i, flags);
        if (result != KERNEL_SUCCESS) return result;
    }
    return KERNEL_SUCCESS;
}

bool IsComplete(const MEMORYLOADREQUEST *request) {
    if (request == nullptr || request->pBitmap == nullptr || request->pFileInfo == nullptr) {
        return false;
    }
    if (request->nBitmapSize != sizeof(_BITMAPHANDLE)) return false;
    const bool allocated = (request->nFlags & MEMORYLOAD_BITMAP_ALLOCATED) != 0;
    return !allocated || (request->pBitmap->nBitmapFlags & KERNEL_BITMAP_ALLOCATED) != 0;
}

/** The target has the size that the description tells, or is made so. */
int32_t PrepareTarget(const MEMORYLOADREQUEST &request) {
    const _FILEINFO &info = *request.pFileInfo;
    _BITMAPHANDLE &target = *request.pBitmap;
    if ((request.nFlags & MEMORYLOAD_BITMAP_ALLOCATED) == 0) {
        const int32_t made =
            KernelCreateBitmap(&target, request.nBitmapSize, KERNEL_MEMORY_OWN, info.nWidth,
                               info.nHeight, CodecDepth(info.nBitsPerPixel), info.nOrder, nullptr,
                               info.nViewPerspective, nullptr, 0);
        if (made != KERNEL_SUCCESS) return made;
    }
    const bool fits = target.nWidth == info.nWidth && target.nHeight == info.nHeight &&
                      target.nViewPerspective == info.nViewPerspective &&
                      target.nOrder == info.nOrder;
    if (!fits || KernelAccessBitmap(&target) != KERNEL_SUCCESS) return KERNEL_ERROR_ARGUMENT;
    target.nXResolution = info.nXResolution;
    target.nYResolution = info.nYResolution;
    return KERNEL_SUCCESS;
}

/** Describes the codec's rows, and how they turn into the target's. */
int32_t PrepareRows(LoadState &state) {
    const _FILEINFO &info = *state.request.pFileInfo;
    const _BITMAPHANDLE &target = *state.request.pBitmap;
    const int32_t depth = CodecDepth(info.nBitsPerPixel);
    if (depth == 0) return KERNEL_ERROR_FORMAT;
    _BITMAPHANDLE &codec = state.codecBitmap;
    KernelInitBitmap(&codec, sizeof codec, info.nWidth, info.nHeight, depth);
    codec.nOrder = info.nOrder;
    codec.nViewPerspective = info.nViewPerspective;
    codec.nXResolution = info.nXResolution;
    codec.nYResolution = info.nYResolution;
    if (target.nBitsPerPixel == depth) return KERNEL_SUCCESS;
    state.conversion = RowConversion::Choose(depth, target.nBitsPerPixel, info.nBitsPerPixel);
    if (!state.conversion) return COMPRESSION_ERROR_LOSSY_DEPTH;
    state.row.reset(static_cast<uint8_t *>(KernelHeapAlloc(1, target.nBytesPerLine, 0, nullptr)));
    if (state.row == nullptr) return KERNEL_ERROR_MEMORY;
    std::memset(state.row.get(), 0, target.nBytesPerLine);
    return KERNEL_SUCCESS;
}

/** Runs the codec over the stream. */
int32_t Decode(LoadFunction load, LoadState &state, std::span<const uint8_t> bytes) {
    _LOADFILEOPTION defaults{};
    defaults.nStructSize = sizeof defaults;
    const MEMORYLOADREQUEST &request = state.request;
    _FILTERLOAD argument{};
    argument.pszName = kDummyName;
    argument.pBitmap = &state.codecBitmap;
    argument.pfnCallback = TakeRows;
    argument.pUserData = &state;
    argument.pFileInfo = request.pFileInfo;
    argument.pOptions = request.pOptions != nullptr ? request.pOptions : &defaults;
    MEMORYFILE file = MemoryFileOver(bytes);
    const RedirectedFiles redirected(file);
    return load(&argument);
}

int32_t Encode(SaveFunction save, const MEMORYSAVEREQUEST &request, MEMORYFILE &file) {
    _FILTERSAVE argument{};
    argument.pszName = kDummyName;
    argument.pBitmap = request.pBitmap;
    argument.nBitsPerPixel = request.nBitsPerPixel;
    argument.nFormat = request.nFormat;
    argument.nQuality = request.nQuality;
    argument.pfnAccess = KernelAccessBitmap;
    argument.pfnGetRow = KernelGetBitmapRow;
    argument.pfnRelease = KernelReleaseBitmap;
    argument.pSaveRecord = request.pSaveRecord;
    static_assert(sizeof argument.nOptions == sizeof(_FILEJ2KOPTIONS));
    if (request.pOptions != nullptr) {
        std::memcpy(argument.nOptions, request.pOptions, sizeof argument.nOptions);
    }
    const RedirectedFiles redirected(file);
    return save(&argument);
}

} // namespace

CEmbeddedCompressionBase::CEmbeddedCompressionBase() : m_hModule(MDicomDS::m_hInstance) {
    AttachCompanions();
}

CEmbeddedCompressionBase::~CEmbeddedCompressionBase() {
    DetachCompanions();
}

int32_t CEmbeddedCompressionBase::LoadMemory(const uint8_t *pData, uint64_t nSize,
                                             MEMORYLOADREQUEST *pRequest) {
    if (m_hModule == nullptr || pData == nullptr || nSize == 0) return KERNEL_ERROR_ARGUMENT;
    if (!IsComplete(pRequest)) return KERNEL_ERROR_ARGUMENT;
    if (pRequest->pFileInfo->nFormat != kFileFormatJ2k) return KERNEL_ERROR_FORMAT;
    const auto load =
        reinterpret_cast<LoadFunction>(CompanionFunction(Companion::Jpeg2000, "fltLoad"));
    if (load == nullptr) return COMPRESSION_ERROR_NO_J2K;
    const bool isNew = (pRequest->nFlags & MEMORYLOAD_BITMAP_ALLOCATED) == 0;
    int32_t result = PrepareTarget(*pRequest);
    if (result != KERNEL_SUCCESS && isNew) KernelFreeBitmap(pRequest->pBitmap);
    if (result != KERNEL_SUCCESS) return result;
    LoadState state{*pRequest, {}, {}, {}};
    result = PrepareRows(state);
    if (result == KERNEL_SUCCESS) {
        result = Decode(load, state, {pData, static_cast<size_t>(nSize)});
    }
    KernelFreeBitmap(&state.codecBitmap);
    if (result != KERNEL_SUCCESS && isNew) KernelFreeBitmap(pRequest->pBitmap);
    return result;
}

int32_t CEmbeddedCompressionBase::SaveMemory(uint8_t **ppData, uint64_t *pSize,
                                             MEMORYSAVEREQUEST *pRequest) {
    const bool complete = m_hModule != nullptr && ppData != nullptr && pSize != nullptr &&
                          pRequest != nullptr && pRequest->pBitmap != nullptr;
    if (!complete) return KERNEL_ERROR_ARGUMENT;
    if (pRequest->nFormat != kFileFormatJ2k) return KERNEL_ERROR_FORMAT;
    const auto save =
        reinterpret_cast<SaveFunction>(CompanionFunction(Companion::Jpeg2000, "fltSave"));
    if (save == nullptr) return COMPRESSION_ERROR_NO_J2K;
    MEMORYFILE file = MemoryFileInto(*ppData, *pSize);
    const int32_t result = Encode(save, *pRequest, file);
    if (result == KERNEL_SUCCESS) {
        *ppData = file.pData;
        *pSize = file.nEnd;
        return result;
    }
    if ((file.nFileFlags & MEMORYFILE_OWNED) != 0) {
        KernelFree(file.pData, 0, nullptr);
        *ppData = nullptr;
        *pSize = 0;
    }
    return result;
}
