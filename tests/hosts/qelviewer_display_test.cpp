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
