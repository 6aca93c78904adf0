// The keyboard that the host shows for an object.
#include <qel/system/core/system.h>

#include <qel/system/services/keyboard_receiver.h>

#include <algorithm>

namespace qel {

void System::showKeyboard(KeyboardReceiver* receiver, SmartCStr text, int layout, const IVec2<int>& selection,
                          const Rect& rect, bool multiline, bool obscured) {
    const String repaired = String(text).utf8_fix();
    const int size = static_cast<int>(repaired.utf8_size());
    const IVec2<int> clamped(std::clamp(selection.x, 0, size), std::clamp(selection.y, 0, size));
    const Object* before = m_keyboardReceiver.get();
    const bool changed = receiver != before;
    m_keyboardReceiver = nullptr;
    if (receiver) {
        const WeakPointer<Object> guard(receiver); // the host's hook may destroy it
        noteActivity();
        delegateKeyboardShow(repaired.c_str(), layout, clamped, rect, multiline, obscured);
        m_lastKeyboardLayout = layout;
        m_keyboardReceiver = guard;
    }
    if (!changed) return;
    delegateKeyboardChanged();
    signalKeyboardChanged();
}

void System::hideKeyboard(KeyboardReceiver* receiver) {
    if (receiver && receiver != getKeyboardReceiver()) return;
    noteActivity();
    m_keyboardReceiver = nullptr;
    delegateKeyboardChanged();
    delegateKeyboardHide();
    signalKeyboardChanged();
}

void System::moveKeyboard(KeyboardReceiver* receiver, const Rect& rect) {
    if (receiver && receiver == getKeyboardReceiver()) delegateKeyboardMove(rect);
}

void System::clipKeyboardOverlay(KeyboardReceiver* receiver, const Rect& rect) {
    if (receiver && receiver == getKeyboardReceiver()) delegateKeyboardClipOverlay(rect);
}

void System::disableKeyboardReceiver() {
    m_keyboardReceiver = nullptr;
}

KeyboardReceiver* System::getKeyboardReceiver() const {
    return static_cast<KeyboardReceiver*>(m_keyboardReceiver.get()); // showKeyboard accepts no other class
}

} // namespace qel
