#include "edit_buffer.h"

#include <algorithm>

namespace qelscreens {

namespace {

std::ptrdiff_t offset(size_t index) {
    return static_cast<std::ptrdiff_t>(index);
}

} // namespace

void EditBuffer::insert(const qel::String& text) {
    eraseSelection();
    for (qel::uint32 codePoint : text.utf8_fix().utf8_to_unicode()) {
        if (m_text.size() >= kLongestText) break;
        if (codePoint < ' ' || codePoint == 0x7f) codePoint = ' ';
        m_text.insert(m_text.begin() + offset(m_cursor), codePoint);
        ++m_cursor;
    }
    m_anchor = m_cursor;
}

void EditBuffer::erase(bool forward) {
    if (eraseSelection()) return;
    if (forward ? m_cursor == m_text.size() : m_cursor == 0) return;
    if (!forward) --m_cursor;
    m_text.erase(m_text.begin() + offset(m_cursor));
    m_anchor = m_cursor;
}

void EditBuffer::moveTo(size_t index, bool selecting) {
    m_cursor = std::min(index, m_text.size());
    if (!selecting) m_anchor = m_cursor;
}

void EditBuffer::step(bool forward, bool byWord, bool selecting) {
    if (m_cursor != m_anchor && !selecting && !byWord)
        return moveTo(forward ? selectionEnd() : selectionStart(), false);
    size_t index = m_cursor;
    if (byWord)
        index = forward ? wordEnd(index) : wordStart(index);
    else if (forward)
        ++index;
    else if (index > 0)
        --index;
    moveTo(index, selecting);
}

void EditBuffer::selectAll() {
    m_anchor = 0;
    m_cursor = m_text.size();
}

void EditBuffer::selectWord(size_t index) {
    const size_t inside = std::min(index, m_text.size());
    m_anchor = inside < m_text.size() && m_text[inside] != ' ' ? wordStart(inside + 1) : inside;
    m_cursor = wordEnd(m_anchor);
}

qel::String EditBuffer::textOf(size_t start, size_t end) const {
    qel::String text;
    for (size_t i = start; i < end; ++i) text.utf8_append(m_text[i]);
    return text;
}

/// @return true if something was selected.
bool EditBuffer::eraseSelection() {
    if (m_cursor == m_anchor) return false;
    const size_t start = selectionStart();
    m_text.erase(m_text.begin() + offset(start), m_text.begin() + offset(selectionEnd()));
    m_cursor = m_anchor = start;
    return true;
}

size_t EditBuffer::wordStart(size_t index) const {
    while (index > 0 && m_text[index - 1] == ' ') --index;
    while (index > 0 && m_text[index - 1] != ' ') --index;
    return index;
}

size_t EditBuffer::wordEnd(size_t index) const {
    while (index < m_text.size() && m_text[index] == ' ') ++index;
    while (index < m_text.size() && m_text[index] != ' ') ++index;
    return index;
}

} // namespace qelscreens
