// Rows of the data files as C++ initializers.

#include "Tables.h"

#include <map>
#include <sstream>
#include <string>

#include "Tsv.h"

namespace generator {

void WriteVrTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out) {
    for (const TsvRow &row : ReadTsv(data / "vrs.tsv", "code\tlength\trestrict\tunit_size\tname")) {
        out << '{' << row.VrCode(0) << ", " << row.Number(2, 16) << ", " << row.Number(3) << ", "
            << row.Number(1) << "u, " << texts.Add(row.Text(4)) << "},\n";
    }
}

void WriteTagTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out) {
    constexpr std::string_view header = "tag\tmask\tvr\tvm_min\tvm_max\tvm_divide\tname";
    for (const TsvRow &row : ReadTsv(data / "tags.tsv", header)) {
        out << '{' << row.Number(0, 16) << "u, " << row.Number(1, 16) << "u, "
            << texts.Add(row.Text(6)) << ", " << row.Number(3) << "u, " << row.Number(4) << "u, "
            << row.Number(5) << "u, " << row.VrCode(2) << "},\n";
    }
}

void WriteUidTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out) {
    for (const TsvRow &row : ReadTsv(data / "uids.tsv", "uid\ttype\tname")) {
        out << '{' << texts.Add(row.Text(0)) << ", " << texts.Add(row.Text(2)) << ", "
            << row.Number(1) << "},\n";
    }
}

void WriteIodClassTable(const std::filesystem::path &data, TextPool &, std::ostream &out) {
    std::map<std::string, uint32_t> classes;
    for (const TsvRow &row : ReadTsv(data / "iod_classes.tsv", "code\tname\tuid\ttable")) {
        std::istringstream uids(row.Text(2));
        for (std::string uid; std::getline(uids, uid, '\\');) {
            if (!uid.empty()) classes.try_emplace(uid, row.Number(0));
        }
    }
    for (const auto &[uid, code] : classes) out << '{' << code << ", \"" << uid << "\"},\n";
}

} // namespace generator
