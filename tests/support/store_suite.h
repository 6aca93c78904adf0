// What every Store must do. A test program states its stores by INSTANTIATE_TEST_SUITE_P of StoreSuite.
#pragma once

#include <qel/store/core/scoped_transaction.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/store_model.h>
#include <tests/support/system_fixture.h>

#include <cstdlib>
#include <random>
#include <sstream>

namespace qel::test {

/// A kind of store.
struct StoreKind {
    const char* name;
    /// Makes an empty one, which may keep its data in the folder.
    SmartPointer<Store> (*make)(const ScratchFolder& folder);
    /// What stands in front of its error messages.
    const char* logName;
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

    /// A key from its elements, joined by '/': whole numbers ("5L": in 64 bits), "*" a wildcard, else texts;
    /// "." is the root.
    Item key(const std::string& path) const {
        Item key(store.get());
        std::istringstream parts(path == "." ? "" : path);
        for (std::string part; std::getline(parts, part, '/');) {
            if (part == "*") {
                key.addWildcard();
            } else if (part.find_first_not_of("-0123456789L") != std::string::npos) {
                key.addString(part);
            } else {
                part.back() == 'L' ? key.addInteger64(std::stoll(part)) : key.addInteger(std::stoll(part));
            }
        }
        return key;
    }
    static std::string text(const Item& item) {
        std::string text;
        for (auto it = item.getIterator(); it.hasNextElement();) {
            text += (text.empty() ? "" : "/") + it.convertAsString();
        }
        return text;
    }
    static std::string textOfKey(bool found, const Item& key) {
        if (!found) return "-";
        return key.empty() ? "." : text(key);
    }

    /// Does what @p script says, statements separated by ';', and gives their answers, separated by ' '.
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
        if (verb == "set") return store->set(a, Item(b)), "";
        if (verb == "store") return a.store(Item(b)), "";
        if (verb == "remove") return b.empty() ? a.remove() : store->remove(a, key(b)), "";
        if (verb == "begin") return store->begin(), "";
        if (verb == "commit") return store->commit(), "";
        if (verb == "rollback") return store->rollback(), "";
        if (verb == "copy") return a.copyChildrenRecursive(key(b)), "";
        if (verb == "get") return a.exists() ? text(*a.fetch()) : "-";
        if (verb == "after") return textOfKey(store->next(a, out), out);
        if (verb == "before") return textOfKey(store->prev(a, out), out);
        if (verb == "first") return textOfKey(store->first(out), out);
        if (verb == "child") return textOfKey(a.child(out), out);
        if (verb == "last") return textOfKey(a.lastChild(out), out);
        if (verb == "next") return textOfKey(out.next(), out);
        if (verb == "prev") return textOfKey(out.prev(), out);
        if (verb != "all") return ADD_FAILURE() << verb, "";
        std::string all;
        for (bool found = store->first(out); found; found = store->next(out, out)) {
            all += (all.empty() ? "" : " ") + textOfKey(true, out) + "=" + text(*out.fetch());
        }
        return all;
    }
};

TEST_P(StoreSuite, AnswersByTheOrderOfKeys) {
    EXPECT_EQ(run("first; after .; before z; set b 1; set -7 2; set a/b 3; set a 4; set 5 5; all"),
              "- - - -7=2 5=5 a=4 a/b=3 b=1");
    Item unchanged("x");
    EXPECT_FALSE(store->next(Item("b"), unchanged) || store->prev(Item(-7), unchanged));
    EXPECT_EQ(unchanged, Item("x"));
}

TEST_P(StoreSuite, TakesEqualIntegersOfDifferentWidthForOneKeyThatKeepsItsFirstBytes) {
    run("set 5L 1; set 5 2; set a/6 3; set a/6L 4");
    EXPECT_EQ(run("all; get 5; get 5L; get a/6; get a/6L"), "5=2 a/6=4 2 2 4 4");
    Item first;
    EXPECT_TRUE(store->first(first));
    EXPECT_EQ(first.getPlainSize(), 9U);
    EXPECT_EQ(run("set 5 6; get 5L; remove 5L; all"), "6 a/6=4");
}

TEST_P(StoreSuite, AnswersQuestionsByTheKeysThatEqualThem) {
    const std::string fill =
        "remove .; set a 0; set a/1 1; set a/1/m 2; set a/1/z 3; set a/2 4; set a/2/b 5; set b 6; ";
    struct {
        const char* script;
        const char* answers;
    } const cases[] = {
        {"get a/*; get */1; get a/*/b; get a/*/y; get */*", "0 1 5 - 0"},
        {"after a/*; before a/*; after a/*/b; before a/*/m; after */*/*", "a/1/m - a/1/m a/2/b -"},
        {"set a/*/z 9; get a/1/z; set */2 8; get a/2", "9 8"},
        {"remove a/* a/*; all", "a/1/m=2 a/1/z=3 a/2/b=5 b=6"},
        {"remove a/1 a/*; all", "a=0 a/1/m=2 a/1/z=3 a/2=4 a/2/b=5 b=6"},
        {"remove a/*/m a/*/z; all", "a=0 a/1=1 b=6"},
    };
    for (const auto& [script, answers] : cases) EXPECT_EQ(run(fill + script), answers) << script;
}

TEST_P(StoreSuite, LogsMisuseAndStaysAsItIs) {
    LogCapture log;
    EXPECT_EQ(run("set a 1; commit; rollback; set a 2; begin; commit; commit; all"), "a=2");
    const std::string name = GetParam().logName;
    log.expect(3, name + ", commit without begin");
    log.expect(3, name + ", rollback without begin");
    log.expect(3, name + ", commit without begin");
    EXPECT_EQ(run("set b/* 1; all"), "a=2");
    EXPECT_EQ(log.take().size(), 1U);
}

TEST_P(StoreSuite, HoldsEmptyValuesAndBytesOfAnyKindAndLength) {
    store->set(Item(store.get()), Item());
    ASSERT_NE(store->get(Item()), nullptr);
    EXPECT_TRUE(store->get(Item())->empty());
    // Lists in lists down to where the order stops to look into them, and far below.
    for (const int levels : {64, 1000, 100'000}) {
        Item deep;
        Vector<size_t> open;
        for (int i = 0; i < levels; ++i) open.push_back(deep.openSubItem());
        for (; !open.empty(); open.pop_back()) deep.closeSubItem(open.back());
        store->set(deep, Item(levels));
        ASSERT_NE(store->get(deep), nullptr) << levels;
        EXPECT_EQ(*store->get(deep), Item(levels));
    }
    const Item giant(std::string(1 << 20, 'g'));
    store->set(giant, giant);
    store->set(Item(std::string(1 << 20, 'g') + "h"), Item("other"));
    EXPECT_EQ(*store->get(giant), giant);
    Item last;
    EXPECT_TRUE(store->prev(Item().addEnd(), last) && store->prev(last, last));
    EXPECT_EQ(last.getStore(), store.get());
}

TEST_P(StoreSuite, TakesValuesFromItself) {
    run("set a 1; set b 2; begin");
    store->set(Item("a"), *store->get(Item("a")));
    store->set(Item("b"), *store->get(Item("a")));
    store->set(Item("c"), *store->get(Item("b")));
    EXPECT_EQ(run("all; rollback; all"), "a=1 b=1 c=1 a=1 b=2");
}

TEST_P(StoreSuite, CarriesATreeOfKeys) {
    EXPECT_EQ(run("store a/b 1; all; begin; store a/b/c/d 2; all; rollback; all"),
              ".= a= a/b=1 .= a= a/b=1 a/b/c= a/b/c/d=2 .= a= a/b=1");
    const std::string fill = "remove .; store a/b/deep 1; store a/2/x 2; store a/z/y/x 3; store b 4; ";
    EXPECT_EQ(run(fill + "child .; child a; child a/b/deep; child none; set q/r 1; child q"), "a a/2 - - -");
    EXPECT_EQ(run(fill + "last .; last a; last a/z; last b; last none"), "b a/z a/z/y - -");
    EXPECT_EQ(run(fill + "next a/2; next a/b; next a/z; next a; next b; next .; next a/2/none"),
              "a/b a/z - b - - a/2/x");
    EXPECT_EQ(run(fill + "prev b; prev a/z; prev a/b; prev a/2; prev a; prev .; prev a/c"),
              "a a/b a/2 - - - a/b");
    EXPECT_EQ(run(fill + "remove a/b; remove a/z/y; all"), ".= a= a/2= a/2/x=2 a/z= b=4");
    EXPECT_EQ(run(fill + "remove a; copy c b; copy b .; all"), ".= b=4 b/b=4");
    EXPECT_EQ(run(fill + "remove b; remove a/2; copy b a; remove a; all"),
              ".= b= b/b= b/b/deep=1 b/z= b/z/y= b/z/y/x=3");
    EXPECT_EQ(run("remove .; store a/b 1; set a/b/none/d 2; store a/e 3; copy t a; remove a; all"),
              ".= t= t/b=1 t/b/d=2 t/e=3");
}

TEST_P(StoreSuite, ArchivesSubtreesUnderTheTimeAndForgetsOldOnes) {
    run("store a 1; store a/b 2; store kept 3");
    Item archive = key("kept");
    archive.archive("edit", key("a"));
    Item copy;
    ASSERT_TRUE(archive.child(copy));
    Item expected;
    expected.add("type").add("edit").add("path").addItem(key("a")).add("value").addItem(Item("1"));
    EXPECT_EQ(*copy.fetch(), expected);
    EXPECT_EQ(text(*Item(copy).add("b").fetch()), "2");
    int64 time = 0;
    EXPECT_TRUE(copy.trail().getIterator().asInteger(time));
    archive.archive("all", key(".")); // into itself: what stood there before
    EXPECT_TRUE(copy.next());
    EXPECT_EQ(text(*Item(copy).add("kept").addInteger(time).add("b").fetch()), "2");
    archive.archiveDeleteBefore(time + 1);
    Item left;
    EXPECT_TRUE(archive.child(left));
    EXPECT_EQ(left, copy);
    archive.archiveDeleteBefore(INT64_MAX);
    EXPECT_EQ(run("all"), ".= a=1 a/b=2 kept=3");
}

TEST_P(StoreSuite, CopiesAnotherStoreInOneTransaction) {
    MemoryStore source;
    for (const char* name : {"x", "y", "y/1", "y/1/2", "z"}) {
        Item path = key(name);
        path.setStore(&source);
        path.store(Item(name));
    }
    LogCapture log;
    run("set w 1; set x 2");
    store->copyFrom(&source, {key("y/1")});
    EXPECT_EQ(run("all"), ".= w=1 x=x y=y z=z");
    run("begin");
    store->copyFrom(&source);
    EXPECT_EQ(run("all; rollback; all"), ".= w=1 x=x y=y y/1=y/1 y/1/2=y/1/2 z=z .= w=1 x=x y=y z=z");
    log.expect(1, "[STORE] copying database with exclude filters");
    log.expect(1, "[STORE] copied 4 items in 0s (infitems/s)");
    log.expect(1, "[STORE] copying database");
    log.expect(1, "[STORE] copied 6 items in 0s (infitems/s)");

    struct Failing : MemoryStore {
        const Item* get(const Item& key) override {
            if (key == Item("y")) throw 1;
            return MemoryStore::get(key);
        }
    } failing;
    failing.set(Item("a"), Item("b"));
    failing.set(Item("y"), Item("b"));
    EXPECT_THROW(store->copyFrom(&failing), int);
    EXPECT_EQ(run("all"), ".= w=1 x=x y=y z=z");
}

TEST_P(StoreSuite, DumpsItsEntriesToLogAndFile) {
    LogCapture log;
    run("set a 1; set b/2 3");
    store->dumpraw();
    store->dumpToFile(folder.path("dump.txt").c_str());
    store->benchmark();
    const std::string entries[] = {"{<STR:a>} = {<STR:1>}", "{<STR:b><INT:2>} = {<STR:3>}"};
    for (const std::string& line : entries) log.expect(1, line);
    for (const char* line :
         {"store raw dump begin:", "store raw dump end", "store raw dump end", "store benchmark: 0ms"})
        log.expect(1, line);
    log.expect(1, "store raw dump to " + folder.path("dump.txt"));
    EXPECT_EQ(folder.read("dump.txt"), entries[0] + "\n" + entries[1] + "\n");
    const std::string nowhere = folder.path("none/dump.txt");
    store->dumpToFile(nowhere.c_str());
    log.expect(3, "cant write store dump to '" + nowhere + "'");
}

/// A number from the environment.
inline unsigned settingOf(const char* name, unsigned fallback) {
    const char* const text = std::getenv(name);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : fallback;
}

TEST_P(StoreSuite, AnswersEveryOperationAsAnOrderedMapWithSnapshotsDoes) {
    LogCapture log;
    const unsigned seed = settingOf("QEL_STORE_SEED", 1);
    const unsigned count = settingOf("QEL_STORE_OPERATIONS", 200'000);
    std::mt19937 random(seed);
    StoreOperations operations([&random](unsigned limit) { return static_cast<unsigned>(random() % limit); },
                               false);
    ModelStore model;
    for (unsigned i = 0; i < count; ++i) {
        const StoreOperation operation = operations.next();
        ASSERT_EQ(operation.perform(*store), operation.perform(model))
            << operation.name << ", operation " << i << ", QEL_STORE_SEED=" << seed;
    }
    for (const LogLine& line : log.take()) ASSERT_EQ(line.level, 1) << line.text;
}

} // namespace qel::test
