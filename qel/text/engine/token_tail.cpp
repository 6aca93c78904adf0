#include <qel/text/engine/token_tail.h>

#include <algorithm>

namespace qel::internal {
namespace {

bool isTrimmed(const Token& token) {
    return token.type == Token::Type::Space || token.type == Token::Type::Tab ||
           token.type == Token::Type::Spacer || token.type == Token::Type::TabStop;
}

} // namespace

// Each token is moved at most once: after a trim, the next trailing token is appended after all of them.
void TokenTail::trim(Vector<Token>& tokens) {
    if (m_firstTrailing >= tokens.size()) return;
    const auto first = tokens.begin() + static_cast<std::ptrdiff_t>(m_firstTrailing);
    tokens.erase(std::remove_if(first, tokens.end(), isTrimmed), tokens.end());
    m_last = m_lastKept;
    m_firstTrailing = kNone;
}

} // namespace qel::internal
