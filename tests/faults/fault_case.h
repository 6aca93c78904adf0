// An operation whose every step is made to fail.
#pragma once

#include <tests/support/scratch_folder.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace qel::test {

/// What an operation reported.
struct Outcome {
    bool worked = false;
    /// What it found out; compared with that of an undisturbed run.
    std::string value = {};
};

/// The content of a scratch folder: by relative path, what is found there.
using Content = std::map<std::string, std::string>;

/// Every entry of the folder: "folder", "link to" its text, or the file's bytes.
Content contentOfFolder(const ScratchFolder& folder);

/// What is different from the usual about a case.
enum CaseFlags : int {
    kUsual = 0,
    kSilent = 1,        ///< a failure is reported by the result alone, without a log line
    kLoggedOnly = 2,    ///< a failure is reported by the log alone, or may be
    kWhole = 4,         ///< what is stored is all old or all new; otherwise each entry is
    kMayTear = 8,       ///< a file that is written piece by piece may end anywhere
    kMayStop = 16,      ///< a failure may come when some entries are removed already
    kCrossesDisks = 32, ///< the first renaming leads to another disk
    kVaries = 64,       ///< how many operations there are depends on other processes
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

/// The cases of files and what is read from them.
std::vector<FaultCase> fileCases();
/// The cases of folders and trees.
std::vector<FaultCase> treeCases();
/// The cases of stores and records.
std::vector<FaultCase> storeCases();
/// The cases of locks, children, plugins and reports.
std::vector<FaultCase> systemCases();

} // namespace qel::test
