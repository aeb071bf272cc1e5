// Huffman codes of least length (ISO/IEC 10918-1, Annex K.2), and values as categories.

#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "companions/MFCMPX/BitWriter.h"
#include "companions/MFCMPX/JpegMarkers.h"

namespace jpeg {

/** How often each symbol occurs. */
using Histogram = std::array<uint64_t, 256>;

/** Codes of at most 16 bits for the symbols that occur; none of them has only ones. */
HuffmanSpec OptimalCodes(const Histogram &histogram);

class HuffmanEncoder {
  public:
    explicit HuffmanEncoder(const HuffmanSpec &spec);

    /** Puts a symbol and up to 16 bits behind it. */
    void Put(BitWriter &writer, unsigned symbol, uint32_t extra, unsigned extraBits) const {
        const Code code = codes_[symbol];
        writer.PutBits(code.bits << extraBits | extra, code.length + extraBits);
    }

  private:
    struct Code {
        uint32_t bits = 0;
        uint32_t length = 0;
    };
    std::array<Code, 256> codes_{};
};

/** Bits that the amount of a value has. */
constexpr unsigned CategoryOf(int32_t value) {
    const auto amount = static_cast<uint32_t>(value < 0 ? -value : value);
    // One bit more, which is never zero: the instruction behind has no answer for zero.
    return 31 - static_cast<unsigned>(std::countl_zero(amount << 1 | 1));
}

/** The additional bits of a value. */
constexpr uint32_t ExtraBits(int32_t value, unsigned category) {
    return static_cast<uint32_t>(value - (value < 0 ? 1 : 0)) & ((1u << category) - 1);
}

} // namespace jpeg
