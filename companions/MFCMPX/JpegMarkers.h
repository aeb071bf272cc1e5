// Marker segments of JPEG streams (ISO/IEC 10918-1, Annex B): what a stream says about itself and
// its scans.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace jpeg {

enum Marker : uint8_t {
    SOF0 = 0xC0, ///< baseline
    SOF1 = 0xC1, ///< extended sequential
    SOF2 = 0xC2, ///< progressive
    SOF3 = 0xC3, ///< lossless
    DHT = 0xC4,
    JPG = 0xC8,
    DAC = 0xCC,
    SOF15 = 0xCF,
    RST0 = 0xD0,
    RST7 = 0xD7,
    SOI = 0xD8,
    EOI = 0xD9,
    SOS = 0xDA,
    DQT = 0xDB,
    DNL = 0xDC,
    DRI = 0xDD,
    DHP = 0xDE,
    EXP = 0xDF,
    APP0 = 0xE0,
    APP14 = 0xEE
};

constexpr size_t kMaxComponents = 4;
/** Scans that a stream may have. Each can visit the whole image, however few bytes it has. */
constexpr int kMaxScans = 200;

struct HuffmanSpec {
    bool isPresent = false;
    std::array<uint8_t, 16> counts{}; ///< of codes of 1 to 16 bits
    std::array<uint8_t, 256> symbols{};
};

struct Component {
    uint8_t id = 0;
    uint8_t horizontal = 1; ///< sampling factors, 1 to 4
    uint8_t vertical = 1;
    uint8_t quantization = 0; ///< its table, 0 to 3
};

struct Frame {
    uint8_t process = 0; ///< the SOF marker
    uint8_t precision = 0;
    uint16_t height = 0;
    uint16_t width = 0;
    size_t count = 0;
    std::array<Component, kMaxComponents> components{};
};

struct ScanComponent {
    size_t index = 0; ///< in the frame
    uint8_t dc = 0;   ///< Huffman tables, 0 to 3
    uint8_t ac = 0;
};

struct Scan {
    size_t count = 0;
    std::array<ScanComponent, kMaxComponents> components{};
    uint8_t start = 0; ///< of the spectral selection; the predictor of a lossless scan
    uint8_t end = 0;
    uint8_t high = 0; ///< successive approximation
    uint8_t low = 0;  ///< the same; the point transform of a lossless scan
};

/** Reads bytes that are there, and no others. */
class Cursor {
  public:
    explicit Cursor(std::span<const uint8_t> data) : data_(data) {}

    size_t Position() const { return position_; }
    size_t Left() const { return data_.size() - position_; }
    void Seek(size_t position) { position_ = position < data_.size() ? position : data_.size(); }

    bool Read8(uint8_t *value);
    bool Read16(uint16_t *value);
    /** The next bytes as a cursor of their own. */
    std::optional<Cursor> Take(size_t size);
    bool Copy(std::span<uint8_t> target);
    /** Moves behind the next marker; nothing if there is none. Bytes in between are passed over,
     *  as are fill bytes and stuffed zeros. */
    std::optional<uint8_t> NextMarker();

  private:
    std::span<const uint8_t> data_;
    size_t position_ = 0;
};

enum class Step {
    FrameFound,
    ScanFound, ///< entropy-coded data follows
    End,       ///< EOI, or the bytes are used up
    Bad
};

/** Walks over the markers of a stream and keeps what they define. */
class StreamParser {
  public:
    explicit StreamParser(std::span<const uint8_t> data) : data_(data), cursor_(data) {}

    /** Reads SOI; false where it is missing. */
    bool Begin();
    /** Goes on to the next frame header or scan header. */
    Step Next();

    const Frame &TheFrame() const { return frame_; }
    const Scan &TheScan() const { return scan_; }
    /** All bytes from here on; a scan's data begins with them. */
    std::span<const uint8_t> Rest() const { return data_.subspan(cursor_.Position()); }
    /** Passes over bytes of the rest. */
    void Skip(size_t bytes) { cursor_.Seek(cursor_.Position() + bytes); }

    const HuffmanSpec &DcTable(size_t index) const { return huffman_[0][index]; }
    const HuffmanSpec &AcTable(size_t index) const { return huffman_[1][index]; }
    /** In zigzag order; null if the stream has not defined it. */
    const std::array<uint16_t, 64> *Quantization(size_t index) const;
    uint32_t RestartInterval() const { return restartInterval_; }
    bool HasJfif() const { return hasJfif_; }
    std::optional<uint8_t> AdobeTransform() const { return adobeTransform_; }

  private:
    bool ReadSegment(uint8_t marker, Cursor segment);
    bool ReadFrame(uint8_t marker, Cursor &segment);
    bool ReadScan(Cursor &segment);
    bool ReadScanComponent(Cursor &segment, ScanComponent &component);
    bool ReadHuffman(Cursor &segment);
    bool ReadQuantization(Cursor &segment);
    bool ReadRestartInterval(Cursor &segment);
    void ReadAdobe(Cursor &segment);

    std::span<const uint8_t> data_;
    Cursor cursor_;
    Frame frame_;
    Scan scan_;
    std::array<std::array<HuffmanSpec, 4>, 2> huffman_;
    std::array<std::array<uint16_t, 64>, 4> quantization_{};
    std::array<bool, 4> hasQuantization_{};
    uint32_t restartInterval_ = 0;
    bool hasJfif_ = false;
    std::optional<uint8_t> adobeTransform_;
};

} // namespace jpeg
