// TextField: a line of text that one can type into.
#pragma once

#include "edit_buffer.h"
#include "widgets.h"

#include <hosts/window/text_receiver.h>

namespace qelscreens {

/// A text field with a cursor, a selection and the clipboard. A touch on it opens the keyboard of System.
/// @threads main thread.
class TextField : public qelwindow::TextReceiver {
    QEL_CLASS(TextField, qelwindow::TextReceiver)

public:
    TextField();

    /// Takes over the colours and the font.
    void restyle(const Look& look);
    /// Draws the field.
    void draw(qel::Renderer& renderer, const qel::Rect& place);
    /// Claims touches: they place the cursor, select by dragging, and select a word by a double tap. A touch
    /// elsewhere closes the keyboard.
    void handleTouches(qel::TouchState& touches);
    void insertText(const std::string& text) override;
    bool handleKey(const std::string& key) override;
    /// Opens the keyboard, with the cursor where it was last.
    void takeFocus();
    /// Returns the text and the cursor.
    const EditBuffer& getBuffer() const { return m_buffer; }

private:
    bool hasFocus() const;
    bool handleMovement(const std::string& key, bool selecting);
    bool handleCommand(const std::string& key);
    void copySelection() const;
    void updateText();
    size_t indexAt(const qel::IVec2<float>& point);

    EditBuffer m_buffer;
    Look m_look;
    qel::Rect m_place;
    qel::TextActor m_text;
    qel::TextActor m_hint;
};

} // namespace qelscreens
