#include <qel/store/records/options_db.h>

#include <qel/rpc/rpc_provider.h>
#include <qel/store/core/memory_store.h>
#include <tests/support/log_capture.h>
#include <tests/support/store_dump.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

using namespace qel;

namespace {

class OptionsDBTest : public testing::Test {
protected:
    OptionsDBTest() : m_root(m_store.get()) {
        m_root.add("opt");
        open();
    }

    void open() {
        m_options = makeObject<OptionsDB>(m_root);
        m_options->signalValueChanged.connect(
            [this](StringId name, StringId value) { m_emitted.push_back(name + "=" + value); });
    }
    void add(const char* name, const char* defaultValue = "", int flags = 0) {
        EXPECT_TRUE(m_options->addOption(name, defaultValue, "", "", "", flags));
    }
    Item keyOf(const char* name) const {
        Item key(m_root);
        key.add(name);
        return key;
    }
    std::vector<std::string> namesOf(bool group) const {
        std::vector<std::string> names;
        for (const auto* meta : m_options->getOptionsMeta(group)) names.push_back(meta->name.string());
        return names;
    }

    SmartPointer<MemoryStore> m_store = makeObject<MemoryStore>();
    Item m_root;
    SmartPointer<OptionsDB> m_options;
    std::vector<std::string> m_emitted;
};

using Texts = std::vector<std::string>;

} // namespace

TEST_F(OptionsDBTest, KeepsAValueInTheStoreUntilItIsEmptied) {
    add("speed", "slow");
    EXPECT_EQ(m_options->getValue("speed"), "slow");
    EXPECT_TRUE(m_options->setValue("speed", "fast"));
    EXPECT_EQ(test::dumpStore(*m_store),
              (Texts{" = ", "036F707400 = ", "036F70740003737065656400 = 036661737400"}));
    open();
    add("speed", "slow");
    EXPECT_EQ(m_options->getValue("speed"), "fast");
    EXPECT_TRUE(m_options->setValue("speed", ""));
    EXPECT_FALSE(keyOf("speed").exists());
    EXPECT_EQ(m_options->getValue("speed"), "slow");
    EXPECT_EQ(m_emitted, (Texts{"speed=fast", "speed="}));
}

TEST_F(OptionsDBTest, TellsOfEachSetValueEvenWhenNothingChanges) {
    add("a", "1");
    for (const char* value : {"", "2", "2"}) EXPECT_TRUE(m_options->setValue("a", value));
    EXPECT_EQ(m_emitted, (Texts{"a=", "a=2", "a=2"}));
    test::LogCapture capture;
    EXPECT_FALSE(m_options->setValue("b", "2"));
    capture.expect(3, "option not set, reason: option 'b' does not exist");
    EXPECT_EQ(m_emitted.size(), 3u);
    EXPECT_FALSE(m_options->hasOption("b"));
    EXPECT_TRUE(m_options->getValue("b").empty());
}

TEST_F(OptionsDBTest, LogsChangesWhenAskedAndKeepsSecretsToItself) {
    const Pair<int, Texts> cases[] = {{0, {}},
                                      {0x02, {}},
                                      {0x80, {"[SUPPORT] option 'o' has been changed, value='v'"}},
                                      {0x82, {"[SUPPORT] option 'o' has been changed"}},
                                      {0x84, {"[SUPPORT] option 'o' has been changed"}},
                                      {0x181, {"[SUPPORT] option 'o' has been changed, value='v'"}}};
    for (const auto& [flags, texts] : cases) {
        add("o", "", flags);
        test::LogCapture capture;
        m_options->setValue("o", "v");
        Texts logged;
        for (const auto& line : capture.take()) logged.push_back(line.text);
        EXPECT_EQ(logged, texts) << flags;
    }
}

TEST_F(OptionsDBTest, ListsOptionsByWhoIsToSeeThem) {
    for (const char* name : {"plain", "client_options:c", "group_options:g", "my client_options:x"})
        add(name);
    EXPECT_EQ(namesOf(false), Texts{"client_options:c"});
    EXPECT_EQ(namesOf(true), (Texts{"client_options:c", "group_options:g"}));
    m_options->setValue("client_options:c", "kept");
    m_options->clear();
    EXPECT_TRUE(namesOf(true).empty() && m_options->getAllMetaAsItem().empty());
    EXPECT_FALSE(m_options->hasOption("plain"));
    EXPECT_EQ(*keyOf("client_options:c").fetch(), Item("kept"));
}

TEST_F(OptionsDBTest, DescribesOptionsInOrderOfDeclaration) {
    m_options->addOption("n", "d", "Printer Pool 2", "Label", "What", 0x81);
    m_options->addOption("m", "", "Other", "L", "", 0);
    m_options->setValue("n", "v");
    EXPECT_EQ(m_options->getAllMetaAsItem().asString(),
              "{<ITEM:{<STR:n><STR:Printer Pool 2: Label><STR:What><STR:d><INT:129>}>"
              "<ITEM:{<STR:m><STR:L><STR:><STR:><INT:0>}>}");
    EXPECT_EQ(m_options->getAllDirectValuesAsItem().asString(),
              "{<ITEM:{<STR:n><STR:v>}><ITEM:{<STR:m><STR:>}>}");
}

TEST_F(OptionsDBTest, ALaterOptionOfANameTakesThePlaceOfTheEarlierButNotInTheLists) {
    add("client_options:c", "1");
    m_options->setValue("client_options:c", "set");
    add("client_options:c", "2");
    EXPECT_EQ(m_options->getValue("client_options:c"), "set"); // from the store
    m_options->setValue("client_options:c", "");
    EXPECT_EQ(m_options->getValue("client_options:c"), "2");
    const auto& metas = m_options->getOptionsMeta(false);
    ASSERT_EQ(metas.size(), 2u);
    EXPECT_EQ(metas[0]->defaultValue, "1");
    EXPECT_EQ(metas[0]->value, "set");
}

TEST_F(OptionsDBTest, ReadsNumbersAsAStreamDoes) {
    struct Case {
        const char* text;
        int asInt;
        int64 asLong;
    };
    const Case cases[] = {{"", 0, 0},
                          {"42", 42, 42},
                          {" -7x", -7, -7},
                          {"x7", 0, 0},
                          {"4000000000", INT32_MAX, 4'000'000'000},
                          {"-99999999999999999999", INT32_MIN, INT64_MIN}};
    for (const Case& c : cases) {
        add("n", c.text);
        EXPECT_EQ(m_options->getValueAsInt("n"), c.asInt) << c.text;
        EXPECT_EQ(m_options->getValueAsLong("n"), c.asLong) << c.text;
    }
    EXPECT_EQ(m_options->getValueAsInt("unknown"), 0);
}

TEST_F(OptionsDBTest, UsesTheDefaultInPlaceOfAStoredValueThatIsNoText) {
    for (const Item& stored : {Item(5), Item(),
                               Item(Item::PlainMode, ConstByteSpan::fromText("\x03"
                                                                             "cut"))}) {
        keyOf("o").store(stored);
        test::LogCapture capture;
        add("o", "default");
        capture.expect(3, "stored value of option 'o' is no text, using the default");
        EXPECT_EQ(m_options->getValue("o"), "default");
        EXPECT_EQ(*keyOf("o").fetch(), stored);
    }
}

namespace {

class OptionsCallsTest : public test::SystemFixture {
protected:
    /// The result of a call with texts as its arguments.
    String call(const char* method, const Texts& arguments) {
        Item item;
        for (const std::string& argument : arguments) item.add(argument);
        const auto handle = m_provider.createLocalRPC();
        handle->setMethodName(method);
        handle->setArguments(item);
        handle->start();
        system().processEvents(0);
        EXPECT_TRUE(handle->isFinished());
        return handle->result().asString();
    }

    RpcProvider m_provider;
    SmartPointer<MemoryStore> m_store = makeObject<MemoryStore>();
    SmartPointer<OptionsDB> m_options = makeObject<OptionsDB>(Item(m_store.get()));
};

} // namespace

TEST_F(OptionsCallsTest, GetAndSetOptions) {
    constexpr const char *kGet = "advanced_option_get", *kSet = "test_advanced_option_set";
    m_options->registerRpcCalls(&m_provider);
    EXPECT_EQ(m_provider.getCategory(), nullptr);
    EXPECT_EQ(m_provider.findRight(kSet), nullptr);
    m_options->addOption("o", "default", "", "", "", 0);
    EXPECT_EQ(call(kGet, {"o"}), "{<STR:default>}");
    EXPECT_EQ(call(kSet, {"o", "new"}), "{<BOOL:TRUE>}");
    EXPECT_EQ(call(kGet, {"o"}), "{<STR:new>}");
    EXPECT_EQ(call(kGet, {"unknown"}), "{<STR:>}");
    test::LogCapture capture;
    EXPECT_EQ(call(kSet, {"unknown", "new"}), "{}");
    capture.expect(3, "option not set, reason: option 'unknown' does not exist");
    EXPECT_EQ(call(kSet, {"o"}) + call(kGet, {}), "{}{}");
    EXPECT_EQ(m_options->getValue("o"), "new");
    m_options = nullptr;
    EXPECT_EQ(call(kGet, {"o"}) + call(kSet, {"o", "late"}), "{}{}");
}
