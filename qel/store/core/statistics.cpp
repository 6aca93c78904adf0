#include <qel/store/core/statistics.h>

#include <qel/store/core/scoped_transaction.h>

#include <string_view>

namespace qel {

Statistics::Statistics(const Item& root) : m_root(root) {
    Item key;
    for (bool found = root.child(key); found; found = key.next()) {
        const Item name = key.trail();
        const Item* const stored = key.fetch();
        int64 value = 0;
        if (stored) stored->getIterator().asInteger(value);
        String text;
        if (name.getIterator().asString(text)) m_counters[text].value = static_cast<uint64>(value);
    }
}

uint64 Statistics::get(const char* name) {
    return counter(name).value;
}

void Statistics::increase(const char* name, uint64 amount) {
    if (amount == 0) return;
    Counter& grown = counter(name);
    change(grown, grown.value + amount);
}

void Statistics::set(const char* name, uint64 value) {
    change(counter(name), value);
}

void Statistics::flushToDatabase() {
    if (!m_dirty) return;
    ScopedTransaction transaction(m_root);
    for (auto& [name, counter] : m_counters) {
        if (!counter.dirty) continue;
        Item key(m_root);
        key.add(name).store(Item(counter.value));
        counter.dirty = false;
    }
    transaction.commit();
    m_dirty = false;
}

void Statistics::setAllDirty() {
    for (auto& [name, counter] : m_counters) counter.dirty = true;
    m_dirty = true;
}

Statistics::Counter& Statistics::counter(const char* name) {
    const std::string_view text(name ? name : "");
    const auto known = m_counters.find(text);
    return known != m_counters.end() ? known->second : m_counters[String(text)];
}

void Statistics::change(Counter& counter, uint64 value) {
    if (counter.value == value) return;
    counter.value = value;
    counter.dirty = m_dirty = true;
}

} // namespace qel
