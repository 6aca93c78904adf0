// Operations encoded as bytes, on a memory store, on one with a cache and on an ordered map with snapshots:
// all return the same results and have the same content at the end. Commits and rollbacks may occur without a
// begin.
#include <fuzz/drawn_bytes.h>
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/cache_store.h>
#include <tests/support/store_model.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

using namespace qel;

/// A blob of the content, read by another store, results in the same content.
void checkBlob(MemoryStore& store) {
    Item blob;
    store.writeBlob(blob);
    MemoryStore loaded;
    loaded.readBlob(blob);
    require(test::contentOf(loaded) == test::contentOf(store));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const auto quiet = logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    (void)quiet;
    constexpr size_t kLongest = 512;
    DrawnBytes bytes(data, std::min(size, kLongest));
    test::StoreOperations operations([&bytes](unsigned limit) { return bytes.draw(limit); }, true);
    const SmartPointer<MemoryStore> memory(new MemoryStore);
    const SmartPointer<CacheStore> cached(new CacheStore(new MemoryStore));
    test::ModelStore model;
    while (!bytes.isAtEnd()) {
        const test::StoreOperation operation = operations.next();
        const std::string answer = operation.perform(model);
        require(operation.perform(*memory) == answer);
        require(operation.perform(*cached) == answer);
    }
    require(test::contentOf(*memory) == test::contentOf(model));
    require(test::contentOf(*cached) == test::contentOf(model));
    checkBlob(*memory);

    // Uses the bytes as a blob from outside.
    MemoryStore hostile;
    hostile.readBlob(Item(Item::ExternalBufferMode, data, size));
    checkBlob(hostile);
    return 0;
}
