// SubtreeWalk: the nodes below a key, parents first.
#pragma once

#include <qel/store/core/item.h>

namespace qel::internal {

/// Goes through the descendants of a node in their order. It keeps nothing but its place: any depth is fine,
/// and the store may change meanwhile.
class SubtreeWalk {
public:
    /// Stands on @p root, whose store must be set.
    explicit SubtreeWalk(const Item& root) : m_node(root), m_bound(root) { m_bound.addMeta(); }

    /// Steps to the next node. @return false at the end.
    bool next() { return goDown() || nextBeside(); }
    /// Steps to the next node that isn't below this one. @return false at the end.
    bool nextBeside() {
        while (m_depth != 0) {
            // Siblings of a key with bytes behind its elements may lie outside.
            if (m_node.next(m_found) && m_found < m_bound) {
                std::swap(m_node, m_found);
                return true;
            }
            m_node.parent();
            --m_depth;
        }
        return false;
    }
    /// The key.
    const Item& node() const { return m_node; }
    /// How many levels it is below the root.
    int depth() const { return m_depth; }

private:
    bool goDown() {
        if (!m_node.child(m_found)) return false;
        std::swap(m_node, m_found);
        ++m_depth;
        return true;
    }

    Item m_node;
    Item m_found;
    Item m_bound;
    int m_depth = 0;
};

} // namespace qel::internal
