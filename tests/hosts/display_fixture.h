// Runs a desktop host in a window of a virtual display, with a mouse, a keyboard and a window manager.
#pragma once

#include <tests/hosts/desktop_fixture.h>
#include <tests/hosts/virtual_display.h>

#include <functional>
#include <optional>

namespace qel::test {

/// Starts a program on the display. It reads the commands of --events from the test. Its answers to "state"
/// pace every wait for what the display shows.
class DisplayFixture : public DesktopFixture {
protected:
    /// @param name  the title of the window.
    /// @param program  the program and its first arguments.
    DisplayFixture(std::string name, std::vector<std::string> program)
        : DesktopFixture(std::move(program)), m_name(std::move(name)) {}

    void SetUp() override;

    /// Starts a window manager, which fills the display with each window.
    void startManager();
    /// Starts the program below the mouse and waits until its window has the keyboard. Leaks are not looked
    /// for, because libraries of the window system keep some memory to the end.
    void start(const std::vector<std::string>& arguments);
    /// Starts a window manager and the program.
    void open(const std::vector<std::string>& arguments);

    /// Runs a program that acts on the display.
    void use(std::vector<std::string> words);
    /// Runs a program that acts on the display, and fails the test if it fails.
    void act(const std::vector<std::string>& words);
    /// Passes commands of xdotool for the window.
    void actOnWindow(const std::vector<std::string>& commands);
    /// Runs a tool until it succeeds and @p isDone returns true. @return false if that has not happened.
    bool until(const std::function<bool()>& isDone, const std::vector<std::string>& words);
    /// Asks the program about its window until @p isDone returns true. @return false if that has not
    /// happened.
    bool untilState(const std::function<bool(const std::string& state)>& isDone);

    /// Asks the program about its window. @return its answer; empty if it has ended or does not answer.
    std::string state();
    /// Returns a number of state(), such as that of "frames".
    int stateNumber(const std::string& name);
    /// Waits until state() contains @p part.
    bool awaitState(const std::string& part);
    /// Waits until the window receives the keys of the display.
    bool awaitKeyboard();
    /// Waits until no more frames are drawn.
    bool awaitStandstill();
    /// Returns what the program shows after @p events without a display.
    Image pictureAfter(const std::string& events, const std::vector<std::string>& arguments) const;
    /// Waits until the display shows @p picture.
    bool awaitPicture(const Image& picture);

    static constexpr int kMostLooks = 1000;

    VirtualDisplay* display = nullptr;
    HostRun tool;                 ///< the last run of a program that acts on the display
    std::optional<Child> manager; ///< ends after the program
    std::optional<Child> host;

private:
    const std::string m_name;
};

} // namespace qel::test
