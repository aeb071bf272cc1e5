// Rows of a codec's depth turned into rows of a bitmap's.

#pragma once

#include <cstdint>
#include <optional>

#include "MvkrnxBitmap.h"

namespace mdicom {

/** Turns rows of one depth into another without loss. */
class RowConversion {
  public:
    /** Nothing if samples of from could be lost in to. significantBits is what the source says of
     *  its samples, whatever room they take. */
    static std::optional<RowConversion> Choose(int32_t from, int32_t to, int32_t significantBits);

    /** Samples are signed when the source's record says so. */
    void Convert(const uint8_t *row, uint8_t *out, uint32_t width, bool isSigned) const {
        m_Convert(row, out, width, isSigned);
    }

  private:
    using Function = void (*)(const uint8_t *, uint8_t *, uint32_t, bool);
    explicit RowConversion(Function convert) : m_Convert(convert) {}

    Function m_Convert;
};

} // namespace mdicom
