#include <tests/store/core/random_item.h>
#include <tests/support/formats_page.h>
#include <tests/support/nested_item.h>

#include <qel/store/core/order_key.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using qel::Item;
using qel::String;
using qel::internal::OrderKey;
using qel::test::nest;
using qel::test::RandomItems;

int signOf(int value) {
    return (value > 0) - (value < 0);
}

int plainOrder(std::string_view a, std::string_view b) {
    return signOf(a.compare(b));
}

std::string orderedForm(const Item& item) {
    const OrderKey form(item);
    return std::string(form.bytes());
}

TEST(ItemOrder, IsThatOfTheOrderedBytes) {
    RandomItems items(1);
    int equal = 0;
    for (int i = 0; i < 100'000; ++i) {
        const Item a = items.list(), b = items.list();
        SCOPED_TRACE(a.getBase16() + " " + b.getBase16());
        const int order = signOf(Item::compare(a, b));
        ASSERT_EQ(plainOrder(orderedForm(a), orderedForm(b)), order);
        ASSERT_EQ(signOf(Item::compare(b, a)), -order);
        equal += order == 0;
    }
    EXPECT_GT(equal, 1000);
}

TEST(ItemOrder, RisesThroughTheKindsOfElements) {
    const Item rising[] = {Item(),
                           Item().addInteger64(-300),
                           Item(-1),
                           Item().addInteger64(5),
                           Item(300),
                           Item().addFloat(-1.5),
                           Item().addFloat(0.5),
                           Item("a"),
                           Item("a").add(0),
                           Item("ab"),
                           Item("\xFF")};
    for (size_t i = 1; i < std::size(rising); ++i) EXPECT_LT(rising[i - 1], rising[i]) << i;
    EXPECT_EQ(Item(5), Item().addInteger64(5));
    EXPECT_EQ(Item(7).add("x"), Item().addWildcard().add("x"));
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
