// Resizing: area average and bicubic in two passes, or the nearest pixel.

#include <algorithm>
#include <array>
#include <cmath>

#include "BitmapRows.h"

using namespace kernel;

namespace {

/** The source pixels that make an output pixel: Count of them from First on. */
struct Taps {
    int32_t First;
    int32_t Count;
    size_t Weights;
};

/** Catmull and Rom's cubic. */
double Cubic(double distance) {
    const double x = std::abs(distance);
    if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
    if (x < 2) return ((-0.5 * x + 2.5) * x - 4) * x + 2;
    return 0;
}

/** The weights of one direction. They add up to 1 for each output pixel. */
template <typename Real>
class Kernel {
  public:
    Kernel(int32_t from, int32_t to) : m_From(from), m_To(to) {
        const auto count = static_cast<size_t>(to);
        // Shrinking, neighbours share one source pixel at most; growing, four make one.
        const size_t weights = from > to ? static_cast<size_t>(from) + count * 2 : count * 4;
        m_Taps = MakeBlock<Taps>(count);
        m_Weights = MakeBlock<Real>(weights);
        if (!IsReady()) return;
        for (int32_t i = 0; i < to; ++i) from > to ? AddArea(i) : AddCubic(i);
    }
    bool IsReady() const { return m_Taps != nullptr && m_Weights != nullptr; }
    const Taps &At(int32_t index) const { return m_Taps[static_cast<size_t>(index)]; }
    const Real *WeightsOf(const Taps &taps) const { return m_Weights.get() + taps.Weights; }

  private:
    /** In units of a source pixel over m_To, so that the bounds are whole numbers. */
    void AddArea(int32_t index) {
        const int64_t begin = int64_t{index} * m_From;
        const int64_t end = begin + m_From;
        const auto first = static_cast<int32_t>(begin / m_To);
        const auto last = static_cast<int32_t>((end + m_To - 1) / m_To);
        m_Taps[static_cast<size_t>(index)] = {first, last - first, m_Used};
        for (int64_t i = first; i < last; ++i) {
            const int64_t covered = std::min(end, (i + 1) * m_To) - std::max(begin, i * m_To);
            m_Weights[m_Used++] = static_cast<Real>(static_cast<double>(covered) / m_From);
        }
    }

    /** Pixels beyond the edge count as the edge. */
    void AddCubic(int32_t index) {
        const double center = (index + 0.5) * m_From / m_To - 0.5;
        const auto before = static_cast<int32_t>(std::floor(center)) - 1;
        const int32_t first = std::clamp(before, 0, m_From - 1);
        const int32_t last = std::clamp(before + 3, 0, m_From - 1);
        m_Taps[static_cast<size_t>(index)] = {first, last - first + 1, m_Used};
        std::array<double, 4> weights{};
        for (int32_t i = before; i < before + 4; ++i) {
            weights[static_cast<size_t>(std::clamp(i, first, last) - first)] += Cubic(i - center);
        }
        for (int32_t i = 0; i <= last - first; ++i) {
            m_Weights[m_Used++] = static_cast<Real>(weights[static_cast<size_t>(i)]);
        }
    }

    int32_t m_From;
    int32_t m_To;
    size_t m_Used = 0;
    Block<Taps> m_Taps;
    Block<Real> m_Weights;
};

size_t ChannelsOf(const _BITMAPHANDLE &bitmap) {
    return KindOf(bitmap) == PixelKind::Colour ? UnitBytes(bitmap) : 1;
}

/** Rows of numbers in and out of a bitmap of depth 8, 12, 24 or 32, or gray of 16. */
template <typename Real>
class NumberRows {
  public:
    explicit NumberRows(const _BITMAPHANDLE &bitmap)
        : m_Bitmap(bitmap),
          m_Bits(BitsOf(bitmap)),
          m_Count(static_cast<size_t>(StoredWidth(bitmap)) * ChannelsOf(bitmap)),
          m_Bytes(ChannelsOf(bitmap) > 1 ? 1 : UnitBytes(bitmap)),
          m_Units(MakeBlock<uint8_t>(m_Count * 4)) {
        const bool isSigned = m_Bytes > 1 && m_Bits.Signed;
        m_Low = isSigned ? -std::ldexp(1.0, m_Bits.Count - 1) : 0;
        m_High = m_Bytes == 1 ? 255 : m_Low + m_Bits.Mask;
    }
    bool IsReady() const { return m_Units != nullptr; }

    void Read(int32_t row, Real *out) {
        ReadUnits(m_Bitmap, row, m_Units.get());
        switch (m_Bytes) {
            case 1:
                for (size_t i = 0; i < m_Count; ++i) out[i] = static_cast<Real>(m_Units[i]);
                break;
            case 2:
                ReadWords<uint16_t>(out);
                break;
            default:
                ReadWords<uint32_t>(out);
        }
    }

    void Write(int32_t row, const Real *values) {
        switch (m_Bytes) {
            case 1:
                for (size_t i = 0; i < m_Count; ++i) {
                    m_Units[i] =
                        static_cast<uint8_t>(std::clamp<Real>(values[i], 0, 255) + Real(0.5));
                }
                break;
            case 2:
                WriteWords<uint16_t>(values);
                break;
            default:
                WriteWords<uint32_t>(values);
        }
        WriteUnits(m_Bitmap, row, m_Units.get());
    }

  private:
    template <typename Word>
    void ReadWords(Real *out) {
        const auto *words = reinterpret_cast<const Word *>(m_Units.get());
        for (size_t i = 0; i < m_Count; ++i) {
            out[i] = static_cast<Real>(Extend(words[i] >> m_Bits.Low & m_Bits.Mask, m_Bits));
        }
    }
    template <typename Word>
    void WriteWords(const Real *values) {
        auto *words = reinterpret_cast<Word *>(m_Units.get());
        for (size_t i = 0; i < m_Count; ++i) {
            const double value = std::clamp<double>(values[i], m_Low, m_High);
            const auto bits = static_cast<uint64_t>(static_cast<int64_t>(std::floor(value + 0.5)));
            words[i] = static_cast<Word>((bits & m_Bits.Mask) << m_Bits.Low);
        }
    }

    const _BITMAPHANDLE &m_Bitmap;
    const SampleBits m_Bits;
    const size_t m_Count;
    const size_t m_Bytes;
    Block<uint8_t> m_Units;
    double m_Low;
    double m_High;
};

/** The source's rows, resized in their own direction. The last four stay. */
template <typename Real>
class WideRows {
  public:
    WideRows(const _BITMAPHANDLE &source, int32_t width)
        : m_Rows(source),
          m_Kernel(StoredWidth(source), width),
          m_Channels(ChannelsOf(source)),
          m_Width(width),
          m_Length(static_cast<size_t>(width) * m_Channels),
          m_Source(MakeBlock<Real>(static_cast<size_t>(StoredWidth(source)) * m_Channels)),
          m_Kept(static_cast<Real *>(KernelAlloc(4 * sizeof(Real), m_Length, 0, nullptr))) {
        m_Numbers.fill(-1);
    }
    bool IsReady() const {
        return m_Rows.IsReady() && m_Kernel.IsReady() && m_Source != nullptr && m_Kept != nullptr;
    }

    const Real *At(int32_t row) {
        const auto slot = static_cast<size_t>(row % 4);
        Real *out = m_Kept.get() + slot * m_Length;
        if (m_Numbers[slot] == row) return out;
        m_Numbers[slot] = row;
        m_Rows.Read(row, m_Source.get());
        switch (m_Channels) {
            case 1:
                Resize<1>(out);
                break;
            case 3:
                Resize<3>(out);
                break;
            default:
                Resize<4>(out);
        }
        return out;
    }

  private:
    template <size_t Channels>
    void Resize(Real *out) const {
        for (int32_t x = 0; x < m_Width; ++x) {
            const Taps &taps = m_Kernel.At(x);
            const Real *weights = m_Kernel.WeightsOf(taps);
            const Real *from = m_Source.get() + static_cast<size_t>(taps.First) * Channels;
            std::array<Real, Channels> sum{};
            for (int32_t i = 0; i < taps.Count; ++i, from += Channels) {
                for (size_t c = 0; c < Channels; ++c) sum[c] += from[c] * weights[i];
            }
            out = std::copy(sum.begin(), sum.end(), out);
        }
    }

    NumberRows<Real> m_Rows;
    Kernel<Real> m_Kernel;
    size_t m_Channels;
    int32_t m_Width;
    size_t m_Length;
    Block<Real> m_Source;
    Block<Real> m_Kept;
    std::array<int32_t, 4> m_Numbers;
};

template <typename Real>
int32_t Smooth(const _BITMAPHANDLE &source, _BITMAPHANDLE &target) {
    const size_t length = static_cast<size_t>(StoredWidth(target)) * ChannelsOf(target);
    WideRows<Real> rows(source, StoredWidth(target));
    const Kernel<Real> kernel(StoredRows(source), StoredRows(target));
    NumberRows<Real> out(target);
    const Block<Real> sums = MakeBlock<Real>(length);
    if (!rows.IsReady() || !kernel.IsReady() || !out.IsReady() || !sums) {
        return KERNEL_ERROR_MEMORY;
    }
    for (int32_t y = 0; y < StoredRows(target); ++y) {
        const Taps &taps = kernel.At(y);
        const Real *weights = kernel.WeightsOf(taps);
        std::fill_n(sums.get(), length, Real(0));
        for (int32_t i = 0; i < taps.Count; ++i) {
            const Real *row = rows.At(taps.First + i);
            const Real weight = weights[i];
            for (size_t x = 0; x < length; ++x) sums[x] += row[x] * weight;
        }
        out.Write(y, sums.get());
    }
    return KERNEL_SUCCESS;
}

int32_t Nearest(const _BITMAPHANDLE &source, _BITMAPHANDLE &target) {
    const auto from = static_cast<size_t>(StoredWidth(source));
    const auto to = static_cast<size_t>(StoredWidth(target));
    const Block<uint8_t> units = MakeBlock<uint8_t>(from * 4);
    const Block<uint8_t> row = MakeBlock<uint8_t>(to * 4);
    if (!units || !row) return KERNEL_ERROR_MEMORY;
    const int64_t rows = StoredRows(source);
    for (int32_t y = 0; y < StoredRows(target); ++y) {
        const int64_t wanted = (2 * int64_t{y} + 1) * rows / (2 * int64_t{StoredRows(target)});
        ReadUnits(source, static_cast<int32_t>(wanted), units.get());
        GatherUnits(UnitBytes(source), units.get(), row.get(), to,
                    [=](size_t x) { return (2 * x + 1) * from / (2 * to); });
        WriteUnits(target, y, row.get());
    }
    return KERNEL_SUCCESS;
}

/** True if pixels are no numbers that could be averaged. */
bool NeedsTrueColour(const _BITMAPHANDLE &bitmap) {
    if (bitmap.nBitsPerPixel == 1) return true;
    if (bitmap.nBitsPerPixel == 8) return KernelIsGrayScaleBitmap(&bitmap) == 0;
    return bitmap.nBitsPerPixel == 16 && KindOf(bitmap) == PixelKind::Colour;
}

int32_t SizeInTrueColour(const _BITMAPHANDLE &source, LocalBitmap &target, int32_t width,
                         int32_t height) {
    LocalBitmap colours;
    int32_t result = KernelCopyBitmap(&*colours, &source, sizeof source);
    if (result == KERNEL_SUCCESS) {
        result = KernelColorResBitmap(&*colours, &*colours, sizeof source, 24, KERNEL_ORDER_BGR,
                                      nullptr, KERNEL_COLORRES_DITHER);
    }
    if (result == KERNEL_SUCCESS) {
        result = KernelSizeBitmap(&*colours, width, height, KERNEL_SIZE_SMOOTH);
    }
    if (result != KERNEL_SUCCESS) return result;
    return KernelColorResBitmap(&*colours, &*target, sizeof source, source.nBitsPerPixel,
                                source.nOrder, static_cast<const _RGBQUAD *>(source.pPalette),
                                KERNEL_COLORRES_NEAREST);
}

int32_t SizeInto(const _BITMAPHANDLE &source, LocalBitmap &target, int32_t width, int32_t height,
                 uint32_t flags) {
    const bool smooth = flags == KERNEL_SIZE_SMOOTH;
    if (smooth && NeedsTrueColour(source)) return SizeInTrueColour(source, target, width, height);
    const int32_t result = KernelCreateBitmap(&*target, sizeof source, KERNEL_MEMORY_OWN, width,
                                              height, source.nBitsPerPixel, source.nOrder,
                                              static_cast<const _RGBQUAD *>(source.pPalette),
                                              source.nViewPerspective, nullptr, 0);
    if (result != KERNEL_SUCCESS) return result;
    target->nLowBit = source.nLowBit;
    target->nHighBit = source.nHighBit;
    target->nBitmapFlags |= source.nBitmapFlags & KERNEL_BITMAP_SIGNED;
    if (!smooth) return Nearest(source, *target);
    const bool wide = source.nBitsPerPixel == 32 && KindOf(source) == PixelKind::Gray;
    return wide ? Smooth<double>(source, *target) : Smooth<float>(source, *target);
}

/** Puts resized rows into a bitmap that stays the same otherwise. */
void TakeRows(_BITMAPHANDLE &bitmap, _BITMAPHANDLE &sized) {
    const BitmapState old = StateOf(bitmap);
    BitmapState state = StateOf(sized);
    FreeOverlays(old.Overlays);
    if (old.MemoryKind == KERNEL_MEMORY_OWN) KernelFree(old.Data, 0, nullptr);
    SetState(bitmap, state);
    bitmap.nWidth = sized.nWidth;
    bitmap.nHeight = sized.nHeight;
    bitmap.nBytesPerLine = sized.nBytesPerLine;
    state = {};
    SetState(sized, state);
}

} // namespace

extern "C" {

int32_t KernelSizeBitmap(_BITMAPHANDLE *pBitmap, int32_t nWidth, int32_t nHeight, uint32_t nFlags) {
    if (nWidth <= 0 || nHeight <= 0 || !HasRows(pBitmap)) return KERNEL_ERROR_ARGUMENT;
    if (pBitmap->nWidth == nWidth && pBitmap->nHeight == nHeight) return KERNEL_SUCCESS;
    LocalBitmap sized;
    const int32_t result = SizeInto(*pBitmap, sized, nWidth, nHeight, nFlags);
    if (result == KERNEL_SUCCESS) TakeRows(*pBitmap, *sized);
    return result;
}

} // extern "C"
