// StoreCursor: iterates over a Store and shows keys and values in place.
#pragma once

#include <qel/platform/api.h>
#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

#include <array>

namespace qel {

/// Iterates over the entries of a store in the order of their keys, without copying them:
///
///     for (auto cursor = store->openCursor(); cursor->next();) use(cursor->key(), cursor->value());
///
/// A new cursor is before the first entry. The store may be written during the walk: each step moves to the
/// smallest key that is then greater than key(). For a store class outside the library it
/// uses Store::first(), Store::next() and Store::get(); such a class can override Store::openCursor() with a
/// faster cursor.
/// @owner    the caller's; the store must outlive it, and must not be moved or assigned to meanwhile.
/// @threads the same as the store's.
class QEL_API StoreCursor {
public:
    virtual ~StoreCursor();
    StoreCursor(const StoreCursor&) = delete;
    StoreCursor& operator=(const StoreCursor&) = delete;

    /// Makes the next step move to the smallest key greater than @p key, which need not be stored.
    virtual void startAfter(const Item& key) = 0;
    /// Moves to the next entry.
    /// @return false after the last one; the cursor then does not move, and a later step finds new entries.
    bool next() {
        if (m_index + 1 >= m_size) return readOn();
        show(m_index + 1);
        return true;
    }
    /// Returns the key of the entry, with the store set. Call it only after next() returned true.
    /// @owner a view; valid until the next step.
    const Item& key() const { return m_key; }
    /// Returns the value of the entry as Store::get() does; null if the entry was removed meanwhile or can't
    /// be read.
    const Item* value() {
        if (m_index >= m_size) return m_store->get(m_key);
        m_entries[m_index].value->setStore(m_store);
        return m_entries[m_index].value;
    }

protected:
    /// An entry ahead of the walk.
    struct Entry {
        ConstByteSpan key; ///< The plain bytes of its key.
        Item* value;       ///< Its value.
    };
    /// The largest number of entries taken at a time.
    static constexpr unsigned kMostEntries = 32;

    /// Creates a cursor over @p store that has no entries ahead.
    explicit StoreCursor(Store* store) : m_store(store), m_key(store) {}

    /// Moves to the next entry if none is left ahead. @return as next().
    virtual bool readOn() = 0;
    /// Makes the first @p size of m_entries the entries ahead, and moves to the first of them.
    void showFirstOf(unsigned size) {
        m_size = size;
        show(0);
    }
    /// Removes the entries ahead.
    void dropEntries() { m_index = m_size = 0; }

    /// The store, which is not owned.
    Store* const m_store;
    /// The key of the current entry.
    Item m_key;
    /// The entries ahead; while it is empty, value() queries the store.
    std::array<Entry, kMostEntries> m_entries;

private:
    void show(unsigned index) {
        m_index = index;
        m_key.setPlainExternalBuffer(m_entries[index].key.data, m_entries[index].key.size);
    }

    unsigned m_index = 0;
    unsigned m_size = 0;
};

} // namespace qel
