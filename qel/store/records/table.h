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

/// Base class of a collection of records: it manages the identity and existence of rows. The subclass defines
/// the content of a row, in most cases a Packet of a scheme with a Table() declaration, stored with
/// Item::storePacket(). Rows are the children of the root key, in the order of their GUIDs.
/// @threads those of the store; the signal is emitted on the caller's.
class QEL_API Table : public Object {
    QEL_CLASS(Table, Object)

public:
    /// @param root  key of the table; its store must be set.
    /// @owner keeps a reference to the store.
    explicit Table(const Item& root) : m_store(root.getStore()), m_root(root) {}

    /// Returns a row as a packet.
    /// @param key    the key of the row.
    /// @param error  receives the reason if null is returned.
    /// @return null in this class; a subclass loads the row.
    virtual SmartPointer<Packet> createPacketForEntry(const GUID& id, const Item& key, String& error);

    /// Returns the key of the table.
    const Item& getRoot() const { return m_root; }
    /// Returns the store of the table.
    Store* getStore() const { return m_store.get(); }

    /// For subclasses to report changes; they define what the number means.
    Signal<void(int)> signalChanged;

protected:
    /// Creates the table unless it exists.
    void createTable();
    /// Creates an empty row with a new identifier and sets @p key to it. System must exist.
    /// @return true; @p error is unchanged.
    bool createEntry(Item& key, String& error);
    /// Sets @p key to the row @p id. @return false, with "entry not found" in @p error, if it does not exist.
    bool findEntry(const GUID& id, Item& key, String& error);
    /// Removes a row and all its descendants. @return false, with "entry not found" in @p error, if it does
    /// not exist.
    bool deleteEntry(const Item& key, String& error);

private:
    SmartPointer<Store> m_store;
    Item m_root;
};

} // namespace qel
