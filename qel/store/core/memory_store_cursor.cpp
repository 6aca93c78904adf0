#include <qel/store/core/memory_store_cursor_p.h>

namespace qel::internal {

void MemoryStoreCursor::startAfter(const Item& key) {
    m_keptKey.setPlain(key);
    m_key.setPlainExternalBuffer(m_keptKey.getPlainBytePointer(), m_keptKey.getPlainSize());
    m_position = Position::AfterKey;
    dropEntries();
}

void MemoryStoreCursor::forgetPlace() {
    if (m_position == Position::AtPlace) startAfter(m_key);
}

bool MemoryStoreCursor::readOn() {
    if (m_position == Position::BeforeFirst) m_place = m_data.tree().begin();
    if (m_position == Position::AfterKey) m_place = m_data.placeAfter(m_key);
    if (!m_place.entry()) return false;
    m_position = Position::AtPlace;
    unsigned size = 0;
    m_place.takeNode([&](StoreEntry& entry) { m_entries[size++] = {entry.key(), &entry.value}; });
    showFirstOf(size);
    return true;
}

} // namespace qel::internal
