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

TEST_F(SystemState, TheLargestFramebufferIsRememberedAndAnEarlyURLOnce) {
    const std::pair<IVec2<int>, IVec2<int>> sizes[] = {
        {{100, 50}, {100, 50}}, {{60, 60}, {100, 50}}, {{70'000, 70'000}, {70'000, 70'000}}};
    for (const auto& [size, largest] : sizes) { // the last area needs 64 bits
        system().processFramebufferSizeChange(size.x, size.y);
        EXPECT_EQ(system().getMaxFrameBufferSize(), largest);
    }
    system().delegateHandleURL("qel:open");
    for (const char* url : {"qel:open", ""}) EXPECT_EQ(system().popSavedStartupURL(), url);
}

class SystemArguments : public test::SystemFixture {
protected:
    void give(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "program");
        int argc = static_cast<int>(arguments.size());
        system().processCommandLine(argc, const_cast<char**>(arguments.data()));
    }
};

TEST_F(SystemArguments, AreAppendedByEachCallAndMatchAlternativesExactlyAndWholly) {
    give({"--verbose"});
    give({"-x"});
    EXPECT_STREQ(system().getArgument(1), "-x");
    EXPECT_EQ(system().getArgument(2), nullptr);
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
}

} // namespace
} // namespace qel
