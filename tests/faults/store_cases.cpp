#include <tests/faults/fault_case.h>

#include <qel/files/delete_later.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/cache_store.h>
#include <qel/store/core/log_db.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/records/options_db.h>
#include <qel/store/sqlite/sqlite_store.h>
#include <qel/testing/machine.h>

namespace qel::test {

namespace {

constexpr int kEntries = 5;

void fill(Store& store, int from) {
    for (int i = from; i < from + kEntries; ++i)
        store.set(Item("key").add(i), Item(std::string(3000, static_cast<char>('a' + i))));
}

/// Every key and value of a store.
Content contentOfStore(Store& store) {
    Content content;
    Item key;
    for (bool found = store.first(key); found; found = store.next(key, key)) {
        const Item* const value = store.get(key);
        content[key.asString()] = value ? std::string(value->asString()) : "gone";
    }
    return content;
}

String storePath(Folder folder) {
    return folder.path("entries.store");
}

Content contentOfDatabase(Folder folder) {
    SqliteStore store(storePath(folder));
    return contentOfStore(store);
}

void prepareDatabase(Folder folder) {
    SqliteStore store(storePath(folder));
    fill(store, 0);
}

/// Returns true if all writes to the store are durable.
bool isKept(Store& store) {
    return store.tryFlush() && store.lastError().empty();
}

Outcome writeInTransaction(Folder folder) {
    SqliteStore store(storePath(folder));
    store.begin();
    fill(store, 3);
    const bool isCommitted = store.tryCommit();
    return {isKept(store) && isCommitted};
}

Outcome writeGathered(Folder folder) {
    SqliteStore store(storePath(folder));
    fill(store, 3);
    return {isKept(store)};
}

Outcome removeFromDatabase(Folder folder) {
    SqliteStore store(storePath(folder));
    store.remove(Item("key").add(1), Item("key").add(3));
    return {isKept(store)};
}

Outcome readDatabase(Folder folder) {
    SqliteStore store(storePath(folder));
    Outcome outcome;
    for (const auto& [key, value] : contentOfStore(store)) outcome.value += key + "=" + value + "\n";
    outcome.worked = store.good();
    return outcome;
}

Outcome writeThroughCache(Folder folder) {
    const SmartPointer<SqliteStore> below(new SqliteStore(storePath(folder)));
    CacheStore cache(below.get());
    cache.begin();
    fill(cache, 3);
    const bool isCommitted = cache.tryCommit();
    return {isKept(cache) && isCommitted};
}

Outcome writeLog(Folder folder) {
    const SmartPointer<SqliteStore> store(new SqliteStore(storePath(folder)));
    const auto log = makeObject<LogDB>(Item(store.get()).add("log"));
    LogMessage message(kEntries, "line");
    log->addLine(&message);
    return {isKept(*store)};
}
void prepareLog(Folder folder) {
    writeLog(folder);
}

Outcome setOption(Folder folder) {
    const SmartPointer<SqliteStore> store(new SqliteStore(storePath(folder)));
    const auto options = makeObject<OptionsDB>(Item(store.get()).add("opt"));
    options->addOption("speed", "slow", "Group", "Label", "What", 0);
    const bool isSet = options->setValue("speed", "fast");
    return {isKept(*store) && isSet};
}

Outcome deferDeletion(Folder folder) {
    const SmartPointer<SqliteStore> store(new SqliteStore(storePath(folder)));
    const SmartPointer<DeleteLater> list(new DeleteLater);
    list->setDBPath(Item(store.get()).add("deletes"));
    list->addPath("/nowhere/file", "[test]");
    return {isKept(*store)};
}

Outcome dumpStore(Folder folder) {
    MemoryStore store;
    fill(store, 0);
    store.dumpToFile(folder.path("dump.txt").c_str());
    return {true};
}

/// Keeps the registry in the scratch folder.
class RegistryIn {
public:
    explicit RegistryIn(Folder folder) { seams::setRegistryFolder(folder.path("registry")); }
    ~RegistryIn() { seams::setRegistryFolder({}); }
};

void prepareBlob(Folder folder) {
    const RegistryIn registry(folder);
    MemoryStore store;
    fill(store, 0);
    MemoryStore::saveToWindowsRegistry(&store, "Key", "value");
}

Outcome saveBlob(Folder folder) {
    const RegistryIn registry(folder);
    MemoryStore store;
    fill(store, 3);
    return {MemoryStore::saveToWindowsRegistry(&store, "Key", "value")};
}

Outcome loadBlob(Folder folder) {
    const RegistryIn registry(folder);
    MemoryStore store;
    Outcome outcome{MemoryStore::loadFromWindowsRegistry(&store, "Key", "value")};
    for (const auto& [key, value] : contentOfStore(store)) outcome.value += key + "=" + value + "\n";
    return outcome;
}

} // namespace

std::vector<FaultCase> storeCases() {
    return {
        {"SqliteStore, a new file", prepareNothing, writeInTransaction, kWhole, contentOfDatabase},
        {"SqliteStore::commit", prepareDatabase, writeInTransaction, kWhole, contentOfDatabase},
        {"SqliteStore::flush", prepareDatabase, writeGathered, kWhole, contentOfDatabase},
        {"SqliteStore::remove", prepareDatabase, removeFromDatabase, kWhole, contentOfDatabase},
        {"SqliteStore, reading", prepareDatabase, readDatabase, kLoggedOnly | kWhole, contentOfDatabase},
        {"CacheStore over SqliteStore", prepareDatabase, writeThroughCache, kWhole, contentOfDatabase},
        {"LogDB in SqliteStore", prepareLog, writeLog, kWhole, contentOfDatabase},
        {"OptionsDB in SqliteStore", prepareDatabase, setOption, kUsual, contentOfDatabase},
        {"DeleteLater in SqliteStore", prepareDatabase, deferDeletion, kUsual, contentOfDatabase},
        {"Store::dumpToFile", prepareNothing, dumpStore, kLoggedOnly | kMayTear},
        {"MemoryStore::saveToWindowsRegistry, new", prepareNothing, saveBlob},
        {"MemoryStore::saveToWindowsRegistry, existing", prepareBlob, saveBlob},
        {"MemoryStore::loadFromWindowsRegistry", prepareBlob, loadBlob},
    };
}

} // namespace qel::test
