// The screens in a window of a virtual display, with a mouse, a keyboard, a clipboard and a window manager.
#include <tests/hosts/display_fixture.h>
#include <tests/hosts/qelscreens_fixture.h>

#include <csignal>

namespace qel::test {
namespace {

using namespace testing;

class QelscreensDisplay : public DisplayFixture {
protected:
    QelscreensDisplay() : DisplayFixture("qelscreens", screensCommand()) {}
};

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

TEST_F(QelscreensDisplay, TheMouseHoversAndScrolls) {
    const std::string hover = "move 5 590\nmove 400 300\n";
    const Image hovered = pictureAfter(hover, {"--page", "5"});
    const Image actors = pictureAfter("", {"--page", "2"});
    const Image scrolled = pictureAfter(hover + "wheel 400 300 -1\n", {"--page", "2"});
    open({"--page", "5"});
    act({"xdotool", "mousemove", "400", "300"});
    EXPECT_TRUE(awaitPicture(hovered));
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

TEST_F(QelscreensDisplay, AnInterruptEndsTheProgram) {
    open({"--page", "4"});
    host->closeInput();
    ASSERT_EQ(::kill(static_cast<pid_t>(host->getId()), SIGINT), 0);
    EXPECT_EQ(host->finish(), 130) << host->getOutput();
}

} // namespace
} // namespace qel::test
