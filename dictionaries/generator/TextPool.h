// The wide texts of all tables, one after the other in one array.

#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace generator {

class TextPool {
  public:
    /** Offset of a UTF-8 text in wide characters. Equal texts share their place. */
    uint32_t Add(std::string_view text);
    /** Writes the pool as string literals. */
    void Write(std::ostream &out) const;

  private:
    std::vector<std::wstring> m_Texts;
    std::unordered_map<std::wstring, uint32_t> m_Offsets;
    uint32_t m_Length = 0;
};

} // namespace generator
