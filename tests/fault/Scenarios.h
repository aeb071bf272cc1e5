// What the fault tests run: operations on a data set, with the files that they begin with.

#pragma once

#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "MDicom.h"
#include "support/TestFiles.h"

/** What a scenario works on. Nothing of it takes memory while a fault is armed. */
struct Trial {
    Trial(MDicomDS &first, MDicomDS &second, const support::TemporaryFolder &itsFolder)
        : ds(first),
          other(second),
          folder(itsFolder),
          source(itsFolder.WideFile("source")),
          target(itsFolder.WideFile("new")) {
        seen.reserve(400000);
    }

    MDicomDS &ds;    ///< has loaded the source, or is empty
    MDicomDS &other; ///< has loaded the source if the first is empty
    const support::TemporaryFolder &folder;
    const std::wstring source;
    const std::wstring target;
    std::string seen; ///< what the work has read
};

/** Stands for the failure of an operation that has no status. */
constexpr unsigned kRefused = 0x10000;

enum Trait : unsigned {
    kWhole = 0,   ///< a failure leaves the data set as it was
    kParts = 1,   ///< a failure leaves elements of which each is as before, or as it shall be
    kFresh = 2,   ///< the data set is empty before
    kSilent = 4,  ///< has no status: elements or values may be missing after a failure
    kQuiet = 8,   ///< the status tells nothing: all is done, or nothing
    kGoesOn = 16, ///< after a failure the same data set takes the same work
    kLoose = 32,  ///< image and overlay attributes are not looked at after a failure
    kUnique = 64, ///< files are different each time
};

struct Scenario {
    std::string name;
    std::function<void(const std::wstring &path)> make; ///< the source
    std::function<unsigned(Trial &)> work;              ///< gives a status
    unsigned traits = kWhole;
    std::set<unsigned> statuses = {DICOM_ERROR_MEMORY, DICOM_ERROR_OPEN, DICOM_ERROR_READ,
                                   DICOM_ERROR_WRITE, DICOM_ERROR_SEEK};
};

std::vector<Scenario> DataSetScenarios();
std::vector<Scenario> ImageScenarios();
std::vector<Scenario> AllScenarios();

/** Loads the source, and fills the value store until it is about to need its file. */
void Prepare(const Scenario &scenario, const Trial &run);

using Lines = std::vector<std::string>;
using Files = std::vector<std::pair<std::string, support::Bytes>>;

/** All that a scenario leaves. */
struct Outcome {
    unsigned status = 0;
    std::string seen;
    Lines lines;
    Files files;
    bool operator==(const Outcome &other) const = default;
};

/** A line for every element, with its value. */
Lines LinesOf(MDicomDS &ds);
inline std::ostream &operator<<(std::ostream &out, const Scenario &scenario) {
    return out << scenario.name;
}

/** Names and contents. */
Files FilesIn(const support::TemporaryFolder &folder);
Outcome OutcomeOf(const Scenario &scenario, const Trial &run, unsigned status);
