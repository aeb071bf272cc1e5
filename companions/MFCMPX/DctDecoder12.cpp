// DCT-based decoding of 12 bits, sequential and progressive (ISO/IEC 10918-1, Annexes F and G).

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "companions/MFCMPX/DctBlocks.h"
#include "companions/MFCMPX/Decoder.h"
#include "companions/MFCMPX/Upsampling.h"

namespace jpeg {
namespace {

/** A component of the image. */
struct Channel {
    Plane plane;
    size_t horizontal = 1;
    size_t vertical = 1;
    size_t blocksWide = 0; ///< that a scan of the component alone has
    size_t blocksHigh = 0;
    size_t blocksAcross = 0; ///< with those that only fill up units of several components
    size_t blocksDown = 0;
    std::vector<int16_t> coefficients; ///< of all blocks; only in a progressive stream
    BlockFloats scales{};
    bool isScaled = false;

    size_t BlockIndex(size_t x, size_t y) const { return y * blocksAcross + x; }
};

/** A component of the scan. */
struct Lane {
    Channel *channel = nullptr;
    const HuffmanDecoder *dc = nullptr;
    const HuffmanDecoder *ac = nullptr;
    int16_t dcBefore = 0;
};

constexpr size_t Ratio(size_t value, size_t unit) {
    return (value + unit - 1) / unit;
}

class Dct12Decoder {
  public:
    Dct12Decoder(StreamParser &parser, const Target &target, int32_t color)
        : parser_(parser), target_(target), color_(color), frame_(parser.TheFrame()) {}

    int32_t Run();

  private:
    bool IsProgressive() const { return frame_.process == SOF2; }
    bool LayOut();
    void LayOutChannel(Channel &channel);
    bool ConvertsColors() const;

    int32_t DecodeScans();
    bool AllSeen() const;
    Outcome DecodeScan();
    bool BeginScan();
    bool ScanIsKnown() const;
    bool BuildTables(const ScanComponent &component, Lane &lane);
    bool BuildTable(size_t index, bool isDc, const HuffmanDecoder **table);
    bool TakeQuantization(size_t index);

    Outcome DecodeUnits(BlockDecoder &decoder);
    Outcome DecodeUnitRow(BlockDecoder &decoder, size_t wide, size_t y);
    bool Restart(BlockDecoder &decoder);
    bool DecodeUnit(BlockDecoder &decoder, size_t unitX, size_t unitY);
    bool DecodeBlock(BlockDecoder &decoder, Lane &lane, size_t x, size_t y);
    bool DecodeIntoCoefficients(BlockDecoder &decoder, Lane &lane, int16_t *block);
    void TransformCoefficients();

    StreamParser &parser_;
    const Target &target_;
    int32_t color_;
    const Frame &frame_;
    size_t horizontal_ = 1; ///< greatest sampling factors
    size_t vertical_ = 1;
    std::array<Channel, kMaxComponents> channels_;
    std::array<Lane, kMaxComponents> lanes_;
    std::array<std::unique_ptr<HuffmanDecoder>, 8> tables_; ///< DC and AC of the scan
    unsigned restarts_ = 0;
    bool hasRows_ = false; ///< a row of units is there
};

bool Dct12Decoder::LayOut() {
    const bool isSingle = frame_.count == 1;
    for (size_t i = 0; i < frame_.count; ++i) {
        channels_[i].horizontal = isSingle ? 1 : frame_.components[i].horizontal;
        channels_[i].vertical = isSingle ? 1 : frame_.components[i].vertical;
        horizontal_ = std::max(horizontal_, channels_[i].horizontal);
        vertical_ = std::max(vertical_, channels_[i].vertical);
    }
    for (Channel &channel : std::span(channels_).first(frame_.count)) {
        if (horizontal_ % channel.horizontal != 0 || vertical_ % channel.vertical != 0) {
            return false;
        }
        LayOutChannel(channel);
    }
    // Black, should a whole scan be missing.
    if (ConvertsColors()) {
        std::fill(channels_[1].plane.samples.begin(), channels_[1].plane.samples.end(), 2048);
        std::fill(channels_[2].plane.samples.begin(), channels_[2].plane.samples.end(), 2048);
    }
    return true;
}

void Dct12Decoder::LayOutChannel(Channel &channel) {
    Plane &plane = channel.plane;
    plane.width = Ratio(target_.width * channel.horizontal, horizontal_);
    plane.height = Ratio(target_.height * channel.vertical, vertical_);
    channel.blocksWide = Ratio(plane.width, 8);
    channel.blocksHigh = Ratio(plane.height, 8);
    channel.blocksAcross = Ratio(target_.width, 8 * horizontal_) * channel.horizontal;
    channel.blocksDown = Ratio(target_.height, 8 * vertical_) * channel.vertical;
    plane.stride = channel.blocksAcross * 8;
    const size_t samples = plane.stride * channel.blocksDown * 8;
    plane.samples.resize(samples);
    if (IsProgressive()) channel.coefficients.resize(samples);
}

bool Dct12Decoder::ConvertsColors() const {
    if (frame_.count != 3) return false;
    const auto &components = frame_.components;
    const ColorMarks marks{parser_.AdobeTransform(),
                           parser_.HasJfif(),
                           {components[0].id, components[1].id, components[2].id},
                           components[0].horizontal > components[1].horizontal ||
                               components[0].vertical > components[1].vertical};
    return HasChrominance(marks, color_);
}

int32_t Dct12Decoder::Run() {
    // The Adobe marker may stand behind the frame header.
    if (parser_.Next() != Step::ScanFound || !LayOut()) return MFCMPX_ERROR_FORMAT;
    const int32_t result = DecodeScans();
    if (IsProgressive()) TransformCoefficients();
    const std::array<Upsampled, 3> planes{
        Upsampled{channels_[0].plane, horizontal_ / channels_[0].horizontal,
                  vertical_ / channels_[0].vertical},
        Upsampled{channels_[1].plane, horizontal_ / channels_[1].horizontal,
                  vertical_ / channels_[1].vertical},
        Upsampled{channels_[2].plane, horizontal_ / channels_[2].horizontal,
                  vertical_ / channels_[2].vertical}};
    StorePlanes(target_, std::span(planes).first(frame_.count), ConvertsColors());
    return result;
}

bool Dct12Decoder::AllSeen() const {
    const auto channels = std::span(channels_).first(frame_.count);
    return std::all_of(channels.begin(), channels.end(), [](auto &each) { return each.isScaled; });
}

/** The first scan header is read already. */
int32_t Dct12Decoder::DecodeScans() {
    for (int scans = 0; scans < kMaxScans; ++scans) {
        const Outcome outcome = DecodeScan();
        if (outcome == Outcome::Corrupt || !hasRows_) return MFCMPX_ERROR_FORMAT;
        if (outcome == Outcome::EndsEarly) return MFCMPX_SUCCESS;
        if (!IsProgressive() && AllSeen()) return MFCMPX_SUCCESS;
        const Step step = parser_.Next();
        if (step == Step::End) return MFCMPX_SUCCESS;
        if (step != Step::ScanFound) return MFCMPX_ERROR_FORMAT;
    }
    return MFCMPX_ERROR_FORMAT;
}

Outcome Dct12Decoder::DecodeScan() {
    if (!BeginScan()) return Outcome::Corrupt;
    BlockDecoder decoder{BitReader(parser_.Rest()), parser_.TheScan()};
    const Outcome outcome = DecodeUnits(decoder);
    parser_.Skip(decoder.reader.Position());
    return outcome;
}

bool Dct12Decoder::ScanIsKnown() const {
    const Scan &scan = parser_.TheScan();
    if (!IsProgressive()) return true;
    const bool isDc = scan.start == 0 && scan.end == 0;
    const bool isAc =
        scan.start >= 1 && scan.start <= scan.end && scan.end < kBlockSize && scan.count == 1;
    return (isDc || isAc) && scan.low <= 13 && (scan.high == 0 || scan.high == scan.low + 1);
}

bool Dct12Decoder::BeginScan() {
    if (!ScanIsKnown()) return false;
    const Scan &scan = parser_.TheScan();
    tables_ = {};
    restarts_ = 0;
    for (size_t i = 0; i < scan.count; ++i) {
        const size_t index = scan.components[i].index;
        // A sequential scan has its components whole, once.
        if (channels_[index].isScaled ? !IsProgressive() : !TakeQuantization(index)) return false;
        lanes_[i] = {};
        lanes_[i].channel = &channels_[index];
        if (!BuildTables(scan.components[i], lanes_[i])) return false;
    }
    return true;
}

/** The table that holds when a component's first scan begins is the component's. */
bool Dct12Decoder::TakeQuantization(size_t index) {
    const auto *table = parser_.Quantization(frame_.components[index].quantization);
    if (table == nullptr) return false;
    channels_[index].scales = DctScales(*table, true);
    channels_[index].isScaled = true;
    return true;
}

bool Dct12Decoder::BuildTables(const ScanComponent &component, Lane &lane) {
    const Scan &scan = parser_.TheScan();
    const bool needsDc = !IsProgressive() || (scan.start == 0 && scan.high == 0);
    const bool needsAc = !IsProgressive() || scan.start > 0;
    return (!needsDc || BuildTable(component.dc, true, &lane.dc)) &&
           (!needsAc || BuildTable(component.ac, false, &lane.ac));
}

bool Dct12Decoder::BuildTable(size_t index, bool isDc, const HuffmanDecoder **table) {
    std::unique_ptr<HuffmanDecoder> &owner = tables_[isDc ? index : 4 + index];
    if (owner == nullptr) {
        owner = std::make_unique<HuffmanDecoder>();
        const bool good = isDc ? owner->Build(parser_.DcTable(index), SymbolKind::Difference)
                               : owner->Build(parser_.AcTable(index), SymbolKind::RunAndSize);
        if (!good) return false;
    }
    *table = owner.get();
    return true;
}

/** Data that stops before its end: the stream may stop there too. */
Outcome StopAt(const BitReader &reader) {
    return reader.AtEnd() ? Outcome::EndsEarly : Outcome::Corrupt;
}

Outcome Dct12Decoder::DecodeUnits(BlockDecoder &decoder) {
    const bool isSingle = decoder.scan.count == 1;
    const Channel &first = *lanes_[0].channel;
    const size_t wide = isSingle ? first.blocksWide : Ratio(target_.width, 8 * horizontal_);
    const size_t high = isSingle ? first.blocksHigh : Ratio(target_.height, 8 * vertical_);
    for (size_t y = 0; y < high; ++y) {
        const Outcome outcome = DecodeUnitRow(decoder, wide, y);
        if (outcome != Outcome::Complete) return outcome;
        hasRows_ = true;
    }
    return Outcome::Complete;
}

Outcome Dct12Decoder::DecodeUnitRow(BlockDecoder &decoder, size_t wide, size_t y) {
    const uint32_t interval = parser_.RestartInterval();
    for (size_t x = 0; x < wide; ++x) {
        const size_t unit = y * wide + x;
        const bool restart = interval > 0 && unit > 0 && unit % interval == 0;
        if (restart && (decoder.reader.Overrun() || !Restart(decoder))) {
            return StopAt(decoder.reader);
        }
        if (!DecodeUnit(decoder, x, y)) {
            return decoder.reader.Overrun() ? StopAt(decoder.reader) : Outcome::Corrupt;
        }
    }
    return decoder.reader.Overrun() ? StopAt(decoder.reader) : Outcome::Complete;
}

bool Dct12Decoder::Restart(BlockDecoder &decoder) {
    decoder.endOfBandRun = 0;
    for (Lane &lane : lanes_) lane.dcBefore = 0;
    return decoder.reader.Restart(restarts_++);
}

/** The blocks of a unit: one, or what the sampling factors say of each component. */
bool Dct12Decoder::DecodeUnit(BlockDecoder &decoder, size_t unitX, size_t unitY) {
    if (decoder.scan.count == 1) return DecodeBlock(decoder, lanes_[0], unitX, unitY);
    for (Lane &lane : std::span(lanes_).first(decoder.scan.count)) {
        const size_t across = lane.channel->horizontal;
        const size_t down = lane.channel->vertical;
        for (size_t i = 0; i < across * down; ++i) {
            const size_t x = unitX * across + i % across;
            const size_t y = unitY * down + i / across;
            if (!DecodeBlock(decoder, lane, x, y)) return false;
        }
    }
    return true;
}

bool Dct12Decoder::DecodeBlock(BlockDecoder &decoder, Lane &lane, size_t x, size_t y) {
    Channel &channel = *lane.channel;
    if (IsProgressive()) {
        int16_t *block = channel.coefficients.data() + channel.BlockIndex(x, y) * kBlockSize;
        return DecodeIntoCoefficients(decoder, lane, block);
    }
    Block block{};
    if (!decoder.DecodeSequential(*lane.dc, *lane.ac, lane.dcBefore, block)) return false;
    InverseDct12(block, channel.scales, channel.plane.BlockAt(x, y), channel.plane.stride);
    return true;
}

bool Dct12Decoder::DecodeIntoCoefficients(BlockDecoder &decoder, Lane &lane, int16_t *block) {
    if (decoder.scan.start == 0) {
        return decoder.scan.high == 0 ? decoder.DecodeDcFirst(*lane.dc, lane.dcBefore, block)
                                      : decoder.DecodeDcNext(block);
    }
    return decoder.scan.high == 0 ? decoder.DecodeAcFirst(*lane.ac, block)
                                  : decoder.DecodeAcNext(*lane.ac, block);
}

void Dct12Decoder::TransformCoefficients() {
    for (Channel &channel : std::span(channels_).first(frame_.count)) {
        const int16_t *next = channel.coefficients.data();
        for (size_t i = 0; i < channel.blocksAcross * channel.blocksDown; ++i) {
            Block block;
            std::copy_n(next + i * kBlockSize, kBlockSize, block.begin());
            InverseDct12(block, channel.scales,
                         channel.plane.BlockAt(i % channel.blocksAcross, i / channel.blocksAcross),
                         channel.plane.stride);
        }
    }
}

} // namespace

int32_t DecodeDct12(StreamParser &parser, const Target &target, int32_t color) {
    return Dct12Decoder(parser, target, color).Run();
}

} // namespace jpeg
