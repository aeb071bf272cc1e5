// The entropy-coded data of a block.

#include "companions/MFCMPX/DctBlocks.h"

namespace jpeg {

bool BlockDecoder::DecodeDifference(const HuffmanDecoder &dc, int16_t &dcBefore) {
    reader.Refill();
    const Coded coded = dc.Decode(reader);
    dcBefore = static_cast<int16_t>(dcBefore + coded.value);
    return coded.bits != 0;
}

bool BlockDecoder::DecodeSequential(const HuffmanDecoder &dc, const HuffmanDecoder &ac,
                                    int16_t &dcBefore, Block &block) {
    if (!DecodeDifference(dc, dcBefore)) return false;
    block[0] = dcBefore;
    for (unsigned k = 1; k < kBlockSize; ++k) {
        reader.Refill();
        const Coded coded = ac.Decode(reader);
        if (coded.bits == 0) return false;
        const unsigned run = coded.symbol >> 4;
        if ((coded.symbol & 15) == 0 && run != 15) break; // end of block
        k += run;
        if (k >= kBlockSize) return false;
        block[kTransposedZigzag[k]] = coded.value;
    }
    return true;
}

bool BlockDecoder::DecodeDcFirst(const HuffmanDecoder &dc, int16_t &dcBefore, int16_t *block) {
    if (!DecodeDifference(dc, dcBefore)) return false;
    block[0] = static_cast<int16_t>(dcBefore * (1 << scan.low));
    return true;
}

bool BlockDecoder::DecodeDcNext(int16_t *block) {
    if (reader.Take(1) != 0) block[0] = static_cast<int16_t>(block[0] | 1 << scan.low);
    return true;
}

void BlockDecoder::BeginEndOfBandRun(unsigned category) {
    endOfBandRun = 1u << category;
    if (category > 0) endOfBandRun += reader.Take(category);
}

bool BlockDecoder::DecodeAcFirst(const HuffmanDecoder &ac, int16_t *block) {
    for (unsigned k = scan.start; endOfBandRun == 0 && k <= scan.end; ++k) {
        reader.Refill();
        const Coded coded = ac.Decode(reader);
        if (coded.bits == 0) return false;
        const unsigned run = coded.symbol >> 4;
        if ((coded.symbol & 15) == 0 && run != 15) {
            BeginEndOfBandRun(run);
            break;
        }
        k += run;
        if (k > scan.end) return false;
        block[kTransposedZigzag[k]] = static_cast<int16_t>(coded.value * (1 << scan.low));
    }
    if (endOfBandRun > 0) --endOfBandRun;
    return true;
}

/** One more bit of a coefficient that is not zero already. */
void BlockDecoder::Refine(int16_t &coefficient) {
    const int bit = 1 << scan.low;
    if (reader.Take(1) == 0 || (coefficient & bit) != 0) return;
    coefficient = static_cast<int16_t>(coefficient + (coefficient < 0 ? -bit : bit));
}

/** Passes over a run of zeros, refining what lies between; the place behind it. */
unsigned BlockDecoder::RefineRun(int16_t *block, unsigned k, unsigned run) {
    for (; k <= scan.end; ++k) {
        int16_t &coefficient = block[kTransposedZigzag[k]];
        if (coefficient != 0) {
            Refine(coefficient);
        } else if (run-- == 0) {
            break;
        }
    }
    return k;
}

bool BlockDecoder::DecodeAcNext(const HuffmanDecoder &ac, int16_t *block) {
    unsigned k = scan.start;
    for (; endOfBandRun == 0 && k <= scan.end; ++k) {
        reader.Refill();
        const Coded coded = ac.Decode(reader);
        const unsigned category = coded.symbol & 15;
        const unsigned run = coded.symbol >> 4;
        if (coded.bits == 0 || category > 1) return false;
        if (category == 0 && run != 15) {
            BeginEndOfBandRun(run);
            break;
        }
        k = RefineRun(block, k, run);
        if (category == 0) continue;
        if (k > scan.end) return false;
        block[kTransposedZigzag[k]] = static_cast<int16_t>(coded.value * (1 << scan.low));
    }
    if (endOfBandRun > 0) {
        RefineRun(block, k, kBlockSize);
        --endOfBandRun;
    }
    return true;
}

} // namespace jpeg
