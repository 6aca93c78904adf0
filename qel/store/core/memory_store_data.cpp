#include <qel/store/core/memory_store_data_p.h>

#include <qel/store/core/memory_store_cursor_p.h>

#include <algorithm>

namespace qel::internal {
namespace {

/// Compares bytes inline: most keys are shorter than the cost of a call.
bool areSame(ConstByteSpan a, const uint8* b) {
    const auto differ = [&](size_t at) {
        return loadElementValue<uint64>(a.data + at) != loadElementValue<uint64>(b + at);
    };
    if (a.size < sizeof(uint64)) return std::equal(a.begin(), a.end(), b);
    const size_t last = a.size - sizeof(uint64);
    for (size_t at = 0; at < last; at += sizeof(uint64)) {
        if (differ(at)) return false;
    }
    return !differ(last);
}

} // namespace

MemoryStoreData::MemoryStoreData(const MemoryStoreData& other) {
    UndoLog::Copies copies;
    for (Place place = other.m_tree.begin(); place.entry(); place.next()) {
        StoreEntry* const copy = m_tree.insert(StoreEntry::copyOf(*place.entry()));
        if (other.isInTransaction()) copies[place.entry()] = copy;
    }
    m_undo.copyFrom(other.m_undo, copies);
}

bool MemoryStoreData::isRecent(const Item& key) const {
    const StoreEntry* const recent = m_recent.entry();
    if (!recent) return false;
    const ConstByteSpan bytes = recent->key();
    return bytes.size == key.getPlainSize() && areSame(bytes, key.getPlainBytePointer());
}

StoreEntry* MemoryStoreData::remember(Place place) {
    if (StoreEntry* const entry = place.entry()) {
        m_recent = place;
        return entry;
    }
    return nullptr;
}

/// Returns true if the entry is one of those that may equal the question in m_order.
bool MemoryStoreData::isAnswer(Place place) const {
    return place.entry() && place.entry()->order().starts_with(m_order.fixedPart());
}

StoreEntry* MemoryStoreData::find(const Item& key) {
    if (isRecent(key)) return m_recent.entry();
    m_order.assign(key);
    Place place = m_tree.lowerBound(m_order.fixedPart());
    if (m_order.isQuestion()) {
        while (isAnswer(place) && Item::compare(place.entry()->keyView(), key) != 0) place.next();
        return isAnswer(place) ? remember(place) : nullptr;
    }
    return place.entry() && place.entry()->order() == m_order.bytes() ? remember(place) : nullptr;
}

StoreEntry* MemoryStoreData::findGreater(const Item& key) {
    if (isRecent(key)) {
        Place place = m_recent;
        place.next();
        return remember(place);
    }
    return remember(placeAfter(key));
}

EntryTree::Place MemoryStoreData::placeAfter(const Item& key) {
    m_order.assign(key);
    if (!m_order.isQuestion()) return m_tree.upperBound(m_order.bytes());
    Place place = m_tree.lowerBound(m_order.fixedPart());
    while (isAnswer(place) && Item::compare(place.entry()->keyView(), key) <= 0) place.next();
    return place;
}

StoreEntry* MemoryStoreData::findSmaller(const Item& key) {
    if (isRecent(key)) return remember(m_tree.before(m_recent));
    m_order.assign(key);
    if (!m_order.isQuestion()) return remember(m_tree.before(m_tree.lowerBound(m_order.bytes())));
    Place place = m_tree.lowerBound(m_order.fixedPart());
    Place smaller = m_tree.before(place);
    for (; isAnswer(place); place.next()) {
        if (Item::compare(place.entry()->keyView(), key) < 0) smaller = place;
    }
    return remember(smaller);
}

StoreEntry* MemoryStoreData::findFirst() {
    return remember(m_tree.begin());
}

bool MemoryStoreData::set(const Item& key, const Item& value) {
    if (StoreEntry* const entry = find(key)) {
        replace(*entry, value);
        return true;
    }
    if (m_order.isQuestion()) return false;
    forgetPlaces();
    m_undo.noteInserted(*m_tree.insert(StoreEntry::make(m_order.bytes(), key.getConstByteSpan(), value)));
    return true;
}

void MemoryStoreData::replace(StoreEntry& entry, const Item& value) {
    if (&entry.value == &value) return;
    m_undo.noteReplacing(entry);
    entry.value = value;
}

void MemoryStoreData::removeEqual(const Item& key) {
    m_order.assign(key);
    std::vector<StoreEntry*> equal;
    for (Place place = m_tree.lowerBound(m_order.fixedPart()); isAnswer(place); place.next()) {
        if (Item::compare(place.entry()->keyView(), key) == 0) {
            equal.push_back(place.entry());
        } else if (!m_order.isQuestion()) {
            break;
        }
    }
    for (StoreEntry* entry : equal) remove(entry);
}

void MemoryStoreData::remove(StoreEntry* entry) {
    forgetPlaces();
    m_undo.noteTaken(m_tree.takeOut(entry));
}

/// Invalidates all positions before the tree changes.
void MemoryStoreData::forgetPlaces() {
    m_recent = {};
    for (MemoryStoreCursor* cursor : m_cursors) cursor->forgetPlace();
}

void MemoryStoreData::rollback() {
    forgetPlaces();
    m_undo.rollback(m_tree);
}

} // namespace qel::internal
