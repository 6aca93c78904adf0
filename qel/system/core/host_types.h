// Small enumerations that pass between the library and its host through the hooks of System.
#pragma once

namespace qel {

/// How the display is turned against the device.
enum class Rotation : int {
    None = 0,         ///< upright
    Clockwise90 = 1,  ///< turned a quarter to the right
    UpsideDown = 2,   ///< turned by a half
    Clockwise270 = 3, ///< turned a quarter to the left
};

/// What kind of device the host runs on; it decides the size of controls.
enum class DeviceType : int {
    Desktop = 0, ///< mouse and keyboard
    Tablet = 1,  ///< touch, large display
    Phone = 2,   ///< touch, small display
};

/// Editing commands that a host's menu sends to the focused text.
enum class KeyboardAction : int {
    Cut = 0,       ///< cut the selection to the clipboard
    Copy = 1,      ///< copy the selection to the clipboard
    Paste = 2,     ///< insert the clipboard
    SelectAll = 3, ///< select the whole text
};

/// What an external file picker is asked for.
enum class ExternalPickerType : int {
    OpenFile = 0,   ///< existing files
    OpenFolder = 1, ///< one existing folder
    SaveFile = 2,   ///< a place for a new file
};

/// Short sounds of the user's desktop.
enum class SystemSound : int {
    Click = 0,   ///< a control was operated
    Success = 1, ///< something long has ended well
    Warning = 2, ///< the user should look
    Error = 3,   ///< something has failed
};

} // namespace qel
