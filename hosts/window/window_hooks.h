// WindowHooks: connects the hooks of System to a window.
#pragma once

#include <hosts/window/window.h>

#include <qel/foundation/base/object.h>

#include <functional>

namespace qelwindow {

/// Serves the hooks of System for frames, the keyboard, the clipboard and the window. The connections end
/// with this object.
/// @threads main thread; System must exist.
class WindowHooks : public qel::Object {
    QEL_CLASS(WindowHooks, qel::Object)

public:
    /// Connects the hooks. @param window  must outlive this object.
    /// @param requestFrame  is called when System asks for a frame.
    WindowHooks(Window& window, std::function<void()> requestFrame);

private:
    void connectKeyboard();
    void connectClipboard();
    void connectWindow();

    Window& m_window;
    std::function<void()> m_requestFrame;
};

} // namespace qelwindow
