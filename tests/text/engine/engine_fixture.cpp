#include <tests/text/engine/engine_fixture.h>

#include <qel/style/theme.h>
#include <tests/support/shipped_fonts.h>

#include <sstream>

namespace qel::test {
namespace {

using Type = Token::Type;

std::string valueOf(const Token& token) {
    std::ostringstream value;
    switch (token.type) {
    case Type::Tab:
    case Type::Spacer:
    case Type::TabStop:
        value << ':' << token.asFloat();
        break;
    case Type::Color:
    case Type::BarEnd:
        value << ':' << std::hex << token.value;
        break;
    case Type::LineAlignment:
    case Type::FontStyle:
    case Type::Bold:
    case Type::Underline:
        value << ':' << token.asInt();
        break;
    default:
        break;
    }
    return value.str();
}

std::string shown(const Token& token) {
    String text;
    switch (token.type) {
    case Type::Character:
        text.utf8_append(token.value);
        return text;
    case Type::Space:
        return "_";
    case Type::LineEnd:
        return "|";
    case Type::ParagraphEnd:
        return "¶";
    case Type::TextEnd:
        return "$";
    default:
        return "{" + std::to_string(static_cast<int>(token.type)) + valueOf(token) + "}";
    }
}

} // namespace

std::string shown(const Vector<Token>& tokens) {
    std::string text;
    for (const Token& token : tokens) text += shown(token);
    return text;
}

void ThemedTextEngine::SetUp() {
    TextEngine::SetUp();
    addShippedFonts();
    LogCapture log; // the theme describes itself
    system().getTheme()->setDeviceForce(96, 1, 1000, 1000, 1, 1);
    log.take();
}

void ThemedTextEngine::TearDown() {
    TextEngine::TearDown();
    Object::discardSingletons(); // the files of fonts
}

} // namespace qel::test
