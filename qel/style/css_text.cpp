#include <qel/style/css_text_p.h>

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/unicode.h>

#include <algorithm>
#include <utility>

namespace qel::internal {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD
constexpr std::string_view kReplaced("\0\r\f", 3);

/// Replaces NUL by U+FFFD, and carriage returns, their pairs with a line feed and form feeds by a line feed.
std::string withPlainLineBreaks(std::string_view text) {
    std::string plain;
    plain.reserve(text.size() + text.size() / 16);
    size_t begin = 0;
    for (size_t i = text.find_first_of(kReplaced); i != text.npos; i = text.find_first_of(kReplaced, begin)) {
        plain.append(text, begin, i - begin);
        if (text[i] == '\0') {
            plain.append(kReplacement);
        } else {
            plain.push_back('\n');
        }
        const bool isPair = text[i] == '\r' && text.substr(i + 1).starts_with('\n');
        begin = i + (isPair ? 2 : 1);
    }
    return plain.append(text, begin, text.npos);
}

bool isUpperCase(char c) {
    return c >= 'A' && c <= 'Z';
}

} // namespace

CssText::CssText(ConstByteSpan bytes) {
    std::string_view text = bytes.asText();
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    const bool isPlain =
        text.find('\0') == text.npos && text.find('\r') == text.npos && text.find('\f') == text.npos;
    m_source = isPlain ? std::string(text) : withPlainLineBreaks(text);
    if (!util::utf8_is_valid(m_source)) m_source = String(std::move(m_source)).utf8_fix();
}

std::string_view CssText::lowerCase(std::string_view text) {
    if (std::none_of(text.begin(), text.end(), isUpperCase)) return text;
    std::string lower(text);
    for (char& c : lower) {
        if (isUpperCase(c)) c = static_cast<char>(c - 'A' + 'a');
    }
    return store(std::move(lower));
}

} // namespace qel::internal
