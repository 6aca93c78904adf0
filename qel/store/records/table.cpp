#include <qel/store/records/table.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/scoped_transaction.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

bool failedFinding(String& error) {
    error = "entry not found";
    return false;
}

} // namespace

SmartPointer<Packet> Table::createPacketForEntry(const GUID&, const Item&, String&) {
    return nullptr;
}

void Table::createTable() {
    if (m_root.exists()) return;
    ScopedTransaction transaction(m_root);
    logging::info() << "creating table for scheme";
    m_root.store(Item());
    transaction.commit();
}

bool Table::createEntry(Item& key, String&) {
    ScopedTransaction transaction(m_root);
    Item row(m_root);
    row.addGUID(system()->generateGUID());
    row.store(Item());
    transaction.commit();
    key = row;
    return true;
}

bool Table::findEntry(const GUID& id, Item& key, String& error) {
    Item row(m_root);
    row.addGUID(id);
    if (!row.exists()) return failedFinding(error);
    key = row;
    return true;
}

bool Table::deleteEntry(const Item& key, String& error) {
    if (!key.exists()) return failedFinding(error);
    key.remove();
    return true;
}

} // namespace qel
