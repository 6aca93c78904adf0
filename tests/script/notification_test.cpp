#include <qel/script/notification_provider.h>

#include "../support/system_fixture.h"

#include <gtest/gtest.h>

namespace {

using namespace qel;

class Provider : public NotificationProvider {
public:
    String performConnect() override { return ""; }
    void performRemoveToken(const GUID& a, const GUID& b) override { removed.emplace_back(a, b); }

    Vector<Pair<GUID, GUID>> removed;
};

using NotificationTest = test::SystemFixture;

TEST_F(NotificationTest, DataOfAMessageIsAListOfKeysAndValues) {
    NotificationMessage message;
    message.data = {{300, Item("b")}, {-1, Item(2)}};
    const Item item = message.serializeData();
    EXPECT_EQ(item.getBase16(), "08FF09020000000802072C010903000000036200");
    NotificationMessage copy;
    copy.deserializeData(item);
    EXPECT_EQ(copy.data, message.data);
    copy.deserializeData(Item(1).addItem(Item("a")).add(2).add("no list").add(3).addItem(Item()));
    EXPECT_EQ(copy.data, (Map<int32, Item>{{1, Item("a")}})) << "a key without a list ends the data";
    copy.data = {{5, item}};
    copy.deserializeData(copy.data[5]);
    EXPECT_EQ(copy.data, message.data);
}

TEST_F(NotificationTest, ProviderWorksInTheNextPassUnlessDestroyed) {
    const GUID a = GUID::fromString(std::string(64, '1').c_str());
    Provider provider;
    provider.performRemoveTokenOnMainQueue(a, {});
    Provider().performRemoveTokenOnMainQueue(a, {});
    EXPECT_TRUE(provider.removed.empty());
    passAfter(1);
    EXPECT_EQ(provider.removed, (Vector<Pair<GUID, GUID>>{{a, {}}}));
}

} // namespace
