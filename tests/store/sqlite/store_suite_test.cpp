#include <qel/store/core/cache_store.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <tests/support/store_suite.h>

namespace {

using qel::CacheStore;
using qel::SmartPointer;
using qel::SqliteStore;
using qel::Store;
using qel::test::ScratchFolder;
using qel::test::StoreSuite;

const qel::test::StoreKind kKinds[] = {
    {"Sqlite",
     [](const ScratchFolder& folder) -> SmartPointer<Store> {
         return new SqliteStore(folder.path("store"));
     }},
    {"CachedSqlite",
     [](const ScratchFolder& folder) -> SmartPointer<Store> {
         return new CacheStore(new SqliteStore(folder.path("store")));
     }},
};

INSTANTIATE_TEST_SUITE_P(Store, StoreSuite, testing::ValuesIn(kKinds), qel::test::nameOfKind);

} // namespace
