// The range of the samples of a bitmap that has just been made.

#include "Common/DSImage/SampleRange.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

namespace mdicom {

namespace {

/** The extremes of numbers in the order of samples, of the types that vector units of all ages
 *  compare: bytes without a sign, and words with one. */
template <typename Sample, typename Key>
class Range {
  public:
    /** Samples are moved up, and their highest bit turned where that gives them their order. */
    Range(int up, Sample flip) : m_Up(up), m_Flip(flip) {
        std::fill(std::begin(m_Extremes.least), std::end(m_Extremes.least),
                  std::numeric_limits<Key>::max());
        std::fill(std::begin(m_Extremes.greatest), std::end(m_Extremes.greatest),
                  std::numeric_limits<Key>::min());
    }

    void TakeRows(const _BITMAPHANDLE &bitmap, size_t perRow) {
        const uint8_t *row = KernelLendBitmapRow(&bitmap, 0);
        for (int32_t y = 0; y < bitmap.nHeight; ++y, row += bitmap.nBytesPerLine) {
            Take(row, perRow);
        }
    }
    Sample Least() const {
        return SampleOf(
            *std::min_element(std::begin(m_Extremes.least), std::end(m_Extremes.least)));
    }
    Sample Greatest() const {
        return SampleOf(
            *std::max_element(std::begin(m_Extremes.greatest), std::end(m_Extremes.greatest)));
    }

  private:
    static constexpr size_t kLanes = 64 / sizeof(Sample); // independent of each other
    struct Extremes {
        Key least[kLanes];
        Key greatest[kLanes];
    };

    Sample SampleOf(Key key) const { return static_cast<Sample>(key ^ m_Flip); }

    void Take(const uint8_t *samples, size_t count) {
        Extremes own = m_Extremes; // which no byte of a row can be part of
        const size_t whole = count / kLanes * kLanes;
        if (m_Up == 0) {
            TakePieces(samples, whole, 0, m_Flip, own);
        } else {
            TakePieces(samples, whole, m_Up, m_Flip, own);
        }
        m_Extremes = own;
        TakePiece(samples + whole * sizeof(Sample), count - whole, m_Up, m_Flip, m_Extremes);
    }

    [[gnu::always_inline]] static void TakePieces(const uint8_t *samples, size_t count, int up,
                                                  Sample flip, Extremes &extremes) {
        for (size_t i = 0; i < count; i += kLanes) {
            TakePiece(samples + i * sizeof(Sample), kLanes, up, flip, extremes);
        }
    }

    [[gnu::always_inline]] static void TakePiece(const uint8_t *samples, size_t count, int up,
                                                 Sample flip, Extremes &extremes) {
        for (size_t i = 0; i < count; ++i) {
            Sample sample;
            std::memcpy(&sample, samples + i * sizeof sample, sizeof sample);
            const auto key = static_cast<Key>(static_cast<Sample>(sample << up) ^ flip);
            extremes.least[i] = std::min(extremes.least[i], key);
            extremes.greatest[i] = std::max(extremes.greatest[i], key);
        }
    }

    const int m_Up;
    const Sample m_Flip;
    Extremes m_Extremes;
};

void FindBytes(const _BITMAPHANDLE &bitmap, bool isSigned, int32_t *low, int32_t *high) {
    const auto flip = static_cast<uint8_t>(isSigned ? 0x80 : 0);
    Range<uint8_t, uint8_t> range(0, flip);
    range.TakeRows(bitmap,
                   static_cast<size_t>(bitmap.nWidth) * (bitmap.nBitsPerPixel == 24 ? 3 : 1));
    const auto value = [isSigned](uint8_t sample) {
        return isSigned ? static_cast<int8_t>(sample) : int32_t{sample};
    };
    *low = value(range.Least());
    *high = value(range.Greatest());
}

void FindWords(const _BITMAPHANDLE &bitmap, bool isSigned, int32_t *low, int32_t *high) {
    const int up = 15 - bitmap.nHighBit;
    Range<uint16_t, int16_t> range(up, static_cast<uint16_t>(isSigned ? 0 : 0x8000));
    range.TakeRows(bitmap, static_cast<size_t>(bitmap.nWidth));
    // Bits below the significant ones do not change the order of those.
    const int down = up + bitmap.nLowBit;
    const auto value = [&](uint16_t sample) {
        return isSigned ? static_cast<int16_t>(sample) >> down : sample >> down;
    };
    *low = value(range.Least());
    *high = value(range.Greatest());
}

} // namespace

bool FindSampleRange(const _BITMAPHANDLE &bitmap, int32_t *low, int32_t *high) {
    if (bitmap.nViewPerspective != 1 || KernelLendBitmapRow(&bitmap, 0) == nullptr) return false;
    const bool isSigned = (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    if (bitmap.nBitsPerPixel == 8 || bitmap.nBitsPerPixel == 24) {
        FindBytes(bitmap, isSigned && bitmap.nBitsPerPixel == 8, low, high);
        return true;
    }
    const bool isGray = bitmap.nBitsPerPixel == 16 && bitmap.nOrder == KERNEL_ORDER_GRAY;
    const bool isKnown =
        bitmap.nLowBit >= 0 && bitmap.nLowBit <= bitmap.nHighBit && bitmap.nHighBit <= 15;
    if (!isGray || !isKnown) return false;
    FindWords(bitmap, isSigned, low, high);
    return true;
}

} // namespace mdicom
