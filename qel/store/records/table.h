// Table: rows of a store, each under a GUID.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/signal.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/packet/packet.h>
#include <qel/store/core/guid.h>
#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

namespace qel {

/// Base of a collection of records: gives rows their identity and existence. What a row holds is the
/// subclass's, in most cases a Packet of a scheme with a Table() declaration, kept by Item::storePacket().
/// Rows are the children of the root key, in the order of their GUIDs.
/// @threads those of the store; the signal is emitted on the caller's.
class QEL_API Table : public Object {
    QEL_CLASS(Table, Object)

public:
    /// @param root  key of the table; its store must be set.
    /// @owner keeps a reference to the store.
    explicit Table(const Item& root) : m_store(root.getStore()), m_root(root) {}

    /// A row as a packet.
    /// @param key    the key of the row.
    /// @param error  why there is none.
    /// @return null here; a subclass loads the row.
    virtual SmartPointer<Packet> createPacketForEntry(const GUID& id, const Item& key, String& error);

    /// The key of the table.
    const Item& getRoot() const { return m_root; }
    /// The store of the table.
    Store* getStore() const { return m_store.get(); }

    /// For subclasses to tell changes; what the number means is theirs.
    Signal<void(int)> signalChanged;

protected:
    /// Makes the table, unless it is there.
    void createTable();
    /// Makes an empty row with an identifier of its own, as @p key. System must exist.
    /// @return true; @p error stays as it is.
    bool createEntry(Item& key, String& error);
    /// Sets @p key to the row @p id. @return false, with "entry not found" in @p error, when there is none.
    bool findEntry(const GUID& id, Item& key, String& error);
    /// Removes a row and all that is below it. @return false, with "entry not found" in @p error, when there
    /// is none.
    bool deleteEntry(const Item& key, String& error);

private:
    SmartPointer<Store> m_store;
    Item m_root;
};

} // namespace qel
