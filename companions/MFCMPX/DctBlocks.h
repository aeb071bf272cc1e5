// The entropy-coded data of a block (ISO/IEC 10918-1, F.2.2 and G.2): decoding into coefficients.

#pragma once

#include <cstdint>

#include "companions/MFCMPX/Dct.h"
#include "companions/MFCMPX/HuffmanDecoder.h"

namespace jpeg {

/** What decoding the blocks of a scan needs besides the block. */
struct BlockDecoder {
    BitReader reader;
    Scan scan;
    uint32_t endOfBandRun = 0; ///< blocks to come without new coefficients

    /// False for a code that there is not.
    ///@{
    bool DecodeSequential(const HuffmanDecoder &dc, const HuffmanDecoder &ac, int16_t &dcBefore,
                          Block &block);
    bool DecodeDcFirst(const HuffmanDecoder &dc, int16_t &dcBefore, int16_t *block);
    bool DecodeDcNext(int16_t *block);
    bool DecodeAcFirst(const HuffmanDecoder &ac, int16_t *block);
    bool DecodeAcNext(const HuffmanDecoder &ac, int16_t *block);
    ///@}

  private:
    bool DecodeDifference(const HuffmanDecoder &dc, int16_t &dcBefore);
    void BeginEndOfBandRun(unsigned category);
    void Refine(int16_t &coefficient);
    unsigned RefineRun(int16_t *block, unsigned k, unsigned run);
};

} // namespace jpeg
