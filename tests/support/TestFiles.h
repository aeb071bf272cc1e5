// Temporary folders and encoded bytes for tests.

#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "MDicom.h"

namespace support {

using Bytes = std::vector<uint8_t>;

/** A folder that goes with its owner. */
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "mdicom_XXXXXX").string();
        m_Path = mkdtemp(name.data());
    }
    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(m_Path, error);
    }
    std::string File(const std::string &name) const { return (m_Path / name).string(); }
    std::wstring WideFile(const std::string &name) const { return (m_Path / name).wstring(); }
    size_t Count() const {
        const std::filesystem::directory_iterator first(m_Path);
        return static_cast<size_t>(std::distance(first, std::filesystem::directory_iterator()));
    }
    const std::filesystem::path &Path() const { return m_Path; }

  private:
    std::filesystem::path m_Path;
};

inline void WriteFile(const std::string &path, const Bytes &bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

inline Bytes ReadFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

/** Builds encoded elements by hand. */
class Encoder {
  public:
    explicit Encoder(bool littleEndian = true, bool isExplicit = true)
        : m_LittleEndian(littleEndian), m_Explicit(isExplicit) {}

    Encoder &Put16(uint32_t value) { return Number(value, 2); }
    Encoder &Put32(uint32_t value) { return Number(value, 4); }
    Encoder &Text(const std::string &text) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
    Encoder &Tag(uint32_t tag) { return Put16(tag >> 16).Put16(tag & 0xFFFF); }
    /** Header of an item, a delimiter, or of any element in implicit form. */
    Encoder &Plain(uint32_t tag, uint32_t length) { return Tag(tag).Put32(length); }
    /** Header in the form of this encoder. */
    Encoder &Header(uint32_t tag, const std::string &vr, uint32_t length) {
        if (!m_Explicit) return Plain(tag, length);
        Tag(tag).Text(vr);
        static const std::string kLong = "OB OD OF OL OV OW SQ SV UC UN UR UT UV";
        if (kLong.find(vr) == std::string::npos) return Put16(length);
        return Put16(0).Put32(length);
    }
    Encoder &Element(uint32_t tag, const std::string &vr, const std::string &value) {
        return Header(tag, vr, static_cast<uint32_t>(value.size())).Text(value);
    }
    /** Preamble, prefix and a meta header that names a transfer syntax. */
    Encoder &Meta(std::string uid) {
        if (uid.size() % 2 != 0) uid += '\0';
        bytes.insert(bytes.end(), 128, 0);
        Text("DICM");
        Encoder meta;
        meta.Element(0x00020010, "UI", uid);
        bytes.insert(bytes.end(), meta.bytes.begin(), meta.bytes.end());
        return *this;
    }

    Bytes bytes;

  private:
    Encoder &Number(uint32_t value, int size) {
        for (int i = 0; i < size; ++i) {
            const int shift = 8 * (m_LittleEndian ? i : size - 1 - i);
            bytes.push_back(static_cast<uint8_t>(value >> shift));
        }
        return *this;
    }

    bool m_LittleEndian;
    bool m_Explicit;
};

inline uint16_t LoadBytes(MDicomDS &ds, Bytes &bytes, uint16_t flags = 0) {
    return ds.LoadDSMemory(bytes.data(), bytes.size(), flags);
}

/** Text of an element's value as it is stored, without padding at its end. */
inline std::string StoredText(MDicomDS &ds, uint32_t tag) {
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, tag, 0);
    if (element == nullptr || element->nLength == 0) return {};
    std::string text(element->nLength, '\0');
    if (!ds.GetBinaryValue(element, text.data(), element->nLength)) return "unreadable";
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.pop_back();
    return text;
}

constexpr const char *kImplicitUid = "1.2.840.10008.1.2";
constexpr const char *kExplicitUid = "1.2.840.10008.1.2.1";
constexpr const char *kBigUid = "1.2.840.10008.1.2.2";

struct Encoding {
    const char *uid;
    bool littleEndian;
    bool isExplicit;
};

constexpr Encoding kEncodings[] = {
    {kImplicitUid, true, false}, {kExplicitUid, true, true}, {kBigUid, false, true}};

/** A sequence with an item of undefined length, and in it one with an item of defined length. */
inline void PutNestedSequences(Encoder &file, uint32_t tag) {
    file.Header(tag, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Element(0x00081150, "UI", "1.2.840.10");
    file.Header(0x00081199, "SQ", 24).Plain(TAG_ITEM, 16);
    file.Element(0x00081155, "UI", "1.2.3.40");
    file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
}

} // namespace support
