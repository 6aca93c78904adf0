// The screens in a window of a virtual display, with a mouse, a keyboard, a clipboard and a window manager.
#include <tests/hosts/qelscreens_fixture.h>
#include <tests/hosts/virtual_display.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <optional>

namespace qel::test {
namespace {

using namespace testing;

/// Starts the program on the display. It reads the commands of --events from the test. Its answers to "state"
/// pace every wait for what the display shows.
class QelscreensDisplay : public QelscreensFixture {
protected:
    static constexpr int kMostLooks = 1000;

    void SetUp() override {
        const std::string missing = VirtualDisplay::getMissingProgram();
        if (!missing.empty()) GTEST_SKIP() << missing << " is not installed";
        display = &VirtualDisplay::shared();
    }

    /// Starts a window manager, which fills the display with each window.
    void startManager() {
        manager.emplace(std::vector<std::string>{"matchbox-window-manager", "-use_titlebar", "no"},
                        folder.path());
        ASSERT_TRUE(until([] { return true; }, {"wmctrl", "-m"})) << manager->getOutput();
    }
    /// Starts the program below the mouse and waits until its window has the keyboard. Leaks are not looked
    /// for, because libraries of the window system keep some memory to the end.
    void start(const std::vector<std::string>& arguments) {
        act({"xdotool", "mousemove", "5", "590"});
        const char* const options = std::getenv("ASAN_OPTIONS");
        std::vector<std::string> words{
            "env", "ASAN_OPTIONS=" + std::string(options ? options : "") + ":detect_leaks=0",
            "DBUS_SESSION_BUS_ADDRESS=disabled:"};
        for (const std::string& word : command(arguments)) words.push_back(word);
        words.insert(words.end(), {"--events", "/dev/stdin"});
        host.emplace(words, folder.path());
        ASSERT_TRUE(awaitState("visible=1"));
        if (!manager) actOnWindow({"windowmove", "0", "0", "windowfocus"});
        ASSERT_TRUE(awaitKeyboard()) << tool;
    }
    void open(const std::vector<std::string>& arguments) {
        ASSERT_NO_FATAL_FAILURE(startManager());
        ASSERT_NO_FATAL_FAILURE(start(arguments));
    }

    /// Runs a program that acts on the display.
    void use(std::vector<std::string> words) {
        words.insert(words.begin(), {"timeout", "-k", "5", "60"});
        tool = runProgram(folder, words);
    }
    void act(const std::vector<std::string>& words) {
        use(words);
        EXPECT_EQ(tool.status, 0) << tool;
    }
    /// Passes commands of xdotool for the window.
    void actOnWindow(const std::vector<std::string>& commands) {
        std::vector<std::string> words{"xdotool", "search", "--name", "^qelscreens$"};
        words.insert(words.end(), commands.begin(), commands.end());
        act(words);
    }
    /// Runs a tool until it succeeds and @p isDone returns true. @return false if that has not happened.
    bool until(const std::function<bool()>& isDone, const std::vector<std::string>& words) {
        for (int i = 0; i < kMostLooks / 10; ++i) {
            use(words);
            if (tool.status == 0 && isDone()) return true;
        }
        return false;
    }
    /// Asks the program about its window. @return its answer; empty if it has ended or does not answer.
    std::string state() {
        host->writeLine("state");
        std::string line;
        while (host->readLine(line))
            if (line.starts_with("frames=")) return line;
        return {};
    }
    bool awaitState(const std::string& part) {
        std::string line = "first";
        for (int i = 0; i < kMostLooks && !line.empty(); ++i)
            if (line = state(); line.find(part) != line.npos) return true;
        ADD_FAILURE() << "not '" << part << "' but '" << line << "'";
        return false;
    }
    /// Waits until the window receives the keys of the display.
    bool awaitKeyboard() {
        return until([this] { return tool.out == "qelscreens\n"; },
                     {"xdotool", "getwindowfocus", "getwindowname"});
    }
    /// Waits until frames are drawn without input.
    bool awaitMovement() {
        for (int i = 0; i < kMostLooks; ++i) {
            const int before = frames();
            host->writeLine("wait 300");
            if (frames() > before + 3) return true;
        }
        return false;
    }
    /// Returns the number of frames drawn so far.
    int frames() { return std::atoi(state().c_str() + std::string("frames=").size()); }

    /// Returns what the program shows after @p events without a display.
    Image pictureAfter(const std::string& events, const std::vector<std::string>& arguments) const {
        const HostRun run = play(events + "frame expected.png\n", arguments);
        EXPECT_EQ(run.status, 0) << run;
        return load("expected.png");
    }
    bool awaitPicture(const Image& picture, const IVec2<int>& rows) {
        for (int i = 0; i < kMostLooks && !state().empty(); ++i)
            if (display->shows(picture, rows)) return true;
        host->writeLine("frame " + TempDir() + "qelscreens-display.png");
        picture.saveTo((TempDir() + "expected.png").c_str());
        ADD_FAILURE() << state() << " shows qelscreens-display.png in " << TempDir();
        return false;
    }
    bool awaitPicture(const Image& picture) { return awaitPicture(picture, {0, picture.getHeight()}); }

    VirtualDisplay* display = nullptr;
    HostRun tool;                 ///< the last run of a program that acts on the display
    std::optional<Child> manager; ///< ends after the program
    std::optional<Child> host;
};

TEST_F(QelscreensDisplay, FillsTheDisplayAndIsClosed) {
    const Image page = pictureAfter("", {"--page", "4"});
    open({"--page", "4"});
    EXPECT_TRUE(awaitPicture(page));
    host->closeInput();
    act({"wmctrl", "-c", "qelscreens"});
    EXPECT_EQ(host->finish(), 0) << host->getOutput();
}

TEST_F(QelscreensDisplay, KeysTurnPagesAndChangeTheScale) {
    const Image page = pictureAfter("", {"--page", "2"});
    const Image larger = pictureAfter("", {"--page", "2", "--scale", "125"});
    open({"--page", "4"});
    act({"xdotool", "key", "Left", "Left"});
    EXPECT_TRUE(awaitPicture(page));
    act({"xdotool", "key", "plus"});
    EXPECT_TRUE(awaitPicture(larger));
    act({"xdotool", "key", "0"});
    EXPECT_TRUE(awaitPicture(page));
    act({"xdotool", "key", "ctrl+q"});
    EXPECT_EQ(host->finish(), 0) << host->getOutput();
}

TEST_F(QelscreensDisplay, TheMouseHoversPressesAndScrolls) {
    const std::string hover = "move 5 590\nmove 400 300\n";
    const Image hovered = pictureAfter(hover, {"--page", "5"});
    const std::string press = hover + "press 400 300 right\nmove 300 250\n";
    const Image pressed = pictureAfter(press, {"--page", "5"});
    const Image released = pictureAfter(press + "release 300 250 right\n", {"--page", "5"});
    const Image actors = pictureAfter("", {"--page", "2"});
    const Image scrolled = pictureAfter(hover + "wheel 400 300 -1\n", {"--page", "2"});
    open({"--page", "5"});
    act({"xdotool", "mousemove", "400", "300"});
    EXPECT_TRUE(awaitPicture(hovered));
    act({"xdotool", "mousedown", "3", "mousemove", "300", "250"});
    EXPECT_TRUE(awaitPicture(pressed));
    act({"xdotool", "mouseup", "3"});
    EXPECT_TRUE(awaitPicture(released));
    act({"xdotool", "key", "Left", "Left", "Left"});
    EXPECT_TRUE(awaitPicture(actors));
    act({"xdotool", "click", "5"});
    EXPECT_TRUE(awaitPicture(scrolled));
}

TEST_F(QelscreensDisplay, FingersComeFromTheScript) {
    const std::string fingers = "touch 1 200 200\ntouch 1 250 220\ntouch 2 700 250\n";
    const Image touched = pictureAfter("move 5 590\n" + fingers, {"--page", "5"});
    const Image lifted = pictureAfter("move 5 590\n", {"--page", "5"});
    open({"--page", "5"});
    EXPECT_TRUE(awaitPicture(lifted));
    host->writeLine(fingers);
    EXPECT_TRUE(awaitPicture(touched));
    host->writeLine("lift 1\nlift 2");
    EXPECT_TRUE(awaitPicture(lifted));
}

TEST_F(QelscreensDisplay, TypedTextIsCopiedToOtherPrograms) {
    open({"--page", "1"});
    act({"xdotool", "key", "Tab"});
    ASSERT_TRUE(awaitState("typing=1"));
    act({"xdotool", "type", "Field 2: {a}"});
    act({"xdotool", "key", "BackSpace", "shift+Home", "ctrl+c"});
    EXPECT_TRUE(
        until([this] { return tool.out == "Field 2: {a"; }, {"xclip", "-o", "-selection", "clipboard"}))
        << tool;
    act({"xdotool", "key", "Escape"});
    EXPECT_TRUE(awaitState("typing=0"));
}

/// The library of the window waits only for a second for the other program, so the text is requested again.
TEST_F(QelscreensDisplay, PastesWhatAnotherProgramCopied) {
    open({"--page", "1"});
    act({"xdotool", "key", "Tab"});
    ASSERT_TRUE(awaitState("typing=1"));
    const std::string text = "größer 中";
    for (int i = 0; i < 10 && tool.out != text + "!"; ++i) {
        Child other({"xclip", "-i", "-quiet", "-selection", "clipboard", folder.write("copied", text)},
                    folder.path());
        ASSERT_TRUE(
            until([this, &text] { return tool.out == text; }, {"xclip", "-o", "-selection", "clipboard"}));
        act({"xdotool", "key", "ctrl+a", "ctrl+v", "exclam", "ctrl+a", "ctrl+c"});
        ASSERT_TRUE(
            until([this, &text] { return tool.out != text; }, {"xclip", "-o", "-selection", "clipboard"}));
    }
    EXPECT_EQ(tool.out, text + "!");
}

TEST_F(QelscreensDisplay, AResizedWindowKeepsTheScale) {
    const Image small =
        pictureAfter("", {"--page", "4", "--scale", "150", "--width", "700", "--height", "500"});
    start({"--page", "4", "--scale", "150"});
    actOnWindow({"windowsize", "700", "500"});
    EXPECT_TRUE(awaitState("size=700x500"));
    EXPECT_TRUE(awaitPicture(small));
}

TEST_F(QelscreensDisplay, AMinimisedWindowIsRestored) {
    const Image page = pictureAfter("", {"--page", "4"});
    open({"--page", "4"});
    ASSERT_TRUE(awaitPicture(page));
    actOnWindow({"windowminimize"});
    EXPECT_TRUE(until([&] { return !display->shows(page); }, {"true"}));
    actOnWindow({"windowmap", "windowactivate"});
    EXPECT_TRUE(awaitPicture(page));
}

/// Window managers unmap a window to minimise it.
TEST_F(QelscreensDisplay, AHiddenWindowDrawsNothing) {
    const Image page = pictureAfter("", {"--page", "4"});
    start({"--page", "1"});
    ASSERT_TRUE(awaitMovement()) << "the marquee does not move";
    actOnWindow({"windowunmap"});
    ASSERT_TRUE(awaitState("visible=0"));
    const int hidden = frames();
    host->writeLine("wait 1500");
    EXPECT_EQ(frames(), hidden);
    actOnWindow({"windowmap", "windowfocus"});
    EXPECT_TRUE(awaitState("visible=1"));
    ASSERT_TRUE(awaitKeyboard());
    act({"xdotool", "key", "Right", "Right", "Right"});
    EXPECT_TRUE(awaitPicture(page));
}

TEST_F(QelscreensDisplay, NothingIsDrawnWhileNothingMoves) {
    open({"--page", "4"});
    int before = -1;
    for (int i = 0; i < 100 && frames() != before; ++i) {
        before = frames();
        host->writeLine("wait 300");
    }
    host->writeLine("wait 1000");
    EXPECT_EQ(frames(), before);
}

TEST_F(QelscreensDisplay, AnInterruptEndsTheProgram) {
    open({"--page", "4"});
    host->closeInput();
    ASSERT_EQ(::kill(static_cast<pid_t>(host->getId()), SIGINT), 0);
    EXPECT_EQ(host->finish(), 130) << host->getOutput();
}

} // namespace
} // namespace qel::test
