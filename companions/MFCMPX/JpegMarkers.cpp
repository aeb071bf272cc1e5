// Marker segments of JPEG streams.

#include "companions/MFCMPX/JpegMarkers.h"

#include <algorithm>
#include <numeric>

namespace jpeg {

bool Cursor::Read8(uint8_t *value) {
    if (Left() < 1) return false;
    *value = data_[position_++];
    return true;
}

bool Cursor::Read16(uint16_t *value) {
    if (Left() < 2) return false;
    *value = static_cast<uint16_t>(data_[position_] << 8 | data_[position_ + 1]);
    position_ += 2;
    return true;
}

std::optional<Cursor> Cursor::Take(size_t size) {
    if (Left() < size) return std::nullopt;
    Cursor taken(data_.subspan(position_, size));
    position_ += size;
    return taken;
}

bool Cursor::Copy(std::span<uint8_t> target) {
    if (Left() < target.size()) return false;
    std::copy_n(data_.begin() + static_cast<ptrdiff_t>(position_), target.size(), target.begin());
    position_ += target.size();
    return true;
}

std::optional<uint8_t> Cursor::NextMarker() {
    uint8_t before = 0;
    uint8_t byte = 0;
    while (Read8(&byte)) {
        if (before == 0xFF && byte != 0xFF && byte != 0) return byte;
        before = byte;
    }
    return std::nullopt;
}

bool StreamParser::Begin() {
    uint16_t marker = 0;
    return cursor_.Read16(&marker) && marker == (0xFF00 | SOI);
}

Step StreamParser::Next() {
    while (const std::optional<uint8_t> marker = cursor_.NextMarker()) {
        if (*marker == EOI) return Step::End;
        // Without length: restarts that a scan did not ask for, TEM and what is reserved.
        if ((*marker >= RST0 && *marker <= RST7) || *marker < SOF0) continue;
        uint16_t length = 0;
        if (!cursor_.Read16(&length)) return Step::End;
        if (length < 2) return Step::Bad;
        const std::optional<Cursor> segment = cursor_.Take(length - size_t{2});
        if (!segment) return Step::End;
        if (!ReadSegment(*marker, *segment)) return Step::Bad;
        if (*marker == SOS) return Step::ScanFound;
        if (*marker <= SOF3) return Step::FrameFound;
    }
    return Step::End;
}

bool StreamParser::ReadSegment(uint8_t marker, Cursor segment) {
    constexpr std::array<uint8_t, 4> jfif{'J', 'F', 'I', 'F'};
    std::array<uint8_t, 4> name{};
    switch (marker) {
        case SOF0:
        case SOF1:
        case SOF2:
        case SOF3:
            return ReadFrame(marker, segment);
        case DHT:
            return ReadHuffman(segment);
        case SOS:
            return ReadScan(segment);
        case DQT:
            return ReadQuantization(segment);
        case DRI:
            return ReadRestartInterval(segment);
        case SOI: // a picture within the picture
        case DNL:
        case DHP:
        case EXP:
            return false;
        case APP0:
            hasJfif_ = hasJfif_ || (segment.Copy(name) && name == jfif);
            return true;
        case APP14:
            ReadAdobe(segment);
            return true;
        default: // other processes; other segments tell nothing about the pixels
            return marker > SOF15;
    }
}

bool StreamParser::ReadFrame(uint8_t marker, Cursor &segment) {
    if (frame_.count != 0) return false;
    uint8_t count = 0;
    if (!segment.Read8(&frame_.precision) || !segment.Read16(&frame_.height) ||
        !segment.Read16(&frame_.width) || !segment.Read8(&count)) {
        return false;
    }
    if (count == 0 || count > kMaxComponents) return false;
    frame_.process = marker;
    frame_.count = count;
    for (Component &component : std::span(frame_.components).first(count)) {
        uint8_t sampling = 0;
        if (!segment.Read8(&component.id) || !segment.Read8(&sampling) ||
            !segment.Read8(&component.quantization)) {
            return false;
        }
        component.horizontal = sampling >> 4;
        component.vertical = sampling & 15;
        if (component.horizontal < 1 || component.horizontal > 4 || component.vertical < 1 ||
            component.vertical > 4 || component.quantization > 3) {
            return false;
        }
    }
    return true;
}

bool StreamParser::ReadScanComponent(Cursor &segment, ScanComponent &component) {
    uint8_t id = 0;
    uint8_t tables = 0;
    if (!segment.Read8(&id) || !segment.Read8(&tables)) return false;
    component.dc = tables >> 4;
    component.ac = tables & 15;
    const auto known = std::span(frame_.components).first(frame_.count);
    const auto found = std::find_if(known.begin(), known.end(),
                                    [id](const Component &each) { return each.id == id; });
    component.index = static_cast<size_t>(found - known.begin());
    return found != known.end() && component.dc <= 3 && component.ac <= 3;
}

bool StreamParser::ReadScan(Cursor &segment) {
    uint8_t count = 0;
    if (!segment.Read8(&count) || count == 0 || count > frame_.count) return false;
    scan_.count = count;
    for (size_t i = 0; i < count; ++i) {
        if (!ReadScanComponent(segment, scan_.components[i])) return false;
        // In the order of the frame, hence none twice.
        if (i > 0 && scan_.components[i].index <= scan_.components[i - 1].index) return false;
    }
    uint8_t approximation = 0;
    if (!segment.Read8(&scan_.start) || !segment.Read8(&scan_.end) ||
        !segment.Read8(&approximation)) {
        return false;
    }
    scan_.high = approximation >> 4;
    scan_.low = approximation & 15;
    return true;
}

bool StreamParser::ReadHuffman(Cursor &segment) {
    while (segment.Left() > 0) {
        uint8_t place = 0;
        HuffmanSpec spec;
        if (!segment.Read8(&place) || (place >> 4) > 1 || (place & 15) > 3) return false;
        if (!segment.Copy(spec.counts)) return false;
        const int total = std::accumulate(spec.counts.begin(), spec.counts.end(), 0);
        if (total > 256) return false;
        if (!segment.Copy(std::span(spec.symbols).first(static_cast<size_t>(total)))) return false;
        spec.isPresent = true;
        huffman_[place >> 4][place & 15] = spec;
    }
    return true;
}

bool StreamParser::ReadQuantization(Cursor &segment) {
    while (segment.Left() > 0) {
        uint8_t place = 0;
        if (!segment.Read8(&place) || (place >> 4) > 1 || (place & 15) > 3) return false;
        for (uint16_t &value : quantization_[place & 15]) {
            uint8_t low = 0;
            if ((place >> 4) == 1 ? !segment.Read16(&value) : !segment.Read8(&low)) return false;
            if ((place >> 4) == 0) value = low;
        }
        hasQuantization_[place & 15] = true;
    }
    return true;
}

bool StreamParser::ReadRestartInterval(Cursor &segment) {
    uint16_t interval = 0;
    if (!segment.Read16(&interval)) return false;
    restartInterval_ = interval;
    return true;
}

void StreamParser::ReadAdobe(Cursor &segment) {
    constexpr std::array<uint8_t, 5> adobe{'A', 'd', 'o', 'b', 'e'};
    std::array<uint8_t, 12> start{}; // name, version, two words of flags, the transform
    if (!segment.Copy(start) || !std::equal(adobe.begin(), adobe.end(), start.begin())) return;
    adobeTransform_ = start[11];
}

const std::array<uint16_t, 64> *StreamParser::Quantization(size_t index) const {
    return hasQuantization_[index] ? &quantization_[index] : nullptr;
}

} // namespace jpeg
