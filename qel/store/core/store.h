// Store: the ordered key/value database that all records live in.
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

/// An ordered database whose keys and values are Items. A key is one entry however its integers are written:
/// order and equality of keys are Item::compare(), never the order of bytes.
///
/// Keys and values that a store gives out have their `store` set to it, so that one can walk on from them at
/// once. A store knows nothing of trees: Item::child(), Item::store() and their like build them on the order
/// alone.
///
/// Keys that hold a `Wildcard` or a NaN are questions: such a key may equal several entries. Then get() takes
/// the first entry equal to it, set() writes to the first, remove() erases all, next() gives the smallest
/// greater and prev() the greatest smaller. A question is never stored: set() on one that equals no entry is
/// misuse.
///
/// Misuse is logged and leaves the data as they were. A write that could not be kept is logged as well; hosts
/// that must know call tryCommit() or tryFlush(), or ask lastError() afterwards.
/// @threads one thread at a time; an owner that shares a store adds its own lock.
class QEL_API Store : public Object {
    QEL_CLASS(Store, Object)

public:
    ~Store() override;

    /// Whether the store can be used.
    virtual bool good() const = 0;
    /// Inserts or overwrites. An equal key that is already there keeps its own bytes and gets the value.
    virtual void set(const Item& key, const Item& value) = 0;
    /// The value under @p key, null if there is none.
    /// @owner the store's; valid until that entry is changed, or until begin(), commit() or rollback(). A
    ///        store that keeps its data elsewhere may end it earlier and says so.
    virtual const Item* get(const Item& key) = 0;
    /// Removes every key from @p first to @p last, both included; nothing when @p first is the greater one.
    virtual void remove(const Item& first, const Item& last) = 0;
    /// Finds the smallest key greater than @p key, which need not be stored.
    /// @param out  gets the key; may be the same object as @p key. Unchanged if there is none.
    virtual bool next(const Item& key, Item& out) = 0;
    /// Finds the greatest key smaller than @p key, which need not be stored.
    /// @param out  gets the key; may be the same object as @p key. Unchanged if there is none.
    virtual bool prev(const Item& key, Item& out) = 0;
    /// Finds the smallest key. @param out  gets the key; unchanged if the store is empty.
    virtual bool first(Item& out) = 0;
    /// Starts a transaction; transactions nest.
    virtual void begin() = 0;
    /// Ends the innermost transaction and keeps what it wrote, for the one around it to decide on.
    /// @errors without a transaction an error is logged.
    virtual void commit() = 0;
    /// Ends the innermost transaction and takes back what it wrote, inner commits included.
    /// @errors without a transaction an error is logged.
    virtual void rollback() = 0;
    /// Lets go of what the store is kept in.
    virtual void close() = 0;
    /// Makes all that was committed durable.
    virtual void flush() = 0;
    /// Bytes that the store takes where it is kept; 0 if it can't say.
    virtual int64 getSizeInBytes() const = 0;

    /// Returns the first failure of a write, commit or flush since clearLastError(); empty if none failed.
    virtual String lastError() const;
    /// Forgets lastError().
    virtual void clearLastError();
    /// Ends the innermost transaction as commit() does.
    /// @return false if what it wrote could not be kept: it is then rolled back, and lastError() says why.
    virtual bool tryCommit();
    /// Makes all that was committed durable, as flush() does.
    /// @return true only if all of it is durable, and no write outside a transaction was lost since the last
    ///         flush.
    virtual bool tryFlush();
    /// Returns how often the store dropped or took back writes without being asked to. A cache in front of it
    /// forgets its values when this number changes.
    virtual uint64 getLossCount() const;
    /// Returns a cursor before the first entry: the fastest way to walk over the store. Include
    /// qel/store/core/store_cursor.h to use it.
    virtual std::unique_ptr<StoreCursor> openCursor();

    /// Writes every entry of @p source to this store in one transaction, and flushes. What is here and not
    /// there remains. Logs the beginning, and the number of entries and the speed at the end.
    /// @errors an exception rolls back and passes on.
    void copyFrom(Store* source);
    /// As copyFrom(), but walks @p source as a tree from its root by Item::child() and Item::next(), and
    /// leaves out the nodes in @p excludes with all below them. Without a value at the root nothing is
    /// copied; of keys whose ancestors are not all stored only those are copied that this walk meets.
    void copyFrom(Store* source, const Set<Item>& excludes);

    /// Logs every entry as a line of info level: the texts of key and value, joined by " = ".
    void dumpraw();
    /// Writes the lines of dumpraw() to a text file. @errors a file that can't be written is logged.
    void dumpToFile(const char* path);
    /// Reads and copies every value, and logs how many milliseconds that took.
    void benchmark();

    /// For diagnostics of hosts; nothing in the library changes it.
    static int64 g_compareCount;

protected:
    Store();
    Store(const Store&);
    /// Leaves references and weak pointers as they are.
    Store& operator=(const Store&);
};

} // namespace qel
