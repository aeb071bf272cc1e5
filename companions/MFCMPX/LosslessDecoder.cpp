// Lossless sequential decoding with Huffman codes (ISO/IEC 10918-1, Annex H; process 14).

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "companions/MFCMPX/Decoder.h"
#include "companions/MFCMPX/HuffmanDecoder.h"
#include "companions/MFCMPX/Predictors.h"

namespace jpeg {
namespace {

/** The part of a component that decoding a row needs. */
struct Lane {
    size_t component = 0;
    const HuffmanDecoder *table = nullptr;
    std::vector<int16_t> differences;
    std::vector<uint16_t> row;
    std::vector<uint16_t> above;
};

using Lanes = std::array<Lane, kMaxComponents>;

template <size_t kCount>
bool DecodePixels(BitReader &reader, Lanes &lanes, size_t x, size_t pixels) {
    for (const size_t end = x + pixels; x < end; ++x) {
        for (size_t i = 0; i < kCount; ++i) {
            const Coded coded = lanes[i].table->Decode(reader);
            if (coded.bits == 0) return false;
            lanes[i].differences[x] = coded.value;
        }
    }
    return true;
}

/** The differences of a row of pixels. A copy of the reader can live in registers. */
template <size_t kCount>
bool DecodeDifferences(BitReader &shared, Lanes &lanes, size_t width) {
    static_assert(HuffmanDecoder::kLookupBits * 4 <= 56);
    constexpr size_t kPixels = kCount >= 4 ? 1 : 4 / kCount;
    BitReader reader = shared;
    bool good = true;
    size_t x = 0;
    for (; good && x + kPixels <= width; x += kPixels) {
        reader.Refill();
        good = DecodePixels<kCount>(reader, lanes, x, kPixels);
    }
    if (good && x < width) {
        reader.Refill();
        good = DecodePixels<kCount>(reader, lanes, x, width - x);
    }
    shared = reader;
    return good;
}

using DecodeFunction = bool (*)(BitReader &, Lanes &, size_t);
constexpr std::array<DecodeFunction, kMaxComponents + 1> kDecodeDifferences{
    nullptr, DecodeDifferences<1>, DecodeDifferences<2>, DecodeDifferences<3>,
    DecodeDifferences<4>};

class LosslessDecoder {
  public:
    LosslessDecoder(StreamParser &parser, const Target &target)
        : parser_(parser), target_(target), frame_(parser.TheFrame()) {}

    int32_t Run();

  private:
    int32_t DecodeScans();
    bool FrameIsKnown() const;
    bool BeginScan(Lanes &lanes);
    bool BuildTable(size_t index);
    Outcome DecodeScan();
    Outcome DecodeRows(BitReader &reader, Lanes &lanes);
    void FinishRow(Lane &lane, size_t y, bool isFirst);

    StreamParser &parser_;
    const Target &target_;
    const Frame &frame_;
    std::array<bool, kMaxComponents> seen_{};
    std::array<std::unique_ptr<HuffmanDecoder>, 4> tables_;
    size_t rowsDone_ = 0; ///< of all scans
};

bool LosslessDecoder::FrameIsKnown() const {
    const auto components = std::span(frame_.components).first(frame_.count);
    const bool sampled =
        frame_.count == 1 || std::all_of(components.begin(), components.end(), [](auto &each) {
            return each.horizontal == 1 && each.vertical == 1;
        });
    return sampled && frame_.precision >= 2 && frame_.precision <= 16;
}

/** Rows that the stream does not have are black. */
int32_t LosslessDecoder::Run() {
    if (!FrameIsKnown()) return MFCMPX_ERROR_FORMAT;
    const bool oneScan = frame_.count == 1;
    if (!oneScan) target_.Clear(0);
    const int32_t result = DecodeScans();
    if (oneScan) target_.Clear(rowsDone_);
    return result;
}

int32_t LosslessDecoder::DecodeScans() {
    const auto wanted = std::span(seen_).first(frame_.count);
    while (std::find(wanted.begin(), wanted.end(), false) != wanted.end()) {
        const Step step = parser_.Next();
        if (step == Step::End && rowsDone_ > 0) return MFCMPX_SUCCESS;
        if (step != Step::ScanFound) return MFCMPX_ERROR_FORMAT;
        const Outcome outcome = DecodeScan();
        if (outcome == Outcome::Corrupt || rowsDone_ == 0) return MFCMPX_ERROR_FORMAT;
        if (outcome == Outcome::EndsEarly) return MFCMPX_SUCCESS;
    }
    return MFCMPX_SUCCESS;
}

/** Tables may change between scans. */
bool LosslessDecoder::BuildTable(size_t index) {
    if (tables_[index] != nullptr) return true;
    tables_[index] = std::make_unique<HuffmanDecoder>();
    return tables_[index]->Build(parser_.DcTable(index), SymbolKind::Lossless);
}

bool LosslessDecoder::BeginScan(Lanes &lanes) {
    const Scan &scan = parser_.TheScan();
    if (scan.start < 1 || scan.start > 7 || scan.low >= frame_.precision) return false;
    if (parser_.RestartInterval() % target_.width != 0) return false;
    tables_ = {};
    for (size_t i = 0; i < scan.count; ++i) {
        const ScanComponent &component = scan.components[i];
        if (seen_[component.index] || !BuildTable(component.dc)) return false;
        seen_[component.index] = true;
        lanes[i].component = component.index;
        lanes[i].table = tables_[component.dc].get();
        lanes[i].differences.resize(target_.width);
        lanes[i].row.resize(target_.width);
        lanes[i].above.resize(target_.width);
    }
    return true;
}

Outcome LosslessDecoder::DecodeScan() {
    Lanes lanes;
    if (!BeginScan(lanes)) return Outcome::Corrupt;
    BitReader reader(parser_.Rest());
    const Outcome outcome = DecodeRows(reader, lanes);
    parser_.Skip(reader.Position());
    return outcome;
}

Outcome LosslessDecoder::DecodeRows(BitReader &reader, Lanes &lanes) {
    const size_t count = parser_.TheScan().count;
    const size_t restartRows = parser_.RestartInterval() / target_.width;
    unsigned restarts = 0;
    for (size_t y = 0; y < target_.height; ++y) {
        const bool restart = restartRows > 0 && y > 0 && y % restartRows == 0;
        if (restart && !reader.Restart(restarts++)) {
            return reader.AtEnd() ? Outcome::EndsEarly : Outcome::Corrupt;
        }
        const bool good = kDecodeDifferences[count](reader, lanes, target_.width);
        if (reader.Overrun()) return reader.AtEnd() ? Outcome::EndsEarly : Outcome::Corrupt;
        if (!good) return Outcome::Corrupt;
        for (Lane &lane : std::span(lanes).first(count)) FinishRow(lane, y, restart || y == 0);
        ++rowsDone_;
    }
    return Outcome::Complete;
}

void LosslessDecoder::FinishRow(Lane &lane, size_t y, bool isFirst) {
    const Scan &scan = parser_.TheScan();
    const unsigned predictor = isFirst ? 1 : scan.start;
    const int32_t middle = 1 << (frame_.precision - scan.low) >> 1;
    kAddPrediction[predictor](lane.differences.data(), lane.above.data(),
                              isFirst ? middle : lane.above[0], lane.row.data(), target_.width);
    StoreRow(target_, y, lane.component, lane.row.data(), scan.low);
    std::swap(lane.row, lane.above);
}

} // namespace

int32_t DecodeLossless(StreamParser &parser, const Target &target) {
    return LosslessDecoder(parser, target).Run();
}

} // namespace jpeg
