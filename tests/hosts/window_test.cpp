// The parts of a window that need no display: touches, names of keys and the lines of simulated input.
#include <hosts/window/key_names.h>
#include <hosts/window/line_source.h>
#include <hosts/window/pointers.h>
#include <hosts/window/window.h>
#include <tests/support/scratch_folder.h>

#include <gmock/gmock.h>

#include <SDL.h>

#include <cmath>
#include <memory>

namespace qelwindow {
namespace {

using namespace testing;
using qel::test::ScratchFolder;

std::vector<qel::uint32> flagsOf(const PointerList& touches) {
    std::vector<qel::uint32> flags;
    for (const PointerTouch& touch : touches) flags.push_back(touch.flags);
    return flags;
}

TEST(PointersTest, APressedMouseDoesNotHover) {
    Pointers pointers;
    pointers.moveMouse({1, 2});
    EXPECT_THAT(flagsOf(pointers.getTouches()), ElementsAre(kTouchHover));
    pointers.pressButton(kTouchLeftButton, {3, 4});
    pointers.pressButton(kTouchRightButton, {3, 4});
    EXPECT_THAT(flagsOf(pointers.getTouches()), ElementsAre(kTouchLeftButton, kTouchRightButton));
    pointers.releaseButton(kTouchLeftButton, {5, 6});
    EXPECT_THAT(flagsOf(pointers.getTouches()), ElementsAre(kTouchRightButton));
    EXPECT_EQ(pointers.getTouches().front().position, qel::IVec2<float>(5, 6));
    pointers.releaseButton(kTouchRightButton, {5, 6});
    EXPECT_THAT(flagsOf(pointers.getTouches()), ElementsAre(kTouchHover));
    pointers.leaveMouse();
    EXPECT_THAT(pointers.getTouches(), IsEmpty());
}

TEST(PointersTest, FingersHaveIdentitiesOfTheirOwn) {
    Pointers pointers;
    pointers.moveFinger(2, {1, 1});
    pointers.moveFinger(7, {2, 2});
    pointers.pressButton(kTouchLeftButton, {9, 9});
    pointers.moveFinger(2, {3, 3});
    ASSERT_THAT(flagsOf(pointers.getTouches()), ElementsAre(kTouchFinger, kTouchFinger, kTouchLeftButton));
    EXPECT_EQ(pointers.getTouches()[0].position, qel::IVec2<float>(3, 3));
    EXPECT_EQ(pointers.getTouches()[1].position, qel::IVec2<float>(2, 2));
    EXPECT_NE(pointers.getTouches()[0].id, pointers.getTouches()[1].id);
    pointers.liftFinger(2);
    EXPECT_THAT(pointers.getTouches(), SizeIs(2));
    pointers.liftAll();
    EXPECT_THAT(pointers.getTouches(), IsEmpty());
}

TEST(PointersTest, TheWheelDoesNotStay) {
    Pointers pointers;
    pointers.moveMouse({1, 2});
    const PointerList touches = pointers.withWheel({1, 2}, -3);
    EXPECT_THAT(flagsOf(touches), ElementsAre(kTouchHover, kTouchWheel));
    EXPECT_EQ(touches.back().value, -3);
    EXPECT_THAT(flagsOf(pointers.getTouches()), ElementsAre(kTouchHover));
}

/// Drops something on a window. @param text  is freed by the window. @return the paths of dropped files.
std::vector<std::string> pathsAfterDrop(qel::uint32 type, char* text) {
    std::string problem;
    const std::unique_ptr<Window> window = Window::open(Window::Place::Memory, "test", {20, 10}, problem);
    EXPECT_TRUE(window) << problem;
    SDL_Event dropped{};
    dropped.type = type;
    dropped.drop.file = text;
    SDL_PushEvent(&dropped);
    std::vector<std::string> paths;
    for (WindowEvent event; window && window->waitForEvent(event, 0);)
        if (event.kind == WindowEvent::Kind::Dropped) paths.push_back(event.text);
    return paths;
}

TEST(WindowTest, OnlyDroppedFilesAreOpened) {
    EXPECT_THAT(pathsAfterDrop(SDL_DROPFILE, SDL_strdup("a.nrrd")), ElementsAre("a.nrrd"));
    EXPECT_THAT(pathsAfterDrop(SDL_DROPTEXT, SDL_strdup("text")), IsEmpty());
    EXPECT_THAT(pathsAfterDrop(SDL_DROPFILE, nullptr), IsEmpty()) << "a file without a name";
}

TEST(WindowTest, ADroppedFileMayHaveNoName) {
    EXPECT_THAT(pathsAfterDrop(SDL_DROPFILE, nullptr), IsEmpty());
}

TEST(WindowTest, TextInputMayBeAnywhere) {
    std::string problem;
    const std::unique_ptr<Window> window = Window::open(Window::Place::Memory, "test", {20, 10}, problem);
    ASSERT_TRUE(window) << problem;
    window->setTextInputRect({-1e30f, NAN, 1e30f, 5}); // the sanitizers watch
}

TEST(KeyNamesTest, NamesLeadBackToTheKeys) {
    for (const char* const name : {"a", "left", "f11", "pageup", "return", "escape", "ctrl+c", "shift+left",
                                   "ctrl+alt+shift+meta+delete", "+", "ctrl++", "ctrl+-", "space"}) {
        const auto key = keyFromName(name);
        ASSERT_TRUE(key) << name;
        EXPECT_EQ(keyName(*key), name);
    }
}

TEST(LineSourceTest, RefusesLinesThatAreTooLong) {
    const ScratchFolder folder;
    for (const size_t length : {LineSource::kLongestLine, LineSource::kLongestLine + 1}) {
        LineSource lines;
        ASSERT_EQ(lines.open(folder.write("lines", std::string(length, 'x') + "\nend\n")), "");
        std::string line;
        const bool isTooLong = length > LineSource::kLongestLine;
        EXPECT_EQ(lines.next(line), isTooLong ? LineSource::Result::Failed : LineSource::Result::Line);
    }
}

} // namespace
} // namespace qelwindow
