// Operations of the operating system that fail on request.
#pragma once

#include <qel/platform/file_system.h>
#include <qel/testing/faults.h>

#include <atomic>
#include <optional>

namespace qel::test {

/// While it exists, makes one operation fail, once or from then on, and counts the operations before.
class FailingFiles : public seams::Faults {
public:
    enum class Duration { Once, ForGood };

    /// @param at  the operation that fails: 0 for the first, negative for none.
    /// @param only  counts only operations of this kind.
    FailingFiles(int at, std::errc error, Duration duration = Duration::ForGood,
                 std::optional<platform::Operation> only = {})
        : m_at(at), m_error(error), m_duration(duration), m_only(only) {
        seams::setFaults(this);
    }
    /// Makes all operations of one kind fail.
    FailingFiles(platform::Operation only, std::errc error, Duration duration = Duration::ForGood)
        : FailingFiles(0, error, duration, only) {}
    ~FailingFiles() override { seams::setFaults(nullptr); }

    /// Makes each read and write process at most one byte.
    void makeShort() { m_short = true; }
    /// Returns true if an operation has failed.
    bool hasFailed() const { return m_failed; }

    platform::FileError before(platform::Operation operation, std::size_t& size) override {
        if (m_short && size > 0) size = 1;
        if (m_only && *m_only != operation) return {};
        const int number = m_count++;
        const bool fails = m_duration == Duration::Once ? number == m_at : m_at >= 0 && number >= m_at;
        if (!fails) return {};
        m_failed = true;
        return {static_cast<int>(m_error), std::system_category()};
    }

private:
    const int m_at;
    const std::errc m_error;
    const Duration m_duration;
    const std::optional<platform::Operation> m_only;
    std::atomic<int> m_count{0};
    std::atomic<bool> m_failed{false};
    std::atomic<bool> m_short{false};
};

} // namespace qel::test
