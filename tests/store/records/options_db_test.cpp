#include <qel/rpc/rpc_provider.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/records/options_db.h>
#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/support/store_dump.h>
#include <tests/support/system_fixture.h>

using namespace qel;

namespace {

struct OptionsDBTest : test::SystemFixture {
    void add(const char* name, const char* defaultValue, int flags = 0) {
        options->addOption(name, defaultValue, "Print Pool", "Label", "What", flags);
    }
    SmartPointer<MemoryStore> store = makeObject<MemoryStore>();
    Item root = Item(store.get()).add("opt");
    SmartPointer<OptionsDB> options = makeObject<OptionsDB>(root);
};

} // namespace

TEST_F(OptionsDBTest, KeepsAValueUntilItIsEmptied) {
    std::string told;
    options->signalValueChanged.connect([&](StringId name, StringId value) { told += name + value + ";"; });
    add("speed", "7x");
    EXPECT_EQ(options->getValueAsInt("speed"), 7);
    for (const char* value : {"fast", "fast"}) EXPECT_TRUE(options->setValue("speed", value));
    EXPECT_EQ(test::contentOf(*store), test::documentedEntries("options"));
    add("speed", "slow"); // replaces the first one and keeps its value
    EXPECT_EQ(options->getAllDirectValuesAsItem().getDepth(), 2);
    EXPECT_EQ(options->getValue("speed"), "fast");
    EXPECT_TRUE(options->setValue("speed", ""));
    EXPECT_EQ(options->getValue("speed"), "slow");
    EXPECT_EQ(test::contentOf(*store), "= 036F707400= ");
    EXPECT_EQ(told, "speedfast;speedfast;speed;");
}

TEST_F(OptionsDBTest, ListsOptionsByAudienceAndLogsNoSecrets) {
    add("plain", "d", 0x82);
    add("client_options:c", "", 0x181);
    add("group_options:g", "", 0x7F);
    test::LogCapture capture;
    for (const char* name : {"plain", "client_options:c", "group_options:g"}) options->setValue(name, "v");
    capture.expect(1, "[SUPPORT] option 'plain' has been changed");
    capture.expect(1, "[SUPPORT] option 'client_options:c' has been changed, value='v'");
    EXPECT_TRUE(capture.take().empty());
    EXPECT_EQ(options->getOptionsMeta(false).size(), 1u);
    EXPECT_EQ(options->getOptionsMeta(true).size(), 2u);
    EXPECT_TRUE(options->getAllMetaAsItem().asString().begins_with(
        "{<ITEM:{<STR:plain><STR:Print Pool: Label><STR:What><STR:d><INT:130>}><ITEM:"));
}

TEST_F(OptionsDBTest, ACallThatCannotStoreItsValueChangesNothing) {
    test::LogCapture log;
    RpcProvider provider;
    add("speed", "slow");
    options->registerRpcCalls(&provider);
    for (const bool isStored : {false, true}) {
        options->delegateKeep.connect([isStored] { return isStored; });
        const SmartPointer<RpcHandle> call = provider.createLocalRPC();
        call->setMethodName("test_advanced_option_set");
        call->setArguments(Item("speed").add("fast"));
        call->start();
        passAfter(1);
        EXPECT_EQ(call->result(), isStored ? Item().addTrue() : Item());
        EXPECT_EQ(options->getValue("speed"), isStored ? "fast" : "slow");
        EXPECT_EQ(Item(root).add("speed").exists(), isStored);
    }
    log.expect(3, "option not set, reason: option 'speed' could not be stored");
}
