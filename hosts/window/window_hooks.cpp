#include <hosts/window/window_hooks.h>

#include <qel/system/core/system.h>

#include <utility>

namespace qelwindow {

WindowHooks::WindowHooks(Window& window, std::function<void()> requestFrame)
    : m_window(window), m_requestFrame(std::move(requestFrame)) {
    connectKeyboard();
    connectClipboard();
    connectWindow();
}

void WindowHooks::connectKeyboard() {
    qel::System& system = *qel::Object::system();
    system.delegateKeyboardShow.connect(this, [this](const char*, int, const qel::IVec2<int>&,
                                                     const qel::Rect& rect, bool,
                                                     bool) { m_window.startTextInput(rect); });
    system.delegateKeyboardMove.connect(this,
                                        [this](const qel::Rect& rect) { m_window.setTextInputRect(rect); });
    system.delegateKeyboardHide.connect(this, [this] { m_window.stopTextInput(); });
}

void WindowHooks::connectClipboard() {
    qel::System& system = *qel::Object::system();
    system.delegateSetClipboardText.connect(this,
                                            [this](const char* text) { m_window.setClipboardText(text); });
    system.delegateGetClipboardText.connect(
        this, [this] { return qel::String(m_window.getClipboardText()).utf8_fix(); });
}

void WindowHooks::connectWindow() {
    qel::System& system = *qel::Object::system();
    system.delegateRequestFrame.connect(this, [this] { m_requestFrame(); });
    system.delegateRaiseWindow.connect(this, [this] { m_window.raise(); });
    system.delegateSetFullscreen.connect(this, [this](bool on) { m_window.setFullscreen(on); });
}

} // namespace qelwindow
