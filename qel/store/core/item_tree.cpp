// Keys as paths in a tree, implemented with the order of keys alone.
#include <qel/store/core/item.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/core/scoped_transaction.h>
#include <qel/store/core/store.h>
#include <qel/store/core/subtree_walk_p.h>
#include <qel/system/core/system.h>

#include <cstring>

namespace qel {
namespace {

/// Returns the offset of the last element; -1 for an empty key.
int64 offsetOfLast(const Item& key) {
    int64 last = -1;
    Item::Iterator it(key);
    for (int64 at = 0; it.skip(); at = it.getOffset()) last = at;
    return last;
}

/// Returns the bound after all descendants of @p key, before its End.
Item behindDescendants(const Item& key) {
    Item bound(key);
    bound.addMeta();
    return bound;
}

/// Returns true if elements appended to @p key may be found below @p root. That is so if @p key lies there,
/// and for a key with bytes after its elements, which may combine with what is appended.
bool mayReachInto(const Item& key, const Item& root) {
    if (key.getStore() != root.getStore()) return false;
    Item::Iterator it(key);
    while (it.skip()) {
    }
    if (it.getOffset() != static_cast<int64>(key.getPlainSize())) return true;
    return root < key && key < behindDescendants(root);
}

} // namespace

// --- the store ------------------------------------------------------------------------------------------

const Item* Item::fetch() const {
    return m_store->get(*this);
}

bool Item::exists() const {
    return fetch() != nullptr;
}

void Item::store(const Item& value) const {
    Item ancestor;
    if (!parent(ancestor) || ancestor.exists()) {
        m_store->set(*this, value);
        return;
    }
    ScopedTransaction transaction(m_store);
    do {
        m_store->set(ancestor, Item());
    } while (ancestor.parent() && !ancestor.exists());
    m_store->set(*this, value);
    transaction.commit();
}

void Item::remove() const {
    Item end(*this);
    end.addEnd();
    m_store->remove(*this, end);
}

void Item::begin() const {
    m_store->begin();
}

void Item::commit() const {
    m_store->commit();
}

void Item::rollback() const {
    m_store->rollback();
}

// --- children and siblings ------------------------------------------------------------------------------

bool Item::child(Item& out) const {
    if (!exists()) return false;
    const Item bound = behindDescendants(*this);
    return m_store->next(*this, out) && out < bound;
}

bool Item::lastChild(Item& out) const {
    if (!exists()) return false;
    const Item node(*this);
    if (!m_store->prev(behindDescendants(node), out) || out <= node) return false;
    out.reduceDepthTo(node.getDepth() + 1);
    return true;
}

bool Item::next(Item& out) const {
    Item end(*this);
    end.addEnd();
    Item above;
    const bool hasParent = parent(above);
    return m_store->next(end, out) && hasParent && out < above.addMeta();
}

bool Item::prev(Item& out) const {
    Item above;
    if (!parent(above) || !m_store->prev(*this, out) || out <= above) return false;
    out.reduceDepthTo(above.getDepth() + 1);
    return true;
}

// --- the path -------------------------------------------------------------------------------------------

bool Item::parent() {
    const int64 last = offsetOfLast(*this);
    if (last < 0) return false;
    resizePlain(static_cast<size_t>(last));
    return true;
}

bool Item::parent(Item& out) const {
    if (&out != this) out = *this;
    return out.parent();
}

Item Item::trail() const {
    Item last(m_store);
    trail(last);
    return last;
}

bool Item::trail(Item& out) const {
    const int64 last = offsetOfLast(*this);
    if (last < 0) return false;
    out.setStore(m_store);
    Iterator(*this, last).extract(out);
    return true;
}

void Item::reduceDepthTo(int depth) {
    if (depth < 1) return clear();
    Iterator it(*this);
    if (it.skip(depth)) resizePlain(static_cast<size_t>(it.getOffset()));
}

// --- whole subtrees -------------------------------------------------------------------------------------

void Item::copyValueFrom(const Item& source) const {
    if (const Item* const value = source.fetch()) store(Item(*value));
}

void Item::copyChildrenRecursive(const Item& source) const {
    if (mayReachInto(*this, source)) {
        // Copies written there would be found and copied again without end.
        MemoryStore aside(false);
        const Item copy(&aside);
        copy.copyValueFrom(source);
        copy.copyChildrenRecursive(source);
        copyChildrenRecursive(copy);
        return;
    }
    ScopedTransaction transaction(*this);
    Item target(*this);
    const int depth = getDepth();
    for (internal::SubtreeWalk walk(source); walk.next();) {
        target.reduceDepthTo(depth + walk.depth() - 1);
        target.concatItem(walk.node().trail());
        target.copyValueFrom(walk.node());
    }
    transaction.commit();
}

void Item::archive(const char* type, const Item& source) {
    Item key(*this);
    key.addInteger(Object::system()->getUTCDateTimeUnique());
    Item value;
    value.add("type").add(type).add("path").addItem(source);
    if (const Item* const content = source.fetch()) value.add("value").addItem(*content);
    key.store(value);
    key.copyChildrenRecursive(source);
}

void Item::archiveDeleteBefore(int64 time) {
    Item bound(*this);
    bound.addInteger(time);
    for (Item oldest; child(oldest) && oldest < bound;) {
        oldest.remove();
        if (oldest.exists()) return; // the store cannot be written to
    }
}

void Item::createUniqueInteger(Item& out) const {
    do {
        const uint64 low = Object::system()->randomUInt();
        const uint64 high = Object::system()->randomUInt();
        constexpr uint64 kTopByte = uint64{0xFF} << 56;
        if (&out != this) out = *this;
        out.addInteger(static_cast<int64>(((high << 32 | low) & ~kTopByte) | uint64{0x80} << 56));
    } while (out.exists());
}

// --- flat lists of keys and values ----------------------------------------------------------------------

Item::Iterator Item::kvFind(const char* key) const {
    Iterator it(*this);
    for (;;) {
        const char* const text = it.asWeakCStr();
        if (!text || *text == '\0') break;
        if (key && std::strcmp(text, key) == 0) return it;
        if (!it.skip()) break;
    }
    it.skipToEnd();
    return it;
}

Item Item::kvFromMap(const Map<String, Item>& map) {
    Item list;
    for (const auto& [key, value] : map) list.addString(key).concatItem(value);
    return list;
}

Map<String, Item> Item::kvToWeakMap() const {
    Map<String, Item> map;
    Iterator it(*this);
    for (;;) {
        const char* const key = it.asWeakCStr();
        if (!key || !it.hasNextElement()) return map;
        it.asWeakItemView(map[key]);
    }
}

} // namespace qel
