// The changes of deeply nested transactions, in memory.
#pragma once

#include <qel/store/sqlite/sqlite_entries_p.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::internal {

/// Nested levels. Each records what was at every position before the level first wrote there.
class SqliteUndoLog {
public:
    /// @owner @p entries must outlive it.
    explicit SqliteUndoLog(SqliteEntries& entries) : m_entries(entries) {}

    /// Opens a level.
    void begin() { m_levels.emplace_back(); }
    /// Ends the innermost level, which must be open; the enclosing level takes over its records.
    void commit();
    /// Ends the innermost level, which must be open, and restores what it recorded. @return 0 or the error.
    SqliteCode rollback();
    /// Removes all levels.
    void clear() { m_levels.clear(); }
    /// Records what is at the positions from @p first to @p last, both included, before they are written to.
    /// @return 0 or the error.
    SqliteCode note(std::string_view first, std::string_view last);

private:
    struct OldRow {
        std::string key, value;
    };
    /// The old rows by position; empty for a position without a row.
    using OldRows = std::map<std::string, std::optional<OldRow>, std::less<>>;

    SqliteCode restore(std::string_view position, const std::optional<OldRow>& row);

    SqliteEntries& m_entries;
    std::vector<OldRows> m_levels;
};

} // namespace qel::internal
