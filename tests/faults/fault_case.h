// An operation of which every step is made to fail.
#pragma once

#include <tests/support/scratch_folder.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace qel::test {

/// The result that an operation reported.
struct Outcome {
    bool worked = false;
    /// The value it determined; compared with that of a run without faults.
    std::string value = {};
};

/// The content of a scratch folder by relative path.
using Content = std::map<std::string, std::string>;

/// Returns every entry of the folder: "folder", "link to" its text, or the file's bytes.
Content contentOfFolder(const ScratchFolder& folder);

/// The special properties of a case.
enum CaseFlags : int {
    kUsual = 0,
    kSilent = 1,        ///< a failure is reported only by the result, without a log line
    kLoggedOnly = 2,    ///< a failure may be reported only by the log
    kWhole = 4,         ///< the content is completely old or new; otherwise each entry is
    kMayTear = 8,       ///< a file that is written in pieces may end anywhere
    kMayStop = 16,      ///< a failure may occur after some entries have been removed
    kCrossesDisks = 32, ///< the first rename leads to another disk
    kVaries = 64,       ///< the number of operations depends on other processes
};

/// An operation under test, on the files of a scratch folder.
struct FaultCase {
    const char* name;
    void (*prepare)(const ScratchFolder& folder);
    Outcome (*run)(const ScratchFolder& folder);
    int flags = kUsual;
    Content (*content)(const ScratchFolder& folder) = &contentOfFolder;
};

std::ostream& operator<<(std::ostream& out, const FaultCase& faultCase);

/// Returns the cases of files and of classes that read files.
std::vector<FaultCase> fileCases();
/// Returns the cases of folders and trees.
std::vector<FaultCase> treeCases();
/// Returns the cases of stores and records.
std::vector<FaultCase> storeCases();
/// Returns the cases of locks, children, plugins and reports.
std::vector<FaultCase> systemCases();

} // namespace qel::test
