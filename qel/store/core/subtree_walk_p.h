// SubtreeWalk: the nodes below a key, parents first.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/store/core/item.h>

namespace qel::internal {

/// Iterates over the descendants of a node in order. It stores little besides its position: any depth is
/// possible, and the store may change meanwhile.
class SubtreeWalk {
public:
    /// Starts at @p root, whose store must be set.
    explicit SubtreeWalk(const Item& root) : m_node(root), m_bound(root) { m_bound.addMeta(); }

    /// Moves to the next node. @return false at the end.
    bool next() { return goDown() || nextBeside(); }
    /// Moves to the next node that is not a descendant of the current one. @return false at the end.
    bool nextBeside() {
        while (!m_depthsAbove.empty()) {
            // Siblings of a key with bytes after its elements may lie outside.
            if (m_node.next(m_found) && m_found < m_bound) {
                std::swap(m_node, m_found);
                return true;
            }
            m_node.reduceDepthTo(m_depthsAbove.back());
            m_depthsAbove.pop_back();
        }
        return false;
    }
    /// Returns the current key.
    const Item& node() const { return m_node; }
    /// Returns the number of levels between the root and the current key.
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
    /// The number of elements of the nodes from which the walk went down. Levels may be missing if a key was
    /// set without its ancestors.
    Vector<int> m_depthsAbove;
};

} // namespace qel::internal
