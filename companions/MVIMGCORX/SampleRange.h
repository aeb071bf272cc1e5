// The least and the greatest of samples, row by row.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

namespace imgcore {

/** The extremes of numbers in the order of samples, of the types that vector units of all ages
 *  compare: bytes without a sign, and words with one. */
template <typename Sample, typename Key>
class SampleRange {
  public:
    /** Samples are moved up, and their highest bit turned where that gives them their order. */
    SampleRange(int up, Sample flip) : m_Up(up), m_Flip(flip) {
        std::fill(std::begin(m_Extremes.least), std::end(m_Extremes.least),
                  std::numeric_limits<Key>::max());
        std::fill(std::begin(m_Extremes.greatest), std::end(m_Extremes.greatest),
                  std::numeric_limits<Key>::min());
    }

    /** Widens the range by the samples of a row, which need no alignment. */
    void Take(const uint8_t *samples, size_t count) {
        while (count > 0 && !m_IsWhole) {
            const size_t taken = std::min(count, kBetweenLooks);
            TakeSome(samples, taken);
            samples += taken * sizeof(Sample);
            count -= taken;
            m_SinceLook += taken;
            if (m_SinceLook < kBetweenLooks) continue;
            m_SinceLook = 0;
            m_IsWhole = IsWhole();
        }
    }

    Sample Least() const { return SampleOf(LeastKey()); }
    Sample Greatest() const { return SampleOf(GreatestKey()); }

  private:
    static constexpr size_t kLanes = 64 / sizeof(Sample); // independent of each other
    static constexpr size_t kBetweenLooks = 2048 * kLanes;
    struct Extremes {
        Key least[kLanes];
        Key greatest[kLanes];
    };

    Key LeastKey() const {
        return *std::min_element(std::begin(m_Extremes.least), std::end(m_Extremes.least));
    }
    Key GreatestKey() const {
        return *std::max_element(std::begin(m_Extremes.greatest), std::end(m_Extremes.greatest));
    }
    /** True where no sample could widen the range any more. */
    bool IsWhole() const {
        using Limits = std::numeric_limits<Key>;
        return GreatestKey() == Limits::max() && LeastKey() == Limits::min();
    }
    Sample SampleOf(Key key) const { return static_cast<Sample>(key ^ m_Flip); }

    void TakeSome(const uint8_t *samples, size_t count) {
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
    size_t m_SinceLook = 0; ///< samples
    bool m_IsWhole = false; ///< all that are still to come change nothing
};

} // namespace imgcore
