// Store: the ordered key-value database that contains all records.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <memory>

namespace qel {

class Item;
class StoreCursor;

/// An ordered database whose keys and values are Items. A key is one entry regardless of the width of its
/// integers: keys are ordered and compared with Item::compare(), never by their bytes.
/// || Keys and values returned by a store have their `store` set to it, so callers can continue from them
/// directly. A store has no notion of trees: Item::child(), Item::store() and similar functions implement
/// them with the order alone.
/// || Keys that contain a `Wildcard` or a NaN are questions: such a key may equal several entries. Then get()
/// returns the first entry equal to it, set() writes to the first, remove() erases all, next() finds the
/// smallest greater and prev() the greatest smaller. A question is never stored: calling set() with one that
/// equals no entry is misuse.
/// || Misuse is logged and leaves the data unchanged. A write that could not be kept is logged as well; hosts
/// that need to know call tryCommit() or tryFlush(), or check lastError() afterwards.
/// @threads one thread at a time; an owner that shares a store adds its own lock.
class QEL_API Store : public Object {
    QEL_CLASS(Store, Object)

public:
    ~Store() override;

    /// Returns true if the store can be used.
    virtual bool good() const = 0;
    /// Inserts or overwrites an entry. An existing equal key keeps its own bytes and receives the value.
    virtual void set(const Item& key, const Item& value) = 0;
    /// Returns the value of @p key; null if the key is not stored.
    /// @owner the store's; valid until that entry is changed, or until begin(), commit() or rollback(). A
    /// store that keeps its data elsewhere may end it earlier and documents that.
    virtual const Item* get(const Item& key) = 0;
    /// Removes every key from @p first to @p last, both included; none if @p first is greater than @p last.
    virtual void remove(const Item& first, const Item& last) = 0;
    /// Finds the smallest key greater than @p key, which need not be stored.
    /// @param out  receives the key; may be the same object as @p key. Unchanged if no such key exists.
    virtual bool next(const Item& key, Item& out) = 0;
    /// Finds the greatest key smaller than @p key, which need not be stored.
    /// @param out  receives the key; may be the same object as @p key. Unchanged if no such key exists.
    virtual bool prev(const Item& key, Item& out) = 0;
    /// Finds the smallest key. @param out  receives the key; unchanged if the store is empty.
    virtual bool first(Item& out) = 0;
    /// Starts a transaction; transactions nest.
    virtual void begin() = 0;
    /// Ends the innermost transaction and keeps its changes, subject to the enclosing transaction.
    /// @errors without a transaction an error is logged.
    virtual void commit() = 0;
    /// Ends the innermost transaction and undoes its changes, including inner commits.
    /// @errors without a transaction an error is logged.
    virtual void rollback() = 0;
    /// Releases the resources of the store, such as its file.
    virtual void close() = 0;
    /// Makes all committed changes durable.
    virtual void flush() = 0;
    /// Returns the bytes that the store occupies on its medium; 0 if that is not known.
    virtual int64 getSizeInBytes() const = 0;

    /// Returns the first failure of a write, commit or flush since clearLastError(); empty if none failed.
    virtual String lastError() const;
    /// Clears lastError().
    virtual void clearLastError();
    /// Ends the innermost transaction as commit() does.
    /// @return false if its changes could not be kept: they are then rolled back, and lastError() returns the
    /// reason.
    virtual bool tryCommit();
    /// Makes all committed changes durable, as flush() does.
    /// @return true only if all of them are durable, and no write outside a transaction was lost since the
    /// last flush.
    virtual bool tryFlush();
    /// Returns the number of times that the store dropped or rolled back writes without a request. A cache in
    /// front of it is emptied when this number changes.
    virtual uint64 getLossCount() const;
    /// Returns a cursor before the first entry: the fastest way to iterate over the store. Include
    /// qel/store/core/store_cursor.h to use it.
    virtual std::unique_ptr<StoreCursor> openCursor();

    /// Writes every entry of @p source to this store in one transaction and flushes. Entries that exist only
    /// here are kept. Logs the beginning, and the number of entries and the speed at the end.
    /// @errors an exception rolls back and is passed on.
    void copyFrom(Store* source);
    /// Like copyFrom(), but walks @p source as a tree from its root with Item::child() and Item::next(), and
    /// leaves out the nodes in @p excludes and all their descendants. Without a value at the root nothing is
    /// copied; keys with missing ancestors are copied only as far as this walk reaches them.
    void copyFrom(Store* source, const Set<Item>& excludes);

    /// Logs every entry as a line of info level: the texts of key and value, joined by " = ".
    void dumpraw();
    /// Writes the lines of dumpraw() to a text file. @errors a file that cannot be written is logged.
    void dumpToFile(const char* path);
    /// Reads and copies every value, and logs the duration in milliseconds.
    void benchmark();

    /// A number for diagnostics of hosts; the library does not change it.
    static int64 g_compareCount;

protected:
    Store();
    Store(const Store&); ///< Creates a store without references and weak pointers.
    /// Does not change references and weak pointers.
    Store& operator=(const Store&);
};

} // namespace qel
