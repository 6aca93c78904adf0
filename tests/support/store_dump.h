// The bytes of a store in tests.
#pragma once

#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

#include <string>
#include <vector>

namespace qel::test {

/// Every entry in order as "key = value", both in hexadecimal digits of their plain bytes.
inline std::vector<std::string> dumpStore(Store& store) {
    std::vector<std::string> entries;
    Item key;
    for (bool more = store.first(key); more; more = store.next(key, key))
        entries.push_back(key.getBase16() + " = " + store.get(key)->getBase16());
    return entries;
}

} // namespace qel::test
