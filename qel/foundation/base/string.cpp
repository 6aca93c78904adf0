#include <qel/foundation/base/string.h>

#include <qel/foundation/base/byte_span.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace qel {
namespace {

constexpr std::size_t kMaxValidatedBytes = 512;
constexpr std::size_t kDumpBytesPerLine = 16;

/// The text after the last separator is a piece too, even if it is empty.
void splitInto(Vector<String>& pieces, std::string_view text, std::string_view separator) {
    pieces.clear();
    if (text.empty()) return;
    std::size_t begin = 0;
    while (!separator.empty()) {
        const std::size_t end = text.find(separator, begin);
        if (end == std::string_view::npos) break;
        pieces.emplace_back(text.substr(begin, end - begin));
        begin = end + separator.size();
    }
    pieces.emplace_back(text.substr(begin));
}

String trimmed(std::string_view text, const char* characters) {
    const std::size_t begin = text.find_first_not_of(characters);
    if (begin == std::string_view::npos) return String();
    return String(text.substr(begin, text.find_last_not_of(characters) - begin + 1));
}

/// Matches ".+@.+\..+", where "." is any character except a line feed or a carriage return. It is enough to
/// test the first "@" with a character before it and the last "." with a character after it.
bool isMailAddress(std::string_view text) {
    if (text.size() < 2 || text.find_first_of("\r\n") != std::string_view::npos) return false;
    const std::size_t at = text.find('@', 1);
    const std::size_t dot = text.rfind('.', text.size() - 2);
    return at != std::string_view::npos && dot != std::string_view::npos && dot >= at + 2;
}

bool isTelephoneNumber(std::string_view text) {
    return text.find_first_not_of("0123456789-+/() ") == std::string_view::npos;
}

void appendDumpLine(fmt::memory_buffer& dump, std::size_t offset, ConstByteSpan bytes) {
    auto out = std::back_inserter(dump);
    fmt::format_to(out, "{:08X}: ", offset);
    for (std::size_t i = 0; i < kDumpBytesPerLine; ++i) {
        if (i < bytes.size) {
            fmt::format_to(out, "{:02X} ", bytes.data[i]);
        } else {
            fmt::format_to(out, "   ");
        }
    }
    for (const uint8 byte : bytes) dump.push_back(byte >= 32 && byte < 127 ? static_cast<char>(byte) : '.');
    dump.push_back('\n');
}

} // namespace

ConstByteSpan String::getConstByteSpan() const {
    return ConstByteSpan::fromText(*this);
}

ConstByteSpan String::getConstByteSpanWithNullTerminator() const {
    return ConstByteSpan::fromText(std::string_view(c_str(), size() + 1));
}

void String::append_separator(const char* separator, SmartCStr text) {
    if (text.empty()) return;
    String addition = text; // it may point into this string
    if (!empty()) append(SmartCStr(separator).view());
    append(addition);
}

unsigned String::replace_all(SmartCStr from, SmartCStr to) {
    const std::string_view pattern = from.view();
    const std::string_view replacement = to.view();
    if (pattern.empty()) return 0;
    std::string result;
    unsigned count = 0;
    size_type begin = 0;
    for (size_type end = find(pattern); end != npos; end = find(pattern, begin)) {
        result.append(*this, begin, end - begin).append(replacement);
        begin = end + pattern.size();
        ++count;
    }
    if (count == 0) return 0;
    result.append(*this, begin);
    swap(result);
    return count;
}

String String::replace_all_copy(SmartCStr from, SmartCStr to) const {
    String copy = *this;
    copy.replace_all(from, to);
    return copy;
}

Vector<String> String::split(char separator) const {
    Vector<String> pieces;
    split(pieces, separator);
    return pieces;
}

void String::split(Vector<String>& pieces, char separator) const {
    const String text = *this; // it may be one of the pieces
    splitInto(pieces, text, std::string_view(&separator, 1));
}

void String::splitByString(Vector<String>& pieces, SmartCStr separator) const {
    const String text = *this; // it and the separator may be among the pieces
    const String mark = separator;
    splitInto(pieces, text, mark);
}

String String::trim_spaces() const {
    return trimmed(*this, " ");
}

String String::trim_spaces_newlines() const {
    return trimmed(*this, " \n\r");
}

String String::trim_leading_zeros() const {
    const size_type begin = find_first_not_of('0');
    return begin == npos ? String() : substr(begin);
}

uint64 String::hash(const char* text, std::size_t length) {
    uint64 hash = 0x811C9DC5;
    for (std::size_t i = 0; i < length; ++i) hash = (hash ^ static_cast<uint8>(text[i])) * 0x1000193;
    return hash;
}

bool String::validate(int kind) const {
    if (empty() || size() > kMaxValidatedBytes) return false;
    if (kind == 0) return isMailAddress(*this);
    return kind == 1 && isTelephoneNumber(*this);
}

String String::createHexDumpFromBuffer(ConstByteSpan bytes) {
    fmt::memory_buffer dump;
    for (std::size_t offset = 0; offset < bytes.size; offset += kDumpBytesPerLine) {
        const std::size_t size = std::min(kDumpBytesPerLine, bytes.size - offset);
        appendDumpLine(dump, offset, ConstByteSpan(bytes.data + offset, size));
    }
    return String(std::string_view(dump.data(), dump.size()));
}

} // namespace qel
