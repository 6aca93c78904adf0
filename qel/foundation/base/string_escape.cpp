// The members of String that escape text for other languages and for file names.
#include <qel/foundation/base/string.h>

#include <string_view>

namespace qel {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

void appendPercent(String& out, char c) {
    const auto byte = static_cast<uint8>(c);
    out.push_back('%');
    out.push_back(kHexDigits[byte >> 4]);
    out.push_back(kHexDigits[byte & 15]);
}

bool isUnreservedInUrl(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-_.~").find(c) != std::string_view::npos;
}

/// A character and its replacement; null keeps the character.
template <typename ReplacementOf>
String replaceCharacters(const String& text, ReplacementOf replacementOf) {
    String out;
    out.reserve(text.size());
    for (const char c : text) {
        if (const char* replacement = replacementOf(c)) {
            out.append(replacement);
        } else {
            out.push_back(c);
        }
    }
    return out;
}

} // namespace

String String::utf8_escape_url() const {
    String out;
    for (const char c : utf8_fix()) {
        if (isUnreservedInUrl(c)) {
            out.push_back(c);
        } else {
            appendPercent(out, c);
        }
    }
    return out;
}

String String::utf8_escape_html() const {
    // The readers of this text expect the entities without a semicolon.
    return replaceCharacters(*this, [](char c) -> const char* {
        switch (c) {
        case '&':
            return "&amp";
        case '"':
            return "&quot";
        case '<':
            return "&lt";
        case '>':
            return "&gt";
        default:
            return nullptr;
        }
    });
}

String String::utf8_escape_controlcode() const {
    return replaceCharacters(*this, [](char c) -> const char* { return c == '{' ? "{!" : nullptr; });
}

String String::utf8_escape_php() const {
    return replaceCharacters(*this, [](char c) -> const char* {
        if (c == '\\') return "\\\\";
        return c == '\'' ? "\\'" : nullptr;
    });
}

String String::utf8_escape_filepath() const {
    // Tab, newline, return, and the characters that file names of some system can't hold. The rest is read
    // leniently, which produces valid UTF-8.
    constexpr std::string_view kForbidden = "\t\n\r\"*/:<>?\\|";
    return replaceCharacters(utf8_fix(), [kForbidden](char c) -> const char* {
        return kForbidden.find(c) != std::string_view::npos ? "_" : nullptr;
    });
}

} // namespace qel
