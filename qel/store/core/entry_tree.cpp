#include <qel/store/core/entry_tree_p.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <string>

namespace qel::internal {
namespace {

/// A short string that separates the keys of a subtree from those before it.
struct Separator {
    std::string text;
};

std::string_view bytesOf(const Separator& separator) {
    return separator.text;
}

/// Returns the shortest prefix of @p right that is greater than @p left, the key before it.
std::string_view separate(std::string_view left, std::string_view right) {
    const auto ends = std::mismatch(right.begin(), right.end(), left.begin(), left.end());
    return right.substr(0, static_cast<size_t>(ends.first - right.begin()) + 1);
}

/// Returns where to split a full node that receives an entry at @p index. For an insertion at the end nothing
/// moves, so keys that arrive in order fill the nodes.
unsigned cutFor(unsigned index, unsigned size) {
    return index == size ? size - 1 : size / 2;
}

} // namespace

/// Child i contains the keys from separator i - 1 on and before separator i.
struct EntryTree::Inner : Node {
    Inner() : Node(false) {}
    ~Inner() {
        for (unsigned i = 0; i < childCount; ++i) destroy(children[i]);
    }
    Inner(const Inner&) = delete;
    Inner& operator=(const Inner&) = delete;

    static void destroy(Node* node) {
        if (node->isLeaf) {
            delete static_cast<Leaf*>(node);
        } else {
            delete static_cast<Inner*>(node);
        }
    }

    /// Prefetches the pointers to the children while the separators are searched.
    void prefetchChildren() const {
        for (unsigned i = 0; i < childCount; i += 8) __builtin_prefetch(children + i);
    }
    void insertChild(unsigned index, std::string_view separator, Node* child) {
        separators.insert(index - 1, Separator{std::string(separator)});
        std::copy_backward(children + index, children + childCount, children + childCount + 1);
        children[index] = child;
        ++childCount;
    }
    void eraseChild(unsigned index) {
        std::copy(children + index + 1, children + childCount, children + index);
        --childCount;
        if (separators.size() != 0) separators.takeOut(index == 0 ? 0 : index - 1);
    }
    /// Moves the children from @p index on to a new node. @param separator  receives the key between both
    /// nodes.
    Inner* split(unsigned index, std::string& separator) {
        auto* const right = new Inner;
        std::copy(children + index, children + childCount, right->children);
        right->childCount = childCount - index;
        childCount = index;
        separators.moveTail(index, right->separators);
        separator = separators.takeOut(index - 1).text;
        return right;
    }

    KeySlots<Separator> separators;
    unsigned childCount = 0;
    Node* children[KeySlots<Separator>::kCapacity + 1];
};

/// The inner nodes from the root to a leaf.
///
/// A split leaves room in both nodes, so a node splits again only after two more insertions into it: one that
/// fills it and one that splits it. Each level therefore has at most half as many splits as the level below,
/// and a new root costs one split of every level. Removals do not change this: they only make room. So the
/// number of levels is at most the number of bits of the number of insertions ever done.
struct EntryTree::Path {
    struct Step {
        Inner* node;
        unsigned child;
    };
    static constexpr unsigned kMostLevels = 64;

    void add(Inner* node, unsigned child) {
        assert(size < kMostLevels);
        steps[size++] = {node, child};
    }
    Step takeLast() {
        assert(size > 0);
        return steps[--size];
    }

    std::array<Step, kMostLevels> steps; // only the first `size` are set
    unsigned size = 0;
};

// --- EntryTree ------------------------------------------------------------------------------------------

EntryTree::EntryTree() : m_first(new Leaf), m_last(m_first) {
    m_root = m_first;
}

EntryTree::~EntryTree() {
    Inner::destroy(m_root);
}

EntryTree::Leaf* EntryTree::findLeaf(std::string_view order, Path* path) const {
    Node* node = m_root;
    while (!node->isLeaf) {
        auto* const inner = static_cast<Inner*>(node);
        inner->prefetchChildren();
        const unsigned child = inner->separators.upperBound(order);
        if (path) path->add(inner, child);
        node = inner->children[child];
    }
    static_cast<Leaf*>(node)->entries.prefetch();
    return static_cast<Leaf*>(node);
}

EntryTree::Place EntryTree::begin() const {
    return Place(m_first, 0);
}

EntryTree::Place EntryTree::lowerBound(std::string_view order) const {
    Leaf* const leaf = findLeaf(order, nullptr);
    return Place(leaf, leaf->entries.lowerBound(order));
}

EntryTree::Place EntryTree::upperBound(std::string_view order) const {
    Leaf* const leaf = findLeaf(order, nullptr);
    return Place(leaf, leaf->entries.upperBound(order));
}

EntryTree::Place EntryTree::before(Place place) const {
    Leaf* leaf = place.m_leaf ? place.m_leaf : m_last;
    unsigned index = place.m_leaf ? place.m_index : leaf->entries.size();
    if (index == 0) {
        leaf = leaf->previous;
        index = leaf ? leaf->entries.size() : 0;
    }
    return index != 0 ? Place(leaf, index - 1) : Place();
}

StoreEntry* EntryTree::insert(StoreEntry::Owner entry) {
    Path path;
    Leaf* const leaf = findLeaf(entry->order(), &path);
    const unsigned index = leaf->entries.lowerBound(entry->order());
    StoreEntry* const inserted = entry.get();
    if (leaf->entries.isFull()) {
        insertAndSplit(leaf, index, std::move(entry), path);
    } else {
        leaf->entries.insert(index, std::move(entry));
    }
    return inserted;
}

void EntryTree::insertAndSplit(Leaf* left, unsigned index, StoreEntry::Owner entry, Path& path) {
    auto* const right = new Leaf;
    const unsigned cut = cutFor(index, left->entries.size());
    left->entries.moveTail(cut, right->entries);
    right->previous = left;
    right->next = left->next;
    (right->next ? right->next->previous : m_last) = right;
    left->next = right;
    if (index > cut) {
        right->entries.insert(index - cut, std::move(entry));
    } else {
        left->entries.insert(index, std::move(entry));
    }
    const unsigned last = left->entries.size() - 1;
    addChild(path, separate(bytesOf(left->entries[last]), bytesOf(right->entries[0])), right);
}

/// Inserts @p child after the node to which @p path leads.
void EntryTree::addChild(Path& path, std::string_view separator, Node* child) {
    std::string between(separator);
    std::string above;
    while (path.size != 0) {
        auto [node, index] = path.takeLast();
        ++index;
        Inner* right = nullptr;
        if (node->separators.isFull()) {
            const unsigned cut = cutFor(index, node->childCount);
            right = node->split(cut, above);
            if (index > cut) {
                node = right;
                index -= cut;
            }
        }
        node->insertChild(index, between, child);
        if (!right) return;
        between.swap(above);
        child = right;
    }
    auto* const root = new Inner;
    root->children[0] = m_root;
    root->childCount = 1;
    root->insertChild(1, between, child);
    m_root = root;
}

StoreEntry::Owner EntryTree::takeOut(const StoreEntry* entry) {
    Path path;
    Leaf* const leaf = findLeaf(entry->order(), &path);
    StoreEntry::Owner taken = leaf->entries.takeOut(leaf->entries.lowerBound(entry->order()));
    if (leaf->entries.size() == 0 && leaf != m_root) removeLeaf(leaf, path);
    return taken;
}

void EntryTree::removeLeaf(Leaf* leaf, Path& path) {
    (leaf->previous ? leaf->previous->next : m_first) = leaf->next;
    (leaf->next ? leaf->next->previous : m_last) = leaf->previous;
    Node* empty = leaf;
    while (empty) {
        const auto [node, child] = path.takeLast();
        node->eraseChild(child);
        Inner::destroy(empty);
        empty = node->childCount == 0 ? node : nullptr;
    }
    while (!m_root->isLeaf && static_cast<Inner*>(m_root)->childCount == 1) {
        auto* const inner = static_cast<Inner*>(m_root);
        m_root = inner->children[0];
        inner->childCount = 0;
        delete inner;
    }
}

} // namespace qel::internal
