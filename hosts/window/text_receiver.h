// TextReceiver: an object that edits text with the keyboard.
#pragma once

#include <qel/system/services/keyboard_receiver.h>

#include <string>

namespace qelwindow {

/// Receives what is typed while it is the receiver of System::showKeyboard().
/// @threads main thread.
class TextReceiver : public qel::KeyboardReceiver {
    QEL_CLASS(TextReceiver, qel::KeyboardReceiver)

public:
    /// Inserts typed text, which is UTF-8.
    virtual void insertText(const std::string& text) = 0;
    /// Handles a key. @param key  its name, such as "ctrl+left". @return true if the key has a meaning here.
    virtual bool handleKey(const std::string& key) = 0;
};

} // namespace qelwindow
