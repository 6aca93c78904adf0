#include <qel/store/sqlite/sqlite_undo_log_p.h>

#include <utility>

namespace qel::internal {

// The records of the outer level are older and are kept. The smaller of both sets is moved into the larger
// one, so that a position that passes through many levels is seldom moved.
void SqliteUndoLog::commit() {
    OldRows inner = std::move(m_levels.back());
    m_levels.pop_back();
    if (m_levels.empty()) return;
    OldRows& outer = m_levels.back();
    if (inner.size() > outer.size()) {
        for (const auto& [position, row] : outer) inner.erase(position);
        inner.swap(outer);
    }
    outer.merge(inner);
}

SqliteCode SqliteUndoLog::rollback() {
    const OldRows rows = std::move(m_levels.back());
    m_levels.pop_back();
    for (const auto& [position, row] : rows) {
        if (const SqliteCode code = restore(position, row)) return code;
    }
    return 0;
}

/// Erases the row first, so that it gets its old key back, too.
SqliteCode SqliteUndoLog::restore(std::string_view position, const std::optional<OldRow>& row) {
    const SqliteCode code = m_entries.erase(position, position);
    if (code || !row) return code;
    return m_entries.set({position, ConstByteSpan::fromText(row->key), ConstByteSpan::fromText(row->value)});
}

SqliteCode SqliteUndoLog::note(std::string_view first, std::string_view last) {
    OldRows& noted = m_levels.back();
    if (first == last && noted.contains(first)) return 0;
    const SqliteCode code = m_entries.readRange(first, last, [&noted](const SqliteEntries::Row& row) {
        noted.try_emplace(std::string(row.position),
                          OldRow{std::string(row.key.asText()), std::string(row.value.asText())});
    });
    noted.try_emplace(std::string(first)); // there was no row, or it has been recorded
    return code;
}

} // namespace qel::internal
