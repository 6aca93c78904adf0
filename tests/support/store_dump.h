// Dumps the bytes of a store in tests.
#pragma once

#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

namespace qel::test {

/// Returns every entry in order as "key=value ", both as hexadecimal digits of their plain bytes.
inline std::string contentOf(Store& store) {
    std::string content;
    Item key;
    for (bool found = store.first(key); found; found = store.next(key, key)) {
        const Item* const value = store.get(key);
        content += key.getBase16() + "=" + (value ? value->getBase16() : String("gone")) + " ";
        if (key.getStore() != &store || !value || value->getStore() != &store)
            content += "(not of the store) ";
    }
    return content;
}

} // namespace qel::test
