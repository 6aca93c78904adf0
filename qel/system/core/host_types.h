// Small enumerations that pass between the library and its host through the hooks of System.
#pragma once

namespace qel {

/// The rotation of the display relative to the device.
enum class Rotation : int {
    None = 0,         ///< upright
    Clockwise90 = 1,  ///< rotated by 90 degrees clockwise
    UpsideDown = 2,   ///< rotated by 180 degrees
    Clockwise270 = 3, ///< rotated by 270 degrees clockwise
};

/// The kind of device on which the host runs; it determines the size of controls.
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

/// What an external file picker asks the user to choose.
enum class ExternalPickerType : int {
    OpenFile = 0,   ///< existing files
    OpenFolder = 1, ///< one existing folder
    SaveFile = 2,   ///< the location of a new file
};

/// Short sounds of the user's desktop.
enum class SystemSound : int {
    Click = 0,   ///< the user operated a control
    Success = 1, ///< a long operation has succeeded
    Warning = 2, ///< the user's attention is needed
    Error = 3,   ///< something has failed
};

} // namespace qel
