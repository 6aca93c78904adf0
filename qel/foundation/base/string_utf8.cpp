#include <qel/foundation/base/string.h>

#include <qel/foundation/base/unicode.h>
#include <qel/foundation/base/utf8_scan_p.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace qel {
namespace {

/// Returns the text up to the first NUL, where all walks end.
std::string_view walkedPart(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

/// Advances by @p count code points, but not past the end.
const char* skipCodePoints(const char* position, const char* end, std::size_t count) {
    for (; count != 0 && position != end; --count) internal::decodeUtf8Lenient(position, end);
    return position;
}

/// Returns the text with @p map applied to each code point.
template <typename Map>
String mapCodePoints(std::string_view text, Map&& map) {
    String result;
    result.reserve(text.size());
    const std::string_view walked = walkedPart(text);
    const char* position = walked.data();
    const char* const end = position + walked.size();
    while (position != end) result.utf8_append(map(internal::decodeUtf8Lenient(position, end)));
    return result;
}

void appendUnit(Vector<uint32>& units, uint32 codePoint) {
    units.push_back(codePoint);
}

void appendUnit(Vector<uint16>& units, uint32 codePoint) {
    if (codePoint < 0x10000) {
        units.push_back(static_cast<uint16>(codePoint));
        return;
    }
    units.push_back(static_cast<uint16>(0xD7C0 + (codePoint >> 10)));
    units.push_back(static_cast<uint16>(0xDC00 | (codePoint & 0x3FF)));
}

/// Decodes through an array on the stack, since a vector can't grow without being filled.
template <typename Unit>
void appendRun(Vector<Unit>& units, const char* text, internal::Utf8Run run) {
    if (units.empty()) units.reserve(run.codePoints);
    const char* const end = text + run.bytes;
    while (text != end) {
        std::array<Unit, 2048> piece;
        const std::size_t count = internal::decodeUtf8Run(text, end, piece.data(), piece.size());
        units.insert(units.end(), piece.data(), piece.data() + count);
    }
}

template <typename Unit>
Vector<Unit> toUnits(std::string_view text) {
    Vector<Unit> units;
    internal::walkUtf8(
        text, [&](const char* begin, internal::Utf8Run run) { appendRun(units, begin, run); },
        [&](uint32 codePoint) { appendUnit(units, codePoint); });
    return units;
}

const char* addressOf(const std::string& text, std::string::const_iterator position) {
    return text.data() + (position - text.begin());
}

} // namespace

std::size_t String::utf8_size() const {
    std::size_t count = 0;
    internal::walkUtf8(
        *this, [&](const char*, internal::Utf8Run run) { count += run.codePoints; },
        [&](uint32) { ++count; });
    return count;
}

uint32 String::utf8_at(std::size_t index) const {
    return utf8_peek(utf8_get_iterator_at(index));
}

String String::utf8_substr(std::size_t start, int count) const {
    const std::string_view walked = walkedPart(*this);
    const char* const end = walked.data() + walked.size();
    const char* const from = skipCodePoints(walked.data(), end, start);
    const char* const to = count < 0 ? end : skipCodePoints(from, end, static_cast<std::size_t>(count));
    return String(std::string_view(from, static_cast<std::size_t>(to - from)));
}

String::const_iterator String::utf8_get_iterator_at(std::size_t index) const {
    const std::string_view walked = walkedPart(*this);
    const char* const end = walked.data() + walked.size();
    return begin() + (skipCodePoints(walked.data(), end, index) - walked.data());
}

uint32 String::utf8_parse(const_iterator& position) const {
    if (position == end()) return 0;
    const char* const before = addressOf(*this, position);
    const char* address = before;
    const uint32 codePoint = internal::decodeUtf8Lenient(address, data() + size());
    position += address - before;
    return codePoint;
}

uint32 String::utf8_peek(const_iterator position) const {
    return utf8_parse(position);
}

uint32 String::utf8_strict_parse(const_iterator& position) const {
    if (position == end()) return 0;
    const char* const before = addressOf(*this, position);
    const char* address = before;
    const uint32 codePoint = internal::decodeUtf8Strict(address, data() + size());
    position += address - before;
    return codePoint;
}

uint32 String::utf8_strict_peek(const_iterator position) const {
    return utf8_strict_parse(position);
}

void String::utf8_append(uint32 codePoint) {
    const auto put = [this](uint32 byte) { push_back(static_cast<char>(static_cast<uint8>(byte))); };
    if (codePoint < 0x80) return put(codePoint);
    if (codePoint < 0x800) {
        put(0xC0 | codePoint >> 6);
    } else {
        if (codePoint < 0x10000) {
            put(0xE0 | codePoint >> 12);
        } else {
            put(0xF0 | codePoint >> 18);
            put(0x80 | (codePoint >> 12 & 0x3F));
        }
        put(0x80 | (codePoint >> 6 & 0x3F));
    }
    put(0x80 | (codePoint & 0x3F));
}

String String::utf8_fix() const {
    String result;
    result.reserve(size());
    internal::walkUtf8(
        *this, [&](const char* begin, internal::Utf8Run run) { result.append(begin, run.bytes); },
        [&](uint32 codePoint) { result.utf8_append(codePoint); });
    return result;
}

String String::utf8_lowercase() const {
    return mapCodePoints(*this, util::unicode_tolower);
}

String String::utf8_uppercase() const {
    return mapCodePoints(*this, util::unicode_toupper);
}

String String::utf8_capitalize() const {
    return utf8_substr(0, 1).utf8_uppercase() + utf8_substr(1);
}

String String::utf8_ellipsis(std::size_t count) const {
    const std::size_t size = utf8_size();
    if (size <= count) return *this;
    const std::size_t kept = count < 5 ? 0 : (count - 5) / 2;
    const std::string_view walked = walkedPart(*this);
    const char* const end = walked.data() + walked.size();
    const char* const head = skipCodePoints(walked.data(), end, kept);
    const char* const tail = skipCodePoints(head, end, size - 2 * kept);
    String result(std::string_view(walked.data(), static_cast<std::size_t>(head - walked.data())));
    result += " ... ";
    return result.append(tail, end);
}

bool String::utf8_isnumeric() const {
    std::string_view text = walkedPart(*this);
    if (text.starts_with('-')) text.remove_prefix(1);
    const std::size_t point = text.find_first_of(",.");
    const auto isDigits = [](std::string_view part) {
        return part.find_first_not_of("0123456789") == std::string_view::npos;
    };
    if (point == std::string_view::npos) return isDigits(text);
    return isDigits(text.substr(0, point)) && isDigits(text.substr(point + 1));
}

bool String::utf8_contains_special_characters() const {
    const std::string_view walked = walkedPart(*this);
    const char* position = walked.data();
    const char* const end = position + walked.size();
    while (position != end) {
        const uint32 codePoint = internal::decodeUtf8Strict(position, end);
        if (codePoint == kNoCodePoint) {
            ++position;
        } else if (util::unicode_is_special_character(static_cast<int32>(codePoint))) {
            return true;
        }
    }
    return false;
}

Vector<uint32> String::utf8_to_unicode() const {
    return toUnits<uint32>(*this);
}

Vector<uint16> String::utf8_to_utf16() const {
    return toUnits<uint16>(*this);
}

std::wstring String::utf8_to_std_wstring() const {
    if constexpr (sizeof(wchar_t) == sizeof(uint16)) {
        const Vector<uint16> units = utf8_to_utf16();
        return std::wstring(units.begin(), units.end());
    } else {
        const Vector<uint32> codePoints = utf8_to_unicode();
        return std::wstring(codePoints.begin(), codePoints.end());
    }
}

String String::ascii_fix() const {
    return mapCodePoints(*this, [](uint32 codePoint) { return codePoint < 128 ? codePoint : uint32('?'); });
}

String String::ascii_fix_remove_controlcodes() const {
    return mapCodePoints(*this, [](uint32 codePoint) {
        return codePoint >= 32 && codePoint <= 126 ? codePoint : uint32('?');
    });
}

} // namespace qel
