// Whole operations while each allocation and each file operation in turn fails: every outcome is
// a documented status, nothing that stood before is harmed, a success is a whole one, and the data
// set stays usable.

#include <gtest/gtest.h>

#include <algorithm>

#include "Scenarios.h"
#include "support/Faults.h"

namespace {

/** Lines of a that b has no equal of. */
Lines Without(Lines a, Lines b) {
    Lines rest;
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(rest));
    return rest;
}

/** Of lines that differ, as much as a reader of a failure needs. */
std::string Excerpt(const Lines &lines) {
    std::string text = std::to_string(lines.size()) + " lines";
    for (size_t i = 0; i < std::min<size_t>(lines.size(), 3); ++i) {
        text += "\n  " + lines[i].substr(0, 60);
    }
    return text;
}

class Faults : public testing::TestWithParam<Scenario> {
  protected:
    void SetUp() override {
        scenario.make(folder.WideFile("source"));
        original = FilesIn(folder);
        for (const int round : {1, 2}) {
            MDicomDS ds(nullptr), other(nullptr);
            Prepare(scenario, {ds, other, folder});
            before = LinesOf(ds);
            const Outcome outcome = Work(ds, other);
            ASSERT_EQ(outcome.status, 0u);
            ASSERT_TRUE(round == 1 || outcome == expected) << "no two runs are the same";
            expected = outcome;
            Restore();
        }
    }

    Outcome Work(
        MDicomDS &ds, MDicomDS &other, const std::function<void()> &arm = [] {}) {
        Trial run{ds, other, folder};
        arm();
        const unsigned status = scenario.work(run);
        support::DisarmFault();
        return OutcomeOf(scenario, run, status);
    }

    void Restore() {
        if (FilesIn(folder) == original) return;
        for (const auto &[name, bytes] : FilesIn(folder)) {
            std::filesystem::remove(folder.File(name));
        }
        for (const auto &[name, bytes] : original) support::WriteFile(folder.File(name), bytes);
    }

    /** Lines that stand neither there before nor in the result. */
    Lines Foreign(const Outcome &outcome) const {
        Lines known = expected.lines;
        known.insert(known.end(), before.begin(), before.end());
        Lines rest = Without(outcome.lines, known);
        const auto isEmpty = [](const std::string &line) {
            return line.substr(14, 8) == "00000000"; // the length
        };
        const auto describesImage = [](const std::string &line) {
            return line.starts_with("(0028") || line.starts_with("(6000");
        };
        if (scenario.traits & kSilent) std::erase_if(rest, isEmpty);
        if (scenario.traits & kLoose) std::erase_if(rest, describesImage);
        return rest;
    }

    void CheckWhole(const Outcome &outcome) const {
        EXPECT_EQ(outcome.status, 0u);
        EXPECT_TRUE(outcome.seen == expected.seen) << "not the same was read";
        EXPECT_EQ(Excerpt(Without(outcome.lines, expected.lines)), "0 lines");
        EXPECT_EQ(Excerpt(Without(expected.lines, outcome.lines)), "0 lines");
        EXPECT_TRUE(outcome == expected) << "not the same files or order";
    }

    void CheckFaulted(const Outcome &outcome) const {
        const unsigned status = outcome.status;
        const bool isQuiet = (scenario.traits & kQuiet) != 0 && outcome.lines == before;
        if (status == DICOM_SUCCESS && !isQuiet && !(scenario.traits & kSilent)) {
            CheckWhole(outcome);
            return;
        }
        EXPECT_TRUE(status == DICOM_SUCCESS || scenario.statuses.contains(status)) << status;
        EXPECT_TRUE(status == DICOM_SUCCESS || outcome.files == original)
            << status << " left a file, or harmed one";
        const bool inParts = (scenario.traits & kParts) != 0;
        EXPECT_EQ(Excerpt(inParts ? Foreign(outcome) : Without(outcome.lines, before)), "0 lines")
            << status;
        if (!inParts) {
            EXPECT_EQ(Excerpt(Without(before, outcome.lines)), "0 lines") << status;
        }
    }

    void Try(const std::function<void()> &arm) {
        MDicomDS ds(nullptr), other(nullptr);
        Prepare(scenario, {ds, other, folder});
        const Outcome outcome = Work(ds, other, arm);
        EXPECT_EQ(ds.m_Tree.Verify(), nullptr);
        CheckFaulted(outcome);
        Restore();
        const bool goesOn = (scenario.traits & (kParts | kGoesOn)) != kParts;
        if (outcome.status == DICOM_SUCCESS || !goesOn) {
            ds.ResetDS();
            Prepare(scenario, {ds, other, folder});
        }
        CheckWhole(Work(ds, other));
        Restore();
    }

    const Scenario &scenario = GetParam();
    support::TemporaryFolder folder;
    Files original;
    Lines before;
    Outcome expected;
};

TEST_P(Faults, LeaveNothingByHalves) {
    for (const int kind : support::kFaultKinds) {
        support::ForEachFault(scenario.name, kind, [this](const auto &arm) { Try(arm); });
    }
}

INSTANTIATE_TEST_SUITE_P(Each, Faults, testing::ValuesIn(AllScenarios()), [](const auto &info) {
    std::string name = info.param.name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
    return name;
});

/** No other encoding is tried where the value store is full. */
TEST(FaultsOfTheStore, EndALoad) {
    const support::TemporaryFolder folder;
    support::Encoder file;
    file.Meta(support::kExplicitUid).Element(0x00420011, "OB", std::string(150000, 'd'));
    support::WriteFile(folder.File("file"), file.bytes);
    MDicomDS ds(nullptr);
    KernelSetFaultHook([](int kind) { return kind == KERNEL_FAULT_WRITE ? 1 : 0; });
    const unsigned status = ds.LoadDS(folder.WideFile("file").c_str(), DS_LOAD_CLOSE);
    KernelSetFaultHook(nullptr);
    EXPECT_EQ(status, DICOM_ERROR_WRITE);
}

} // namespace
