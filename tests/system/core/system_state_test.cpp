#include <tests/support/system_fixture.h>

#include <string>
#include <utility>
#include <vector>

namespace qel {
namespace {

class SystemState : public test::SystemFixture {
protected:
    void give(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "program");
        int argc = static_cast<int>(arguments.size());
        system().processCommandLine(argc, const_cast<char**>(arguments.data()));
    }
};

TEST_F(SystemState, SwitchesSignalOnlyChanges) {
    std::string calls;
    system().signalEnterBackground.connect([&] { calls += "enter "; });
    system().signalLeaveBackground.connect([&] { calls += "leave "; });
    system().delegateSecureClose.connect([&](bool on) { calls += on ? "secure " : "free "; });
    for (const bool on : {false, false, true, true, false}) {
        system().setBackgroundMode(on);
        system().setSecureClose(on);
    }
    EXPECT_EQ(calls, "free enter secure leave free ");
}

TEST_F(SystemState, LargestFramebufferIsStored) {
    for (const int size : {60, 70'000, 100}) system().processFramebufferSizeChange(size, size);
    EXPECT_EQ(system().getMaxFrameBufferSize(), IVec2<int>(70'000, 70'000)) << "its area needs 64 bits";
    EXPECT_EQ(system().getFramebufferWidth(), 100);
    EXPECT_EQ(system().getFramebufferHeight(), 100);
}

TEST_F(SystemState, TheDevicesRotationBecomesAQuarterTurn) {
    EXPECT_EQ(system().getCurrentRotation(), Rotation::None);
    system().setCurrentRotation(1);
    EXPECT_EQ(system().getCurrentRotation(), Rotation::Clockwise90);
    system().setCurrentRotation(2);
    EXPECT_EQ(system().getCurrentRotation(), Rotation::Clockwise270);
    for (const int other : {0, 3, -1}) {
        system().setCurrentRotation(other);
        EXPECT_EQ(system().getCurrentRotation(), Rotation::None) << other;
    }
}

TEST_F(SystemState, EarlyUrlIsReturnedOnce) {
    system().delegateHandleURL("qel:open");
    for (const char* url : {"qel:open", ""}) EXPECT_EQ(system().popSavedStartupURL(), url);
}

TEST_F(SystemState, ArgumentsAreAppendedAndMatchAlternativesExactly) {
    give({"--verbose"});
    give({"-x"});
    EXPECT_STREQ(system().getArgument(1), "-x");
    EXPECT_EQ(system().getArgument(2), nullptr);
    EXPECT_TRUE(system().hasArgument("-v|--verbose"));
    for (const char* names : {"-v|--verb", "--verbose-x", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(system().hasArgument(names));
}

TEST_F(SystemState, AnUnknownExecutablePathIsTakenFromTheCommandLine) {
    system().overrideExecutablePath("");
    give({});
    EXPECT_EQ(system().getExecutablePath(), "program");
}

TEST_F(SystemState, ParameterIsTheArgumentAfterItsName) {
    give({"-o", "first", "-o", "second", "-x"});
    EXPECT_STREQ(system().getArgumentParameter("--out|-o", "none"), "first");
    EXPECT_STREQ(system().getArgumentParameter("-x", "none"), "none");
    EXPECT_EQ(system().getArgumentParameterAsInt("-z", 1), 1) << "a missing parameter returns the fallback";
}

TEST_F(SystemState, NumericParameterIsParsedAsByAStream) {
    const std::pair<const char*, int> cases[] = {
        {" 12rest", 12}, {"-7", -7}, {"word", 0}, {"99999999999999999999", INT32_MAX}, {"--5", 0}, {"+3", 3}};
    for (const auto& [text, number] : cases) {
        give({text, text});
        EXPECT_EQ(system().getArgumentParameterAsInt(text, 1), number) << text;
    }
}

} // namespace
} // namespace qel
