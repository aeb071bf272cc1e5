// Huffman codes and the additional bits behind them.

#include "companions/MFCMPX/HuffmanDecoder.h"

#include <algorithm>
#include <span>

namespace jpeg {

bool HuffmanDecoder::Build(const HuffmanSpec &spec, SymbolKind kind) {
    kind_ = kind;
    symbols_ = spec.symbols;
    if (!spec.isPresent || !AssignCodes(spec)) return false;
    FillLookup();
    return true;
}

bool HuffmanDecoder::AssignCodes(const HuffmanSpec &spec) {
    uint32_t code = 0;
    uint32_t index = 0;
    for (unsigned length = 1; length <= 16; ++length) {
        const uint32_t count = spec.counts[length - 1];
        if (code + count > 1u << length) return false;
        first_[length] = code;
        index_[length] = index;
        limit_[length] = (code + count) << (16 - length);
        index += count;
        code = (code + count) << 1;
    }
    const unsigned greatest = kind_ == SymbolKind::Lossless ? 16 : 15;
    const auto used = std::span(symbols_).first(index);
    return index > 0 && std::all_of(used.begin(), used.end(), [this, greatest](uint8_t symbol) {
               return CategoryOf(symbol) <= greatest;
           });
}

HuffmanDecoder::Code HuffmanDecoder::FindCode(uint32_t next16) const {
    for (unsigned length = 1; length <= 16; ++length) {
        if (next16 >= limit_[length]) continue;
        const uint32_t code = next16 >> (16 - length);
        return {symbols_[index_[length] + code - first_[length]], static_cast<uint8_t>(length)};
    }
    return {0, 0};
}

void HuffmanDecoder::FillLookup() {
    lookup_ = {};
    for (unsigned length = 1; length <= kLookupBits; ++length) {
        const uint32_t end = limit_[length] >> (16 - length);
        for (uint32_t code = first_[length]; code < end; ++code) {
            const uint8_t symbol = symbols_[index_[length] + code - first_[length]];
            FillCode({symbol, static_cast<uint8_t>(length)}, code);
        }
    }
}

/** Enters a code with every value of the bits behind it. */
void HuffmanDecoder::FillCode(Code code, uint32_t bits) {
    const unsigned category = CategoryOf(code.symbol);
    const unsigned extra = category == 16 ? 0 : category;
    const unsigned total = code.length + extra;
    if (total > kLookupBits) return;
    const unsigned unused = kLookupBits - total;
    size_t place = size_t{bits} << (kLookupBits - code.length);
    for (uint32_t value = 0; value < 1u << extra; ++value) {
        const int32_t number = category == 16 ? -32768 : Extend(value, extra);
        const Coded coded{static_cast<int16_t>(number), code.symbol, static_cast<uint8_t>(total)};
        std::fill_n(lookup_.begin() + static_cast<ptrdiff_t>(place), size_t{1} << unused, coded);
        place += size_t{1} << unused;
    }
}

Coded HuffmanDecoder::DecodeLong(BitReader &reader) const {
    reader.Refill();
    const Code code = FindCode(reader.Peek(16));
    if (code.length == 0) return {};
    reader.Skip(code.length);
    const unsigned category = CategoryOf(code.symbol);
    int32_t value = category == 16 ? -32768 : 0;
    unsigned bits = code.length;
    if (category > 0 && category < 16) {
        value = Extend(reader.Peek(category), category);
        reader.Skip(category);
        bits += category;
    }
    reader.Refill();
    return {static_cast<int16_t>(value), code.symbol, static_cast<uint8_t>(bits)};
}

} // namespace jpeg
