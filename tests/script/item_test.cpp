#include "script_fixture.h"

#include <qel/store/core/item.h>

namespace {

using qel::Item;
using qel::ScriptCode;
using qel::test::LogCapture;
using qelSq::Object;

class ScriptItem : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        run("import(\"qel.GUID\")");
    }

    Item itemOf(const std::string& source) { return Item(evaluate(source)); }

    /// Returns true if the first element has a script form; stores its value in the root slot "read".
    bool read(const Item& item, ScriptCode code = ScriptCode::Accept) {
        Item::Iterator it(item);
        Object value;
        const bool isRead = it.asSquirrel(value, code);
        EXPECT_EQ(it.getOffset() != 0, isRead);
        vm().getRootTable().set("read", value);
        return isRead;
    }
};

TEST_F(ScriptItem, EachTypeIsStoredAsItsElements) {
    const std::pair<const char*, Item> rows[] = {
        {"null", Item(Item::NILType)},
        {"true", Item().add(true)},
        {"-129", Item(-129)},
        {"2.5", Item().add(2.5)},
        {"\"text\"", Item("text")},
        {"\"a\\x00\\x06b\"", Item("a")},
        {"[1, [], \"x\"]", Item().add(Item(1).add(Item()).add("x"))},
        {"{ [7] = [0] }", Item().addPrefix("table").add(Item(7).add(Item(0)))},
        {"{}", Item().addPrefix("table").add(Item())},
        {"qel.GUID()", Item(qel::GUID())},
        {"class {}()", Item(Item::NILType)},
    };
    for (const auto& [source, item] : rows) EXPECT_EQ(itemOf(source).asString(), item.asString()) << source;
    EXPECT_TRUE(itemOf("@() 1").hasScriptCode());
    LogCapture capture;
    EXPECT_EQ(itemOf("print").asString(), Item().addPrefix("squirrel").addNIL().asString());
    capture.expect(2, "[SQ] cannot serialize squirrel bytecode");
}

TEST_F(ScriptItem, ValuesSurviveARoundTrip) {
    const Item item = itemOf("[null, true, -5, 1 << 40, 2.5, \"x\", { a = [{}] }, qel.GUID(), @(x) x + 1]");
    ASSERT_TRUE(read(item));
    EXPECT_EQ(itemOf("read").asString(), item.asString());
    EXPECT_EQ(text("read[8](1)"), "2");
    EXPECT_EQ(text("std.isguid(read[7])"), "true");
    EXPECT_EQ(text("read[3]"), "1099511627776");
    EXPECT_EQ(text("read[6].a[0].len()"), "0");
}

TEST_F(ScriptItem, CodeIsReadOnlyWhereAccepted) {
    EXPECT_FALSE(read(itemOf("[{ a = @() 1 }]"), ScriptCode::Refuse));
    EXPECT_TRUE(read(itemOf("[{ a = 1 }]"), ScriptCode::Refuse));
    LogCapture capture;
    EXPECT_FALSE(read(Item().addPrefix("squirrel").addBuffer(qel::ConstByteSpan::fromText("no code"))));
    capture.expect(2, "[SQ] cannot deserialize squirrel bytecode");
}

TEST_F(ScriptItem, NestingEndsAtCyclesAndAtTheDepthLimit) {
    run("::ring <- [1]; ring.append({ up = ring })");
    EXPECT_EQ(itemOf("ring").asString(), "{<ITEM:{<INT:1><PREFIX:table><ITEM:{<STR:up><NIL>}>}>}");
    run("::deep <- []; for (local i = 1; i < 10000; ++i) deep = [deep]");
    Item deeper;
    qel::Vector<size_t> open;
    for (int i = 0; i < 1'000'000; ++i) open.push_back(deeper.openSubItem());
    for (; !open.empty(); open.pop_back()) deeper.closeSubItem(open.back());
    for (const Item& item : {itemOf("deep"), deeper}) {
        ASSERT_TRUE(read(item));
        run("::levels <- 0; for (local at = read; at && at.len(); at = at[0]) ++levels; read = null");
        EXPECT_EQ(text("levels"), std::to_string(Item::kMaxDepth));
    }
}

} // namespace
