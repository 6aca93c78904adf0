#include <qel/store/core/cache_store.h>
#include <tests/support/store_suite.h>

namespace {

using qel::CacheStore;
using qel::MemoryStore;
using qel::SmartPointer;
using qel::Store;
using qel::test::ScratchFolder;
using qel::test::StoreSuite;

const qel::test::StoreKind kKinds[] = {
    {"Memory", [](const ScratchFolder&) -> SmartPointer<Store> { return new MemoryStore; }},
    {"CachedMemory",
     [](const ScratchFolder&) -> SmartPointer<Store> { return new CacheStore(new MemoryStore); }},
};

INSTANTIATE_TEST_SUITE_P(Store, StoreSuite, testing::ValuesIn(kKinds), qel::test::nameOfKind);

} // namespace
