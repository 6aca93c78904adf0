// InputScript: simulates the input of a window by commands from a file or a pipe.
#pragma once

#include <hosts/window/frame_loop.h>
#include <hosts/window/line_source.h>
#include <hosts/window/window.h>

#include <string>
#include <string_view>
#include <vector>

namespace qelwindow {

/// Runs commands, one per line, as events of the window system, and the passes that follow from them. Empty
/// lines and those that begin with "#" are skipped. Positions are in pixels of the window.
///
/// | Command | Effect |
/// |---|---|
/// | `touch ID X Y` | a finger touches, or moves if it touches already |
/// | `lift ID` | the finger is lifted |
/// | `move X Y` | the mouse moves |
/// | `press X Y BUTTON`, `release X Y BUTTON` | a button of the mouse: left, middle or right |
/// | `wheel X Y STEPS` | the wheel turns; upwards if STEPS is above 0 |
/// | `key NAME` | a key is pressed, such as "ctrl+c" |
/// | `text TEXT` | text is typed |
/// | `size WIDTH HEIGHT` | the window is resized |
/// | `minimize`, `restore` | the window is minimised and shown again |
/// | `wait MILLISECONDS` | time passes |
/// | `drop FILE` | a file or folder is dropped onto the window |
/// | `frame FILE` | a frame is drawn and written to a PNG file |
/// | `state` | a line about the window is printed, as docs/screens.md describes |
/// | `close` | the window is closed |
class InputScript {
public:
    /// @param window, loop  must outlive this object.
    InputScript(Window& window, FrameLoop& loop) : m_window(window), m_loop(loop) {}

    /// Opens the file or pipe with the commands. @return what went wrong; empty on success.
    std::string open(const std::string& path) { return m_lines.open(path); }
    /// Runs commands until the last one, or until the window is closed.
    /// @return what is wrong with the commands, such as "line 3: no such key 'x'"; empty if nothing is.
    std::string run();

private:
    /// The words of a command.
    struct Command {
        std::string_view word;      ///< the first word
        std::string_view rest;      ///< what follows the space after it
        std::vector<float> numbers; ///< those at the start of the rest
        std::string_view tail;      ///< what follows the numbers
    };
    /// How a command is written and what it does.
    struct Row {
        std::string_view word;
        size_t numbers; ///< the number of numbers at its start
        bool hasText;   ///< true if text follows them
        std::string (InputScript::*run)(const Command& command);
    };

    static const Row kRows[];

    void runPasses();
    std::string runLine(std::string_view line);
    std::string touch(const Command& command);
    std::string lift(const Command& command);
    std::string move(const Command& command);
    std::string press(const Command& command);
    std::string release(const Command& command);
    std::string wheel(const Command& command);
    std::string key(const Command& command);
    std::string text(const Command& command);
    std::string resize(const Command& command);
    std::string minimize(const Command& command);
    std::string restore(const Command& command);
    std::string wait(const Command& command);
    std::string drop(const Command& command);
    std::string frame(const Command& command);
    std::string state(const Command& command);
    std::string close(const Command& command);
    std::string button(const Command& command, bool isPressed);

    Window& m_window;
    FrameLoop& m_loop;
    LineSource m_lines;
};

} // namespace qelwindow
