// StoreCursor: walks over a Store and shows keys and values where they are.
#pragma once

#include <qel/platform/api.h>
#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

#include <array>

namespace qel {

/// Walks over the entries of a store in the order of their keys, without copying them:
///
///     for (auto cursor = store->openCursor(); cursor->next();) use(cursor->key(), cursor->value());
///
/// A new cursor is before the first entry. The store may be written during the walk: each step goes to the
/// smallest key that is then greater than key(). A store of a class outside the library is walked by
/// Store::first(), Store::next() and Store::get(); to be faster, the class overrides Store::openCursor().
/// @owner    the caller's; the store must outlive it, and must not be moved or assigned to meanwhile.
/// @threads  those of the store.
class QEL_API StoreCursor {
public:
    virtual ~StoreCursor();
    StoreCursor(const StoreCursor&) = delete;
    StoreCursor& operator=(const StoreCursor&) = delete;

    /// Makes the next step go to the smallest key greater than @p key, which need not be stored.
    virtual void startAfter(const Item& key) = 0;
    /// Steps to the next entry.
    /// @return false if there is none; the cursor then stays, and a later step finds what was added.
    bool next() {
        if (m_index + 1 >= m_size) return readOn();
        show(m_index + 1);
        return true;
    }
    /// Returns the key of the entry, with the store set. Call it only after a step that returned true.
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
    /// Entries that are taken at a time at most.
    static constexpr unsigned kMostEntries = 32;

    /// Creates a cursor over @p store that has no entries ahead.
    explicit StoreCursor(Store* store) : m_store(store), m_key(store) {}

    /// Steps to the next entry when none is left ahead. @return as next().
    virtual bool readOn() = 0;
    /// Makes the first @p size of m_entries those ahead, and steps to the first of them.
    void showFirstOf(unsigned size) {
        m_size = size;
        show(0);
    }
    /// Forgets the entries ahead.
    void dropEntries() { m_index = m_size = 0; }

    /// The store, which is not owned.
    Store* const m_store;
    /// The key of the entry.
    Item m_key;
    /// Entries that the walk comes to, or none: then value() asks the store.
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
