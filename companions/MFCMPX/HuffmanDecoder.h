// Huffman codes and the additional bits behind them (ISO/IEC 10918-1, F.2.2 and H.2.2).

#pragma once

#include <array>
#include <cstdint>

#include "companions/MFCMPX/BitReader.h"

namespace jpeg {

/** What the symbols of a table mean. */
enum class SymbolKind {
    Difference, ///< category of a DC difference
    RunAndSize, ///< run of zeros in the upper four bits, category in the lower
    Lossless    ///< category of a difference of 16 bits
};

/** A symbol with the value of its additional bits. */
struct Coded {
    int16_t value;
    uint8_t symbol;
    uint8_t bits; ///< length of code and additional bits; 0 if no code matched
};

/** The number that the additional bits of a category stand for. */
constexpr int32_t Extend(uint32_t bits, unsigned category) {
    const auto value = static_cast<int32_t>(bits);
    return value < (1 << category >> 1) ? value - (1 << category) + 1 : value;
}

/** Decodes code and additional bits in one step where both fit into kLookupBits. */
class HuffmanDecoder {
  public:
    static constexpr unsigned kLookupBits = 12;

    /** False for a table that is missing, over-full, or has symbols that its use does not know. */
    bool Build(const HuffmanSpec &spec, SymbolKind kind);

    /** Needs kLookupBits valid bits. After a symbol that was not in the table, and only then, the
     *  reader is full. */
    Coded Decode(BitReader &reader) const {
        const Coded found = lookup_[reader.Peek(kLookupBits)];
        if (found.bits == 0) [[unlikely]]
            return DecodeLong(reader);
        reader.Skip(found.bits);
        return found;
    }

  private:
    struct Code {
        uint8_t symbol;
        uint8_t length;
    };

    Coded DecodeLong(BitReader &reader) const;
    Code FindCode(uint32_t next16) const;
    unsigned CategoryOf(uint8_t symbol) const {
        return kind_ == SymbolKind::RunAndSize ? symbol & 15 : symbol;
    }
    bool AssignCodes(const HuffmanSpec &spec);
    void FillLookup();
    void FillCode(Code code, uint32_t bits);

    SymbolKind kind_ = SymbolKind::Difference;
    std::array<Coded, 1 << kLookupBits> lookup_;
    std::array<uint32_t, 17> limit_{}; ///< first value of 16 bits that is no code of the length
    std::array<uint32_t, 17> first_{}; ///< first code of the length
    std::array<uint32_t, 17> index_{}; ///< and the place of its symbol
    std::array<uint8_t, 256> symbols_{};
};

} // namespace jpeg
