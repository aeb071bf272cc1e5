// Reading of tab-separated tables.

#include "Tsv.h"

#include <charconv>
#include <fstream>
#include <stdexcept>

namespace generator {

namespace {

std::vector<std::string> Split(std::string_view line) {
    std::vector<std::string> fields;
    size_t start = 0;
    for (size_t tab; (tab = line.find('\t', start)) != std::string_view::npos; start = tab + 1) {
        fields.emplace_back(line.substr(start, tab - start));
    }
    fields.emplace_back(line.substr(start));
    return fields;
}

} // namespace

uint32_t TsvRow::Number(size_t column, int base) const {
    const std::string &text = Text(column);
    const char *end = text.data() + text.size();
    uint32_t number = 0;
    const auto result = std::from_chars(text.data(), end, number, base);
    if (result.ec != std::errc() || result.ptr != end) Fail(column);
    return number;
}

uint32_t TsvRow::VrCode(size_t column) const {
    const std::string &text = Text(column);
    if (text.size() != 2) Fail(column);
    return static_cast<uint32_t>(static_cast<uint8_t>(text[0]) << 8 |
                                 static_cast<uint8_t>(text[1]));
}

void TsvRow::Fail(size_t column) const {
    throw std::runtime_error(m_Place + ": bad value in column " + std::to_string(column + 1));
}

std::vector<TsvRow> ReadTsv(const std::filesystem::path &path, std::string_view header) {
    std::ifstream file(path);
    std::string line;
    if (!std::getline(file, line) || line != header) {
        throw std::runtime_error(path.string() + ": not readable, or another header line");
    }
    const size_t columns = Split(header).size();
    std::vector<TsvRow> rows;
    while (std::getline(file, line)) {
        const std::string place = path.string() + ":" + std::to_string(rows.size() + 2);
        std::vector<std::string> fields = Split(line);
        if (fields.size() != columns) throw std::runtime_error(place + ": wrong column count");
        rows.emplace_back(place, std::move(fields));
    }
    return rows;
}

} // namespace generator
