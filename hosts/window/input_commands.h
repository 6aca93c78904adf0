// The manual of the commands that InputScript runs.
#pragma once

namespace qelwindow {

/// Describes the lines of the option "--events". It is apart from InputScript because manuals are also made
/// without a window system.
inline constexpr const char* kInputCommands =
    "Lines of --events are: touch ID X Y; lift ID; move X Y; press X Y BUTTON; release X Y BUTTON; "
    "wheel X Y STEPS; key NAME; text TEXT; size WIDTH HEIGHT; minimize; restore; wait MILLISECONDS; "
    "drop FILE; frame FILE; state; close. Positions are in pixels, BUTTON is left, middle or right, and NAME "
    "is "
    "a key such as \"ctrl+shift+left\".";

} // namespace qelwindow
