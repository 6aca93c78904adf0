#include <qel/text/engine/text_reader_p.h>

#include <qel/foundation/locale/markup_expansion.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/text/engine/bidi_class_p.h>

#include <algorithm>
#include <utility>

namespace qel::internal {
namespace {

// The warnings about the codes of one text, so that a text full of mistakes does not fill the log.
constexpr std::size_t kMaximumWarnings = 1000;

constexpr std::size_t kMaximumReserved = std::size_t(1) << 20;

// Returns true for the ASCII characters that are tokens of their own whatever the parser is.
constexpr bool isPlain(char byte) {
    const auto code = static_cast<uint8>(byte);
    return code < 0x80 && code != '\r' && code != '\n' && code != ' ' && code != '{';
}

} // namespace

void TextReader::read(String text) {
    // A byte is at most one token, and three tokens end the text. Few bytes of a long text may be tokens.
    m_actor.m_tokens.reserve(std::min(text.size(), kMaximumReserved) + 3);
    TextSource source(std::move(text));
    if (readToEnd(source)) runCode(m_actor.m_trimEOT ? "end_of_text" : "multiline_end_of_text", {});
}

bool TextReader::readsCodes() const {
    return m_actor.m_parser == TextActor::Parser::ControlCodes ||
           m_actor.m_parser == TextActor::Parser::Markdown;
}

// Returns false if a code has ended the text.
bool TextReader::readToEnd(TextSource& source) {
    for (;;) {
        takeAscii(source);
        const uint32 codePoint = source.next();
        m_actor.m_sourceIndex = source.index();
        if (codePoint == 0) return true;
        if (codePoint == '\r') continue;
        if (codePoint == '\n' && m_keepsSpaces) {
            pushLineEnd();
        } else if (codePoint == '\n' || codePoint == ' ') { // a space that follows an inserted text
            takeSpace();
        } else if (codePoint != '{' || !readsCodes()) {
            takeCharacter(codePoint);
        } else if (!takeCode(source)) {
            return false;
        }
    }
}

// Reads the plain characters and spaces that come next.
void TextReader::takeAscii(TextSource& source) {
    const std::string_view text = source.ahead();
    uint32 index = source.index();
    std::size_t count = 0;
    for (; count < text.size(); ++count) {
        ++index;
        if (isPlain(text[count])) {
            appendAt(Token::Type::Character, index).value = static_cast<uint8>(text[count]);
        } else if (text[count] == ' ') {
            m_actor.m_sourceIndex = index;
            takeSpace();
        } else {
            break;
        }
    }
    source.skipAscii(count);
}

void TextReader::takeCharacter(uint32 codePoint) {
    append(Token::Type::Character).value = codePoint;
    m_actor.m_mayHoldRightToLeft |= mayTurnRightToLeft(codePoint);
}

void TextReader::takeSpace() {
    if (!m_keepsSpaces && (tail().isBeginOfLine() || tail().isAfterSpace())) return;
    append(Token::Type::Space).value = ' ';
}

// Reads what follows an opening brace. Returns false if a code has ended the text.
bool TextReader::takeCode(TextSource& source) {
    const std::string_view ahead = source.ahead();
    if (ahead.empty()) return true;
    if (ahead.front() == '!') {
        source.next();
        m_actor.m_sourceIndex = source.index();
        takeCharacter('{');
        return true;
    }
    m_code.clear();
    if (!source.readCode(m_code)) return true; // the end of the text
    m_actor.m_sourceIndex = source.index();
    String replacement;
    if (!runCode(m_code, {m_isExhausted ? nullptr : &replacement, &m_parsedTrs})) return false;
    if (!replacement.empty()) insert(source, std::move(replacement));
    return true;
}

void TextReader::insert(TextSource& source, String text) {
    ++m_expansions;
    m_insertedBytes += text.size();
    m_isExhausted = m_expansions > kMaximumExpansions || m_insertedBytes > kMaximumTokenizedBytes;
    if (!m_isExhausted) return source.insert(std::move(text));
    logging::error() << "[TEXT] text with more than " << kMaximumExpansions << " inserted pieces or "
                     << kMaximumTokenizedBytes << " bytes of them; the rest is not inserted";
}

Token& TextReader::appendAt(Token::Type type, uint32 sourceIndex) {
    Vector<Token>& tokens = m_actor.m_tokens;
    tail().append(type, tokens.size());
    Token& token = tokens.emplace_back();
    token.type = type;
    token.sourceIndex = sourceIndex;
    return token;
}

void TextReader::warn(std::string_view before, SmartCStr code, std::string_view after) {
    if (m_warnings > kMaximumWarnings) return;
    if (++m_warnings > kMaximumWarnings)
        logging::warning() << "[TEXT] more than " << kMaximumWarnings << " warnings about control codes";
    else
        logging::warning() << before << code << after;
}

} // namespace qel::internal
