// The bytes of a store in tests.
#pragma once

#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

namespace qel::test {

/// Every entry in order as "key=value ", both in hexadecimal digits of their plain bytes.
inline std::string dumpStore(Store& store) {
    std::string text;
    Item key;
    for (bool more = store.first(key); more; more = store.next(key, key))
        text += key.getBase16() + "=" + store.get(key)->getBase16() + " ";
    return text;
}

} // namespace qel::test
