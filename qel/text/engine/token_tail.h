// TokenTail: what the last tokens of a text are.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/platform/api.h>
#include <qel/text/engine/token.h>

#include <cstddef>

namespace qel::internal {

/// Knows what the end of a list of tokens consists of, so that no question walks back over the list.
///
/// Tokens that only change the look, such as colours, do not count: they are passed over.
class QEL_API TokenTail {
public:
    /// Takes note of a token of type @p type that is appended at @p index.
    void append(Token::Type type, std::size_t index) {
        switch (type) {
        case Token::Type::Character:
        case Token::Type::LineEnd:
        case Token::Type::ParagraphEnd:
            m_last = m_lastKept = type;
            m_firstTrailing = kNone;
            break;
        case Token::Type::Space:
        case Token::Type::Tab:
        case Token::Type::Spacer:
        case Token::Type::TabStop:
            m_last = type;
            if (m_firstTrailing == kNone) m_firstTrailing = index;
            break;
        default:
            break;
        }
    }

    /// Returns true if nothing visible follows the last end of a line or paragraph.
    bool isBeginOfLine() const { return m_last == Token::Type::LineEnd || isBeginOfParagraph(); }
    /// Returns true if neither anything visible nor an end of a line follows the last end of a paragraph.
    bool isBeginOfParagraph() const { return m_last == Token::Type::ParagraphEnd || m_last == kNothing; }
    /// Returns true if the last visible token is a space.
    bool isAfterSpace() const { return m_last == Token::Type::Space; }
    /// Removes the spaces, tabs, spacers and tab stops that follow the last character, end of a line or end
    /// of a paragraph in @p tokens, and keeps the tokens between them.
    void trim(Vector<Token>& tokens);

private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    static constexpr Token::Type kNothing = Token::Type::TextEnd;

    Token::Type m_last = kNothing;       // the last token that is visible or ends a line
    Token::Type m_lastKept = kNothing;   // the last of those that trim() keeps
    std::size_t m_firstTrailing = kNone; // the first token that trim() removes
};

} // namespace qel::internal
