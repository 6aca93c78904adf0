// Small enumerations that pass between the library and its host through the hooks of System.
#pragma once

namespace qel {

/// How a picture is turned or mirrored when it is drawn. The values 0 to 7 are the orientations of
/// Renderer's texture operations; each comment states where the source's left top corner is drawn and how the
/// source's top row runs from there.
enum class Rotation : int {
    None = 0,                 ///< left top, to the right: upright
    Clockwise90 = 1,          ///< right top, downwards: a quarter turn clockwise
    UpsideDown = 2,           ///< right bottom, to the left: half a turn
    Clockwise270 = 3,         ///< left bottom, upwards: a quarter turn counter-clockwise
    MirroredHorizontally = 4, ///< right top, to the left
    AntiTransposed = 5,       ///< right bottom, upwards
    MirroredVertically = 6,   ///< left bottom, to the right
    Transposed = 7,           ///< left top, downwards
    FromDevice = 8,           ///< an actor takes System::getCurrentRotation()
};

/// The kind of device on which the host runs; it determines the size of controls.
enum class DeviceType : int {
    Desktop = 0, ///< mouse and keyboard
    Phone = 1,   ///< touch, small display
    Tablet = 2,  ///< touch, large display
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
