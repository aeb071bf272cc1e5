// The cosine transform of 8x8 samples and back (ISO/IEC 10918-1, A.3.3), after Arai, Agui and
// Nakajima: five multiplications per row, and factors that go into the quantization tables.
//
// Blocks of coefficients are stored transposed, column after column: both transforms need one
// transposition only then, and work on eight columns at a time.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace jpeg {

constexpr size_t kBlockSize = 64;
using Block = std::array<int16_t, kBlockSize>;
using BlockFloats = std::array<float, kBlockSize>;

/** Where the coefficients of the zigzag order stand in a transposed block. */
constexpr std::array<uint8_t, kBlockSize> MakeTransposedZigzag() {
    std::array<uint8_t, kBlockSize> places{};
    size_t row = 0;
    size_t column = 0;
    for (uint8_t &place : places) {
        place = static_cast<uint8_t>(column * 8 + row);
        const bool up = (row + column) % 2 == 0;
        size_t &back = up ? row : column;
        size_t &forth = up ? column : row;
        if (forth == 7) {
            ++back;
        } else {
            ++forth;
            back -= back > 0 ? 1 : 0;
        }
    }
    return places;
}
constexpr std::array<uint8_t, kBlockSize> kTransposedZigzag = MakeTransposedZigzag();

/** The transform's own factors of a row or column. */
constexpr std::array<double, 8> kDctFactors{
    1.0, 1.387039845322148, 1.306562964876377, 1.175875602419359,
    1.0, 0.785694958387102, 0.541196100146197, 0.275899379282943};

/** Factors for one of the transforms from a quantization table in zigzag order. */
inline BlockFloats DctScales(const std::array<uint16_t, kBlockSize> &quantization, bool inverse) {
    BlockFloats scales{};
    for (size_t k = 0; k < kBlockSize; ++k) {
        const size_t place = kTransposedZigzag[k];
        const double own = kDctFactors[place / 8] * kDctFactors[place % 8] / 8;
        const double step = quantization[k];
        scales[place] = static_cast<float>(inverse ? step * own : 1 / (step * own * 64));
    }
    return scales;
}

/** Eight inverse transforms, of the columns. */
inline void InversePass(const BlockFloats &in, BlockFloats &out) {
    for (size_t i = 0; i < 8; ++i) {
        const float even0 = in[i] + in[32 + i];
        const float even1 = in[i] - in[32 + i];
        const float even3 = in[16 + i] + in[48 + i];
        const float even2 = (in[16 + i] - in[48 + i]) * 1.414213562f - even3;
        const float a0 = even0 + even3;
        const float a3 = even0 - even3;
        const float a1 = even1 + even2;
        const float a2 = even1 - even2;

        const float z13 = in[40 + i] + in[24 + i];
        const float z10 = in[40 + i] - in[24 + i];
        const float z11 = in[8 + i] + in[56 + i];
        const float z12 = in[8 + i] - in[56 + i];
        const float z5 = (z10 + z12) * 1.847759065f;
        const float b7 = z11 + z13;
        const float b6 = z5 - z10 * 2.613125930f - b7;
        const float b5 = (z11 - z13) * 1.414213562f - b6;
        const float b4 = z5 - z12 * 1.082392200f - b5;

        out[i] = a0 + b7;
        out[8 + i] = a1 + b6;
        out[16 + i] = a2 + b5;
        out[24 + i] = a3 + b4;
        out[32 + i] = a3 - b4;
        out[40 + i] = a2 - b5;
        out[48 + i] = a1 - b6;
        out[56 + i] = a0 - b7;
    }
}

/** Eight transforms, of the columns. */
inline void ForwardPass(const BlockFloats &in, BlockFloats &out) {
    for (size_t i = 0; i < 8; ++i) {
        const float s0 = in[i] + in[56 + i];
        const float d0 = in[i] - in[56 + i];
        const float s1 = in[8 + i] + in[48 + i];
        const float d1 = in[8 + i] - in[48 + i];
        const float s2 = in[16 + i] + in[40 + i];
        const float d2 = in[16 + i] - in[40 + i];
        const float s3 = in[24 + i] + in[32 + i];
        const float d3 = in[24 + i] - in[32 + i];

        const float even0 = s0 + s3;
        const float even3 = s0 - s3;
        const float even1 = s1 + s2;
        const float z1 = (s1 - s2 + even3) * 0.707106781f;
        out[i] = even0 + even1;
        out[32 + i] = even0 - even1;
        out[16 + i] = even3 + z1;
        out[48 + i] = even3 - z1;

        const float odd0 = d3 + d2;
        const float odd1 = d2 + d1;
        const float odd2 = d1 + d0;
        const float z5 = (odd0 - odd2) * 0.382683433f;
        const float z2 = odd0 * 0.541196100f + z5;
        const float z4 = odd2 * 1.306562965f + z5;
        const float z3 = odd1 * 0.707106781f;
        const float z11 = d0 + z3;
        const float z13 = d0 - z3;
        out[40 + i] = z13 + z2;
        out[24 + i] = z13 - z2;
        out[8 + i] = z11 + z4;
        out[56 + i] = z11 - z4;
    }
}

inline void Transpose(const BlockFloats &in, BlockFloats &out) {
    for (size_t row = 0; row < 8; ++row) {
        for (size_t column = 0; column < 8; ++column) out[row * 8 + column] = in[column * 8 + row];
    }
}

constexpr float kMiddle12 = 2048;
constexpr float kMost12 = 4095;

/** Samples of 12 bits from the coefficients of a block. */
inline void InverseDct12(const Block &coefficients, const BlockFloats &scales, uint16_t *samples,
                         size_t stride) {
    BlockFloats a;
    BlockFloats b;
    for (size_t i = 0; i < kBlockSize; ++i) {
        a[i] = static_cast<float>(coefficients[i]) * scales[i];
    }
    InversePass(a, b);
    Transpose(b, a);
    InversePass(a, b);
    for (size_t y = 0; y < 8; ++y) {
        for (size_t x = 0; x < 8; ++x) {
            const float level = std::min(std::max(b[y * 8 + x] + kMiddle12, 0.0f), kMost12);
            samples[y * stride + x] = static_cast<uint16_t>(static_cast<int32_t>(level + 0.5f));
        }
    }
}

/** The coefficients of a block of samples of 12 bits. */
inline void ForwardDct12(const uint16_t *samples, size_t stride, const BlockFloats &scales,
                         Block &coefficients) {
    BlockFloats a;
    BlockFloats b;
    for (size_t y = 0; y < 8; ++y) {
        for (size_t x = 0; x < 8; ++x) {
            a[y * 8 + x] = static_cast<float>(samples[y * stride + x]) - kMiddle12;
        }
    }
    ForwardPass(a, b);
    Transpose(b, a);
    ForwardPass(a, b);
    for (size_t i = 0; i < kBlockSize; ++i) {
        const float level = b[i] * scales[i];
        coefficients[i] =
            static_cast<int16_t>(static_cast<int32_t>(level + (level < 0 ? -0.5f : 0.5f)));
    }
}

} // namespace jpeg
