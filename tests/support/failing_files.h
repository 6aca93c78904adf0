// Operations of the operating system that fail on request.
#pragma once

#include <qel/platform/file_system.h>
#include <tests/support/fault_plan.h>

namespace qel::test {

/// While it exists, makes one operation fail with a given error, once or from then on.
class FailingFiles : public FaultPlan {
public:
    enum class Duration { Once, ForGood };

    /// @param at  the operation that fails: 0 for the first, negative for none.
    /// @param only  counts only operations of this kind.
    FailingFiles(int at, std::errc error, Duration duration = Duration::ForGood,
                 std::optional<platform::Operation> only = {})
        : FaultPlan(at, duration == Duration::Once ? Lasting::Once : Lasting::Everything, error, only) {}
    /// Makes all operations of one kind fail.
    FailingFiles(platform::Operation only, std::errc error, Duration duration = Duration::ForGood)
        : FailingFiles(0, error, duration, only) {}

    /// Returns true if an operation has failed.
    bool hasFailed() const { return failed().has_value(); }
};

} // namespace qel::test
