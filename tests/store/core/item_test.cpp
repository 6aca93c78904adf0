#include <tests/support/formats_page.h>
#include <tests/support/nested_item.h>

#include <qel/store/core/item.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using namespace qel;
using namespace std::string_literals;

constexpr const char* kGuidDigits = "000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F";

static_assert(std::is_nothrow_move_constructible_v<Item>);
static_assert(std::is_nothrow_move_assignable_v<Item>);

TEST(ItemWriting, WritesTheDocumentedBytes) {
    const GUID guid = GUID::fromString("01" + std::string(62, '0'));
    const uint8 two[] = {0xAB, 0};
    Item item = Item(-1).add(128).add(32'768).add(int64{2'147'483'648}).add(1.5).add("ab").addBuffer(two, 2);
    item.addPointer(Item("k")).add(Item(7).add("k")).add(guid).addNIL().addPrefix("table");
    item.add(false).add(true).addReferee(two, 1).addWildcard();
    EXPECT_EQ(item.getBase16(), test::documentedBytes("item/elements"));
}

TEST(ItemWriting, WritesTheNarrowestInteger) {
    for (const size_t bytes : {1, 2, 4, 8}) {
        const int64 highest = INT64_MAX >> (64 - 8 * bytes),
                    below = bytes == 1 ? 0 : INT64_MAX >> (64 - 4 * bytes);
        for (const int64 value : {highest, -highest - 1, below + 1}) {
            const Item item(value);
            EXPECT_EQ(item.getPlainSize(), bytes + 1) << value;
            EXPECT_EQ(item, Item().addInteger64(value));
            EXPECT_EQ(item.getIterator().convertAsInteger(), value);
        }
    }
    EXPECT_EQ(Item(4294967295u).getBase16(), "01FFFFFFFF00000000");
}

TEST(ItemMemory, AcceptsItsOwnBytesAsSource) {
    for (const size_t length : {3, 30, 300, 3000}) {
        const Item element(std::string(length, 'a'));
        Item item = element;
        Item view(Item::ExternalBufferMode, item.getConstByteSpan());
        item.add(view);
        EXPECT_EQ(item.getBase16(), Item(element).add(element).getBase16());
        Item twice = item;
        EXPECT_EQ(twice.add(twice), Item(item).add(item));
        Item::Iterator iterator(item);
        ASSERT_TRUE(iterator.skip());
        ASSERT_TRUE(iterator.asWeakSubItem(item));
        EXPECT_EQ(item, element);
    }
}

TEST(ItemReading, EndsAtMalformedBytes) {
    const std::pair<const char*, int> rows[] = {
        {"08050807", 2},   {"080500", 1},       {"08050F", 1}, {"0805036161", 1}, {"01FFFFFFFFFFFFFF", 0},
        {"0401000000", 0}, {"04FFFFFFFF00", 0}, {"090000", 0}, {"0A00", 0},       {"03", 0}};
    for (const auto& [bytes, depth] : rows) {
        Item item;
        ASSERT_TRUE(item.setBase16(bytes));
        EXPECT_EQ(item.getDepth(), depth) << bytes;
    }
    const Item item(5);
    for (const int64 offset : {int64{-1}, int64{3}, INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(Item::Iterator(item, offset).getType(), ValueType::None) << offset;
    }
}

TEST(ItemReading, ConvertsBetweenTypes) {
    const GUID guid = GUID::fromString(kGuidDigits);
    const struct {
        Item item;
        bool truth;
        int64 integer;
        double number;
        std::string text;
    } rows[] = {
        {Item(7), true, 7, 7, "7"},
        {Item().add(-2.75), true, -2, -2.75, "-2.75"},
        {Item().add(1e300), true, INT64_MAX, 1e300, "1e+300"},
        {Item("abc"), true, 0, 0, "abc"},
        {Item(" -12.5e1x"), true, -12, -125, " -12.5e1x"},
        {Item("99999999999999999999"), true, INT64_MAX, 1e20, "99999999999999999999"},
        {Item(guid), true, 0, 0, "GUID:::"s + kGuidDigits},
        {Item(Item::NILType), false, 0, 0, ""},
    };
    for (const auto& row : rows) {
        const Item list = Item(row.item).add("next");
        SCOPED_TRACE(row.item.asString());
        EXPECT_EQ(list.getIterator().convertAsBool(), row.truth);
        EXPECT_EQ(list.getIterator().convertAsInteger(), row.integer);
        EXPECT_EQ(list.getIterator().convertAsFloat(), row.number);
        Item::Iterator it(list);
        EXPECT_EQ(it.convertAsString(), row.text);
        EXPECT_EQ(it.convertAsString(), "next");
    }
}

TEST(ItemScriptCode, IsFoundAtAnyDepth) {
    const Item code = Item().addPrefix("squirrel").addBuffer(nullptr, 0);
    EXPECT_FALSE(Item().addPrefix("squirrel").addNIL().addBuffer(nullptr, 0).hasScriptCode());
    EXPECT_FALSE(Item("squirrel").addBuffer(nullptr, 0).hasScriptCode());
    EXPECT_TRUE(test::nest(100'000, code).hasScriptCode());
}

} // namespace
