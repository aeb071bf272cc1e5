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
/** The UIDs of the classes, sorted. A class with several, which stand with backslashes between,
 *  makes a row for each; of two classes with the same UID the first has it. */
void WriteIodClassTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);

/** The rows of all tables of the IOD tree, table after table. */
void WriteIodRowTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);
/** For each table of the IOD tree its range of rows. */
void WriteIodTableTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);

void WriteContextGroupTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);
/** The concepts of all context groups, group after group. */
void WriteConceptTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out);
/** The included groups of all context groups as positions in the table of groups. */
void WriteContextIncludeTable(const std::filesystem::path &data, TextPool &texts,
                              std::ostream &out);

} // namespace generator
