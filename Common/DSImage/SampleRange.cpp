// The range of the samples of a bitmap that has just been made.

#include "Common/DSImage/SampleRange.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace mdicom {

namespace {

/** Signed words in the order of the samples: vector units of all ages compare these. */
struct Range {
    static constexpr size_t kLanes = 32; // independent of each other
    int16_t least[kLanes];
    int16_t greatest[kLanes];

    Range() {
        std::fill(std::begin(least), std::end(least), INT16_MAX);
        std::fill(std::begin(greatest), std::end(greatest), INT16_MIN);
    }
    int16_t Least() const { return *std::min_element(std::begin(least), std::end(least)); }
    int16_t Greatest() const { return *std::max_element(std::begin(greatest), std::end(greatest)); }

    void Take(const uint8_t *samples, size_t count, int up, uint16_t flip) {
        size_t i = 0;
        if (up == 0) {
            for (; i + kLanes <= count; i += kLanes) TakePiece(samples + 2 * i, kLanes, 0, flip);
        }
        for (; i + kLanes <= count; i += kLanes) TakePiece(samples + 2 * i, kLanes, up, flip);
        TakePiece(samples + 2 * i, count - i, up, flip);
    }

  private:
    [[gnu::always_inline]] void TakePiece(const uint8_t *samples, size_t count, int up,
                                          uint16_t flip) {
        for (size_t i = 0; i < count; ++i) {
            uint16_t sample;
            std::memcpy(&sample, samples + 2 * i, sizeof sample);
            const auto key = static_cast<int16_t>(static_cast<uint16_t>(sample << up) ^ flip);
            least[i] = std::min(least[i], key);
            greatest[i] = std::max(greatest[i], key);
        }
    }
};

} // namespace

bool FindWordRange(const _BITMAPHANDLE &bitmap, int32_t *low, int32_t *high) {
    const bool isWords = bitmap.nBitsPerPixel == 16 && bitmap.nOrder == KERNEL_ORDER_GRAY &&
                         bitmap.nViewPerspective == 1;
    const bool isKnown =
        bitmap.nLowBit >= 0 && bitmap.nLowBit <= bitmap.nHighBit && bitmap.nHighBit <= 15;
    const uint8_t *row = KernelLendBitmapRow(&bitmap, 0);
    if (!isWords || !isKnown || row == nullptr) return false;
    const bool isSigned = (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    const auto flip = static_cast<uint16_t>(isSigned ? 0 : 0x8000);
    const int up = 15 - bitmap.nHighBit;
    Range range;
    for (int32_t y = 0; y < bitmap.nHeight; ++y, row += bitmap.nBytesPerLine) {
        range.Take(row, static_cast<size_t>(bitmap.nWidth), up, flip);
    }
    // Bits below the significant ones do not change the order of those.
    const int down = up + bitmap.nLowBit;
    const auto value = [&](int16_t key) {
        const auto sample = static_cast<uint16_t>(key ^ flip);
        return isSigned ? static_cast<int16_t>(sample) >> down : sample >> down;
    };
    *low = value(range.Least());
    *high = value(range.Greatest());
    return true;
}

} // namespace mdicom
