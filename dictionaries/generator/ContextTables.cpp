// The tables of the context groups.

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "Tables.h"
#include "Tsv.h"

namespace generator {

namespace {

class ContextTables {
  public:
    explicit ContextTables(const std::filesystem::path &data)
        : m_Groups(
              ReadTsv(data / "context_groups.tsv", "cid\tname\textensible\tversion\tincludes")) {
        for (size_t i = 0; i < m_Groups.size(); ++i) m_Positions[m_Groups[i].Text(0)] = i;
        constexpr std::string_view header = "cid\tscheme\tscheme_version\tvalue\tmeaning";
        for (TsvRow &row : ReadTsv(data / "context_concepts.tsv", header)) {
            if (m_Positions.count(row.Text(0)) == 0) row.Fail(0);
            m_Concepts[row.Text(0)].push_back(std::move(row));
        }
    }

    void WriteGroups(TextPool &texts, std::ostream &out) {
        size_t firstConcept = 0;
        size_t firstInclude = 0;
        for (const TsvRow &group : m_Groups) {
            const size_t concepts = m_Concepts[group.Text(0)].size();
            const size_t includes = IncludesOf(group).size();
            out << '{' << texts.Add(group.Text(0)) << ", " << texts.Add(group.Text(1)) << ", "
                << group.Number(3) << ", " << firstConcept << ", " << concepts << ", "
                << firstInclude << ", " << includes << ", "
                << (group.Number(2) != 0 ? "true" : "false") << "},\n";
            firstConcept += concepts;
            firstInclude += includes;
        }
    }

    void WriteConcepts(TextPool &texts, std::ostream &out) {
        for (const TsvRow &group : m_Groups) {
            for (const TsvRow &row : m_Concepts[group.Text(0)]) {
                out << '{' << texts.Add(row.Text(1)) << ", ";
                if (row.Text(2).empty()) {
                    out << "kNoText";
                } else {
                    out << texts.Add(row.Text(2));
                }
                out << ", " << texts.Add(row.Text(3)) << ", " << texts.Add(row.Text(4)) << "},\n";
            }
        }
    }

    void WriteIncludes(std::ostream &out) const {
        for (const TsvRow &group : m_Groups) {
            for (const size_t position : IncludesOf(group)) out << position << ",\n";
        }
    }

  private:
    std::vector<size_t> IncludesOf(const TsvRow &group) const {
        std::vector<size_t> positions;
        std::istringstream identifiers(group.Text(4));
        for (std::string identifier; std::getline(identifiers, identifier, ',');) {
            const auto found = m_Positions.find(identifier);
            if (found == m_Positions.end()) group.Fail(4);
            positions.push_back(found->second);
        }
        return positions;
    }

    std::vector<TsvRow> m_Groups;
    std::map<std::string, size_t> m_Positions; ///< of groups, by identifier
    std::map<std::string, std::vector<TsvRow>> m_Concepts;
};

} // namespace

void WriteContextGroupTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out) {
    ContextTables(data).WriteGroups(texts, out);
}

void WriteConceptTable(const std::filesystem::path &data, TextPool &texts, std::ostream &out) {
    ContextTables(data).WriteConcepts(texts, out);
}

void WriteContextIncludeTable(const std::filesystem::path &data, TextPool &, std::ostream &out) {
    ContextTables(data).WriteIncludes(out);
}

} // namespace generator
