// The durable store compared with SQLite itself with the same table and settings, and the cache in front of
// both.
#include <qel/foundation/base/smart_pointer.h>
#include <qel/store/core/cache_store.h>
#include <qel/store/core/item.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#if QEL_PEER_SQLITE
#include <sqlite3.h>
#endif

namespace {

using qel::Item;

constexpr int kEntries = 100'000;
constexpr int kHotEntries = 4096; // the cache can contain them all
constexpr int kBatch = 1000;

/// Returns about 20 bytes, a usual size for the keys of records.
std::string nameOf(int index) {
    char text[32];
    std::snprintf(text, sizeof text, "patient/%08d/x", static_cast<int>(index * 2654435761U % 100'000'007U));
    return text;
}

std::string valueOf(int index) {
    return "value of the entry " + std::to_string(index);
}

/// Returns the indices in an order that differs from that of a walk.
std::vector<int> shuffled(int count) {
    std::vector<int> indices(kEntries);
    for (int i = 0; i < kEntries; ++i) indices[i] = i;
    std::shuffle(indices.begin(), indices.end(), std::mt19937(7));
    indices.resize(count);
    return indices;
}

std::string freshFile(const char* name) {
    const std::string path = (std::filesystem::temp_directory_path() / name).string();
    for (const char* ending : {"", "-wal", "-journal"}) std::filesystem::remove(path + ending);
    return path;
}

/// The store with all entries, created once.
class QelEntries {
public:
    QelEntries() : m_store(new qel::SqliteStore(freshFile("qel-benchmark.store"))) {
        m_store->begin();
        for (int i = 0; i < kEntries; ++i) {
            keys.emplace_back(nameOf(i));
            values.emplace_back(valueOf(i));
            m_store->set(keys.back(), values.back());
        }
        m_store->commit();
        m_store->flush();
    }

    static QelEntries& instance() {
        static QelEntries entries;
        return entries;
    }
    qel::SqliteStore& store() { return *m_store; }

    std::vector<Item> keys, values;

private:
    qel::SmartPointer<qel::SqliteStore> m_store;
};

void checkValue(const Item* value, int index) {
    if (!value || *value != QelEntries::instance().values[static_cast<size_t>(index)]) std::abort();
}

void getQel(benchmark::State& state, qel::Store& store, int count) {
    QelEntries& entries = QelEntries::instance();
    const std::vector<int> order = shuffled(count);
    for (const int index : order) checkValue(store.get(entries.keys[static_cast<size_t>(index)]), index);
    size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.get(entries.keys[static_cast<size_t>(order[at])]));
        if (++at == order.size()) at = 0;
    }
}

void scanQel(benchmark::State& state) {
    qel::Store& store = QelEntries::instance().store();
    for (auto _ : state) {
        int count = 0;
        Item key;
        for (bool found = store.first(key); found; found = store.next(key, key)) {
            benchmark::DoNotOptimize(store.get(key)->getPlainSize());
            ++count;
        }
        if (count != kEntries) std::abort();
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}

void setQel(benchmark::State& state) {
    QelEntries& entries = QelEntries::instance();
    const std::vector<int> order = shuffled(kEntries);
    size_t at = 0;
    for (auto _ : state) {
        entries.store().begin();
        for (int i = 0; i < kBatch; ++i) {
            const auto index = static_cast<size_t>(order[at++ % order.size()]);
            entries.store().set(entries.keys[index], entries.values[index]);
        }
        entries.store().commit();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

void nestedQel(benchmark::State& state) {
    QelEntries& entries = QelEntries::instance();
    const std::vector<int> order = shuffled(kHotEntries);
    size_t at = 0;
    entries.store().begin();
    entries.store().set(entries.keys[0], entries.values[0]);
    for (auto _ : state) {
        const auto index = static_cast<size_t>(order[at++ % order.size()]);
        entries.store().begin();
        entries.store().set(entries.keys[index], entries.values[index]);
        entries.store().commit();
    }
    entries.store().commit();
}

void getAll(benchmark::State& state) {
    getQel(state, QelEntries::instance().store(), kEntries);
}
void getHot(benchmark::State& state) {
    getQel(state, QelEntries::instance().store(), kHotEntries);
}
void getCached(benchmark::State& state) {
    qel::CacheStore cache(&QelEntries::instance().store());
    getQel(state, cache, kHotEntries);
}

BENCHMARK(getAll)->Name("Lasting/Get/qel");
BENCHMARK(getHot)->Name("Lasting/GetHot/qel");
BENCHMARK(scanQel)->Name("Lasting/Scan/qel");
BENCHMARK(setQel)->Name("Lasting/SetThousand/qel");
BENCHMARK(nestedQel)->Name("Lasting/Nested/qel");
BENCHMARK(getCached)->Name("Cached/Hit/qel");
BENCHMARK(getHot)->Name("Cached/Hit/sqlitestore");

#if QEL_PEER_SQLITE

/// SQLite as a careful program would use it: with the same table and settings, and every statement prepared.
class RawEntries {
public:
    RawEntries() {
        if (sqlite3_open(freshFile("raw-benchmark.sqlite").c_str(), &m_database) != SQLITE_OK) std::abort();
        run("PRAGMA locking_mode=EXCLUSIVE; PRAGMA cache_size=-16384; PRAGMA temp_store=MEMORY;"
            "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA journal_size_limit=16777216;"
            "CREATE TABLE entries (position BLOB PRIMARY KEY, key BLOB NOT NULL, value BLOB NOT NULL)"
            " WITHOUT ROWID");
        get = prepare("SELECT value FROM entries WHERE position = ?1");
        set = prepare(
            "INSERT INTO entries VALUES (?1, ?2, ?3) ON CONFLICT DO UPDATE SET value = excluded.value");
        scan = prepare("SELECT key, value FROM entries ORDER BY position");
        begin = prepare("BEGIN");
        commit = prepare("COMMIT");
        savepoint = prepare("SAVEPOINT level");
        release = prepare("RELEASE level");
        step(begin);
        for (int i = 0; i < kEntries; ++i) {
            keys.push_back(nameOf(i));
            values.push_back(valueOf(i));
            write(i);
        }
        step(commit);
    }

    static RawEntries& instance() {
        static RawEntries entries;
        return entries;
    }

    void run(const char* sql) {
        if (sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) != SQLITE_OK) std::abort();
    }
    void step(sqlite3_stmt* statement) {
        if (sqlite3_step(statement) != SQLITE_DONE) std::abort();
        sqlite3_reset(statement);
    }
    void write(int index) {
        const std::string& key = keys[static_cast<size_t>(index)];
        const std::string& value = values[static_cast<size_t>(index)];
        bind(set, 1, key);
        bind(set, 2, key);
        bind(set, 3, value);
        step(set);
    }
    /// Returns the size of the value, which is copied to @p copy.
    size_t read(int index, std::vector<char>& copy) {
        bind(get, 1, keys[static_cast<size_t>(index)]);
        if (sqlite3_step(get) != SQLITE_ROW) std::abort();
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(get, 0));
        copy.assign(bytes, bytes + sqlite3_column_bytes(get, 0));
        sqlite3_reset(get);
        return copy.size();
    }

    std::vector<std::string> keys, values;
    sqlite3_stmt *get, *set, *scan, *begin, *commit, *savepoint, *release;

private:
    sqlite3_stmt* prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v3(m_database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) !=
            SQLITE_OK)
            std::abort();
        return statement;
    }
    void bind(sqlite3_stmt* statement, int index, const std::string& bytes) {
        sqlite3_bind_blob(statement, index, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
    }

    sqlite3* m_database = nullptr;
};

void getRaw(benchmark::State& state, int count) {
    RawEntries& entries = RawEntries::instance();
    const std::vector<int> order = shuffled(count);
    std::vector<char> copy;
    size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(entries.read(order[at], copy));
        if (++at == order.size()) at = 0;
    }
}
BENCHMARK_CAPTURE(getRaw, all, kEntries)->Name("Lasting/Get/sqlite");
BENCHMARK_CAPTURE(getRaw, hot, kHotEntries)->Name("Lasting/GetHot/sqlite");
BENCHMARK_CAPTURE(getRaw, cached, kHotEntries)->Name("Cached/Hit/sqlite");

void scanRaw(benchmark::State& state) {
    RawEntries& entries = RawEntries::instance();
    std::vector<char> key, value;
    for (auto _ : state) {
        int count = 0;
        for (; sqlite3_step(entries.scan) == SQLITE_ROW; ++count) {
            const auto* keyBytes = static_cast<const char*>(sqlite3_column_blob(entries.scan, 0));
            key.assign(keyBytes, keyBytes + sqlite3_column_bytes(entries.scan, 0));
            const auto* bytes = static_cast<const char*>(sqlite3_column_blob(entries.scan, 1));
            value.assign(bytes, bytes + sqlite3_column_bytes(entries.scan, 1));
            benchmark::DoNotOptimize(value.data());
        }
        sqlite3_reset(entries.scan);
        if (count != kEntries) std::abort();
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}
BENCHMARK(scanRaw)->Name("Lasting/Scan/sqlite");

void setRaw(benchmark::State& state) {
    RawEntries& entries = RawEntries::instance();
    const std::vector<int> order = shuffled(kEntries);
    size_t at = 0;
    for (auto _ : state) {
        entries.step(entries.begin);
        for (int i = 0; i < kBatch; ++i) entries.write(order[at++ % order.size()]);
        entries.step(entries.commit);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(setRaw)->Name("Lasting/SetThousand/sqlite");

void nestedRaw(benchmark::State& state) {
    RawEntries& entries = RawEntries::instance();
    const std::vector<int> order = shuffled(kHotEntries);
    size_t at = 0;
    entries.step(entries.begin);
    for (auto _ : state) {
        entries.step(entries.savepoint);
        entries.write(order[at++ % order.size()]);
        entries.step(entries.release);
    }
    entries.step(entries.commit);
}
BENCHMARK(nestedRaw)->Name("Lasting/Nested/sqlite");

#endif

} // namespace
