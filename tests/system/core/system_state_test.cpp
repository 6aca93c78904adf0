#include <tests/support/system_fixture.h>

#include <utility>
#include <vector>

namespace qel {
namespace {

using SystemState = test::SystemFixture;
using Calls = std::vector<bool>;

TEST_F(SystemState, SwitchesSignalOnlyChangesButSecureCloseItsFirstValueToo) {
    Calls background, secureClose;
    system().signalEnterBackground.connect([&] { background.push_back(true); });
    system().signalLeaveBackground.connect([&] { background.push_back(false); });
    system().delegateSecureClose.connect([&](bool on) { secureClose.push_back(on); });
    for (const bool on : {false, false, true, true, false}) {
        system().setBackgroundMode(on);
        system().setSecureClose(on);
    }
    EXPECT_EQ(background, (Calls{true, false}));
    EXPECT_EQ(secureClose, (Calls{false, true, false}));
}

TEST_F(SystemState, TheLargestFramebufferIsRememberedAndTheSafeAreaLeavesOutStatusBarAndKeyboard) {
    system().processFramebufferSizeChange(100, 50);
    system().processFramebufferSizeChange(60, 60);
    EXPECT_EQ(system().getFramebufferWidth(), 60);
    EXPECT_EQ(system().getMaxFrameBufferSize(), IVec2<int>(100, 50));
    system().processFramebufferSizeChange(70'000, 70'000);
    EXPECT_EQ(system().getMaxFrameBufferSize(), IVec2<int>(70'000, 70'000)) << "the area needs 64 bits";
    system().setStatusBarSize(20);
    system().setKeyboardHeight(200);
    EXPECT_EQ(system().delegateSafeArea(), IVec4<float>(0, 20, 70'000, 70'000 - 200));
}

TEST_F(SystemState, AnEarlyURLIsKeptOnceAndLanguagesInLowerCase) {
    system().delegateHandleURL("qel:open");
    for (const char* url : {"qel:open", ""}) EXPECT_EQ(system().popSavedStartupURL(), url);
    const std::pair<const char*, const char*> languages[] = {{"DE", "de"}, {nullptr, ""}};
    for (const auto& [language, stored] : languages) {
        system().setLanguage(language);
        EXPECT_EQ(system().getLanguage(), stored);
    }
}

class SystemArguments : public test::SystemFixture {
protected:
    void give(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "program");
        int argc = static_cast<int>(arguments.size());
        system().processCommandLine(argc, const_cast<char**>(arguments.data()));
    }
};

TEST_F(SystemArguments, AreAppendedByEachCallWithoutTheProgramsName) {
    give({"a", "b"});
    give({"c"});
    ASSERT_EQ(system().getNumberOfArguments(), 3u);
    EXPECT_STREQ(system().getArgument(2), "c");
    EXPECT_EQ(system().getArgument(3), nullptr);
}

TEST_F(SystemArguments, MatchAlternativesExactlyAndWholly) {
    give({"--verbose", "-x"});
    for (const char* names : {"-v|--verbose", "-x"}) EXPECT_TRUE(system().hasArgument(names)) << names;
    for (const char* names : {"-v|--verb", "--verbose-x", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(system().hasArgument(names));
}

TEST_F(SystemArguments, AParameterNeedsAnArgumentBehindItsNameAndReadsAsAStreamReadsNumbers) {
    give({"-o", "first", "-o", "second", "-x"});
    EXPECT_STREQ(system().getArgumentParameter("--out|-o", "none"), "first");
    EXPECT_STREQ(system().getArgumentParameter("-x", "none"), "none");
    EXPECT_EQ(system().getArgumentParameterAsInt("-z", 1), 1) << "absent gives the fallback";
    const std::pair<const char*, int> cases[] = {
        {" 12rest", 12}, {"-7", -7}, {"word", 0}, {"99999999999999999999", INT32_MAX}, {"--5", 0}, {"+3", 3}};
    for (const auto& [text, number] : cases) {
        give({text, text});
        EXPECT_EQ(system().getArgumentParameterAsInt(text, 1), number) << text;
    }
}

TEST_F(SystemArguments, EnvironmentIsTheProcesssOwn) {
    EXPECT_EQ(system().getEnv("PATH"), nullptr);
    for (const char* value : {"value", "later"}) system().setEnv("key", value);
    EXPECT_STREQ(system().getEnv("key"), "later");
    for (int call = 0; call < 2; ++call) system().unsetEnv("key");
    EXPECT_EQ(system().getEnv("key"), nullptr);
    EXPECT_EQ(String(system().getEnv("build-date")).size(), 8u);
}

} // namespace
} // namespace qel
