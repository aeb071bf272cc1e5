// Makes the constant tables of the dictionaries out of the data files.
// Usage: mdicom_table_generator <folder of the data> <folder of the results>

#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "Tables.h"

namespace {

using generator::TextPool;

struct Table {
    const char *file;
    void (*write)(const std::filesystem::path &data, TextPool &texts, std::ostream &out);
};

constexpr Table kTables[] = {
    {"VrTable.inc", generator::WriteVrTable},
    {"TagTable.inc", generator::WriteTagTable},
    {"UidTable.inc", generator::WriteUidTable},
    {"IodClassTable.inc", generator::WriteIodClassTable},
    {"IodRowTable.inc", generator::WriteIodRowTable},
    {"IodTableTable.inc", generator::WriteIodTableTable},
    {"ContextGroupTable.inc", generator::WriteContextGroupTable},
    {"ConceptTable.inc", generator::WriteConceptTable},
    {"ContextIncludeTable.inc", generator::WriteContextIncludeTable},
};

template <typename Writer>
void WriteFile(const std::filesystem::path &path, Writer writer) {
    std::ofstream out(path, std::ios::binary);
    writer(out);
    out.close();
    if (!out) throw std::runtime_error(path.string() + ": not written");
}

void Generate(const std::filesystem::path &data, const std::filesystem::path &results) {
    TextPool texts;
    for (const Table &table : kTables) {
        WriteFile(results / table.file, [&](std::ostream &out) { table.write(data, texts, out); });
    }
    WriteFile(results / "TextPool.inc", [&](std::ostream &out) { texts.Write(out); });
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::cerr << "usage: mdicom_table_generator <data folder> <result folder>\n";
        return 2;
    }
    try {
        Generate(argv[1], argv[2]);
        return 0;
    } catch (const std::exception &failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
