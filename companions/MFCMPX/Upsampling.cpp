// From planes of components to rows of pixels.

#include "companions/MFCMPX/Upsampling.h"

#include <algorithm>
#include <array>

namespace jpeg {
namespace {

/** Four times the samples of a row. Where a sample is two rows high, the row nearer to it counts
 *  three times as much as the next one. */
void BlendRows(const Upsampled &source, size_t y, std::vector<uint16_t> &blended) {
    const size_t own = y / source.vertical;
    size_t other = own;
    if (source.vertical == 2) {
        other =
            y % 2 == 0 ? std::max<size_t>(own, 1) - 1 : std::min(own + 1, source.plane.height - 1);
    }
    const uint16_t *near = source.plane.Row(own);
    const uint16_t *far = source.plane.Row(other);
    for (size_t x = 0; x < source.plane.width; ++x) {
        blended[x] = static_cast<uint16_t>(3 * near[x] + far[x]);
    }
}

/** The same between columns. */
void BlendColumns(const std::vector<uint16_t> &blended, size_t samples, uint16_t *row,
                  size_t width) {
    for (size_t x = 0; x < width; ++x) {
        const size_t own = x / 2;
        const size_t other =
            x % 2 == 0 ? std::max<size_t>(own, 1) - 1 : std::min(own + 1, samples - 1);
        const uint32_t rounding = x % 2 == 0 ? 8 : 7;
        row[x] = static_cast<uint16_t>((3u * blended[own] + blended[other] + rounding) >> 4);
    }
}

class Upsampler {
  public:
    Upsampler(const Upsampled &source, size_t width)
        : source_(source), blended_(source.plane.width), row_(width) {}

    uint16_t *Row(size_t y) {
        BlendRows(source_, y, blended_);
        if (source_.horizontal == 2) {
            BlendColumns(blended_, source_.plane.width, row_.data(), row_.size());
            return row_.data();
        }
        for (size_t x = 0; x < row_.size(); ++x) {
            row_[x] = static_cast<uint16_t>((blended_[x / source_.horizontal] + 2) >> 2);
        }
        return row_.data();
    }

  private:
    const Upsampled &source_;
    std::vector<uint16_t> blended_;
    std::vector<uint16_t> row_;
};

uint16_t Clamp12(float value) {
    return static_cast<uint16_t>(
        static_cast<int32_t>(std::min(std::max(value, 0.0f), 4095.0f) + 0.5f));
}

/** Luminance and chrominance to RGB, in place. */
void ConvertRow(uint16_t *first, uint16_t *second, uint16_t *third, size_t width) {
    for (size_t x = 0; x < width; ++x) {
        const float y = first[x];
        const float cb = static_cast<float>(second[x]) - 2048.0f;
        const float cr = static_cast<float>(third[x]) - 2048.0f;
        first[x] = Clamp12(y + 1.402f * cr);
        second[x] = Clamp12(y - 0.344136f * cb - 0.714136f * cr);
        third[x] = Clamp12(y + 1.772f * cb);
    }
}

void StoreGray(const Target &target, const Plane &plane) {
    for (size_t y = 0; y < target.height; ++y) StoreRow(target, y, 0, plane.Row(y), 0);
}

} // namespace

void StorePlanes(const Target &target, std::span<const Upsampled> planes, bool convertsColors) {
    if (planes.size() == 1) return StoreGray(target, planes[0].plane);
    std::vector<Upsampler> upsamplers;
    for (const Upsampled &plane : planes) upsamplers.emplace_back(plane, target.width);
    for (size_t y = 0; y < target.height; ++y) {
        std::array<uint16_t *, 3> rows{upsamplers[0].Row(y), upsamplers[1].Row(y),
                                       upsamplers[2].Row(y)};
        if (convertsColors) ConvertRow(rows[0], rows[1], rows[2], target.width);
        for (size_t i = 0; i < 3; ++i) StoreRow(target, y, i, rows[i], 0);
    }
}

} // namespace jpeg
