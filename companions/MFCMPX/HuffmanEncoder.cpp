// Huffman codes of least length.

#include "companions/MFCMPX/HuffmanEncoder.h"

#include <algorithm>
#include <numeric>
#include <queue>
#include <vector>

namespace jpeg {
namespace {

constexpr size_t kMostBits = 16;
/** Longest code before codes are shortened. Amounts double with each bit or two (Fibonacci), and
 *  no image has so many samples. */
constexpr size_t kTreeDepth = 64;
/** Stands beside the symbols, rarer than any, so that the code of ones is none of theirs. */
constexpr size_t kReserved = 256;

using LengthCounts = std::array<uint32_t, kTreeDepth + 1>;

struct Tree {
    uint64_t amount;
    size_t order; ///< among equal amounts the one with the greater order goes first
    std::vector<size_t> symbols;
};

struct IsHeavier {
    bool operator()(const Tree &a, const Tree &b) const {
        return a.amount != b.amount ? a.amount > b.amount : a.order < b.order;
    }
};

/** Joins the two lightest trees until one is left; a symbol's code has a bit for each join. */
std::array<uint8_t, kReserved + 1> CodeLengths(const Histogram &histogram) {
    std::array<uint8_t, kReserved + 1> lengths{};
    std::priority_queue<Tree, std::vector<Tree>, IsHeavier> trees;
    trees.push({1, kReserved, {kReserved}});
    for (size_t symbol = 0; symbol < histogram.size(); ++symbol) {
        // Twice: the reserved one is lighter than a symbol that occurs once.
        if (histogram[symbol] > 0) trees.push({2 * histogram[symbol], symbol, {symbol}});
    }
    while (trees.size() > 1) {
        Tree first = trees.top();
        trees.pop();
        Tree second = trees.top();
        trees.pop();
        first.amount += second.amount;
        first.order = std::max(first.order, second.order);
        first.symbols.insert(first.symbols.end(), second.symbols.begin(), second.symbols.end());
        for (const size_t symbol : first.symbols) ++lengths[symbol];
        trees.push(std::move(first));
    }
    return lengths;
}

/** Takes pairs of codes that are too long: one moves up a bit, the other below a shorter code. */
void Shorten(LengthCounts &counts) {
    for (size_t length = kTreeDepth; length > kMostBits; --length) {
        while (counts[length] > 0) {
            size_t shorter = length - 2;
            while (counts[shorter] == 0) --shorter;
            counts[length] -= 2;
            ++counts[length - 1];
            counts[shorter + 1] += 2;
            --counts[shorter];
        }
    }
}

} // namespace

HuffmanSpec OptimalCodes(const Histogram &histogram) {
    const auto lengths = CodeLengths(histogram);
    LengthCounts counts{};
    for (const uint8_t length : lengths) counts[length] += length > 0 ? 1 : 0;
    Shorten(counts);
    // The reserved symbol has one of the longest codes.
    size_t longest = kMostBits;
    while (longest > 0 && counts[longest] == 0) --longest;
    if (longest > 0) --counts[longest];

    HuffmanSpec spec;
    spec.isPresent = true;
    for (size_t i = 0; i < kMostBits; ++i) spec.counts[i] = static_cast<uint8_t>(counts[i + 1]);
    size_t used = 0;
    for (size_t length = 1; length <= kTreeDepth; ++length) {
        for (size_t symbol = 0; symbol < histogram.size(); ++symbol) {
            if (lengths[symbol] == length) spec.symbols[used++] = static_cast<uint8_t>(symbol);
        }
    }
    return spec;
}

HuffmanEncoder::HuffmanEncoder(const HuffmanSpec &spec) {
    uint32_t code = 0;
    size_t index = 0;
    for (uint32_t length = 1; length <= kMostBits; ++length) {
        for (unsigned i = 0; i < spec.counts[length - 1]; ++i) {
            codes_[spec.symbols[index++]] = {code++, length};
        }
        code <<= 1;
    }
}

} // namespace jpeg
