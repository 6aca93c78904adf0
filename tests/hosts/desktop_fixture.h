// Runs a desktop host in a scratch folder.
#pragma once

#include <qel/imaging/pixels/image.h>
#include <tests/hosts/host_run.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace qel::test {

/// A program and its folder.
class DesktopFixture : public ::testing::Test {
protected:
    /// @param program  the program and its first arguments.
    explicit DesktopFixture(std::vector<std::string> program) : m_command(std::move(program)) {}

    /// Returns the whole command line.
    std::vector<std::string> command(const std::vector<std::string>& arguments) const {
        std::vector<std::string> words = m_command;
        words.insert(words.end(), arguments.begin(), arguments.end());
        return words;
    }
    /// Runs the program without the display and the message bus of the user.
    /// @param videoDriver  the driver that SDL uses for windows on the display; "" for its own choice.
    HostRun run(const std::vector<std::string>& arguments, const std::string& videoDriver = {}) const {
        std::vector<std::string> words = command(arguments);
        words.insert(words.begin(), {"env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY",
                                     "DBUS_SESSION_BUS_ADDRESS=disabled:", "SDL_VIDEODRIVER=" + videoDriver,
                                     "timeout", "120"});
        return runProgram(folder, words);
    }
    /// Runs the program in memory with the input of @p events.
    HostRun play(const std::string& events, std::vector<std::string> arguments = {}) const {
        folder.write("events", events);
        arguments.insert(arguments.begin(), {"--frames", "pages", "--events", "events"});
        return run(arguments);
    }
    Image load(const std::string& name) const {
        Image image;
        EXPECT_TRUE(image.loadFromFile(folder.path(name).c_str())) << name;
        return image;
    }
    /// Returns true if two PNG files show the same picture.
    bool showTheSame(const std::string& a, const std::string& b) const {
        const Image first = load(a);
        const Image second = load(b);
        return first.getSize() == second.getSize() &&
               std::equal(first.getBytePointer(), first.getBytePointer() + first.getByteSize(),
                          second.getBytePointer());
    }

    ScratchFolder folder;

private:
    std::vector<std::string> m_command;
};

} // namespace qel::test
