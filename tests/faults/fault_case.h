// An operation of which every step is made to fail.
#pragma once

#include <tests/support/scratch_folder.h>

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <type_traits>
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
    std::function<Outcome(const ScratchFolder& folder)> run;
    int flags = kUsual;
    Content (*content)(const ScratchFolder& folder) = &contentOfFolder;
};

std::ostream& operator<<(std::ostream& out, const FaultCase& faultCase);

using Folder = const ScratchFolder&;

inline void prepareNothing(Folder) {}

/// Returns a run that calls @p function with the paths of @p names. Its result reports success if it is a
/// bool, and is the value that was determined otherwise.
template <typename Function, typename... Names>
auto on(Function function, Names... names) {
    return [=](const ScratchFolder& folder) {
        const auto result = function(folder.path(names)...);
        if constexpr (std::is_same_v<decltype(result), const bool>)
            return Outcome{result};
        else
            return Outcome{true, std::to_string(result)};
    };
}

/// Returns the cases of files and of classes that read files.
std::vector<FaultCase> fileCases();
/// Returns the cases of folders and trees.
std::vector<FaultCase> treeCases();
/// Returns the cases of stores and records.
std::vector<FaultCase> storeCases();
/// Returns the cases of locks, children, plugins and reports.
std::vector<FaultCase> systemCases();

} // namespace qel::test
