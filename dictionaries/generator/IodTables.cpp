// The tables of the IOD tree: classes, modules and attributes, tied together by table numbers.

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "MDicomConstants.h"
#include "Tables.h"
#include "Tsv.h"

namespace generator {

namespace {

struct IodRow {
    uint32_t code;
    std::string name;
    std::string description;
    std::string child; ///< identifier of the table below, or empty
    uint32_t type;
    uint32_t usage;
};

using IodTable = std::vector<IodRow>;

constexpr uint32_t kSharedGroupsTag = 0x52009229;
constexpr uint32_t kPerFrameGroupsTag = 0x52009230;
constexpr uint32_t kFunctionalGroupsModule = 222;

uint32_t UsageOf(const TsvRow &row, size_t column) {
    static const std::map<std::string, uint32_t> usages = {
        {"M", IOD_USAGE_MANDATORY}, {"R", IOD_USAGE_MANDATORY}, {"C", IOD_USAGE_CONDITIONAL},
        {"U", IOD_USAGE_OPTIONAL},  {"O", IOD_USAGE_OPTIONAL},  {"1", IOD_USAGE_1},
        {"1C", IOD_USAGE_1C},       {"2", IOD_USAGE_2},         {"2C", IOD_USAGE_2C},
        {"3", IOD_USAGE_3},
    };
    const auto found = usages.find(row.Text(column));
    if (found == usages.end()) row.Fail(column);
    return found->second;
}

/** Type of the attribute that a functional group of this usage stands for. */
uint32_t GroupUsageOf(const TsvRow &row, size_t column) {
    switch (UsageOf(row, column)) {
        case IOD_USAGE_MANDATORY:
            return IOD_USAGE_1;
        case IOD_USAGE_CONDITIONAL:
            return IOD_USAGE_1C;
        default:
            return IOD_USAGE_3;
    }
}

/** All tables by their identifiers; those of the data files and those made for a class. */
class IodTables {
  public:
    explicit IodTables(const std::filesystem::path &data) {
        ReadElements(data / "iod_elements.tsv");
        ReadFunctionalGroups(data / "iod_functional_groups.tsv");
        ReadModules(data / "iod_modules.tsv");
        ReadClasses(data / "iod_classes.tsv");
        Number(kRoot, 0);
    }

    void WriteRows(TextPool &texts, std::ostream &out) const {
        for (const std::string &table : m_Order) {
            for (const IodRow &row : m_Tables.at(table)) {
                out << '{' << row.code << "u, " << texts.Add(row.name) << ", "
                    << texts.Add(row.description) << ", "
                    << (row.child.empty() ? 0 : m_Numbers.at(row.child)) << ", " << row.type << ", "
                    << row.usage << "},\n";
            }
        }
    }

    void WriteTables(std::ostream &out) const {
        size_t first = 0;
        for (const std::string &table : m_Order) {
            const size_t count = m_Tables.at(table).size();
            out << '{' << first << ", " << count << ", " << m_Unfolded.at(table) << "},\n";
            first += count;
        }
    }

  private:
    static constexpr const char *kRoot = "classes";

    void Add(const std::string &table, IodRow row) { m_Tables[table].push_back(std::move(row)); }
    bool Has(const std::string &table) const { return m_Tables.count(table) != 0; }

    void ReadElements(const std::filesystem::path &path) {
        constexpr std::string_view header = "table\trow\tkind\ttag\tusage\tname\tchild\tfacts";
        for (const TsvRow &row : ReadTsv(path, header)) {
            const bool isModule = row.Text(2) == "M";
            Add(row.Text(0),
                {row.Number(3, isModule ? 10 : 16), row.Text(5), row.Text(7), row.Text(6),
                 isModule ? IOD_TYPE_MODULE : IOD_TYPE_ELEMENT, UsageOf(row, 4)});
        }
    }

    /** Collects the functional groups of each class for its two sequences. */
    void ReadFunctionalGroups(const std::filesystem::path &path) {
        constexpr std::string_view header = "class\tname\tusage\tshared\tper_frame\ttable";
        for (const TsvRow &row : ReadTsv(path, header)) {
            for (IodRow group : m_Tables.at(row.Text(5))) {
                group.usage = GroupUsageOf(row, 2);
                if (row.Text(3) == "Y") Add(SequenceTable(row.Text(0), kSharedGroupsTag), group);
                if (row.Text(4) == "Y") Add(SequenceTable(row.Text(0), kPerFrameGroupsTag), group);
            }
        }
    }

    void ReadModules(const std::filesystem::path &path) {
        for (const TsvRow &row : ReadTsv(path, "class\tmodule\tname\tusage\ttable")) {
            const std::string &iodClass = row.Text(0);
            const uint32_t code = row.Number(1);
            std::string table = row.Text(4);
            if (code == kFunctionalGroupsModule) table = MakeGroupsModule(iodClass, table);
            Add(ClassTable(iodClass),
                {code, row.Text(2), "", table, IOD_TYPE_MODULE, UsageOf(row, 3)});
        }
    }

    void ReadClasses(const std::filesystem::path &path) {
        std::set<std::string> seen;
        for (const TsvRow &row : ReadTsv(path, "code\tname\tuid\ttable")) {
            // The modules of a second class of the same number stand under that number and a C.
            const bool isSecond = !seen.insert(row.Text(0)).second;
            const std::string modules = ClassTable(row.Text(0) + (isSecond ? "C" : ""));
            const std::string &table = row.Text(3).empty() && Has(modules) ? modules : row.Text(3);
            Add(kRoot, {row.Number(0), row.Text(1), row.Text(2), table, IOD_TYPE_CLASS,
                        IOD_USAGE_OPTIONAL});
        }
    }

    /** A copy of the module's table with the functional groups of the class. */
    std::string MakeGroupsModule(const std::string &iodClass, const std::string &source) {
        std::string table = ClassTable(iodClass) + "/" + source;
        for (IodRow row : m_Tables.at(source)) {
            const std::string groups = SequenceTable(iodClass, row.code);
            if (Has(groups)) row.child = groups;
            Add(table, std::move(row));
        }
        return table;
    }

    static std::string ClassTable(const std::string &iodClass) { return "class " + iodClass; }
    static std::string SequenceTable(const std::string &iodClass, uint32_t tag) {
        return ClassTable(iodClass) + "/" + std::to_string(tag);
    }

    /** Gives a table and those below it their numbers; returns how many rows they unfold to. */
    size_t Number(const std::string &table, int depth) {
        if (depth > 32) throw std::runtime_error("table " + table + ": refers to itself");
        const auto known = m_Unfolded.find(table);
        if (known != m_Unfolded.end()) return known->second;
        if (m_Numbers.try_emplace(table, m_Order.size()).second) m_Order.push_back(table);
        std::set<std::pair<uint32_t, uint32_t>> keys;
        size_t count = 0;
        for (const IodRow &row : m_Tables.at(table)) {
            const bool isNew = keys.insert({row.type, row.code}).second;
            if (!isNew && row.type != IOD_TYPE_CLASS) {
                throw std::runtime_error("table " + table + ": two rows for " + row.name);
            }
            count += 1 + (row.child.empty() ? 0 : Number(row.child, depth + 1));
        }
        m_Unfolded[table] = count;
        return count;
    }

    std::map<std::string, IodTable> m_Tables;
    std::vector<std::string> m_Order; ///< tables by number, the classes first
    std::map<std::string, size_t> m_Numbers;
    std::map<std::string, size_t> m_Unfolded;
};

} // namespace

void WriteIodRowTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out) {
    IodTables(data).WriteRows(texts, out);
}

void WriteIodTableTable(const std::filesystem::path &data, TextPool &, std::ostream &out) {
    IodTables(data).WriteTables(out);
}

} // namespace generator
