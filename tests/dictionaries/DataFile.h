// The data files that the default rows are made of, read anew.

#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "MDicomText.h"

namespace support {

using Fields = std::vector<std::string>;

/** The lines of a data file behind its header. */
inline std::vector<Fields> ReadTable(const std::string &name) {
    std::ifstream file(std::string(MDICOM_SOURCE_DIR) + "/dictionaries/data/" + name);
    std::vector<Fields> rows;
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
        Fields &fields = rows.emplace_back();
        size_t start = 0;
        for (size_t tab; (tab = line.find('\t', start)) != std::string::npos; start = tab + 1) {
            fields.push_back(line.substr(start, tab - start));
        }
        fields.push_back(line.substr(start));
    }
    return rows;
}

inline std::wstring Wide(const std::string &text) {
    return A2U_Class(text.c_str()).pszText;
}

} // namespace support
