#include <tests/support/system_fixture.h>

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

TEST_F(SystemState, TheLargestFramebufferIsRemembered) {
    system().processFramebufferSizeChange(100, 50);
    system().processFramebufferSizeChange(60, 60);
    EXPECT_EQ(system().getFramebufferWidth(), 60);
    EXPECT_EQ(system().getMaxFrameBufferSize(), IVec2<int>(100, 50));
    system().processFramebufferSizeChange(70'000, 70'000);
    EXPECT_EQ(system().getMaxFrameBufferSize(), IVec2<int>(70'000, 70'000)) << "the area needs 64 bits";
}

TEST_F(SystemState, TheSafeAreaLeavesOutStatusBarAndKeyboard) {
    system().processFramebufferSizeChange(800, 600);
    system().setStatusBarSize(20);
    system().setKeyboardHeight(200);
    EXPECT_EQ(system().delegateSafeArea(), IVec4<float>(0, 20, 800, 400));
}

TEST_F(SystemState, AURLThatCameBeforeTheHostListensIsKeptOnce) {
    system().delegateHandleURL("qel:open");
    EXPECT_EQ(system().popSavedStartupURL(), "qel:open");
    EXPECT_EQ(system().popSavedStartupURL(), "");
}

TEST_F(SystemState, LanguagesAreStoredInLowerCase) {
    system().setLanguage("DE");
    EXPECT_EQ(system().getLanguage(), "de");
    system().setLanguage(nullptr);
    EXPECT_EQ(system().getLanguage(), "");
}

} // namespace
} // namespace qel
