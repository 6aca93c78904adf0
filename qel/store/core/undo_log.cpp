#include <qel/store/core/undo_log_p.h>

#include <utility>

namespace qel::internal {
namespace {

/// The number of changes whose memory is kept for the next transaction.
constexpr size_t kChangesKept = 4096;

template <typename... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

} // namespace

void UndoLog::begin() {
    m_open.push_back({m_changes.size(), ++m_lastNumber});
}

void UndoLog::commit() {
    m_open.pop_back();
    if (isOpen()) return;
    m_changes.clear();
    if (m_changes.capacity() > kChangesKept) m_changes.shrink_to_fit();
}

void UndoLog::rollback(EntryTree& tree) {
    const auto takeBack = Overloaded{
        [&tree](Inserted& change) { tree.takeOut(change.entry); },
        [&tree](Taken& change) { tree.insert(std::move(change.entry)); },
        [](Replaced& change) {
            change.entry->value = std::move(change.oldValue);
            change.entry->writtenDownIn = change.writtenDownBefore;
        },
    };
    for (const size_t first = m_open.back().firstChange; m_changes.size() > first; m_changes.pop_back()) {
        std::visit(takeBack, m_changes.back());
    }
    m_open.pop_back();
}

void UndoLog::noteInserted(StoreEntry& entry) {
    if (!isOpen()) return;
    entry.writtenDownIn = m_open.back().number;
    m_changes.push_back(Inserted{&entry});
}

void UndoLog::noteTaken(StoreEntry::Owner entry) {
    if (isOpen()) m_changes.push_back(Taken{std::move(entry)});
}

void UndoLog::noteReplacing(StoreEntry& entry) {
    // A greater number belongs to an inner transaction that was committed: its record is used for this one
    // too.
    if (!isOpen() || entry.writtenDownIn >= m_open.back().number) return;
    m_changes.push_back(Replaced{&entry, std::move(entry.value), entry.writtenDownIn});
    entry.writtenDownIn = m_open.back().number;
}

void UndoLog::copyFrom(const UndoLog& other, Copies& copies) {
    m_open = other.m_open;
    m_lastNumber = other.m_lastNumber;
    std::vector<StoreEntry::Owner> taken;
    for (const Change& change : other.m_changes) {
        if (const auto* const original = std::get_if<Taken>(&change)) {
            taken.push_back(StoreEntry::copyOf(*original->entry));
            copies[original->entry.get()] = taken.back().get();
        }
    }
    auto nextTaken = taken.begin();
    const auto copy = Overloaded{
        [&](const Inserted& change) -> Change { return Inserted{copies.at(change.entry)}; },
        [&](const Taken&) -> Change { return Taken{std::move(*nextTaken++)}; },
        [&](const Replaced& change) -> Change {
            return Replaced{copies.at(change.entry), change.oldValue, change.writtenDownBefore};
        },
    };
    for (const Change& change : other.m_changes) m_changes.push_back(std::visit(copy, change));
}

} // namespace qel::internal
