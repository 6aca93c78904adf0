// Reads texts of any bytes with each parser, with environment values and translations of any bytes.
//
// The first byte selects the parser. The pieces between NUL bytes are the text, the values of the variables
// "a" and "b", and the translations of "a" and "b". The reference for the tokens is a slow reader that copies
// the rest of the text after each replacement; that for plain text is a regular expression.
#include <fuzz/require.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/plugins/resource_locator.h>
#include <qel/plugins/resource_provider.h>
#include <qel/system/core/system.h>
#include <qel/text/engine/markdown.h>
#include <qel/text/engine/text_actor.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <regex>
#include <string>
#include <string_view>

namespace {

using namespace qel;

std::array<String, 2> g_translations;

/// Serves the translations of the input.
class Translations : public ResourceProvider {
public:
    bool hasResource(SmartCStr name) override { return find(name) != nullptr; }
    bool loadResource(SmartCStr name, Buffer& buffer) override {
        const String* text = find(name);
        if (text) buffer.set(text->getConstByteSpan());
        return text != nullptr;
    }

private:
    static const String* find(SmartCStr name) {
        if (name == "tr-a.txt") return &g_translations[0];
        return name == "tr-b.txt" ? &g_translations[1] : nullptr;
    }
};

/// The reference: reads code point by code point, and copies the rest of the text after each replacement.
class SplicingReader {
public:
    explicit SplicingReader(TextActor::Parser parser) : m_parser(parser) {
        m_actor.update(); // of the empty text
        m_actor.setParser(parser);
    }

    /// Appends the tokens of @p text to tokens(). @return false if too much would be inserted.
    bool read(String text) {
        auto position = text.cbegin();
        while (const uint32 codePoint = text.utf8_parse(position)) {
            if (codePoint == '\r') continue;
            if (codePoint == '\n' || codePoint == ' ') {
                run(codePoint == '\n' && m_parser == TextActor::Parser::Plain ? "eol" : "space");
            } else if (codePoint != '{' || m_parser < TextActor::Parser::ControlCodes) {
                push(codePoint);
            } else if (text.utf8_peek(position) == '!') {
                text.utf8_parse(position);
                push('{');
            } else {
                String code, replacement;
                uint32 next = 0;
                while ((next = text.utf8_parse(position)) != 0 && next != '}') code.utf8_append(next);
                if (next == 0) break;
                if (!m_actor.parseControlCode(code, &replacement, &m_parsedTrs)) return true;
                if (replacement.empty()) continue;
                replacement.append(position, text.cend());
                if (++m_expansions > 200 || replacement.size() > 20'000) return false;
                text = replacement;
                position = text.cbegin();
            }
        }
        run("end_of_text");
        return true;
    }
    const Vector<Token>& tokens() const { return m_actor.getTokens(); }

private:
    void push(uint32 codePoint) { m_actor.pushToken(Token::Type::Character).value = codePoint; }
    void run(const char* code) { m_actor.parseControlCode(code, nullptr, nullptr); }

    TextActor m_actor;
    TextActor::Parser m_parser;
    std::set<std::string> m_parsedTrs;
    int m_expansions = 0;
};

bool isTrimmed(const Token& token) {
    return token.type == Token::Type::Space || token.type == Token::Type::Tab ||
           token.type == Token::Type::Spacer || token.type == Token::Type::TabStop;
}

bool endsLine(const Token& token) {
    return token.type == Token::Type::LineEnd || token.type == Token::Type::ParagraphEnd;
}

/// Checks the order of the tokens of a text whose spaces are joined.
void checkSpaces(const Vector<Token>& tokens) {
    const Token* last = nullptr; // that is visible or ends a line
    for (const Token& token : tokens) {
        const bool isSpace = token.type == Token::Type::Space;
        if (isSpace) require(last && !endsLine(*last) && last->type != Token::Type::Space);
        if (endsLine(token) || token.type == Token::Type::TextEnd) require(!last || !isTrimmed(*last));
        if (endsLine(token) || isTrimmed(token) || token.type == Token::Type::Character) last = &token;
    }
}

void checkTokens(const TextActor& actor, const String& text) {
    const Vector<Token>& tokens = actor.getTokens();
    require(!tokens.empty() && tokens.back().type == Token::Type::TextEnd);
    for (size_t i = 0; i + 1 < tokens.size(); ++i) {
        require(tokens[i].type <= Token::Type::TabStop && tokens[i].type != Token::Type::TextEnd);
        require(tokens[i].sourceIndex <= tokens[i + 1].sourceIndex);
    }
    const bool expands = text.contains("{env:") || text.contains("{tr:");
    if (!expands && actor.getParser() != TextActor::Parser::Markdown)
        require(tokens.back().sourceIndex <= text.utf8_size());
    if (actor.getParser() != TextActor::Parser::Plain) checkSpaces(tokens);
    const bool isAscii = std::ranges::all_of(text, [](char byte) { return static_cast<uint8>(byte) < 0x80; });
    if (isAscii && !expands)
        require(std::ranges::none_of(tokens, [](const Token& token) { return token.rightToLeft; }));
}

void checkSameTokens(const Vector<Token>& tokens, const Vector<Token>& expected) {
    require(tokens.size() + 1 == expected.size()); // the reference begins with the end of an empty text
    for (size_t i = 0; i < tokens.size(); ++i) {
        require(tokens[i].type == expected[i + 1].type);
        require(tokens[i].value == expected[i + 1].value);
        require(tokens[i].font == expected[i + 1].font);
    }
}

void checkPlainText(const String& text) {
    if (text.size() > 200) return; // the regular expression is recursive
    static const std::regex code("\\{.*?\\}");
    const String translated = text.applyTrOnlyControlCodes(nullptr);
    if (translated.size() > 200) return;
    std::string expected;
    auto copied = translated.cbegin();
    for (std::sregex_iterator match(translated.begin(), translated.end(), code), end; match != end; ++match) {
        expected.append(copied, (*match)[0].first);
        copied = (*match)[0].second;
        const std::string found = match->str();
        if (found.find("eol") != found.npos)
            expected += '\n';
        else if (found.find("spacer") != found.npos)
            expected += ' ';
        else if (found.find("tab") != found.npos)
            expected += '\t';
    }
    expected.append(copied, translated.cend());
    require(text.transformControlCodesToPlainText(nullptr) == expected);
}

String checkedMarkdown(const String& text) {
    String compiled;
    util::parseMarkdown(compiled, text);
    require(compiled.begins_with("{font:small-medium}{color:white}\n"));
    require(compiled.ends_with("{end_of_text}\n"));
    require(!compiled.contains('\r'));
    require(compiled.size() <= 50 * text.size() + 100);
    return compiled;
}

Vector<String> piecesOf(const uint8_t* data, size_t size) {
    Vector<String> pieces = String(std::string(reinterpret_cast<const char*>(data), size)).split('\0');
    pieces.resize(5);
    return pieces;
}

void setUp() {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    System::initialize({});
    static const SmartPointer<Translations> translations(new Translations);
    Object::system()->getResourceLocator()->addResourceProvider(translations.get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    if (!internal::g_system) setUp();
    const Vector<String> pieces = piecesOf(data + 1, size - 1);
    Object::system()->setEnv("a", pieces[1]);
    Object::system()->setEnv("b", pieces[2]);
    g_translations = {pieces[3], pieces[4]};
    Object::clearTrCache();

    const auto parser = static_cast<TextActor::Parser>(data[0] % 4);
    const String& text = pieces[0];
    const String compiled = checkedMarkdown(text);
    checkPlainText(text);
    SplicingReader reference(parser);
    if (!reference.read(parser == TextActor::Parser::Markdown ? compiled : text)) return 0;

    TextActor actor;
    actor.setParser(parser).setText(text).update();
    checkTokens(actor, text);
    checkSameTokens(actor.getTokens(), reference.tokens());
    actor.setTrimEOT(false).update();
    checkTokens(actor, text);
    actor.getPlainText();
    return 0;
}
