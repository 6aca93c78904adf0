#include <qel/store/core/cache_store.h>
#include <tests/support/store_suite.h>

namespace qel::test {
namespace {

const StoreKind kKinds[] = {
    {"Memory", [](const ScratchFolder&) -> SmartPointer<Store> { return new MemoryStore; }},
    {"CachedMemory",
     [](const ScratchFolder&) -> SmartPointer<Store> { return new CacheStore(new MemoryStore); }},
};

INSTANTIATE_TEST_SUITE_P(Store, StoreSuite, testing::ValuesIn(kKinds), nameOfKind);

} // namespace
} // namespace qel::test
