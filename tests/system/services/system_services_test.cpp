#include <qel/system/core/system.h>

#include <qel/platform/process_run.h>
#include <qel/system/services/keyboard_receiver.h>

#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qel {
namespace {

using test::LogCapture;
using test::ScratchFolder;

class SystemServices : public test::SystemFixture {};

// --- machine ---

TEST_F(SystemServices, CpuUsageNeedsTwoReadings) {
    EXPECT_EQ(system().getCPUUsagePercent(), -1.0f);
    const float second = system().getCPUUsagePercent();
    EXPECT_TRUE(second == -1.0f || (second >= 0.0f && second <= 1.0f)) << second;
}

TEST_F(SystemServices, MachineFiguresAreThere) {
    EXPECT_GE(system().getProcessorCount(), 1u);
    EXPECT_GE(system().getPageSize(), 4096u);
    EXPECT_LE(system().getFreeMemory(), system().getPhysicalMemorySize());
    EXPECT_EQ(system().getFreeVirtualMemory(), 0x10000000u);
}

TEST_F(SystemServices, ErrorsOfTheSystemHaveCodesAndTexts) {
    errno = ENOENT;
    EXPECT_EQ(System::getLastSysCallErrorCode(), ENOENT);
    EXPECT_EQ(System::getLastSysCallErrorMessage(), System::getErrorMessageFromCode(ENOENT));
}

TEST_F(SystemServices, ElevationIsOneOfThreeKinds) {
    int type = 0;
    EXPECT_TRUE(System::getElevationType(&type));
    EXPECT_TRUE(type >= 1 && type <= 3) << type;
    EXPECT_FALSE(System::getElevationType(nullptr));
}

TEST_F(SystemServices, SleepPassesOnTheClockInUse) {
    clock.advanceMs(10);
    const uint32 before = system().getTime();
    System::sleep(250);
    EXPECT_EQ(system().getTime() - before, 250u);
}

// --- commands ---

TEST_F(SystemServices, ACommandGivesItsExitCode) {
    EXPECT_EQ(System::runCommand("/bin/sh -c 'exit 5'", 0), 5);
    EXPECT_EQ(System::runCommand("true", 0), 0);
}

TEST_F(SystemServices, ACommandThatCannotBeStartedGivesOne) {
    for (const int flags : {0, int{System::kCommandNoWait}}) {
        EXPECT_EQ(System::runCommand("qel-no-such-program", flags), 1);
        EXPECT_EQ(System::runCommand("", flags), 1);
        EXPECT_EQ(System::runCommand("true 'unfinished", flags), 1);
    }
}

TEST_F(SystemServices, NothingInACommandRunsButItsProgram) {
    const ScratchFolder folder;
    const String mark = folder.path("ran");
    for (const String& line : {"true $(touch " + mark + ")", "true `touch " + mark + "`",
                               "true ; touch " + mark, "true\ntouch " + mark, "true | touch " + mark,
                               "true > " + mark, "true \"$(touch " + mark + ")\""}) {
        EXPECT_EQ(System::runCommand(line, 0), 0) << line;
        EXPECT_FALSE(folder.has("ran")) << line;
    }
}

/// What the machine would have run.
struct Run {
    std::vector<std::string> arguments;
    platform::RunOptions options;
};
std::vector<Run> g_runs;
bool g_starts = true;

/// Stands in for the machine's start of programs; every program ends with status 9.
class ReplacedRun {
public:
    explicit ReplacedRun(bool starts) {
        g_runs.clear();
        g_starts = starts;
        platform::replaceRunProcess(
            [](const std::vector<std::string>& arguments, const platform::RunOptions& options) {
                g_runs.push_back({arguments, options});
                return platform::RunResult{g_starts, 0, options.wait ? 9 : 0};
            });
    }
    ~ReplacedRun() { platform::replaceRunProcess(nullptr); }
};

TEST_F(SystemServices, FlagsOfACommandSayHowItRuns) {
    const ReplacedRun replaced(true);
    EXPECT_EQ(System::runCommand("tool a", 0), 9);
    EXPECT_EQ(System::runCommand("tool a", System::kCommandNoWait | System::kCommandDetached), 0);
    ASSERT_EQ(g_runs.size(), 2u);
    EXPECT_TRUE(g_runs[0].options.wait && !g_runs[0].options.detached);
    EXPECT_TRUE(!g_runs[1].options.wait && g_runs[1].options.detached);
    EXPECT_EQ(g_runs[1].arguments, (std::vector<std::string>{"tool", "a"}));
}

TEST_F(SystemServices, AnElevatedCommandTellsSuccessAsOneAndFailureAsZero) {
    EXPECT_EQ(System::runCommand("", System::kCommandElevated), 0);
    EXPECT_EQ(System::runCommand("qel-no-such-program", System::kCommandElevated), 0);
    const ReplacedRun replaced(false);
    EXPECT_EQ(System::runCommand("true", System::kCommandElevated), 0);
}

// --- keyboard ---

/// Notes the host's calls in their order.
class KeyboardHost {
public:
    explicit KeyboardHost(System& system) {
        system.delegateKeyboardShow.connect(
            [this](const char* text, int layout, const IVec2<int>& selection, const Rect&, bool, bool) {
                add("show " + std::string(text) + " " + std::to_string(layout) + " " +
                    std::to_string(selection.x) + "-" + std::to_string(selection.y));
            });
        system.delegateKeyboardMove.connect([this](const Rect&) { add("move"); });
        system.delegateKeyboardHide.connect([this] { add("hide"); });
        system.delegateKeyboardClipOverlay.connect([this](const Rect&) { add("clip"); });
        system.delegateKeyboardChanged.connect([this] { add("changed"); });
        system.signalKeyboardChanged.connect([this] { add("signal"); });
    }

    std::vector<std::string> take() { return std::exchange(m_calls, {}); }

private:
    void add(std::string call) { m_calls.push_back(std::move(call)); }

    std::vector<std::string> m_calls;
};

using Calls = std::vector<std::string>;

class SystemKeyboard : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        m_host = std::make_unique<KeyboardHost>(system());
    }

    void show(KeyboardReceiver* receiver, const char* text = "text", IVec2<int> selection = {0, 0}) {
        system().showKeyboard(receiver, text, 3, selection, Rect(), false, false);
    }

    std::unique_ptr<KeyboardHost> m_host;
    SmartPointer<KeyboardReceiver> m_one{new KeyboardReceiver};
    SmartPointer<KeyboardReceiver> m_other{new KeyboardReceiver};
};

TEST_F(SystemKeyboard, ShowingTellsTheHostAndThenOfTheNewReceiver) {
    show(m_one.get());
    EXPECT_EQ(m_host->take(), (Calls{"show text 3 0-0", "changed", "signal"}));
    EXPECT_EQ(system().getKeyboardReceiver(), m_one.get());
    EXPECT_EQ(system().getLastKeyboardLayout(), 3);
    show(m_one.get());
    EXPECT_EQ(m_host->take(), (Calls{"show text 3 0-0"}));
}

TEST_F(SystemKeyboard, TextIsRepairedAndTheSelectionHeldInside) {
    show(m_one.get(), "a\xE4z", {-5, 99});
    EXPECT_EQ(m_host->take().front(), "show a\xC3\xA4z 3 0-3");
}

TEST_F(SystemKeyboard, ShowingForNobodyDropsTheReceiver) {
    show(m_one.get());
    m_host->take();
    show(nullptr);
    EXPECT_EQ(m_host->take(), (Calls{"changed", "signal"}));
    EXPECT_EQ(system().getKeyboardReceiver(), nullptr);
}

TEST_F(SystemKeyboard, OnlyTheReceiverOrNobodyHidesIt) {
    show(m_one.get());
    m_host->take();
    system().hideKeyboard(m_other.get());
    EXPECT_EQ(m_host->take(), Calls());
    EXPECT_EQ(system().getKeyboardReceiver(), m_one.get());
    system().hideKeyboard(m_one.get());
    EXPECT_EQ(m_host->take(), (Calls{"changed", "hide", "signal"}));
    system().hideKeyboard(nullptr);
    EXPECT_EQ(m_host->take(), (Calls{"changed", "hide", "signal"}));
}

TEST_F(SystemKeyboard, MovesAndClipsForTheReceiverAlone) {
    show(m_one.get());
    m_host->take();
    system().moveKeyboard(m_other.get(), Rect());
    system().clipKeyboardOverlay(m_other.get(), Rect());
    EXPECT_EQ(m_host->take(), Calls());
    system().moveKeyboard(m_one.get(), Rect());
    system().clipKeyboardOverlay(m_one.get(), Rect());
    EXPECT_EQ(m_host->take(), (Calls{"move", "clip"}));
}

TEST_F(SystemKeyboard, DisablingTellsNobody) {
    show(m_one.get());
    m_host->take();
    system().disableKeyboardReceiver();
    EXPECT_EQ(m_host->take(), Calls());
    EXPECT_EQ(system().getKeyboardReceiver(), nullptr);
}

TEST_F(SystemKeyboard, AReceiverThatDiesIsForgotten) {
    show(m_one.get());
    m_one = nullptr;
    EXPECT_EQ(system().getKeyboardReceiver(), nullptr);
    system().delegateKeyboardShow.connect(
        [this](const char*, int, const IVec2<int>&, const Rect&, bool, bool) { m_other = nullptr; });
    show(m_other.get());
    EXPECT_EQ(system().getKeyboardReceiver(), nullptr);
}

} // namespace
} // namespace qel
