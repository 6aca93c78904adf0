#include <qel/script/notification_provider.h>

#include "../support/system_fixture.h"

#include <string>

namespace {

using namespace qel;

class Provider : public NotificationProvider {
public:
    using NotificationProvider::deliver;
    using NotificationProvider::NotificationProvider;

    String performConnect() override {
        const Settings& s = settings();
        return s.parameters + "|" + s.a + "|" + s.b + "|" + s.c + "|" + s.d + "|" + std::to_string(s.first) +
               "|" + std::to_string(s.second) + "|" + std::to_string(s.third);
    }
    void performRemoveToken(const GUID& a, const GUID& b) override { removed.emplace_back(a, b); }

    Vector<Pair<GUID, GUID>> removed;
};

class NotificationTest : public test::SystemFixture {};

TEST_F(NotificationTest, TheDataOfAMessageIsAListOfKeysAndValues) {
    NotificationMessage message;
    EXPECT_FALSE(message.hasTextContent());
    EXPECT_EQ(message.badge, -1);
    message.data = {{300, Item("b")}, {-1, Item(2)}, {7, Item()}};
    const uint8 bytes[] = {8, 0xFF, 9, 2,    0, 0, 0, 8, 2, 8, 7, 9,   0, 0,
                           0, 0,    7, 0x2C, 1, 9, 3, 0, 0, 0, 3, 'b', 0};
    const Item item = message.serializeData();
    EXPECT_EQ(std::string(item.getBase16()),
              std::string(Item(Item::PlainMode, bytes, sizeof(bytes)).getBase16()));

    NotificationMessage copy;
    copy.body = "x";
    EXPECT_TRUE(copy.hasTextContent());
    copy.data[99] = Item("old");
    copy.deserializeData(item);
    EXPECT_EQ(copy.data, message.data);
    copy.deserializeData(Item(1).addItem(Item("a")).add(2).add("no list").add(3).addItem(Item()));
    EXPECT_EQ(copy.data, (Map<int32, Item>{{1, Item("a")}})) << "a key without a list ends the data";
}

TEST_F(NotificationTest, AProviderStoresTheSettingsItConnectsBy) {
    Provider provider;
    EXPECT_EQ(provider.performConnect(), "|||||1|1|0");
    EXPECT_EQ(provider.connect("{}", "a", "b", "c", "d", 2, 3, 4), "{}|a|b|c|d|2|3|4");
    EXPECT_EQ(provider.connect(nullptr, "a", nullptr, nullptr, "d", 5, 6, 7), "|a|||d|5|6|7");
}

TEST_F(NotificationTest, WorkRunsInTheNextPassUnlessTheProviderDies) {
    const GUID a = GUID::fromString(std::string(64, '1').c_str());
    const GUID b = GUID::fromString(std::string(64, '2').c_str());
    Provider provider;
    provider.performRemoveTokenOnMainQueue(a, b);
    {
        Provider dying;
        dying.performRemoveTokenOnMainQueue(a, b);
        dying.deliver(new NotificationMessage);
    }
    EXPECT_TRUE(provider.removed.empty());
    passAfter(1);
    EXPECT_EQ(provider.removed, (Vector<Pair<GUID, GUID>>{{a, b}}));
    EXPECT_FALSE(system().popSavedStartupMessage());
}

TEST_F(NotificationTest, AMessageIsDeliveredThroughSystemAlsoBeforeTheHostListens) {
    const SmartPointer<NotificationMessage> message(new NotificationMessage);
    Provider provider;
    provider.deliver(message);
    passAfter(1);
    EXPECT_EQ(system().popSavedStartupMessage(), message);
    EXPECT_EQ(system().popSavedStartupMessage(), nullptr);

    NotificationMessage* seen = nullptr;
    Provider direct([&](NotificationMessage* delivered) { seen = delivered; });
    direct.deliver(message);
    passAfter(1);
    EXPECT_EQ(seen, message.get());
    EXPECT_FALSE(system().popSavedStartupMessage());
}

} // namespace
