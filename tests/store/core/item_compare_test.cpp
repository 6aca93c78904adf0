#include <tests/store/core/random_item.h>
#include <tests/support/formats_page.h>
#include <tests/support/nested_item.h>

#include <qel/store/core/order_key.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using qel::GUID;
using qel::Item;
using qel::String;
using qel::ValueType;
using qel::internal::OrderKey;
using qel::test::nest;
using qel::test::RandomItems;

int signOf(int value) {
    return (value > 0) - (value < 0);
}

int plainOrder(std::string_view a, std::string_view b) {
    return signOf(a.compare(b));
}

std::string_view bytesOf(const Item& item) {
    return item.getConstByteSpan().asText();
}

/// Compares by the documented rules, element by element, with the readers.
int orderByTheRules(const Item& a, const Item& b) {
    Item::Iterator inA(a), inB(b);
    for (;;) {
        ValueType tags[2] = {inA.getType(), inB.getType()};
        Item elementA, elementB;
        inA.extract(elementA);
        inB.extract(elementB);
        if (tags[0] == ValueType::Wildcard || tags[1] == ValueType::Wildcard) continue;
        for (ValueType& tag : tags) {
            if (tag >= ValueType::Integer32 && tag <= ValueType::Integer8) tag = ValueType::Integer64;
        }
        if (tags[0] != tags[1]) return tags[0] < tags[1] ? -1 : 1;
        if (tags[0] == ValueType::None)
            return plainOrder(bytesOf(a).substr(static_cast<size_t>(inA.getOffset())),
                              bytesOf(b).substr(static_cast<size_t>(inB.getOffset())));
        Item::Iterator readA(elementA), readB(elementB);
        qel::int64 i, j;
        double x, y;
        Item nestedA, nestedB;
        GUID guidA, guidB;
        int order = 0;
        if (readA.asInteger(i) && readB.asInteger(j))
            order = (i > j) - (i < j);
        else if (readA.asFloat(x) && readB.asFloat(y))
            order = (x > y) - (x < y);
        else if (readA.asSubItem(nestedA) && readB.asSubItem(nestedB))
            order = orderByTheRules(nestedA, nestedB);
        else if (readA.asGUID(guidA) && readB.asGUID(guidB))
            order = (guidA > guidB) - (guidA < guidB);
        else if (tags[0] == ValueType::String || tags[0] == ValueType::Prefix)
            order = plainOrder(readA.asWeakCStr(), readB.asWeakCStr());
        else if (elementA.getPlainSize() > 5 || elementB.getPlainSize() > 5)
            order = plainOrder(bytesOf(elementA).substr(5), bytesOf(elementB).substr(5));
        if (order != 0) return order;
    }
}

std::string orderedForm(const Item& item) {
    const OrderKey form(item);
    return std::string(form.bytes());
}

TEST(ItemOrder, FollowsItsRulesAsTheOrderedBytesDo) {
    for (const bool wildcards : {false, true}) {
        RandomItems items(1, wildcards);
        int equal = 0;
        for (int i = 0; i < 100'000; ++i) {
            const Item a = items.list(), b = items.list();
            SCOPED_TRACE(a.getBase16() + " " + b.getBase16());
            const int order = orderByTheRules(a, b);
            ASSERT_EQ(signOf(Item::compare(a, b)), order);
            ASSERT_EQ(signOf(Item::compare(b, a)), -order);
            ASSERT_TRUE(wildcards || plainOrder(orderedForm(a), orderedForm(b)) == order);
            equal += order == 0;
        }
        EXPECT_GT(equal, 1000);
    }
}

TEST(ItemOrder, HasTheDocumentedBytes) {
    const qel::uint8 zeroAnd41[] = {0, 0x41};
    std::string entries;
    for (const Item& key :
         {Item(5), Item(-300), Item("a").add(0), Item().add(Item(1)), Item(zeroAnd41, 2), Item().add(-1.5)}) {
        entries += key.getBase16() + "=" + String(orderedForm(key)).encodeBase16() + " ";
    }
    EXPECT_EQ(entries, qel::test::documentedEntries("order"));
}

TEST(ItemOrder, TreatsANaNAsEqualToEveryNumber) {
    const Item nan = Item().addFloat(NAN);
    EXPECT_EQ(nan, Item().addFloat(-INFINITY));
    EXPECT_LT(Item(nan).add(1), Item().addFloat(3.0).add(2));
}

TEST(ItemOrder, ReadsNestedListsDownToTheLimit) {
    // The numbers are ordered differently from their bytes, which shows how the last list was compared.
    for (const int levels : {64, 1000, Item::kMaxDepth, Item::kMaxDepth + 1, 100'000, 3'300'000}) {
        const Item one = nest(levels, Item().addInteger64(256)), other = nest(levels, Item().addInteger64(1));
        const int expected = levels <= Item::kMaxDepth ? 1 : -1;
        EXPECT_EQ(signOf(Item::compare(one, other)), expected) << levels;
        EXPECT_EQ(plainOrder(orderedForm(one), orderedForm(other)), expected) << levels;
        EXPECT_EQ(one, nest(levels, Item().addInteger64(256))) << levels;
    }
}

TEST(ItemOrder, ComparesDeepListsInLinearTime) {
    // If 16 MiB were scanned again at each of 4,096 levels, this would take minutes.
    const std::string text(16 << 20, 'a');
    const Item one = nest(Item::kMaxDepth, Item(text).add(1)),
               other = nest(Item::kMaxDepth, Item(text).add(2));
    EXPECT_LT(one, other);
    EXPECT_LT(orderedForm(one), orderedForm(other));
}

} // namespace
