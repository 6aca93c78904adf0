// WindowEvent: what has happened to a window.
#pragma once

#include <hosts/window/pointers.h>

#include <string>

namespace qelwindow {

/// An event of a window, independent of the library that shows it.
struct WindowEvent {
    /// What has happened.
    enum class Kind {
        None,    ///< nothing that concerns the window
        Touches, ///< the touches have changed; see WindowEvent::touches
        Key,     ///< a key was pressed; WindowEvent::text is its name, such as "ctrl+shift+left"
        Text,    ///< text was typed, which WindowEvent::text holds as UTF-8
        Resized, ///< the size in pixels or the display has changed
        Exposed, ///< the window must be drawn again
        Hidden,  ///< the window was minimised or hidden, which ends all touches
        Shown,   ///< the window is visible again
        Closed,  ///< the user or the session wants the window to close
        Dropped, ///< a file was dropped onto the window; WindowEvent::text is its path
    };

    Kind kind = Kind::None;  ///< what has happened
    std::string text{};      ///< the key, the typed text or the path
    PointerList touches{};   ///< all touches
    bool endsAtOnce = false; ///< the touches are followed by a list without that of the wheel
};

} // namespace qelwindow
