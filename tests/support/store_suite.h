// Tests that every Store must pass. A test program lists its stores with INSTANTIATE_TEST_SUITE_P of
// StoreSuite.
#pragma once

#include <qel/store/core/store_cursor.h>
#include <tests/support/log_capture.h>
#include <tests/support/nested_item.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/store_model.h>
#include <tests/support/system_fixture.h>

#include <cctype>
#include <cstdlib>
#include <random>
#include <sstream>

namespace qel::test {

/// A kind of store.
struct StoreKind {
    const char* name;
    /// Creates an empty store, which may keep its data in the folder.
    SmartPointer<Store> (*make)(const ScratchFolder& folder);
};

inline std::ostream& operator<<(std::ostream& out, const StoreKind& kind) {
    return out << kind.name;
}

inline std::string nameOfKind(const testing::TestParamInfo<StoreKind>& kind) {
    return kind.param.name;
}

class StoreSuite : public SystemFixture, public testing::WithParamInterface<StoreKind> {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        store = GetParam().make(folder);
    }
    void TearDown() override {
        store.reset();
        SystemFixture::TearDown();
    }

    /// Creates a key from its elements, joined by "/": digits are a number, others text; "." is the root.
    Item key(const std::string& path) const {
        Item key(store.get());
        std::istringstream parts(path == "." ? "" : path);
        for (std::string part; std::getline(parts, part, '/');)
            part.size() == 1 && std::isdigit(part[0]) ? key.add(part[0] - '0') : key.add(part);
        return key;
    }
    static std::string text(const Item& item) {
        std::string text;
        for (auto it = item.getIterator(); it.hasNextElement();)
            text += (text.empty() ? "" : "/") + it.convertAsString();
        return text;
    }

    /// Runs the statements in @p script, separated by ';', and returns their results, separated by ' '.
    std::string run(const std::string& script) {
        std::string answers;
        std::istringstream statements(script);
        for (std::string statement; std::getline(statements, statement, ';');) {
            std::istringstream words(statement);
            std::string verb, a, b;
            words >> verb >> a >> b;
            const std::string answer = runOne(verb, key(a), b);
            answers += (answers.empty() || answer.empty() ? "" : " ") + answer;
        }
        return answers;
    }

    ScratchFolder folder;
    SmartPointer<Store> store;

private:
    std::string runOne(const std::string& verb, const Item& a, const std::string& b) {
        Item out(a);
        const auto answer = [&out](bool found) { return !found ? "-" : out.empty() ? "." : text(out); };
        if (verb == "set") return store->set(a, Item(b)), "";
        if (verb == "store") return a.store(Item(b)), "";
        if (verb == "remove") return a.remove(), "";
        if (verb == "copy") return a.copyChildrenRecursive(key(b)), "";
        if (verb == "child") return answer(a.child(out));
        if (verb == "last") return answer(a.lastChild(out));
        if (verb == "next") return answer(out.next());
        if (verb == "prev") return answer(out.prev());
        if (verb != "all") return ADD_FAILURE() << verb, "";
        std::string all;
        for (bool found = store->first(out); found; found = store->next(out, out))
            all += (all.empty() ? "" : " ") + answer(true) + "=" + text(*out.fetch());
        return all;
    }
};

TEST_P(StoreSuite, StoresEmptyValuesAndAnyBytes) {
    store->set(Item(store.get()), Item());
    ASSERT_NE(store->get(Item()), nullptr);
    EXPECT_TRUE(store->get(Item())->empty());
    // Nested lists down to the level where the order ignores them, and far below.
    for (const int levels : {64, 1000, 100'000}) {
        const Item deep = nest(levels);
        store->set(deep, Item(levels));
        EXPECT_EQ(*store->get(deep), Item(levels));
    }
    const std::string giant(1 << 20, 'g');
    store->set(Item(giant), Item(giant));
    store->set(Item(giant + "h"), Item("other"));
    EXPECT_EQ(*store->get(Item(giant)), Item(giant));
}

TEST_P(StoreSuite, AcceptsItsOwnValues) {
    run("set a 1; set b 2");
    store->begin();
    store->set(Item("a"), *store->get(Item("a")));
    store->set(Item("b"), *store->get(Item("a")));
    store->set(Item("c"), *store->get(Item("b")));
    EXPECT_EQ(run("all"), "a=1 b=1 c=1");
    store->rollback();
    EXPECT_EQ(run("all"), "a=1 b=2");
}

TEST_P(StoreSuite, SupportsATreeOfKeys) {
    const std::string fill = "remove .; store a/b/deep 1; store a/2/x 2; store a/z/y/x 3; store b 4; ";
    const std::pair<std::string, std::string> cases[] = {
        {"store a/b 1; all", ".= a= a/b=1"},
        {fill + "child .; child a; child a/b/deep; child none; set q/r 1; child q", "a a/2 - - -"},
        {fill + "last .; last a; last a/z; last b; last none", "b a/z a/z/y - -"},
        {fill + "next a/2; next a/b; next a/z; next a; next b; next .; next a/2/none",
         "a/b a/z - b - - a/2/x"},
        {fill + "prev b; prev a/z; prev a/b; prev a/2; prev a; prev .; prev a/c", "a a/b a/2 - - - a/b"},
        {fill + "remove a/b; remove a/z/y; all", ".= a= a/2= a/2/x=2 a/z= b=4"},
        {fill + "remove a; copy c b; copy b .; all", ".= b=4 b/b=4"},
        {fill + "remove b; remove a/2; copy b a; remove a; all",
         ".= b= b/b= b/b/deep=1 b/z= b/z/y= b/z/y/x=3"},
        {"remove .; store a/b 1; set a/b/none/d 2; store a/e 3; copy t a; remove a; all",
         ".= t= t/b=1 t/b/d=2 t/e=3"},
    };
    for (const auto& [script, answers] : cases) EXPECT_EQ(run(script), answers) << script;
}

TEST_P(StoreSuite, ArchivesSubtreesAndRemovesOldOnes) {
    run("store a 1; store a/b 2; store kept 3");
    Item archive = key("kept");
    archive.archive("edit", key("a"));
    Item copy;
    ASSERT_TRUE(archive.child(copy));
    Item expected;
    expected.add("type").add("edit").add("path").addItem(key("a")).add("value").addItem(Item("1"));
    EXPECT_EQ(*copy.fetch(), expected);
    int64 time = 0;
    EXPECT_TRUE(copy.trail().getIterator().asInteger(time));
    archive.archiveDeleteBefore(time);
    EXPECT_TRUE(copy.exists());
    archive.archiveDeleteBefore(INT64_MAX);
    EXPECT_EQ(run("all"), ".= a=1 a/b=2 kept=3");
}

TEST_P(StoreSuite, CopiesAnotherStoreInOneTransaction) {
    struct Source : MemoryStore {
        const Item* get(const Item& key) override {
            if (isBroken && key == Item("z")) throw 1;
            return MemoryStore::get(key);
        }
        bool isBroken = false;
    } source;
    for (const char* name : {"x", "y", "y/1", "y/1/2", "z"}) {
        Item path = key(name);
        path.setStore(&source);
        path.store(Item(name));
    }
    LogCapture log;
    run("set w 1; set x 2");
    store->copyFrom(&source, {key("y/1")});
    EXPECT_EQ(run("all"), ".= w=1 x=x y=y z=z");
    log.expect(1, "[STORE] copied 4 items in 0s (infitems/s)");
    source.isBroken = true;
    EXPECT_THROW(store->copyFrom(&source), int);
    EXPECT_EQ(run("all"), ".= w=1 x=x y=y z=z");
}

TEST_P(StoreSuite, StartsACursorAfterAKeyThatNeedNotExist) {
    run("set a 1; set c 2");
    const auto cursor = store->openCursor();
    cursor->startAfter(Item("b"));
    ASSERT_TRUE(cursor->next());
    EXPECT_EQ(cursor->key(), Item("c"));
    cursor->startAfter(cursor->key());
    EXPECT_FALSE(cursor->next());
}

TEST_P(StoreSuite, CursorsOutlastTheRemovalOfTheirEntry) {
    run("set a 1; set b 2; set c 3");
    const auto cursor = store->openCursor();
    cursor->next();
    cursor->next();
    store->remove(cursor->key(), cursor->key());
    EXPECT_EQ(cursor->key(), Item("b"));
    EXPECT_EQ(cursor->value(), nullptr);
    ASSERT_TRUE(cursor->next());
    EXPECT_EQ(cursor->key(), Item("c"));
}

TEST_P(StoreSuite, CursorsAtTheEndFindNewEntries) {
    const auto cursor = store->openCursor();
    EXPECT_FALSE(cursor->next());
    run("set a 1");
    EXPECT_TRUE(cursor->next());
    EXPECT_FALSE(cursor->next());
    run("set b 2");
    ASSERT_TRUE(cursor->next());
    EXPECT_EQ(cursor->key(), Item("b"));
}

TEST_P(StoreSuite, DumpsItsEntriesToLogAndFile) {
    LogCapture log;
    run("set a 1; set b/2 3");
    store->dumpToFile(folder.path("dump.txt").c_str());
    const std::string entries[] = {"{<STR:a>} = {<STR:1>}", "{<STR:b><INT:2>} = {<STR:3>}"};
    EXPECT_EQ(folder.read("dump.txt"), entries[0] + "\n" + entries[1] + "\n");
    const std::string nowhere = folder.path("none/dump.txt");
    store->dumpToFile(nowhere.c_str());
    log.expect(3, "cant write store dump to '" + nowhere + "'");
}

/// Returns a number from the environment.
inline unsigned settingOf(const char* name, unsigned fallback) {
    const char* const text = std::getenv(name);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : fallback;
}

/// Moves to the next entry and returns it in hexadecimal digits. At the end it opens a new cursor.
inline std::string stepOf(std::unique_ptr<StoreCursor>& cursor, Store& owner) {
    if (!cursor->next()) {
        cursor = owner.openCursor();
        return "end";
    }
    return cursor->key().getBase16() + "=" + cursor->value()->getBase16();
}

TEST_P(StoreSuite, BehavesLikeAnOrderedMapWithSnapshots) {
    LogCapture log;
    const unsigned seed = settingOf("QEL_STORE_SEED", 1);
    const unsigned count = settingOf("QEL_STORE_OPERATIONS", 200'000);
    std::mt19937 random(seed);
    StoreOperations operations([&random](unsigned limit) { return static_cast<unsigned>(random() % limit); },
                               true);
    ModelStore model;
    // Both walks continue while entries are written.
    auto cursor = store->openCursor();
    auto modelCursor = model.openCursor();
    for (unsigned i = 0; i < count; ++i) {
        const StoreOperation operation = operations.next();
        ASSERT_EQ(operation.perform(*store), operation.perform(model))
            << operation.name << ", operation " << i << ", QEL_STORE_SEED=" << seed;
        if (i % 3 == 0) {
            ASSERT_EQ(stepOf(cursor, *store), stepOf(modelCursor, model))
                << "operation " << i << ", " << seed;
        }
    }
    log.take(); // commits and rollbacks without a begin
}

} // namespace qel::test
