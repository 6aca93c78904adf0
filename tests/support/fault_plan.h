// Makes the operations of the operating system fail one after the other.
#pragma once

#include <qel/testing/faults.h>

#include <atomic>
#include <optional>
#include <ostream>
#include <system_error>

namespace qel::test {

/// The duration of a fault.
enum class Lasting {
    Once,       ///< one operation fails
    SameKind,   ///< the operation fails, and all later ones of its kind
    Everything, ///< the operation fails, and every later one
};

inline std::ostream& operator<<(std::ostream& out, Lasting lasting) {
    constexpr const char* kNames[] = {"Once", "SameKind", "Everything"};
    return out << kNames[static_cast<int>(lasting)];
}

/// While it exists, counts the operations of all threads and makes those from the k-th on fail as requested.
class FaultPlan : public seams::Faults {
public:
    /// @param failAt  the number of the first operation that fails, from 0; -1 for none.
    /// @param error   the error of all operations; without it, each has an error that suits it.
    /// @param only    counts only operations of this kind.
    FaultPlan(int failAt, Lasting lasting, std::optional<std::errc> error = {},
              std::optional<platform::Operation> only = {});
    ~FaultPlan() override;
    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Limits each read and write to one byte.
    void makeShort() { m_isShort = true; }
    /// Makes the first rename fail as if it led to another disk.
    void crossDisks() { m_crossesDisks = true; }
    /// Lets every operation succeed from now on.
    void stop();

    /// Returns the number of operations counted.
    int count() const { return m_count; }
    /// Returns the kind of the operation that failed first, if any failed.
    std::optional<platform::Operation> failed() const;

    std::error_code before(platform::Operation operation, std::size_t& size) override;

private:
    bool fails(platform::Operation operation);

    const int m_failAt;
    const Lasting m_lasting;
    const std::optional<std::errc> m_error;
    const std::optional<platform::Operation> m_only;
    std::atomic<bool> m_isShort{false};
    std::atomic<bool> m_crossesDisks{false};
    std::atomic<int> m_count{0};
    std::atomic<int> m_failed{-1};
};

} // namespace qel::test
