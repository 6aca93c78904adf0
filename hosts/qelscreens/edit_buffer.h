// EditBuffer: the text, cursor and selection of a text field.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>

#include <vector>

namespace qelscreens {

/// One line of text that is being edited, in code points.
class EditBuffer {
public:
    /// The most characters; further ones are dropped.
    static constexpr size_t kLongestText = 4096;

    /// Returns the text as UTF-8.
    qel::String getText() const { return textOf(0, m_text.size()); }
    /// Returns the index of the character after the cursor.
    size_t getCursor() const { return m_cursor; }
    /// Returns the other end of the selection; that of the cursor if nothing is selected.
    size_t getAnchor() const { return m_anchor; }
    /// Returns the selected text as UTF-8.
    qel::String getSelectedText() const { return textOf(selectionStart(), selectionEnd()); }

    /// Replaces the selection by @p text, in which control characters become spaces.
    void insert(const qel::String& text);
    /// Removes the selection, or else a character. @param forward  the one after the cursor.
    void erase(bool forward);
    /// Moves the cursor. @param selecting  keeps the other end of the selection.
    void moveTo(size_t index, bool selecting);
    /// Moves the cursor by one character or word to the left or right.
    void step(bool forward, bool byWord, bool selecting);
    /// Selects the whole text.
    void selectAll();
    /// Selects the word at @p index.
    void selectWord(size_t index);

private:
    qel::String textOf(size_t start, size_t end) const;
    size_t selectionStart() const { return m_cursor < m_anchor ? m_cursor : m_anchor; }
    size_t selectionEnd() const { return m_cursor < m_anchor ? m_anchor : m_cursor; }
    bool eraseSelection();
    size_t wordStart(size_t index) const;
    size_t wordEnd(size_t index) const;

    std::vector<qel::uint32> m_text;
    size_t m_cursor = 0;
    size_t m_anchor = 0;
};

} // namespace qelscreens
