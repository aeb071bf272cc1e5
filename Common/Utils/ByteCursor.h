// A bounded cursor over bytes: the one way in which parsers take input apart.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "Common/Utils/ByteOrder.h"

namespace mdicom {

/**
 * Reads numbers and runs of bytes from a span. Reading past the end yields zeros and an empty
 * span and leaves the cursor failed, so that a parser may read a whole header and ask once.
 */
class ByteCursor {
  public:
    explicit ByteCursor(std::span<const uint8_t> bytes, bool littleEndian = true)
        : m_Begin(bytes.data()),
          m_Next(bytes.data()),
          m_End(bytes.data() + bytes.size()),
          m_LittleEndian(littleEndian) {}

    bool Failed() const { return m_Failed; }
    size_t Position() const { return static_cast<size_t>(m_Next - m_Begin); }
    size_t Left() const { return static_cast<size_t>(m_End - m_Next); }
    void SetLittleEndian(bool littleEndian) { m_LittleEndian = littleEndian; }

    uint8_t Read8() {
        const uint8_t *bytes = Advance(1);
        return bytes != nullptr ? *bytes : 0;
    }
    uint16_t Read16() {
        const uint8_t *bytes = Advance(2);
        return bytes != nullptr ? Load16(bytes, m_LittleEndian) : 0;
    }
    uint32_t Read32() {
        const uint8_t *bytes = Advance(4);
        return bytes != nullptr ? Load32(bytes, m_LittleEndian) : 0;
    }
    /** The next count bytes. */
    std::span<const uint8_t> Take(size_t count) {
        const uint8_t *bytes = Advance(count);
        return bytes != nullptr ? std::span(bytes, count) : std::span<const uint8_t>();
    }
    void Skip(size_t count) { Advance(count); }
    /** Goes back by bytes that were read. */
    void Back(size_t count) { m_Next -= std::min(count, Position()); }

  private:
    const uint8_t *Advance(size_t count) {
        if (count > Left()) {
            m_Failed = true;
            m_End = m_Next; // nothing is left for whoever asks for less
            return nullptr;
        }
        const uint8_t *bytes = m_Next;
        m_Next += count;
        return bytes;
    }

    const uint8_t *m_Begin;
    const uint8_t *m_Next;
    const uint8_t *m_End;
    bool m_LittleEndian;
    bool m_Failed = false;
};

} // namespace mdicom
