// The predictors of lossless processes (ISO/IEC 10918-1, H.1.2), both ways.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace jpeg {

template <int kPredictor>
constexpr int32_t Predict(int32_t left, int32_t above, int32_t aboveLeft) {
    static_assert(kPredictor >= 1 && kPredictor <= 7);
    if constexpr (kPredictor == 1) return left;
    if constexpr (kPredictor == 2) return above;
    if constexpr (kPredictor == 3) return aboveLeft;
    if constexpr (kPredictor == 4) return left + above - aboveLeft;
    if constexpr (kPredictor == 5) return left + ((above - aboveLeft) >> 1);
    if constexpr (kPredictor == 6) return above + ((left - aboveLeft) >> 1);
    if constexpr (kPredictor == 7) return (left + above) >> 1;
}

/** Samples of a row from its differences, modulo 65536. The first is predicted by firstValue. */
template <int kPredictor>
void AddPrediction(const int16_t *differences, const uint16_t *above, int32_t firstValue,
                   uint16_t *row, size_t width) {
    row[0] = static_cast<uint16_t>(firstValue + differences[0]);
    int32_t left = row[0];
    for (size_t x = 1; x < width; ++x) {
        const int32_t predicted = Predict<kPredictor>(left, above[x], above[x - 1]);
        left = static_cast<uint16_t>(predicted + differences[x]);
        row[x] = static_cast<uint16_t>(left);
    }
}

/** The differences of a row. */
template <int kPredictor>
void SubtractPrediction(const uint16_t *row, const uint16_t *above, int32_t firstValue,
                        int16_t *differences, size_t width) {
    differences[0] = static_cast<int16_t>(row[0] - firstValue);
    for (size_t x = 1; x < width; ++x) {
        const int32_t predicted = Predict<kPredictor>(row[x - 1], above[x], above[x - 1]);
        differences[x] = static_cast<int16_t>(row[x] - predicted);
    }
}

using AddPredictionFunction = void (*)(const int16_t *, const uint16_t *, int32_t, uint16_t *,
                                       size_t);
using SubtractPredictionFunction = void (*)(const uint16_t *, const uint16_t *, int32_t, int16_t *,
                                            size_t);

/// By predictor. The first row after a restart uses predictor 1, and has no row above.
///@{
constexpr std::array<AddPredictionFunction, 8> kAddPrediction{
    nullptr,          AddPrediction<1>, AddPrediction<2>, AddPrediction<3>,
    AddPrediction<4>, AddPrediction<5>, AddPrediction<6>, AddPrediction<7>};
constexpr std::array<SubtractPredictionFunction, 8> kSubtractPrediction{nullptr,
                                                                        SubtractPrediction<1>,
                                                                        SubtractPrediction<2>,
                                                                        SubtractPrediction<3>,
                                                                        SubtractPrediction<4>,
                                                                        SubtractPrediction<5>,
                                                                        SubtractPrediction<6>,
                                                                        SubtractPrediction<7>};
///@}

} // namespace jpeg
