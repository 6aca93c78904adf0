// The viewer in a window of a virtual display, with a mouse, a keyboard and a window manager.
#include <tests/hosts/display_fixture.h>
#include <tests/hosts/qelviewer_fixture.h>

namespace qel::test {
namespace {

class QelviewerDisplay : public DisplayFixture {
protected:
    QelviewerDisplay() : DisplayFixture("qelviewer", viewerCommand("900x600")) { writeOctant(folder); }
};

TEST_F(QelviewerDisplay, OpensDroppedFilesAndIsClosed) {
    folder.write("ramp.nrrd", smallVolume(20, 30, 10, "1", [](int x, int y, int z) { return x + y - z; }));
    const Image first = pictureAfter("", {"octant.nrrd"});
    const Image second = pictureAfter("", {"ramp.nrrd"});
    open({"octant.nrrd"});
    EXPECT_TRUE(awaitPicture(first));
    host->writeLine("drop ramp.nrrd");
    EXPECT_TRUE(awaitPicture(second));
    host->closeInput();
    act({"wmctrl", "-c", "qelviewer"});
    EXPECT_EQ(host->finish(), 0) << host->getOutput();
}

TEST_F(QelviewerDisplay, TheMouseChangesTheWindow) {
    const std::string press = "move 5 590\nmove 130 180\npress 130 180 right\nmove 180 150\n";
    const Image held = pictureAfter(press, {"octant.nrrd"});
    const Image released = pictureAfter(press + "release 180 150 right\nmove 5 590\n", {"octant.nrrd"});
    open({"octant.nrrd"});
    act({"xdotool", "mousemove", "130", "180", "mousedown", "3", "mousemove", "180", "150"});
    EXPECT_TRUE(awaitPicture(held));
    act({"xdotool", "mouseup", "3", "mousemove", "5", "590"});
    EXPECT_TRUE(awaitPicture(released));
}

TEST_F(QelviewerDisplay, TheWheelAndKeysScrollSlices) {
    const std::string wheel = "move 5 590\nmove 130 180\nwheel 130 180 -1\n";
    const Image next = pictureAfter(wheel, {"octant.nrrd"});
    const Image last = pictureAfter(wheel + "key pagedown\nkey up\n", {"octant.nrrd"});
    open({"octant.nrrd"});
    act({"xdotool", "mousemove", "130", "180", "click", "5"});
    EXPECT_TRUE(awaitPicture(next));
    act({"xdotool", "key", "Next", "Up"});
    EXPECT_TRUE(awaitPicture(last));
}

/// A worker reads slices across the rows of a volume that is this large.
TEST_F(QelviewerDisplay, LargeSlicesFollowTheCrosshair) {
    folder.write("wide.nrrd",
                 smallVolume(4, 400, 400, "1", [](int x, int y, int z) { return (x + 1) * (y + z % 100); }));
    const std::string scrolled = "move 5 590\nmove 400 400\nwheel 400 400 -1\n";
    const Image first = pictureAfter("", {"wide.nrrd"});
    const Image next = pictureAfter(scrolled, {"wide.nrrd"});
    open({"wide.nrrd"});
    EXPECT_TRUE(awaitPicture(first));
    act({"xdotool", "mousemove", "400", "400", "click", "5"});
    EXPECT_TRUE(awaitPicture(next));
}

TEST_F(QelviewerDisplay, ATurnedVolumeIsCoarseUntilItIsExact) {
    const std::string turn =
        "wait 1000\npress 400 180 left\nmove 440 200\n"; // a press soon after is a second tap
    const Image exact = pictureAfter(turn, {"octant.nrrd"});
    open({"octant.nrrd"});
    bool wasCoarse = false;
    for (int i = 0; i < kMostLooks / 10 && !wasCoarse; ++i) { // all may be computed before the frame is drawn
        host->writeLine(turn + "frame coarse.png\nrelease 440 200 left\nkey r");
        ASSERT_NE(state(), "");
        wasCoarse = !showTheSame("coarse.png", "expected.png");
    }
    EXPECT_TRUE(wasCoarse);
    host->writeLine(turn);
    EXPECT_TRUE(awaitPicture(exact));
}

TEST_F(QelviewerDisplay, TheMouseTurnsTheVolume) {
    const std::string turn = "move 5 590\nmove 400 180\npress 400 180 left\nmove 440 200\n";
    const Image held = pictureAfter(turn, {"octant.nrrd"});
    const Image released = pictureAfter(turn + "release 440 200 left\nmove 5 590\n", {"octant.nrrd"});
    open({"octant.nrrd"});
    act({"xdotool", "mousemove", "400", "180", "mousedown", "1", "mousemove", "440", "200"});
    EXPECT_TRUE(awaitPicture(held));
    act({"xdotool", "mouseup", "1", "mousemove", "5", "590"});
    EXPECT_TRUE(awaitPicture(released));
}

TEST_F(QelviewerDisplay, KeysShowPagesAndTheHelp) {
    const Image slices = pictureAfter("key f2\n", {"octant.nrrd"});
    const Image help = pictureAfter("key f2\nkey f1\nkey down\n", {"octant.nrrd"});
    open({"octant.nrrd"});
    act({"xdotool", "key", "F2"});
    EXPECT_TRUE(awaitPicture(slices));
    act({"xdotool", "key", "F1", "Down"});
    EXPECT_TRUE(awaitPicture(help));
    act({"xdotool", "key", "Escape"});
    EXPECT_TRUE(awaitPicture(slices));
    act({"xdotool", "key", "ctrl+q"});
    EXPECT_EQ(host->finish(), 0) << host->getOutput();
}

TEST_F(QelviewerDisplay, AKeySavesAPicture) {
    const Image picture = pictureAfter("", {"octant.nrrd", "--page", "slices"});
    open({"octant.nrrd", "--page", "slices"});
    act({"xdotool", "key", "s"});
    ASSERT_TRUE(untilState([this](const std::string&) { return folder.has("qelviewer-0001.png"); }));
    EXPECT_TRUE(showTheSame("qelviewer-0001.png", "expected.png"));
}

TEST_F(QelviewerDisplay, SavedPicturesAreExact) {
    const std::string turn = "wait 1000\npress 400 180 left\nmove 440 200\n";
    pictureAfter(turn, {"octant.nrrd"});
    open({"octant.nrrd"});
    host->writeLine(turn + "key s");
    ASSERT_TRUE(untilState([this](const std::string&) { return folder.has("qelviewer-0001.png"); }));
    EXPECT_TRUE(showTheSame("qelviewer-0001.png", "expected.png"));
    host->writeLine("release 440 200 left\n" + turn + "key s\nclose");
    host->closeInput();
    EXPECT_EQ(host->finish(), 0) << host->getOutput();
    EXPECT_TRUE(folder.has("qelviewer-0002.png")) << "closed before the picture was exact";
}

TEST_F(QelviewerDisplay, AResizedWindowIsFilled) {
    const Image small = pictureAfter("", {"octant.nrrd", "--size", "700x500"});
    start({"octant.nrrd"});
    actOnWindow({"windowsize", "700", "500"});
    EXPECT_TRUE(awaitState("size=700x500"));
    EXPECT_TRUE(awaitPicture(small));
}

TEST_F(QelviewerDisplay, AMinimisedWindowIsRestored) {
    const Image page = pictureAfter("", {"octant.nrrd"});
    open({"octant.nrrd"});
    ASSERT_TRUE(awaitPicture(page));
    actOnWindow({"windowminimize"});
    EXPECT_TRUE(until([&] { return !display->shows(page); }, {"true"}));
    actOnWindow({"windowmap", "windowactivate"});
    EXPECT_TRUE(awaitPicture(page));
}

TEST_F(QelviewerDisplay, SleepsWhileNothingChanges) {
    open({"octant.nrrd"});
    ASSERT_TRUE(awaitStandstill());
    const int frames = stateNumber("frames");
    const int passes = stateNumber("passes");
    host->writeLine("wait 1600");
    EXPECT_LT(stateNumber("passes"), passes + 300) << "passes without a pause of some milliseconds";
    EXPECT_EQ(stateNumber("frames"), frames);
}

} // namespace
} // namespace qel::test
