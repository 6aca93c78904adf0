#include <qel/store/core/cache_store.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <tests/support/store_suite.h>

namespace qel::test {
namespace {

SqliteStore* makeSqlite(const ScratchFolder& folder) {
    return new SqliteStore(folder.path("store"));
}

const StoreKind kKinds[] = {
    {"Sqlite", [](const ScratchFolder& folder) -> SmartPointer<Store> { return makeSqlite(folder); }},
    {"CachedSqlite",
     [](const ScratchFolder& folder) -> SmartPointer<Store> { return new CacheStore(makeSqlite(folder)); }},
};

INSTANTIATE_TEST_SUITE_P(Store, StoreSuite, testing::ValuesIn(kKinds), nameOfKind);

} // namespace
} // namespace qel::test
