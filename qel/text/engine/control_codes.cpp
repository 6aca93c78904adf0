#include <qel/text/engine/text_reader_p.h>

#include <qel/style/color_names.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

namespace qel::internal {
namespace {

constexpr uint32 kBulletCharacter = 0x2022;

/// A word that a code takes as its argument, and what it means.
template <typename Value>
struct Word {
    std::string_view word;
    Value value;
};

template <typename Value, std::size_t N>
Value valueOf(const Word<Value> (&words)[N], SmartCStr word, Value otherwise) {
    const auto found =
        std::find_if(words, words + N, [&](const Word<Value>& known) { return known.word == word.view(); });
    return found == words + N ? otherwise : found->value;
}

using FontOfTheme = Font* (Theme::*)(FontStyle) const;

constexpr Word<FontOfTheme> kFontSizes[] = {
    {"small", &Theme::smallFont},   {"small-medium", &Theme::smallMediumFont},
    {"medium", &Theme::mediumFont}, {"medium-large", &Theme::mediumLargeFont},
    {"large", &Theme::largeFont},
};
constexpr Word<FontStyle> kFontStyles[] = {
    {"regular", FontStyle::Regular}, {"mono", FontStyle::Monospaced}, {"italic", FontStyle::Italic},
    {"bold", FontStyle::Bold},       {"light", FontStyle::Light},
};
constexpr Word<int32> kAlignments[] = {{"none", -1}, {"left", 1}, {"center", 0}, {"right", 2}};

/// Reads a decimal number after white space and a sign, and ignores what follows; numbers out of range become
/// the nearest one, and no number is 0.
int32 readNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    if (text.empty() || text.front() < '0' || text.front() > '9') return 0;
    int32 number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    using Limits = std::numeric_limits<int32>;
    if (result.ec == std::errc::result_out_of_range) return isNegative ? Limits::min() : Limits::max();
    return isNegative ? -number : number;
}

} // namespace

using Type = Token::Type;

constexpr TextReader::ControlCode TextReader::kCodes[] = {
    {"align:", &TextReader::pushAlignment},
    {"bar", &TextReader::pushSimple, Type::BarBegin},
    {"bold_off", &TextReader::pushSimple, Type::Bold, false},
    {"bold_on", &TextReader::pushSimple, Type::Bold, true},
    {"bullet", &TextReader::pushSimple, Type::Character, kBulletCharacter},
    {"color:", &TextReader::pushColor, Type::Color},
    {"end_of_line", &TextReader::endLine},
    {"end_of_paragraph", &TextReader::endParagraph},
    {"end_of_text", &TextReader::endText},
    {"endbar:", &TextReader::pushColor, Type::BarEnd},
    {"env:", &TextReader::insertEnvironment},
    {"eol", &TextReader::endLine},
    {"eop", &TextReader::endParagraph},
    {"font:", &TextReader::pushFont},
    {"fontstyle:", &TextReader::pushFontStyle},
    {"half_spacer", &TextReader::pushSimple, Type::Spacer, bitsOf(0.5f)},
    {"half_tab", &TextReader::pushSimple, Type::Tab, bitsOf(0.5f)},
    {"multiline_end_of_text", &TextReader::endTextOfLines},
    {"optional_end_of_line", &TextReader::endLineIfAny},
    {"optional_end_of_paragraph", &TextReader::endParagraphIfAny},
    {"optional_eol", &TextReader::endLineIfAny},
    {"optional_eop", &TextReader::endParagraphIfAny},
    {"pop_margin", &TextReader::pushSimple, Type::PopMargin},
    {"push_margin", &TextReader::pushSimple, Type::PushMargin},
    {"quarter_spacer", &TextReader::pushSimple, Type::Spacer, bitsOf(0.25f)},
    {"quarter_tab", &TextReader::pushSimple, Type::Tab, bitsOf(0.25f)},
    {"space", &TextReader::pushSpace},
    {"spacer", &TextReader::pushSimple, Type::Spacer, bitsOf(1)},
    {"tab", &TextReader::pushSimple, Type::Tab, bitsOf(1)},
    {"tabstop:", &TextReader::pushTabStop},
    {"tr-pop:", &TextReader::leaveTranslation},
    {"tr:", &TextReader::insertTranslation},
    {"underline_off", &TextReader::pushSimple, Type::Underline, false},
    {"underline_on", &TextReader::pushSimple, Type::Underline, true},
};

std::span<const TextReader::ControlCode> TextReader::controlCodes() {
    return kCodes;
}

const TextReader::ControlCode* TextReader::findCode(std::string_view name) {
    static_assert(std::ranges::is_sorted(kCodes, {}, &ControlCode::name));
    const ControlCode* found = std::ranges::lower_bound(kCodes, name, {}, &ControlCode::name);
    return found != std::end(kCodes) && found->name == name ? found : nullptr;
}

bool TextReader::runCode(SmartCStr code, const CodeContext& context) {
    const std::string_view text = code.view();
    const std::string_view name = text.substr(0, std::min(text.find(':'), text.size() - 1) + 1);
    const ControlCode* known = findCode(name);
    if (known) return (this->*known->run)(*known, code.c_str() + name.size(), context);
    warn("unknown control code encountered: ", code);
    return true;
}

bool TextReader::pushSimple(const ControlCode& code, SmartCStr, const CodeContext&) {
    append(code.type).value = code.value;
    return true;
}

bool TextReader::pushColor(const ControlCode& code, SmartCStr color, const CodeContext&) {
    append(code.type).value = util::getColorFromString(color, 1);
    return true;
}

bool TextReader::pushFont(const ControlCode&, SmartCStr size, const CodeContext&) {
    Theme* theme = Object::system() ? Object::system()->getTheme() : nullptr;
    const FontOfTheme font = valueOf(kFontSizes, size, FontOfTheme(&Theme::mediumFont));
    append(Type::Font).font = theme ? (theme->*font)(FontStyle::Regular) : nullptr;
    return true;
}

bool TextReader::pushFontStyle(const ControlCode&, SmartCStr style, const CodeContext&) {
    append(Type::FontStyle).value = static_cast<uint32>(valueOf(kFontStyles, style, FontStyle::Regular));
    return true;
}

bool TextReader::pushTabStop(const ControlCode&, SmartCStr position, const CodeContext&) {
    append(Type::TabStop).setFloat(static_cast<float>(readNumber(position.view())));
    return true;
}

bool TextReader::pushAlignment(const ControlCode&, SmartCStr side, const CodeContext&) {
    append(Type::LineAlignment).value = static_cast<uint32>(valueOf(kAlignments, side, -1));
    return true;
}

bool TextReader::pushSpace(const ControlCode&, SmartCStr, const CodeContext&) {
    takeSpace();
    return true;
}

void TextReader::trim() {
    if (!m_keepsSpaces) tail().trim(m_actor.m_tokens);
}

void TextReader::pushLineEnd() {
    trim();
    append(Type::LineEnd);
}

void TextReader::pushParagraphEnd() {
    if (!tail().isBeginOfLine()) append(Type::LineEnd);
    append(Type::ParagraphEnd);
}

bool TextReader::endLine(const ControlCode&, SmartCStr, const CodeContext&) {
    pushLineEnd();
    return true;
}

bool TextReader::endLineIfAny(const ControlCode&, SmartCStr, const CodeContext&) {
    trim();
    if (!tail().isBeginOfLine()) append(Type::LineEnd);
    return true;
}

bool TextReader::endParagraph(const ControlCode&, SmartCStr, const CodeContext&) {
    trim();
    pushParagraphEnd();
    return true;
}

bool TextReader::endParagraphIfAny(const ControlCode&, SmartCStr, const CodeContext&) {
    trim();
    if (!tail().isBeginOfParagraph()) pushParagraphEnd();
    return true;
}

bool TextReader::endText(const ControlCode&, SmartCStr, const CodeContext&) {
    trim();
    if (!tail().isBeginOfParagraph()) pushParagraphEnd();
    append(Type::TextEnd);
    return false;
}

bool TextReader::endTextOfLines(const ControlCode&, SmartCStr, const CodeContext&) {
    trim();
    append(Type::TextEnd);
    return false;
}

bool TextReader::insertEnvironment(const ControlCode&, SmartCStr name, const CodeContext& context) {
    if (!context.replacement) return true;
    const char* value = Object::system() ? Object::system()->getEnv(name) : nullptr;
    *context.replacement = (value ? String(value) : "<NO-ENV:" + String(name) + ">").utf8_fix();
    return true;
}

bool TextReader::insertTranslation(const ControlCode& code, SmartCStr key, const CodeContext& context) {
    if (!context.replacement) return true;
    const bool isOpen = context.parsedTrs && !context.parsedTrs->insert(key.c_str()).second;
    *context.replacement = isOpen ? "<RECURSIVETR:" + String(code.name) + key + ">"
                                  : (String(Object::tr(key)) + "{tr-pop:" + key + "}").utf8_fix();
    return true;
}

bool TextReader::leaveTranslation(const ControlCode&, SmartCStr key, const CodeContext& context) {
    if (context.parsedTrs && context.parsedTrs->erase(key.c_str()) != 0) return true;
    warn("tried to pop unavailable TR '", key, "' from parsed TRs");
    return true;
}

} // namespace qel::internal
