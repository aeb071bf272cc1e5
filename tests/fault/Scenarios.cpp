// How scenarios begin, and what they leave.

#include "Scenarios.h"

#include <algorithm>
#include <cwchar>

#include "support/TreeCompare.h"

std::vector<Scenario> AllScenarios() {
    std::vector<Scenario> all = DataSetScenarios();
    const std::vector<Scenario> images = ImageScenarios();
    all.insert(all.end(), images.begin(), images.end());
    return all;
}

void Prepare(const Scenario &scenario, const Trial &run) {
    const bool isFresh = (scenario.traits & kFresh) != 0;
    (isFresh ? run.other : run.ds).LoadDS(run.source.c_str(), 0);
    if (isFresh) return;
    support::Bytes filling(65530, 'f');
    _DICOMELEMENT *element = run.ds.InsertElement(nullptr, 0, 0x00090010, 0x4F42, 0, 0);
    run.ds.SetBinaryValue(element, filling.data(), 65530);
}

Lines LinesOf(MDicomDS &ds) {
    Lines lines;
    for (_DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        const support::Bytes value = support::ValueOf(ds, element);
        lines.push_back(support::Describe(element) + std::to_string(ds.GetLevelElement(element)) +
                        std::string(value.begin(), value.end()));
        if (element->nVR != 0x4C4F) continue;
        wchar_t text[100] = {}; // what character sets make of it
        ds.GetConvertValue(element, text, 100);
        lines.back().append(text, text + std::wcslen(text));
    }
    lines.push_back(std::to_string(ds.m_nFlags));
    return lines;
}

Files FilesIn(const support::TemporaryFolder &folder) {
    Files files;
    for (const auto &entry : std::filesystem::directory_iterator(folder.Path())) {
        files.emplace_back(entry.path().filename(), support::ReadFile(entry.path()));
    }
    std::sort(files.begin(), files.end());
    return files;
}

Outcome OutcomeOf(const Scenario &scenario, const Trial &run, unsigned status) {
    Outcome outcome{status, run.seen, LinesOf(run.ds), FilesIn(run.folder)};
    for (auto &[name, bytes] : outcome.files) {
        if ((scenario.traits & kUnique) && name != "source") bytes.clear();
    }
    return outcome;
}
