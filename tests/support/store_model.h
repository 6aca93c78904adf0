// A simple model of a Store, and random operations to compare other stores with it.
#pragma once

#include <qel/store/core/item.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/core/order_key.h>
#include <qel/store/core/store.h>
#include <tests/support/store_dump.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace qel::test {

/// An ordered map that is copied completely for each transaction; queries examine every key.
class ModelStore : public Store {
public:
    bool good() const override { return true; }
    void set(const Item& key, const Item& value) override {
        for (auto& [there, content] : data()) {
            if (there == key) {
                content = value;
                return;
            }
        }
        data().emplace(key, value);
    }
    const Item* get(const Item& key) override {
        for (auto& [there, value] : data()) {
            if (there != key) continue;
            value.setStore(this);
            return &value;
        }
        return nullptr;
    }
    void remove(const Item& first, const Item& last) override {
        if (first > last) return;
        Item key(first);
        do {
            std::erase_if(data(), [&key](const auto& entry) { return entry.first == key; });
        } while (next(key, key) && key <= last);
    }
    bool next(const Item& key, Item& out) override {
        for (auto it = data().begin(); it != data().end(); ++it) {
            if (it->first > key) return give(it->first, out);
        }
        return false;
    }
    bool prev(const Item& key, Item& out) override {
        for (auto it = data().rbegin(); it != data().rend(); ++it) {
            if (it->first < key) return give(it->first, out);
        }
        return false;
    }
    bool first(Item& out) override { return !data().empty() && give(data().begin()->first, out); }
    void begin() override { m_layers.push_back(data()); }
    void commit() override {
        if (m_layers.size() > 1) m_layers.erase(m_layers.end() - 2);
    }
    void rollback() override {
        if (m_layers.size() > 1) m_layers.pop_back();
    }
    void close() override {}
    void flush() override {}
    int64 getSizeInBytes() const override { return 0; }

private:
    Map<Item, Item>& data() { return m_layers.back(); }
    bool give(const Item& key, Item& out) {
        out = key;
        out.setStore(this);
        return true;
    }

    std::vector<Map<Item, Item>> m_layers{1};
};

/// One operation on a store; on two stores with the same content, its result is the same.
struct StoreOperation {
    const char* name;
    std::function<std::string(Store&)> perform;
};

/// Creates operations from numbers.
class StoreOperations {
public:
    /// @param draw  returns a number below its argument.
    /// @param misuse  true to commit and roll back without begin as well.
    StoreOperations(std::function<unsigned(unsigned)> draw, bool misuse) : m_draw(draw), m_misuse(misuse) {}

    StoreOperation next() {
        const unsigned kind = m_draw(30);
        if (kind < 6) return set();
        if (kind < 9) return write();
        if (kind < 19) return ask(kind - 9);
        if (kind < 22) return remove(kind - 19);
        if (kind < 28) return transaction(kind - 22);
        return kind == 28 ? copySubtree() : look();
    }

private:
    Item key(bool mayAsk) {
        static const Item kElements[] = {Item(1),
                                         Item().addInteger64(1),
                                         Item(-300),
                                         Item().addFloat(0.5),
                                         Item().addFloat(-0.0),
                                         Item("a"),
                                         Item("ab"),
                                         Item(std::string(60, 'b')),
                                         Item(Item::NILType),
                                         Item(GUID()),
                                         Item().add(Item(1)),
                                         Item().add(Item().addInteger64(1).add("x")),
                                         Item().addBool(true)};
        constexpr unsigned kCount = std::size(kElements);
        Item key;
        for (unsigned depth = m_draw(4); depth > 0; --depth) {
            const unsigned which = m_draw(kCount + (mayAsk ? 2 : 0));
            if (which < kCount) {
                key.concatItem(kElements[which]);
            } else if (m_draw(3) == 0) {
                key.addFloat(std::numeric_limits<double>::quiet_NaN());
            } else {
                which == kCount ? key.addWildcard() : key.add(Item().addWildcard());
            }
        }
        if (m_draw(32) == 0)
            key.concatItem(Item(Item::PlainMode, reinterpret_cast<const uint8*>("\x03t"), 2));
        return key;
    }
    Item value() { return m_draw(8) == 0 ? Item(std::string(3 * m_draw(300), 'v')) : Item(m_draw(1000)); }

    /// A failed search leaves the key unchanged.
    static std::string answer(bool found, const Item& key, const Store& store) {
        return (found ? "" : "none, ") + key.getBase16() +
               (key.getStore() == &store ? "" : " (not of the store)");
    }
    StoreOperation set() {
        return {"set", [key = key(true), value = value()](Store& store) {
                    const bool isStorable = !internal::OrderKey(key).isQuestion() || store.get(key);
                    if (isStorable) store.set(key, value);
                    const Item* const now = store.get(key);
                    return answer(now, now ? *now : Item(), store);
                }};
    }
    StoreOperation write() {
        return {"store", [key = key(false), value = value()](Store& store) mutable {
                    key.setStore(&store);
                    key.store(value);
                    return answer(key.exists(), *key.fetch(), store);
                }};
    }
    StoreOperation ask(unsigned kind) {
        static const std::pair<const char*, bool (*)(const Item& key, Item& out)> kQuestions[] = {
            {"get", [](const Item& key, Item& out) { return key.exists() && (out = *key.fetch(), true); }},
            {"first", [](const Item& key, Item& out) { return key.getStore()->first(out); }},
            {"next", [](const Item& key, Item& out) { return key.getStore()->next(key, out); }},
            {"prev", [](const Item& key, Item& out) { return key.getStore()->prev(key, out); }},
            {"next in place",
             [](const Item& key, Item& out) { return out = key, key.getStore()->next(out, out); }},
            {"prev in place",
             [](const Item& key, Item& out) { return out = key, key.getStore()->prev(out, out); }},
            {"child", [](const Item& key, Item& out) { return key.child(out); }},
            {"last child", [](const Item& key, Item& out) { return key.lastChild(out); }},
            {"next sibling", [](const Item& key, Item& out) { return out = key, out.next(); }},
            {"previous sibling", [](const Item& key, Item& out) { return out = key, out.prev(); }},
        };
        return {kQuestions[kind].first,
                [key = key(true), ask = kQuestions[kind].second](Store& store) mutable {
                    key.setStore(&store);
                    Item out;
                    const bool found = ask(key, out);
                    return answer(found, out, store);
                }};
    }
    StoreOperation remove(unsigned kind) {
        return {"remove", [kind, first = key(kind == 0), last = key(true)](Store& store) mutable {
                    first.setStore(&store);
                    kind == 0 ? store.remove(first, last) : first.remove();
                    return std::string();
                }};
    }
    StoreOperation transaction(unsigned kind) {
        constexpr int kDeepest = 6;
        if ((kind < 3 && m_depth < kDeepest) || (m_depth == 0 && !m_misuse)) {
            ++m_depth;
            return {"begin", [](Store& store) { return store.begin(), std::string(); }};
        }
        if (m_depth > 0) --m_depth;
        if (kind % 2 == 0) return {"commit", [](Store& store) { return store.commit(), std::string(); }};
        return {"rollback", [](Store& store) { return store.rollback(), std::string(); }};
    }
    StoreOperation copySubtree() {
        constexpr size_t kMuch = 4000;
        return {"copy subtree", [from = key(false), to = key(false)](Store& store) mutable {
                    from.setStore(&store);
                    to.setStore(&store);
                    // Copies of copies would double the content repeatedly.
                    contentOf(store).size() < kMuch ? to.copyChildrenRecursive(from) : from.remove();
                    return contentOf(store);
                }};
    }
    StoreOperation look() {
        if (m_draw(16) != 0) return {"look", contentOf};
        return {"copy", [root = key(false)](Store& store) {
                    ModelStore all;
                    all.copyFrom(&store);
                    MemoryStore some;
                    some.copyFrom(&store, {root});
                    return contentOf(all).append("| ").append(contentOf(some));
                }};
    }

    std::function<unsigned(unsigned)> m_draw;
    bool m_misuse;
    int m_depth = 0;
};

} // namespace qel::test
