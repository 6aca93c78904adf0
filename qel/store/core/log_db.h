// LogDB: numbered log lines in a store.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

namespace qel {

/// A log in a store: each line has a number, a time and a text, and old lines are removed by count and by
/// age. A reader iterates over the children of getData(), whose last element is the number, or queries the
/// numbers from getBegin() to getEnd(); a number without a key has no line.
/// || LogBackend::flushTo() moves the lines that the log kept to this log.
/// @owner holds a reference to the store.
/// @threads one thread at a time.
class QEL_API LogDB : public Object {
    QEL_CLASS(LogDB, Object)

public:
    /// Opens the log at the key @p root, whose store must be set, or creates an empty one.
    /// @errors counters that are missing or do not match the existing lines are logged and replaced with
    /// matching ones: no line is ever overwritten.
    explicit LogDB(const Item& root);

    /// Appends a line and removes lines that are too old, in one transaction. Null is ignored.
    void addLine(LogMessage* message);

    /// Limits the number of lines; 0 for no limit, initially 12,582,912. A full log contains one line fewer.
    /// While it is not full, getBegin() is negative.
    void setMaxNumLines(int64 lines) { m_maxNumLines = lines; }
    /// Removes lines whose time is more than @p range before that of an added line; 0, the initial value, for
    /// no limit. Nothing is removed while the line at getBegin() exists and is young enough. Otherwise lines
    /// are removed in blocks that reach from a first line to the one 100 numbers later, both included. The
    /// next block begins at that last number, which no longer has a line, so the removal does not stop before
    /// getEnd(): every line is removed, including the newest.
    void setMaxTimeRange(int64 range) { m_maxTimeRange = range; }

    /// Returns the number of the first line kept, or a smaller one.
    int64 getBegin() const { return m_begin; }
    /// Returns the number that the next line will get.
    int64 getEnd() const { return m_end; }
    /// Returns the key whose children are the lines.
    Item& getData() { return m_data; }
    /// Returns the key that contains the log.
    Item& getRoot() { return m_root; }
    /// Returns the store that contains the log.
    Store* getStore() const { return m_store.get(); }

private:
    void create();
    void load();
    Item lineKey(int64 number) const;
    bool readNumber(const Item& key, int64& number) const;
    bool findLastLine(int64& number) const;
    bool findLineBehind(int64 number, int64& found) const;
    int64 cutByCount(int64 first);
    int64 cutByAge(int64 first, int64 oldest);

    SmartPointer<Store> m_store;
    Item m_root;
    int64 m_end = 0;
    int64 m_begin = 0;
    int64 m_maxNumLines = 0xc00000;
    int64 m_maxTimeRange = 0;
    Item m_endKey;
    Item m_beginKey;
    Item m_data;
};

} // namespace qel
