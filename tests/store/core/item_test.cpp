#include <tests/support/formats_page.h>
#include <tests/support/nested_item.h>

#include <qel/foundation/base/buffer.h>
#include <qel/store/core/item.h>
#include <qel/store/core/memory_store.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
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

TEST(ItemWriting, AcceptsValuesInManyForms) {
    const struct {
        Item item;
        std::string bytes;
    } rows[] = {
        {Item().add(0.5f), "02000000000000E03F"},
        {Item().add(static_cast<const char*>(nullptr)), "0300"},
        {Item().add(String("a\0b"s)), "0361006200"},
        {Item().add(SmartCStr("a\0b"s)), "036100"},
        {Item(Item::WildcardMode).addEnd(), "FEFF"},
        {Item().addStringOrEncodedGUID("GUID:::"s + kGuidDigits), "0A"s + kGuidDigits},
        {Item().addStringOrEncodedGUID("GUID:::12"), "0A" + std::string(64, '0')},
        {Item().addStringOrEncodedGUID("GUID"), "034755494400"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.item.getBase16(), row.bytes);
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

TEST(ItemWriting, LeavesOutWhatNoElementCanContain) {
    const uint8 byte = 0;
    EXPECT_TRUE(Item().addBuffer(&byte, size_t{1} << 32).empty());
}

TEST(ItemMemory, CopiesBytesAndMovesBlocks) {
    Store* const store = reinterpret_cast<Store*>(8);
    for (const size_t length : {3, 300}) {
        Item source(std::string(length, 'a'));
        source.setStore(store);
        Item copy = source;
        const uint8* const block = copy.getPlainBytePointer();
        Item moved = std::move(copy);
        EXPECT_EQ(moved.getPlainBytePointer() == block, length == 300);
        EXPECT_EQ(copy.empty(), length == 300); // an inline source is unchanged
        Item assigned(1);
        assigned = std::move(moved);
        EXPECT_EQ(assigned.getBase16(), source.getBase16());
        EXPECT_EQ(assigned.getStore(), store);
    }
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

TEST(ItemReading, ReadsOnlyTheRequestedType) {
    using At = Item::Iterator;
    const auto reads = [](auto value, bool (At::*read)(decltype(value)&)) {
        return [=](At at) mutable { return (at.*read)(value); };
    };
    const std::pair<char, std::function<bool(At)>> kReads[] = {
        {'i', reads(int64{}, &At::asInteger)},
        {'f', reads(double{}, &At::asFloat)},
        {'t', reads(String(), &At::asString)},
        {'s', reads(Item(), &At::asSubItem)},
        {'g', reads(GUID(), &At::asGUID)},
        {'n', [](At at) { return at.asNIL(); }},
        {'b', reads(false, &At::asBool)},
        {'o', reads(Buffer(), &At::asBuffer)},
        {'p', reads(ConstByteSpan(), &At::asWeakPointer)},
    };
    Item all = Item(300).add(2.5).add("t").add(Item("n")).add(GUID()).addNIL().add(true);
    all.addPrefix("p").addBuffer(nullptr, 0).addPointer(Item("k"));
    std::string fitting;
    for (At at(all); at.hasNextElement(); at.skip())
        for (const auto& [name, read] : kReads)
            if (read(at)) fitting += name;
    EXPECT_EQ(fitting, "iftsgnbtop");
}

TEST(ItemReading, SubItemsBelongToTheStoreOfTheirList) {
    const SmartPointer<MemoryStore> store(new MemoryStore);
    const Item list = Item(store.get()).add(Item("n")).add(Item("n"));
    Item::Iterator it(list);
    Item copy, view;
    ASSERT_TRUE(it.asSubItem(copy));
    EXPECT_EQ(copy.getStore(), store.get());
    ASSERT_TRUE(it.asWeakSubItem(view));
    EXPECT_EQ(view.getStore(), store.get());
}

TEST(ItemReading, TruncatesIntegersToTheRequestedType) {
    const Item source = Item(-2).add(0x1'0000'0002);
    Item::Iterator it(source);
    uint64 bits = 0;
    int32 low = 0;
    EXPECT_TRUE(it.asInteger(bits));
    EXPECT_EQ(bits, ~uint64{1});
    EXPECT_TRUE(it.asInteger(low));
    EXPECT_EQ(low, 2);
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

TEST(ItemReading, ReadsTables) {
    const Item table = Item().addPrefix("table").add(Item("k").add(1).add("k").add(2).add(3).add(4));
    Map<SmartCStr, Item> map;
    EXPECT_TRUE(table.getIterator().asWeakTable(map));
    EXPECT_FALSE(Item("table").getIterator().asWeakTable(map));
    EXPECT_EQ(map, (Map<SmartCStr, Item>{{"k", Item(2)}})); // the first key that is not text ends it
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
        {Item().add(HUGE_VAL), true, INT64_MAX, HUGE_VAL, "inf"},
        {Item("abc"), true, 0, 0, "abc"},
        {Item(" -12.5e1x"), true, -12, -125, " -12.5e1x"},
        {Item("99999999999999999999"), true, INT64_MAX, 1e20, "99999999999999999999"},
        {Item().addPrefix("8"), true, 8, 8, "8"},
        {Item().add(false), false, 0, 0, "false"},
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
