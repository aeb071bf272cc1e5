// One function per table: reads its rows and writes them as initializers of the row types in
// DefaultTables.cpp.

#pragma once

#include <filesystem>
#include <ostream>

#include "TextPool.h"

namespace generator {

void WriteVrTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);
void WriteTagTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);
void WriteUidTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);
/** A class with several UIDs, which stand with backslashes between, makes a row for each. */
void WriteIodClassTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);

} // namespace generator
