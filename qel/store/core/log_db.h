// LogDB: numbered log lines in a store.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

namespace qel {

/// A log in a store: each line has a number, a time and a text, and old lines are cut off by count and by
/// age. A reader walks the children of getData(), whose last element is the number, or asks for the numbers
/// from getBegin() to getEnd(); a number without a key has no line.
///
/// LogBackend::flushTo() moves the lines that the log kept to here.
/// @owner holds a reference to the store.
/// @threads one thread at a time.
class QEL_API LogDB : public Object {
    QEL_CLASS(LogDB, Object)

public:
    /// Opens the log at the key @p root, whose store must be set, or makes an empty one.
    /// @errors counters that are missing, or do not go with the lines that are there, are logged and
    ///         replaced by ones that do: no line is ever written over.
    explicit LogDB(const Item& root);

    /// Appends a line and cuts off what is too old, in one transaction. Null is ignored.
    void addLine(LogMessage* message);

    /// Limits the number of lines; 0 for no limit, 12,582,912 at the start. Once full the log holds one line
    /// fewer. As long as it isn't full, getBegin() is negative.
    void setMaxNumLines(int64 lines) { m_maxNumLines = lines; }
    /// Drops lines whose time is more than @p range before that of the line added; 0, as at the start, for no
    /// limit. Nothing is dropped as long as the line at getBegin() exists and is young enough. Otherwise the
    /// lines go in blocks that reach from a first line to the one 100 numbers later, both included. The next
    /// block begins at that last number, which no longer has a line, so the cut does not stop before
    /// getEnd(): it removes every line, the newest included.
    void setMaxTimeRange(int64 range) { m_maxTimeRange = range; }

    /// Number of the first line kept, or a smaller one.
    int64 getBegin() const { return m_begin; }
    /// Number that the next line will get.
    int64 getEnd() const { return m_end; }
    /// The key whose children are the lines.
    Item& getData() { return m_data; }
    /// The key that the log lives under.
    Item& getRoot() { return m_root; }
    /// The store that the log lives in.
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
