// Pictures through the host of the JPEG 2000 codec and back.

#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "Common/CompUtil/EmbeddedCompression.h"
#include "MDicom.h"
#include "MDicomDS.h"

namespace mdicom {

/** What the tests see of a data set's inside. */
struct DataSetAccess {
    static uint16_t Locate(MDicomDS &ds, _DICOMELEMENT *pixels, _IMAGEINFO *info, uint32_t frame) {
        return ds.GetInfoImage(pixels, info, frame, 0);
    }
    static uint16_t Decode(MDicomDS &ds, _IMAGEINFO *info, std::vector<uint8_t> &buffer) {
        return ds.DecodeJ2K(info, buffer.data(), static_cast<uint32_t>(buffer.size()));
    }
    static uint16_t Encode(MDicomDS &ds, uint8_t **data, _BITMAPHANDLE *bitmap, int32_t quality,
                           uint32_t *size, bool lossless) {
        return ds.EncodeJ2K(data, bitmap, quality, size, lossless ? 1 : 0);
    }
};

} // namespace mdicom

using Bytes = std::vector<uint8_t>;

class Bitmap {
  public:
    Bitmap(int32_t width, int32_t height, int32_t depth, bool isSigned = false,
           int32_t order = -1) {
        if (order < 0) {
            order = depth == 24 ? KERNEL_ORDER_BGR
                                : (depth >= 12 && depth <= 16 ? KERNEL_ORDER_GRAY : 0);
        }
        KernelCreateBitmap(&record, sizeof record, KERNEL_MEMORY_OWN, width, height, depth, order,
                           nullptr, 1, nullptr, 0);
        if (isSigned) record.nBitmapFlags |= KERNEL_BITMAP_SIGNED;
    }
    ~Bitmap() { KernelFreeBitmap(&record); }
    Bitmap(const Bitmap &) = delete;
    Bitmap &operator=(const Bitmap &) = delete;

    Bytes Row(int32_t row) const {
        Bytes bytes(record.nBytesPerLine);
        KernelGetBitmapRow(&record, bytes.data(), row, bytes.size());
        const auto bits = static_cast<size_t>(record.nWidth * record.nBitsPerPixel);
        bytes.resize((bits + 7) / 8); // without the padding
        return bytes;
    }
    Bytes Rows() const {
        Bytes all;
        for (int32_t i = 0; i < record.nHeight; ++i) {
            const Bytes row = Row(i);
            all.insert(all.end(), row.begin(), row.end());
        }
        return all;
    }
    void SetRow(int32_t row, const Bytes &bytes) {
        KernelPutBitmapRow(&record, bytes.data(), row, bytes.size());
    }

    /** Waves with some texture over the whole range of a sample. */
    void Paint(uint32_t bits) {
        const int32_t channels = record.nBitsPerPixel == 24 ? 3 : 1;
        for (int32_t y = 0; y < record.nHeight; ++y) {
            std::vector<uint32_t> samples;
            for (int32_t x = 0; x < record.nWidth; ++x) {
                for (int32_t c = 0; c < channels; ++c) samples.push_back(Sample(x, y, c, bits));
            }
            SetRow(y, Pack(samples));
        }
    }

    _BITMAPHANDLE record{};

  private:
    uint32_t Sample(int32_t x, int32_t y, int32_t channel, uint32_t bits) const {
        const double wave =
            std::sin(x * 0.05 + channel) * std::cos(y * 0.04) + 0.02 * std::sin(x * 1.7 + y * 2.3);
        const auto most = static_cast<double>((uint64_t{1} << bits) - 1);
        const double level = std::min(1.0, std::max(0.0, 0.5 + wave * 0.5));
        auto value = static_cast<int64_t>(std::lround(level * most));
        if ((record.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0) value -= int64_t{1} << (bits - 1);
        return static_cast<uint32_t>(value);
    }
    Bytes Pack(const std::vector<uint32_t> &samples) const {
        Bytes row;
        if (record.nBitsPerPixel == 12) {
            row.resize((samples.size() * 12 + 7) / 8);
            for (size_t i = 0; i < samples.size(); ++i) {
                const uint32_t value = (samples[i] & 0xFFF) << (i % 2 * 4);
                row[i * 3 / 2] |= static_cast<uint8_t>(value);
                row[i * 3 / 2 + 1] |= static_cast<uint8_t>(value >> 8);
            }
            return row;
        }
        for (const uint32_t value : samples) {
            row.push_back(static_cast<uint8_t>(value));
            if (record.nBitsPerPixel == 16) row.push_back(static_cast<uint8_t>(value >> 8));
        }
        return row;
    }
};

inline _FILEJ2KOPTIONS DefaultOptions() {
    MDicomDS ds(nullptr);
    return ds.m_pExtra->J2KOptions;
}

/** Encodes; an empty stream after a failure. */
inline Bytes Encode(Bitmap &bitmap, int32_t quality, _FILEJ2KOPTIONS options,
                    int32_t *result = nullptr) {
    MEMORYSAVEREQUEST request{};
    request.nSize = sizeof request;
    request.pBitmap = &bitmap.record;
    request.nFormat = kFileFormatJ2k;
    request.nBitsPerPixel = bitmap.record.nBitsPerPixel;
    request.nQuality = quality;
    request.pOptions = &options;
    CEmbeddedCompressionBase codec;
    uint8_t *data = nullptr;
    uint64_t size = 0;
    const int32_t code = codec.SaveMemory(&data, &size, &request);
    if (result != nullptr) *result = code;
    Bytes stream(data, data + size);
    KernelFree(data, 0, nullptr);
    return stream;
}

/** Decodes into an existing bitmap; bits is the depth that the description tells. */
inline int32_t Decode(const Bytes &stream, Bitmap &bitmap, int32_t bits) {
    _FILEINFO info{};
    info.nFormat = kFileFormatJ2k;
    info.nWidth = bitmap.record.nWidth;
    info.nHeight = bitmap.record.nHeight;
    info.nBitsPerPixel = bits;
    info.nOrder = bitmap.record.nOrder;
    info.nViewPerspective = 1;
    MEMORYLOADREQUEST request{};
    request.nSize = sizeof request;
    request.pBitmap = &bitmap.record;
    request.nBitmapSize = sizeof(_BITMAPHANDLE);
    request.nFlags = MEMORYLOAD_BITMAP_ALLOCATED;
    request.pFileInfo = &info;
    CEmbeddedCompressionBase codec;
    return codec.LoadMemory(stream.data(), stream.size(), &request);
}
