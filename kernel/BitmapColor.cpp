// Conversion between depths and orders, onto palettes with and without error diffusion.

#include <algorithm>
#include <array>
#include <limits>

#include "BitmapRows.h"

using namespace kernel;

namespace {

/** Finds nearest palette entries, and remembers what it found. */
class NearestColour {
  public:
    NearestColour(const _RGBQUAD *palette, size_t count) : m_Count(count) {
        for (size_t i = 0; i < count; ++i) {
            m_Blue[i] = palette[i].rgbBlue;
            m_Green[i] = palette[i].rgbGreen;
            m_Red[i] = palette[i].rgbRed;
        }
        m_Keys.fill(~uint32_t{0});
    }

    uint8_t Find(int32_t blue, int32_t green, int32_t red) {
        const uint32_t key = static_cast<uint32_t>(red << 16 | green << 8 | blue);
        const size_t slot = key * 2654435761u >> 17;
        if (m_Keys[slot] != key) {
            m_Keys[slot] = key;
            m_Found[slot] = Search(blue, green, red);
        }
        return m_Found[slot];
    }

  private:
    /** Distance and index in one number, so that the loop is a plain minimum. */
    uint8_t Search(int32_t blue, int32_t green, int32_t red) const {
        int32_t best = std::numeric_limits<int32_t>::max();
        for (size_t i = 0; i < m_Count; ++i) {
            const int32_t b = m_Blue[i] - blue;
            const int32_t g = m_Green[i] - green;
            const int32_t r = m_Red[i] - red;
            best = std::min(best, (b * b + g * g + r * r) << 8 | static_cast<int32_t>(i));
        }
        return static_cast<uint8_t>(best & 0xFF);
    }

    size_t m_Count;
    std::array<int32_t, 256> m_Blue{};
    std::array<int32_t, 256> m_Green{};
    std::array<int32_t, 256> m_Red{};
    std::array<uint32_t, 1 << 15> m_Keys;
    std::array<uint8_t, 1 << 15> m_Found;
};

/** Six levels of blue and red, seven of green, and four grays between. */
void FillColourCube(_RGBQUAD *palette) {
    size_t next = 0;
    for (int32_t red = 0; red < 6; ++red) {
        for (int32_t green = 0; green < 7; ++green) {
            for (int32_t blue = 0; blue < 6; ++blue) {
                palette[next++] = {static_cast<uint8_t>(blue * 51),
                                   static_cast<uint8_t>(green * 255 / 6),
                                   static_cast<uint8_t>(red * 51), 0};
            }
        }
    }
    for (const uint8_t gray : std::array<uint8_t, 4>{64, 96, 160, 192}) {
        palette[next++] = {gray, gray, gray, 0};
    }
}

/**
 * Floyd and Steinberg's error diffusion, in serpentine order so that no streaks lean to one side.
 * Errors are kept in sixteenths, with a pixel of margin on either side.
 */
class Diffusion {
  public:
    Diffusion(size_t width, NearestColour &nearest, const _RGBQUAD *palette)
        : m_Width(width), m_Nearest(nearest), m_Palette(palette) {
        m_Size = (width + 2) * 3;
        m_Errors = MakeBlock<int32_t>(m_Size * 2);
        if (m_Errors) std::fill_n(m_Errors.get(), m_Size * 2, 0);
    }
    bool IsReady() const { return m_Errors != nullptr; }

    void MapRow(const uint8_t *colours, uint8_t *indexes) {
        int32_t *here = m_Errors.get() + (m_Row % 2) * m_Size;
        int32_t *below = m_Errors.get() + (1 - m_Row % 2) * m_Size;
        std::fill_n(below, m_Size, 0);
        const bool backward = m_Row++ % 2 != 0;
        for (size_t i = 0; i < m_Width; ++i) {
            const size_t x = backward ? m_Width - 1 - i : i;
            indexes[x] = MapPixel(colours + x * 3, here + (x + 1) * 3, below + (x + 1) * 3,
                                  backward ? -3 : 3);
        }
    }

  private:
    uint8_t MapPixel(const uint8_t *colour, int32_t *here, int32_t *below, ptrdiff_t step) {
        std::array<int32_t, 3> wanted;
        for (size_t c = 0; c < 3; ++c) {
            wanted[c] = std::clamp(colour[c] + (here[c] + 8) / 16, 0, 255);
        }
        // A coarse look-up is remembered more often; what it misses goes on to the neighbours.
        const auto coarse = [](int32_t value) { return (value & ~7) | value >> 5; };
        const uint8_t index =
            m_Nearest.Find(coarse(wanted[0]), coarse(wanted[1]), coarse(wanted[2]));
        const _RGBQUAD &given = m_Palette[index];
        const std::array<int32_t, 3> taken{given.rgbBlue, given.rgbGreen, given.rgbRed};
        for (ptrdiff_t c = 0; c < 3; ++c) {
            const int32_t error = wanted[c] - taken[c];
            here[c + step] += error * 7;
            below[c - step] += error * 3;
            below[c] += error * 5;
            below[c + step] += error;
        }
        return index;
    }

    size_t m_Width;
    NearestColour &m_Nearest;
    const _RGBQUAD *m_Palette;
    size_t m_Size = 0;
    uint32_t m_Row = 0;
    Block<int32_t> m_Errors;
};

void Write565(const uint8_t *colours, uint8_t *row, size_t width, int32_t blueBit, int32_t redBit) {
    for (size_t i = 0; i < width; ++i) {
        const uint32_t pixel = static_cast<uint32_t>(colours[i * 3] >> 3) << blueBit |
                               static_cast<uint32_t>(colours[i * 3 + 1] >> 2) << 5 |
                               static_cast<uint32_t>(colours[i * 3 + 2] >> 3) << redBit;
        row[i * 2] = static_cast<uint8_t>(pixel);
        row[i * 2 + 1] = static_cast<uint8_t>(pixel >> 8);
    }
}

template <size_t Step, size_t Blue>
void WriteTriples(const uint8_t *colours, uint8_t *row, size_t width) {
    for (size_t i = 0; i < width; ++i) {
        row[i * Step + Blue] = colours[i * 3];
        row[i * Step + 1] = colours[i * 3 + 1];
        row[i * Step + 2 - Blue] = colours[i * 3 + 2];
        if constexpr (Step == 4) row[i * Step + 3] = 0;
    }
}

void WriteColours(const uint8_t *colours, uint8_t *row, size_t width, const _BITMAPHANDLE &target) {
    const bool bgr = target.nOrder == KERNEL_ORDER_BGR;
    switch (target.nBitsPerPixel) {
        case 16:
            Write565(colours, row, width, bgr ? 0 : 11, bgr ? 11 : 0);
            break;
        case 24:
            bgr ? WriteTriples<3, 0>(colours, row, width) : WriteTriples<3, 2>(colours, row, width);
            break;
        default:
            bgr ? WriteTriples<4, 0>(colours, row, width) : WriteTriples<4, 2>(colours, row, width);
    }
}

int32_t ToTrueColour(const _BITMAPHANDLE &source, _BITMAPHANDLE &target) {
    const auto width = static_cast<size_t>(StoredWidth(source));
    RowReader reader(source, Wanted::Colours);
    const Block<uint8_t> colours = MakeBlock<uint8_t>(width * 3);
    if (!reader.IsReady() || !colours) return KERNEL_ERROR_MEMORY;
    for (int32_t row = 0; row < StoredRows(source); ++row) {
        reader.ReadColours(row, colours.get());
        WriteColours(colours.get(), RowOf(target, row), width, target);
    }
    return KERNEL_SUCCESS;
}

int32_t ToPalette(const _BITMAPHANDLE &source, _BITMAPHANDLE &target, uint32_t flags) {
    const auto width = static_cast<size_t>(StoredWidth(source));
    const auto *palette = static_cast<const _RGBQUAD *>(target.pPalette);
    RowReader reader(source, Wanted::Colours);
    const Block<uint8_t> colours = MakeBlock<uint8_t>(width * 3);
    const Block<uint8_t> indexes = MakeBlock<uint8_t>(width);
    NearestColour nearest(palette, target.nColors);
    Diffusion diffusion(width, nearest, palette);
    if (!reader.IsReady() || !colours || !indexes || !diffusion.IsReady()) {
        return KERNEL_ERROR_MEMORY;
    }
    for (int32_t row = 0; row < StoredRows(source); ++row) {
        reader.ReadColours(row, colours.get());
        if (flags == KERNEL_COLORRES_DITHER) {
            diffusion.MapRow(colours.get(), indexes.get());
        } else {
            for (size_t i = 0; i < width; ++i) {
                const uint8_t *colour = &colours[i * 3];
                indexes[i] = nearest.Find(colour[0], colour[1], colour[2]);
            }
        }
        uint8_t *out = RowOf(target, row);
        if (target.nBitsPerPixel == 1) {
            PackBits(indexes.get(), out, width);
        } else {
            std::memcpy(out, indexes.get(), width);
        }
    }
    return KERNEL_SUCCESS;
}

int32_t TargetOrder(const _BITMAPHANDLE &source, int32_t depth, int32_t order) {
    if (depth == 12) return KERNEL_ORDER_GRAY;
    if (order >= KERNEL_ORDER_RGB && order <= KERNEL_ORDER_GRAY) return order;
    return KindOf(source) == PixelKind::Gray ? int32_t{KERNEL_ORDER_BGR} : source.nOrder;
}

int32_t ToGray(const _BITMAPHANDLE &source, LocalBitmap &target, int32_t depth) {
    const int32_t result = KernelCopyBitmap(&*target, &source, sizeof source);
    return result == KERNEL_SUCCESS ? KernelGrayScaleBitmap(&*target, depth) : result;
}

int32_t Convert(const _BITMAPHANDLE &source, LocalBitmap &target, int32_t depth, int32_t order,
                const _RGBQUAD *palette, uint32_t flags) {
    const bool fixed = palette == nullptr && depth == 8;
    const bool gray = KernelIsGrayScaleBitmap(&source) != 0 || order == KERNEL_ORDER_GRAY;
    if (depth == 12 || (order == KERNEL_ORDER_GRAY && depth > 8) || (fixed && gray)) {
        return ToGray(source, target, depth);
    }
    std::array<_RGBQUAD, 256> cube;
    if (fixed) FillColourCube(cube.data());
    const int32_t result = CreateLike(target, source, depth, order, fixed ? cube.data() : palette);
    if (result != KERNEL_SUCCESS) return result;
    return depth <= 8 ? ToPalette(source, *target, flags) : ToTrueColour(source, *target);
}

} // namespace

extern "C" {

int32_t KernelColorResBitmap(_BITMAPHANDLE *pSource, _BITMAPHANDLE *pTarget, uint32_t nSize,
                             int32_t nBitsPerPixel, int32_t nOrder, const _RGBQUAD *pPalette,
                             uint32_t nFlags) {
    if (pTarget == nullptr || !HasRows(pSource)) return KERNEL_ERROR_ARGUMENT;
    if (nSize != sizeof(_BITMAPHANDLE)) return KERNEL_ERROR_STRUCT_SIZE;
    if (nFlags == KERNEL_COLORRES_NEAREST && pPalette == nullptr && nBitsPerPixel <= 8) {
        return KERNEL_ERROR_ARGUMENT;
    }
    const int32_t order = TargetOrder(*pSource, nBitsPerPixel, nOrder);
    LocalBitmap result;
    const int32_t code = Convert(*pSource, result, nBitsPerPixel, order, pPalette, nFlags);
    if (code != KERNEL_SUCCESS) return code;
    if (pTarget == pSource) {
        Replace(*pSource, result);
        return KERNEL_SUCCESS;
    }
    BitmapState state = StateOf(*result);
    if (state.Overlays == nullptr) {
        const bool copied = CopyOverlays(StateOf(*pSource).Overlays, state.Overlays);
        SetState(*result, state);
        if (!copied) return KERNEL_ERROR_MEMORY;
    }
    result.MoveTo(*pTarget);
    return KERNEL_SUCCESS;
}

} // extern "C"
