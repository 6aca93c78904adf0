// SubtreeWalk: the nodes below a key, parents first.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/store/core/item.h>

namespace qel::internal {

/// Goes through the descendants of a node in their order. It keeps little but its place: any depth is
/// fine, and the store may change meanwhile.
class SubtreeWalk {
public:
    /// Stands on @p root, whose store must be set.
    explicit SubtreeWalk(const Item& root) : m_node(root), m_bound(root) { m_bound.addMeta(); }

    /// Steps to the next node. @return false at the end.
    bool next() { return goDown() || nextBeside(); }
    /// Steps to the next node that isn't below this one. @return false at the end.
    bool nextBeside() {
        while (!m_depthsAbove.empty()) {
            // Siblings of a key with bytes behind its elements may lie outside.
            if (m_node.next(m_found) && m_found < m_bound) {
                std::swap(m_node, m_found);
                return true;
            }
            m_node.reduceDepthTo(m_depthsAbove.back());
            m_depthsAbove.pop_back();
        }
        return false;
    }
    /// The key.
    const Item& node() const { return m_node; }
    /// How many levels it is below the root.
    int depth() const { return static_cast<int>(m_depthsAbove.size()); }

private:
    bool goDown() {
        if (!m_node.child(m_found)) return false;
        m_depthsAbove.push_back(m_node.getDepth());
        std::swap(m_node, m_found);
        return true;
    }

    Item m_node;
    Item m_found;
    Item m_bound;
    /// How many elements the nodes have that the walk went down from: it may have skipped levels, where a
    /// key was set without its ancestors.
    Vector<int> m_depthsAbove;
};

} // namespace qel::internal
