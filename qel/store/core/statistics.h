// Statistics: named counters stored in a Store.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/store/core/item.h>

#include <functional>
#include <map>

namespace qel {

/// A set of named 64-bit counters. They change in memory; flushToDatabase() writes those that changed. Each
/// is a child of the root key: root + String name, with one integer as its value.
/// @threads one thread at a time.
class QEL_API Statistics : public Object {
    QEL_CLASS(Statistics, Object)

public:
    /// Reads the counters below @p root, a key whose store is set. @owner the store must outlive it.
    explicit Statistics(const Item& root);

    /// Returns the counter's value; an unknown counter is created with 0, and not written until it changes.
    /// @param name  null is treated as "".
    uint64 get(const char* name);
    /// Adds @p amount to the counter; does nothing for 0. Beyond 2^64 it continues from 0.
    /// @param name  null is treated as "".
    void increase(const char* name, uint64 amount);
    /// Sets the counter. @param name  null is treated as "".
    void set(const char* name, uint64 value);
    /// Writes the counters that changed since the last call, in one transaction. Values from 2^63 on are
    /// stored as the negative number with the same bits.
    void flushToDatabase();
    /// Makes the next flushToDatabase() write all counters, for an owner whose transaction was rolled back.
    void setAllDirty();

private:
    struct Counter {
        uint64 value = 0;
        bool dirty = false;
    };

    Counter& counter(const char* name);
    void change(Counter& counter, uint64 value);

    std::map<String, Counter, std::less<>> m_counters; // looked up without a copy of the name
    Item m_root;
    bool m_dirty = false;
};

} // namespace qel
