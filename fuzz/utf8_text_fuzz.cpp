// Passes text of any bytes through every UTF-8 operation of String, with each instruction set of the machine.
// The first byte selects the set and a number of code points.
#include <fuzz/require.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/string_id.h>
#include <qel/foundation/base/unicode.h>
#include <qel/testing/simd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {

using qel::String;
using qel::uint32;

/// The code points read one by one, as the reference for the vector operations.
struct Reading {
    qel::Vector<uint32> codePoints;
    bool strict = true;

    explicit Reading(const String& text) {
        for (auto position = text.cbegin(); position != text.cend();) {
            const auto before = position;
            const uint32 peeked = text.utf8_strict_peek(position);
            const uint32 parsed = text.utf8_strict_parse(position);
            require(peeked == parsed);
            require(parsed != String::kNoCodePoint ? position > before && position - before <= 4
                                                   : position == before);
            strict = strict && parsed != String::kNoCodePoint;
            position = before;
            const uint32 lenient = text.utf8_parse(position);
            require(position > before && (parsed == String::kNoCodePoint || lenient == parsed));
            if (lenient == 0) break;
            codePoints.push_back(lenient);
        }
    }
};

void checkReading(const String& text) {
    const Reading reading(text);
    const bool whole = text.find('\0') == String::npos;
    require(text.utf8_size() == reading.codePoints.size());
    require(text.utf8_to_unicode() == reading.codePoints);
    require(!whole || qel::util::utf8_is_valid(text) == reading.strict);
    String encoded;
    std::size_t units = 0;
    for (const uint32 codePoint : reading.codePoints) {
        encoded.utf8_append(codePoint);
        units += codePoint > 0xFFFF ? 2 : 1;
    }
    require(text.utf8_fix() == encoded);
    require(text.utf8_to_utf16().size() == units);
    require(text.utf8_to_std_wstring().size() == reading.codePoints.size());
    require(text.utf8_at(0) == (reading.codePoints.empty() ? 0 : reading.codePoints[0]));
}

void checkFix(const String& text) {
    const String fixed = text.utf8_fix();
    require(qel::util::utf8_is_valid(fixed));
    require(Reading(fixed).strict);
    require(fixed.utf8_fix() == fixed);
    require(fixed.utf8_size() == text.utf8_size());
    for (const String& mapped : {text.utf8_lowercase(), text.utf8_uppercase(), text.ascii_fix(),
                                 text.utf8_ellipsis(9).utf8_fix(), text.ascii_fix_remove_controlcodes()})
        require(qel::util::utf8_is_valid(mapped));
    require(text.utf8_lowercase().utf8_lowercase() == text.utf8_lowercase());
}

void checkParts(const String& text, std::size_t number) {
    const std::size_t size = text.utf8_size();
    const String visible = text.utf8_substr(0);
    const String head = text.utf8_substr(0, static_cast<int>(number));
    require(head + text.utf8_substr(number) == visible);
    require(head.size() == static_cast<std::size_t>(text.utf8_get_iterator_at(number) - text.begin()));
    const String shortened = text.utf8_ellipsis(number);
    require(size <= number ? shortened == text
                           : shortened.utf8_fix().utf8_size() <= std::max<std::size_t>(number, 5));
    text.utf8_capitalize();
    text.utf8_isnumeric();
    text.utf8_contains_special_characters();
    const int flags = text.utf8_rtl_flags();
    require(flags == 0 || flags == 2 || flags == 3);
}

void checkBytes(const String& text, const String& other) {
    const int order = String::natural_compare(text, other);
    const int reverse = String::natural_compare(other, text);
    require((order < 0) == (reverse > 0) && (order > 0) == (reverse < 0));
    require(String::natural_compare(text, text) == 0);
    String replaced = text;
    replaced.replace_all(other, "x");
    String joined;
    for (const String& piece : text.split(';')) joined += piece + ';';
    require(text.empty() || joined == text + ';');
    for (int kind = 0; kind < 2; ++kind) text.validate(kind);
    require(qel::StringId(text) == text && qel::StringId(text).hash() == text.hash());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto targets = qel::seams::simdTargets();
    if (size == 0) return 0;
    qel::seams::setSimdTarget(targets[data[0] % targets.size()]);
    const String text(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
    checkReading(text);
    checkFix(text);
    checkParts(text, data[0]);
    checkBytes(text, text.substr(text.size() / 2));
    return 0;
}
