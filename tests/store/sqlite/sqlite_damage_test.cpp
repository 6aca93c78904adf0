#include <qel/store/core/item.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <tests/files/unprivileged.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/store_dump.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

namespace qel {
namespace {

using test::contentOf;

constexpr const char* kOutOfPlace = "a key is out of place (779)";

struct SqliteDamage : testing::Test {
    /// Writes a tree, followed by @p count values of a million bytes.
    void write(int count) {
        SqliteStore store(path);
        const Item root(&store);
        for (const char* name : {"a", "patient", "z"}) Item(root).add(name).add(5).store(Item(name));
        for (int i = 0; i < count; ++i) store.set(Item("values").add(i), Item(std::string(1'000'000, 'x')));
    }
    /// Returns the offset of the key ("patient", 5) in @p file, not of its position.
    static size_t placeOfKey(const std::string& file) {
        return file.find(std::string("\3patient\0\x08\x05", 11));
    }

    test::ScratchFolder scratch;
    std::string path = scratch.path("data.store");
    test::LogCapture log;
};

TEST_F(SqliteDamage, AFlippedBitOfAKeyIsFoundWhenTheFileIsOpened) {
    write(0);
    const std::string sound = scratch.read("data.store");
    const size_t at = placeOfKey(sound);
    ASSERT_NE(at, std::string::npos);
    for (size_t bit = 0; bit < 11 * 8; ++bit) {
        std::string damaged = sound;
        damaged[at + bit / 8] = static_cast<char>(damaged[at + bit / 8] ^ 1 << bit % 8);
        scratch.write("data.store", damaged);
        EXPECT_FALSE(SqliteStore(path).good()) << bit;
        log.expect(3, "[STORE] can't open store '" + path + "': damaged: " + kOutOfPlace);
        EXPECT_EQ(scratch.read("data.store"), damaged) << bit;
    }
}

TEST_F(SqliteDamage, APositionOfAnotherTypeIsFoundWhenTheFileIsOpened) {
    write(0);
    std::string damaged = scratch.read("data.store");
    const size_t key = placeOfKey(damaged);
    ASSERT_NE(key, std::string::npos);
    // Before the key is its position, and before that the types of position, key and value. A type is twice
    // the size plus 12 for bytes, or plus 13 for text: https://www.sqlite.org/fileformat2.html#record_format
    const auto typeOfBytes = [](size_t size) { return static_cast<char>(12 + 2 * size); };
    size_t size = 1;
    const auto hasTypes = [&] {
        return damaged[key - size - 3] == typeOfBytes(size) && damaged[key - size - 2] == typeOfBytes(11);
    };
    while (size < 30 && !hasTypes()) ++size;
    ASSERT_TRUE(hasTypes());
    damaged[key - size - 3] ^= 1;
    scratch.write("data.store", damaged);
    EXPECT_FALSE(SqliteStore(path).good());
    log.expect(3, "[STORE] can't open store '" + path + "': damaged: " + kOutOfPlace);
}

struct LargeSqliteDamage : SqliteDamage {
    void SetUp() override {
        write(static_cast<int>(SqliteStore::kCheckedBytes / 1'000'000) + 1);
        std::string damaged = scratch.read("data.store");
        const size_t at = placeOfKey(damaged);
        ASSERT_NE(at, std::string::npos);
        damaged[at + 1] = 'A'; // a walk by keys would move back from here
        scratch.write("data.store", damaged);
        store.emplace(path);
        ASSERT_TRUE(store->good());
    }
    void expectClosed() {
        log.expect(3, "[STORE] store '" + path + "' is damaged and was closed: " + kOutOfPlace);
        EXPECT_FALSE(store->good());
        Item out;
        EXPECT_FALSE(store->first(out));
        EXPECT_EQ(store->get(Item("a")), nullptr);
        EXPECT_EQ(store->lastError(), std::string("damaged: ") + kOutOfPlace);
        store->begin();
        store->set(Item("a"), Item(1));
        EXPECT_FALSE(store->tryCommit());
        EXPECT_TRUE(log.take().empty()) << "it is logged only once";
    }

    std::optional<SqliteStore> store;
};

TEST_F(LargeSqliteDamage, EndsAWalkUpwards) {
    Item key;
    int steps = 0;
    for (bool found = store->first(key); found; found = store->next(key, key)) ++steps;
    EXPECT_EQ(steps, 4); // the root, ("a"), ("a", 5), ("patient")
    expectClosed();
}

TEST_F(LargeSqliteDamage, EndsAWalkDownwards) {
    Item key("values");
    int steps = 0;
    while (store->prev(key, key)) ++steps;
    EXPECT_EQ(steps, 0);
    expectClosed();
}

TEST_F(LargeSqliteDamage, EndsAWalkOverChildren) {
    Item key(&*store);
    int steps = 0;
    for (bool found = Item(&*store).add("patient").child(key); found; found = key.next()) ++steps;
    EXPECT_EQ(steps, 0);
    expectClosed();
}

TEST_F(LargeSqliteDamage, IsFoundByVerify) {
    EXPECT_FALSE(store->verify());
    expectClosed();
}

TEST_F(SqliteDamage, WithoutPermissionAStoreIsNotOpened) {
    using std::filesystem::perms;
    const std::string folder = scratch.makeFolder("folder");
    const struct {
        const char* name;
        bool isNew;
        perms folderPerms, filePerms;
    } cases[] = {
        {"to read the file", false, perms::owner_all, perms::none},
        {"to write the file", false, perms::owner_all, perms::owner_read},
        {"to create the file", true, perms::owner_read | perms::owner_exec, {}},
        {"to search the folder", true, perms::owner_read | perms::owner_write, {}},
        {"to create the log", false, perms::owner_read | perms::owner_exec, perms::owner_all},
    };
    test::asUnprivilegedOwner(scratch, [&] {
        for (const auto& [name, isNew, folderPerms, filePerms] : cases) {
            SCOPED_TRACE(name);
            path = folder + (isNew ? "/new" : "/existing");
            if (!isNew) {
                write(0);
                std::filesystem::permissions(path, filePerms);
            }
            std::filesystem::permissions(folder, folderPerms);
            EXPECT_FALSE(SqliteStore(path).good());
            log.expect(3, "[STORE] can't open store '" + path + "': permission denied");
            std::filesystem::permissions(folder, perms::owner_all);
            std::filesystem::remove(path);
        }
    });
}

} // namespace
} // namespace qel
