#include <qel/store/core/log_db.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/scoped_transaction.h>

#include <algorithm>

namespace qel {

namespace {

/// The number of lines that are removed by age in one block.
constexpr int64 kBlock = 100;
/// A larger count cannot be the result of counting.
constexpr int64 kMaxEnd = int64{1} << 62;
/// The number of lines that one flush moves.
constexpr unsigned kFlushLines = 512;

/// Subtracts with wrap-around instead of overflow, because hosts may set any limit.
int64 minus(int64 a, int64 b) {
    return static_cast<int64>(static_cast<uint64>(a) - static_cast<uint64>(b));
}

bool readInteger(const Item* stored, int64& value) {
    return stored->getIterator().asInteger(value);
}

/// Reads a counter; a missing one leaves @p value unchanged. @return false if it is not a number.
bool readCounter(const Item& key, int64& value) {
    const Item* const stored = key.fetch();
    return !stored || readInteger(stored, value);
}

} // namespace

LogDB::LogDB(const Item& root)
    : m_store(root.getStore()),
      m_root(root),
      m_endKey(Item(root).add("pos")),
      m_beginKey(Item(root).add("firstPos")),
      m_data(Item(root).add("data")) {
    if (m_root.exists())
        load();
    else
        create();
}

void LogDB::create() {
    ScopedTransaction transaction(m_store.get());
    m_endKey.store(Item(m_end));
    m_beginKey.store(Item(m_begin));
    m_data.store(Item());
    transaction.commit();
}

void LogDB::load() {
    int64 end = 0, begin = 0, first = kMaxEnd, last = -1;
    const bool isRead = readCounter(m_endKey, end) && readCounter(m_beginKey, begin);
    findLineBehind(-kMaxEnd, first);
    findLastLine(last);
    m_end = std::max(end >= 0 && end <= kMaxEnd ? end : 0, last + 1);
    m_begin = std::min({begin, first, m_end});
    int64 next;
    while (findLineBehind(m_end - 1, next) && next == m_end) ++m_end; // lines after the last counted one
    if (isRead && m_end == end && m_begin == begin) return;
    logging::error() << "[STORE] counters of the log do not match its lines, set to " << m_begin << " and "
                     << m_end;
}

Item LogDB::lineKey(int64 number) const {
    Item key(m_data);
    key.addInteger(number);
    return key;
}

/// Reads the number from a key that is a line, or is below a line.
bool LogDB::readNumber(const Item& key, int64& number) const {
    Item::Iterator position = key.getIterator();
    return position.skip(m_data.getDepth()) && position.asInteger(number);
}

bool LogDB::findLastLine(int64& number) const {
    Item key;
    return m_store->prev(lineKey(kMaxEnd), key) && key > m_data && readNumber(key, number);
}

bool LogDB::findLineBehind(int64 number, int64& found) const {
    Item key, bound(m_data);
    bound.addMeta();
    int64 candidate;
    const bool isLine = m_store->next(lineKey(number), key) && key < bound && readNumber(key, candidate);
    if (!isLine || candidate < number) return false; // keys reached through wildcards are not lines
    found = candidate;
    return true;
}

void LogDB::addLine(LogMessage* message) {
    if (!message) return;
    ScopedTransaction transaction(m_store.get());
    Item line;
    line.add(message->time).add(SmartCStr(message->text));
    lineKey(m_end++).store(line);
    m_endKey.store(Item(m_end));

    int64 first = m_begin;
    if (m_maxNumLines != 0) first = cutByCount(first);
    if (m_maxTimeRange != 0) first = cutByAge(first, minus(message->time, m_maxTimeRange));
    if (first != m_begin) {
        m_begin = first;
        m_beginKey.store(Item(m_begin));
    }
    transaction.commit();
}

int64 LogDB::cutByCount(int64 first) {
    const int64 last = minus(m_end, m_maxNumLines);
    m_store->remove(lineKey(first), lineKey(last));
    return last;
}

int64 LogDB::cutByAge(int64 first, int64 oldest) {
    while (first < m_end) {
        int64 time = 0, found = 0;
        if (const Item* line = lineKey(first).fetch()) {
            if (readInteger(line, time) && time >= oldest) break;
        } else if (!findLineBehind(first, found) || found >= m_end) {
            return m_end;
        } else if (found > first) { // skips the blocks without a line
            first += static_cast<int64>((static_cast<uint64>(found) - static_cast<uint64>(first) - 1) /
                                        kBlock * kBlock);
        }
        m_store->remove(lineKey(first), lineKey(first + kBlock));
        first = std::min(first + kBlock, m_end);
    }
    return first;
}

unsigned LogBackend::flushTo(unsigned channelIndex, LogDB* logDB) {
    std::optional<LogMessage> message = takeMessage(channelIndex);
    if (!message) return 0;
    ScopedTransaction transaction(logDB->getStore());
    unsigned count = 0;
    while (message) {
        logDB->addLine(&*message);
        message = ++count < kFlushLines ? takeMessage(channelIndex) : std::nullopt;
    }
    transaction.commit();
    return count;
}

} // namespace qel
