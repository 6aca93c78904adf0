// Nested lists.
#pragma once

#include <qel/store/core/item.h>

namespace qel::test {

/// Returns @p levels nested SubItems, with @p innermost in the last of them.
inline Item nest(int levels, const Item& innermost = {}) {
    Item item;
    Vector<size_t> open;
    for (int i = 0; i < levels; ++i) open.push_back(item.openSubItem());
    item.concatItem(innermost);
    for (; !open.empty(); open.pop_back()) item.closeSubItem(open.back());
    return item;
}

} // namespace qel::test
