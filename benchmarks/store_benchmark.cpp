// The memory store and the cache compared with ordered containers and embedded databases: entries with keys
// of about 20 bytes and values of 8. "Topic/Case/who/entries".
#include <qel/store/core/cache_store.h>
#include <qel/store/core/item.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/core/store_cursor.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#ifdef QEL_PEER_ABSLBTREE
#include <absl/container/btree_map.h>
#endif
#ifdef QEL_PEER_LMDB
#include <cstdlib>
#include <filesystem>
#include <lmdb.h>
#endif
#ifdef QEL_PEER_SQLITE
#include <sqlite3.h>
#endif

namespace {

using qel::Item;
using qel::MemoryStore;

std::vector<std::string> makeKeys(size_t count) {
    std::vector<std::string> keys;
    std::mt19937_64 random(7);
    char text[32];
    for (size_t i = 0; i < count; ++i) {
        std::snprintf(text, sizeof text, "key%016llx", static_cast<unsigned long long>(random()));
        keys.emplace_back(text);
    }
    return keys;
}

/// Returns the keys in the order of the queries.
std::vector<std::string> shuffled(std::vector<std::string> keys) {
    std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
    return keys;
}

// Each peer is filled in its constructor and has the operations that the cases need.

template <bool kCached>
class QelPeer {
public:
    explicit QelPeer(const std::vector<std::string>& keys) {
        int64_t value = 0;
        for (const std::string& key : keys) store().set(Item(key), Item(++value));
    }
    using Key = Item;
    static Key keyOf(const std::string& text) { return Item(text); }
    bool get(const Key& key) { return store().get(key) != nullptr; }
    size_t scan() {
        size_t size = 0;
        for (const auto cursor = store().openCursor(); cursor->next();) size += cursor->key().getPlainSize();
        return size;
    }
    void begin() { store().begin(); }
    void commit() { store().commit(); }
    void rollback() { store().rollback(); }
    void set(const Key& key) { store().set(key, m_value); }

private:
    qel::Store& store() {
        if constexpr (kCached) {
            return m_cache;
        } else {
            return *m_memory;
        }
    }

    qel::SmartPointer<MemoryStore> m_memory{new MemoryStore};
    qel::CacheStore m_cache{m_memory.get()};
    Item m_value{int64_t{1} << 40};
};

/// A map that is copied for a transaction.
template <typename Map>
class MapPeer {
public:
    explicit MapPeer(const std::vector<std::string>& keys) {
        int64_t value = 0;
        for (const std::string& key : keys) m_map[key] = ++value;
    }
    using Key = std::string;
    static const Key& keyOf(const std::string& text) { return text; }
    bool get(const Key& key) { return m_map.find(key) != m_map.end(); }
    size_t scan() {
        size_t size = 0;
        for (const auto& [key, value] : m_map) size += key.size();
        return size;
    }
    void begin() { m_saved.push_back(m_map); }
    void commit() { m_saved.pop_back(); }
    void rollback() {
        m_map.swap(m_saved.back());
        m_saved.pop_back();
    }
    void set(const Key& key) { m_map[key] = 1; }

private:
    Map m_map;
    std::vector<Map> m_saved;
};

#ifdef QEL_PEER_LMDB
/// With its file on a file system in memory, without waiting for it. Under MDB_WRITEMAP, its faster way to
/// write, it does not support nested transactions.
template <unsigned kFlags>
class LmdbPeer {
public:
    explicit LmdbPeer(const std::vector<std::string>& keys) {
        char folder[] = "/dev/shm/qel-lmdb-XXXXXX";
        m_folder = mkdtemp(folder);
        check(mdb_env_create(&m_environment));
        check(mdb_env_set_mapsize(m_environment, size_t{1} << 30));
        check(mdb_env_open(m_environment, m_folder.c_str(), MDB_NOSYNC | kFlags, 0644));
        begin();
        check(mdb_dbi_open(m_write.back(), nullptr, MDB_CREATE, &m_table));
        for (const std::string& key : keys) set(key);
        commit();
        check(mdb_txn_begin(m_environment, nullptr, MDB_RDONLY, &m_read));
    }
    ~LmdbPeer() {
        mdb_txn_abort(m_read);
        mdb_env_close(m_environment);
        std::filesystem::remove_all(m_folder);
    }
    using Key = std::string;
    static const Key& keyOf(const std::string& text) { return text; }
    bool get(const Key& key) {
        MDB_val name = valueOf(key), data;
        return mdb_get(m_read, m_table, &name, &data) == 0;
    }
    size_t scan() {
        MDB_cursor* cursor;
        mdb_cursor_open(m_read, m_table, &cursor);
        MDB_val name, data;
        size_t size = 0;
        while (mdb_cursor_get(cursor, &name, &data, MDB_NEXT) == 0) size += name.mv_size;
        mdb_cursor_close(cursor);
        return size;
    }
    void begin() {
        MDB_txn* transaction = nullptr;
        check(mdb_txn_begin(m_environment, m_write.empty() ? nullptr : m_write.back(), 0, &transaction));
        m_write.push_back(transaction);
    }
    void commit() {
        check(mdb_txn_commit(m_write.back()));
        m_write.pop_back();
    }
    void rollback() {
        mdb_txn_abort(m_write.back());
        m_write.pop_back();
    }
    void set(const Key& key) {
        int64_t number = 1;
        MDB_val name = valueOf(key), data{sizeof number, &number};
        check(mdb_put(m_write.back(), m_table, &name, &data, 0));
    }

private:
    static void check(int code) {
        if (code == 0) return;
        std::fprintf(stderr, "lmdb: %s\n", mdb_strerror(code));
        std::abort();
    }
    static MDB_val valueOf(const std::string& key) { return {key.size(), const_cast<char*>(key.data())}; }

    std::string m_folder;
    MDB_env* m_environment = nullptr;
    MDB_dbi m_table = 0;
    MDB_txn* m_read = nullptr;
    std::vector<MDB_txn*> m_write;
};
#endif

#ifdef QEL_PEER_SQLITE
/// In memory, with prepared statements; transactions are savepoints.
class SqlitePeer {
public:
    explicit SqlitePeer(const std::vector<std::string>& keys) {
        sqlite3_open(":memory:", &m_database);
        sqlite3_exec(m_database, "CREATE TABLE t(k BLOB PRIMARY KEY, v) WITHOUT ROWID; BEGIN", nullptr,
                     nullptr, nullptr);
        const char* const kTexts[] = {"SELECT v FROM t WHERE k=?",
                                      "SELECT k FROM t ORDER BY k",
                                      "INSERT OR REPLACE INTO t VALUES(?,1)",
                                      "SAVEPOINT s",
                                      "RELEASE s",
                                      "ROLLBACK TO s"};
        for (size_t i = 0; i < std::size(kTexts); ++i) {
            sqlite3_prepare_v3(m_database, kTexts[i], -1, SQLITE_PREPARE_PERSISTENT, &m_statements[i],
                               nullptr);
        }
        for (const std::string& key : keys) set(key);
    }
    ~SqlitePeer() {
        for (sqlite3_stmt* statement : m_statements) sqlite3_finalize(statement);
        sqlite3_close(m_database);
    }
    using Key = std::string;
    static const Key& keyOf(const std::string& text) { return text; }
    bool get(const Key& key) { return run(kGet, &key) == SQLITE_ROW; }
    size_t scan() {
        size_t size = 0;
        while (sqlite3_step(m_statements[kScan]) == SQLITE_ROW) {
            size += static_cast<size_t>(sqlite3_column_bytes(m_statements[kScan], 0));
        }
        sqlite3_reset(m_statements[kScan]);
        return size;
    }
    void begin() { run(kBegin); }
    void commit() { run(kCommit); }
    void rollback() {
        run(kRollback);
        run(kCommit);
    }
    void set(const Key& key) { run(kSet, &key); }

private:
    enum { kGet, kScan, kSet, kBegin, kCommit, kRollback, kCount };

    int run(int which, const Key* key = nullptr) {
        sqlite3_stmt* const statement = m_statements[which];
        if (key) {
            sqlite3_bind_blob(statement, 1, key->data(), static_cast<int>(key->size()), SQLITE_STATIC);
        }
        const int result = sqlite3_step(statement);
        sqlite3_reset(statement);
        return result;
    }

    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_statements[kCount] = {};
};
#endif

/// Fills a peer with this number of entries, once for all cases.
template <typename Peer>
Peer& peerWith(size_t count) {
    static std::map<size_t, std::unique_ptr<Peer>> peers;
    auto& peer = peers[count];
    if (!peer) peer = std::make_unique<Peer>(makeKeys(count));
    return *peer;
}

template <typename Peer>
std::vector<typename Peer::Key> keysFor(size_t count) {
    std::vector<typename Peer::Key> keys;
    for (const std::string& text : shuffled(makeKeys(count))) keys.push_back(Peer::keyOf(text));
    return keys;
}

/// Measures @p step(key) on one key after the other, in a loop over all keys.
template <typename Peer, typename Step>
void measureKeys(benchmark::State& state, const Step& step) {
    const auto keys = keysFor<Peer>(static_cast<size_t>(state.range(0)));
    size_t i = 0;
    for (auto _ : state) {
        step(keys[i]);
        i = i + 1 == keys.size() ? 0 : i + 1;
    }
}

template <typename Peer>
void getCase(benchmark::State& state) {
    Peer& peer = peerWith<Peer>(static_cast<size_t>(state.range(0)));
    measureKeys<Peer>(state, [&](const auto& key) {
        if (!peer.get(key)) state.SkipWithError("a key is missing");
    });
}

template <typename Peer>
void scanCase(benchmark::State& state) {
    Peer& peer = peerWith<Peer>(static_cast<size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(peer.scan());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Peer>
void rollbackCase(benchmark::State& state) {
    Peer& peer = peerWith<Peer>(static_cast<size_t>(state.range(0)));
    measureKeys<Peer>(state, [&peer](const auto& key) {
        peer.begin();
        peer.set(key);
        peer.rollback();
    });
}

template <typename Peer>
void nestedCase(benchmark::State& state) {
    Peer& peer = peerWith<Peer>(static_cast<size_t>(state.range(0)));
    peer.begin();
    measureKeys<Peer>(state, [&peer](const auto& key) {
        peer.begin();
        peer.set(key);
        peer.commit();
    });
    peer.rollback();
}

void addCase(const std::string& name, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name.c_str(), run)->Arg(1'000)->Arg(100'000);
}

template <typename Peer>
void addPeer(const std::string& name) {
    addCase("Store/Get/" + name, getCase<Peer>);
    addCase("Store/Scan/" + name, scanCase<Peer>);
    addCase("Store/Rollback/" + name, rollbackCase<Peer>);
    addCase("Store/Nested/" + name, nestedCase<Peer>);
}

const bool g_isRegistered = [] {
    addPeer<QelPeer<false>>("qel");
    addPeer<MapPeer<std::map<std::string, int64_t>>>("std_map");
#ifdef QEL_PEER_ABSLBTREE
    addPeer<MapPeer<absl::btree_map<std::string, int64_t>>>("absl_btree");
#endif
#ifdef QEL_PEER_LMDB
    addCase("Store/Get/lmdb", getCase<LmdbPeer<MDB_WRITEMAP>>);
    addCase("Store/Scan/lmdb", scanCase<LmdbPeer<MDB_WRITEMAP>>);
    addCase("Store/Rollback/lmdb", rollbackCase<LmdbPeer<MDB_WRITEMAP>>);
    addCase("Store/Nested/lmdb", nestedCase<LmdbPeer<0>>);
#endif
#ifdef QEL_PEER_SQLITE
    addPeer<SqlitePeer>("sqlite");
#endif
    addCase("CacheHit/Get/qel", getCase<QelPeer<true>>);
    addCase("CacheHit/Get/std_map", getCase<MapPeer<std::map<std::string, int64_t>>>);
    return true;
}();

} // namespace
