#include <qel/platform/process_run.h>
#include <qel/platform/random_device.h>
#include <qel/system/services/keyboard_receiver.h>
#include <qel/system/services/random_engine.h>
#include <qel/testing/machine.h>

#include <tests/support/system_fixture.h>

#include <array>
#include <cstring>
#include <set>
#include <string>

namespace qel {
namespace {

using SystemServices = test::SystemFixture;

TEST_F(SystemServices, ACommandReturnsItsExitCodeOrOne) {
    EXPECT_EQ(System::runCommand("/bin/sh -c 'exit 5'", 0), 5);
    for (const int flags : {0, int{System::kCommandNoWait}})
        for (const char* command : {"qel-no-such-program", "", "true 'unfinished"})
            EXPECT_EQ(System::runCommand(command, flags), 1) << command;
    for (const char* command : {"", "qel-no-such-program"})
        EXPECT_EQ(System::runCommand(command, System::kCommandElevated), 0) << "the opposite when elevated";
}

TEST_F(SystemServices, FlagsOfACommandDetermineHowItRuns) {
    static std::string run;
    seams::replaceRunProcess(
        [](const std::vector<std::string>& arguments, const platform::RunOptions& options) {
            run += arguments.at(1) + (options.wait ? " waits" : "") + (options.detached ? " detached;" : ";");
            return platform::RunResult{true, 0, options.wait ? 9 : 0};
        });
    EXPECT_EQ(System::runCommand("tool a;b", 0), 9);
    EXPECT_EQ(System::runCommand("tool $(c)", System::kCommandNoWait | System::kCommandDetached), 0);
    seams::replaceRunProcess(nullptr);
    EXPECT_EQ(run, "a;b waits;$(c) detached;");
}

TEST(RandomEngine, DrawsTheNumbersOfTheMersenneTwister) {
    RandomEngine engine(5489), reference(5489);
    for (int i = 1; i < 10'000; ++i) engine.draw();
    EXPECT_EQ(engine.draw(), 4'123'659'995u); // the 10,000th, as given in the C++ standard
    std::array<uint8, 7> bytes{}, expected{};
    RandomEngine(5489).fill(bytes.data(), 6);
    const uint32 word = reference.draw();
    for (unsigned i = 0; i < 4; ++i) expected[i] = static_cast<uint8>(word >> (8 * i));
    for (unsigned i = 4; i < 6; ++i) expected[i] = static_cast<uint8>(reference.draw() >> 24);
    EXPECT_EQ(bytes, expected);
}

TEST(RandomEngine, WorksWithoutASeedFromTheMachine) {
    seams::replaceRandom([](std::span<std::byte> bytes) {
        std::memset(bytes.data(), 0, bytes.size());
        return true;
    });
    EXPECT_EQ(RandomEngine().draw(), RandomEngine(0).draw());
    seams::replaceRandom([](std::span<std::byte>) { return false; });
    RandomEngine engine;
    EXPECT_NE(engine.draw(), engine.draw());
    seams::replaceRandom(nullptr);
}

TEST_F(SystemServices, NumbersStayInRangeAndEqualHashesShareAMutex) {
    std::set<uint32> seen;
    std::set<Mutex*> mutexes;
    for (uint32 key = 0; key < 1000; ++key) {
        seen.insert(system().randomUIntRange(10, 13));
        mutexes.insert(&system().accessHashedMutex(key));
    }
    EXPECT_EQ(seen, (std::set<uint32>{10, 11, 12, 13}));
    EXPECT_EQ(system().randomUIntRange(5, 5), 5u);
    EXPECT_NE(system().randomUIntRange(0, 0xFFFFFFFF), system().randomUIntRange(0, 0xFFFFFFFF));
    EXPECT_EQ(mutexes.size(), 256u);
    EXPECT_EQ(&system().accessHashedMutex(0x12345678), &system().accessHashedMutex(0x08));
}

/// Records the calls that the host receives about the keyboard.
class SystemKeyboard : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        system().delegateKeyboardShow.connect(
            [this](const char* text, int layout, const IVec2<int>& selection, const Rect&, bool, bool) {
                m_calls += "show " + std::string(text) + " " + std::to_string(layout) + " " +
                           std::to_string(selection.x) + "-" + std::to_string(selection.y) + " ";
                if (m_diesWhenShown) m_one = nullptr;
            });
        system().delegateKeyboardMove.connect([this](const Rect&) { m_calls += "move "; });
        system().delegateKeyboardHide.connect([this] { m_calls += "hide "; });
        system().delegateKeyboardClipOverlay.connect([this](const Rect&) { m_calls += "clip "; });
        system().delegateKeyboardChanged.connect([this] { m_calls += "changed "; });
        system().signalKeyboardChanged.connect([this] { m_calls += "signal "; });
    }

    /// Returns the calls that the host receives when @p receiver is shown.
    std::string show(KeyboardReceiver* receiver, const char* text = "text", IVec2<int> selection = {0, 0}) {
        m_calls.clear();
        system().showKeyboard(receiver, text, 3, selection, Rect(), false, false);
        return m_calls;
    }

    std::string m_calls;
    SmartPointer<KeyboardReceiver> m_one{new KeyboardReceiver}, m_other{new KeyboardReceiver};
    bool m_diesWhenShown = false;
};

TEST_F(SystemKeyboard, ShowingNotifiesTheHostAndSignalsANewReceiver) {
    EXPECT_EQ(show(m_one.get()), "show text 3 0-0 changed signal ");
    EXPECT_EQ(show(m_one.get(), "a\xE4z", {-5, 99}), "show a\xC3\xA4z 3 0-3 ") << "repaired and clamped";
    EXPECT_EQ(show(nullptr), "changed signal ");
}

TEST_F(SystemKeyboard, OnlyItsReceiverMovesClipsAndHidesIt) {
    show(m_one.get());
    m_calls.clear();
    for (KeyboardReceiver* receiver : {m_other.get(), m_one.get(), static_cast<KeyboardReceiver*>(nullptr)}) {
        system().moveKeyboard(receiver, Rect());
        system().clipKeyboardOverlay(receiver, Rect());
        system().hideKeyboard(receiver);
    }
    EXPECT_EQ(m_calls, "move clip changed hide signal changed hide signal ");
}

TEST_F(SystemKeyboard, ADestroyedReceiverIsForgotten) {
    show(m_other.get());
    EXPECT_EQ(system().getKeyboardReceiver(), m_other.get());
    m_other = nullptr;
    EXPECT_EQ(system().getKeyboardReceiver(), nullptr);
    m_diesWhenShown = true;
    show(m_one.get());
    EXPECT_EQ(system().getKeyboardReceiver(), nullptr);
}

} // namespace
} // namespace qel
