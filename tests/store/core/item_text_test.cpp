#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/support/nested_item.h>

#include <qel/store/core/item.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using qel::GUID;
using qel::Item;
using qel::String;
using namespace std::string_literals;

constexpr const char* kZeroDigits = "0000000000000000000000000000000000000000000000000000000000000000";

TEST(ItemJson, MapsTheDocumentedBytesBothWays) {
    Item item;
    ASSERT_TRUE(item.setBase16(qel::test::documentedBytes("item/json")));
    const String json = item.getJSON(false);
    EXPECT_EQ(json, R"({"a":[1,null,true,"xy"],"b":-2})");
    ASSERT_TRUE(item.setJSON(json));
    EXPECT_EQ(item.getBase16(), qel::test::documentedBytes("item/json"));
}

TEST(ItemJson, MapsEachElement) {
    const std::pair<Item, std::string> rows[] = {
        {Item().add(HUGE_VAL), "null"},
        {Item("\"\xC3\xA4\n"), "\"\\\"\xC3\xA4\\n\""},
        {Item(GUID()), "\"GUID:::"s + kZeroDigits + "\""},
        {Item().add(Item(1).add(Item()).addFalse()), "[1,[],false]"},
        {Item().addPrefix("table").add(Item("b").add(1).addPrefix("a").add(2).add("b").add(3)),
         "{\"a\":2,\"b\":3}"},
        {Item().addPrefix("table").add(Item(1).add(2)), ""},
        {Item().add(Item(1).addBuffer(nullptr, 0)), ""},
    };
    for (const auto& [item, json] : rows) EXPECT_EQ(item.getJSON(false), json) << item.asString();
    EXPECT_EQ(Item().add(Item(1)).getJSON(true), "[\n  1\n]");
}

TEST(ItemJson, ReadsBackWhatItMaps) {
    const std::pair<std::string, std::string> rows[] = {
        {R"( {"b": [1, -2.5, 1e2], "a": {}} )", "{<PREFIX:table><ITEM:{<STR:a><PREFIX:table><ITEM:{}>"
                                                "<STR:b><ITEM:{<INT:1><FLT:-2.5><FLT:100>}>}>}"},
        {"\"GUID:::"s + kZeroDigits + "\"", "{<GUID:"s + kZeroDigits + ">}"},
        {"18446744073709551615", "{<INT:-1>}"},
        {R"(["a\u0000\u0006bcd\u0000", {"k\u0000\u0007": 1}])",
         "{<ITEM:{<STR:a><PREFIX:table><ITEM:{<STR:k><INT:1>}>}>}"},
    };
    for (const auto& [json, text] : rows) {
        Item item("old");
        EXPECT_TRUE(item.setJSON(json)) << json;
        EXPECT_EQ(item.asString(), text);
    }
}

TEST(ItemJson, LogsInvalidText) {
    qel::test::LogCapture capture;
    for (const std::string& json : {""s, "{"s, "[1,]"s, "// comment\n1"s, "1 2"s, "\"\xFF\""s, "nul"s,
                                    "[1]\0"s, "[1]\0 junk"s, "[\0]"s}) {
        Item item(1);
        EXPECT_FALSE(item.setJSON(json)) << json;
        EXPECT_TRUE(item.empty());
        capture.expect(3, "[SUPPORT] Failed parsing Item from JSON");
    }
    EXPECT_EQ(Item("\xFF").getJSON(false), "");
    EXPECT_EQ(capture.take().size(), 1u);
}

TEST(ItemJson, NestsDownToTheLimit) {
    const auto brackets = [](int levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    Item item;
    EXPECT_TRUE(item.setJSON(brackets(Item::kMaxDepth)));
    EXPECT_EQ(item.getJSON(false), brackets(Item::kMaxDepth));
    qel::test::LogCapture capture;
    for (const int below : {1, 100'000, 3'300'000}) {
        const int levels = Item::kMaxDepth + below;
        EXPECT_FALSE(item.setJSON(brackets(levels)));
        EXPECT_TRUE(item.empty());
        capture.expect(3, "[SUPPORT] Failed parsing Item from JSON");
        const Item deep = qel::test::nest(levels);
        // The list below the deepest level is read as empty, as if its bytes had ended.
        EXPECT_EQ(deep.getJSON(false), brackets(Item::kMaxDepth + 1));
        const auto rest = "TRAIL:" + std::to_string(5 * (below - 1)) + ">";
        EXPECT_EQ(deep.asString().find(rest) != String::npos, below > 1);
    }
}

} // namespace
