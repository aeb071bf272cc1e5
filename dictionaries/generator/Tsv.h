// Tab-separated tables: one header line, no quoting.

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace generator {

/** One line of a table. */
class TsvRow {
  public:
    TsvRow(std::string place, std::vector<std::string> fields)
        : m_Place(std::move(place)), m_Fields(std::move(fields)) {}

    const std::string &Text(size_t column) const { return m_Fields.at(column); }
    /** Number in the given base; throws std::runtime_error for a field that is none. */
    uint32_t Number(size_t column, int base = 10) const;
    /** Code of a VR: the two letters as a number. */
    uint32_t VrCode(size_t column) const;

    /** Throws a std::runtime_error that names the place of a field. */
    [[noreturn]] void Fail(size_t column) const;

  private:
    std::string m_Place; ///< file and line, for messages
    std::vector<std::string> m_Fields;
};

/** Reads a table whose first line must be the given header. Throws std::runtime_error. */
std::vector<TsvRow> ReadTsv(const std::filesystem::path &path, std::string_view header);

} // namespace generator
