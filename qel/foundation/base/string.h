// The owning byte string of the framework; its content is UTF-8 by convention.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <locale>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qel {

class StringId;
struct ConstByteSpan;
enum class Charset : int;

namespace internal {

/// A text by its address: a pointer to characters, a literal or a null pointer.
template <typename T>
concept CharacterPointer = std::same_as < std::decay_t<T>,
const char* > || std::same_as<std::decay_t<T>, char*> || std::same_as<T, std::nullptr_t>;

} // namespace internal

/// A std::string with the text operations of the framework. It may hold any bytes. The `utf8_` operations
/// count in code points and never fail: a byte that does not decode is read as one character of Windows
/// code page 1252 (the lenient reading), or as U+FFFD if that page does not use it. They treat a NUL as the
/// end of the text. Unless stated otherwise an operation does not change the string and returns a new one.
/// @threads a value: one thread at a time; copies share nothing.
class QEL_API String : public std::string {
public:
    using std::string::string;
    using std::string::operator=;
    using std::string::operator+=;

    /// Returned by utf8_strict_parse() for bytes that do not decode.
    static constexpr uint32 kNoCodePoint = 0xFFFFFFFF;

    /// Creates the empty string.
    String() = default;
    /// Copies the text; null means the empty string.
    String(const char* text) : String(SmartCStr(text)) {}
    /// Creates the empty string.
    String(std::nullptr_t) {}
    /// Takes over the bytes unchanged.
    String(std::string text) noexcept : std::string(std::move(text)) {}
    /// Copies the text.
    String(SmartCStr text) : std::string(text.c_str()) {}
    /// Copies the bytes of the view.
    explicit String(std::string_view text) : std::string(text) {}
    /// Copies an interned text, NUL bytes included. Defined in string_id.h.
    String(const StringId& text);

    /// Copies the text; null means the empty string.
    String& operator=(const char* text) { return *this = SmartCStr(text); }
    /// Becomes the empty string.
    String& operator=(std::nullptr_t) {
        clear();
        return *this;
    }
    /// Copies the text, which may point into this string.
    String& operator=(SmartCStr text) {
        assign(text.c_str());
        return *this;
    }
    /// Copies an interned text, NUL bytes included. Defined in string_id.h.
    String& operator=(const StringId& text);

    /// Appends the text; null means the empty string.
    String& operator+=(const char* text) {
        append(SmartCStr(text).view());
        return *this;
    }

    /// Returns the name of the class, "String".
    static const char* getStaticClassName() { return "String"; }

    /// Returns the same bytes as the standard type.
    std::string to_std_string() const { return *this; }
    /// Returns the bytes without the terminating NUL. @owner valid until the string changes. @see byte_span.h
    ConstByteSpan getConstByteSpan() const;
    /// Returns the bytes and the terminating NUL. @owner valid until the string changes. @see byte_span.h
    ConstByteSpan getConstByteSpanWithNullTerminator() const;

    // --- Text as bytes ---------------------------------------------------------------------------------

    /// As std::string::substr. @errors std::out_of_range if @p position is past the end.
    String substr(size_type position = 0, size_type count = npos) const {
        return String(std::string_view(*this).substr(position, count));
    }
    /// Appends @p text to a list: first @p separator, unless the string is empty, then the text.
    /// @param separator  may be null, which means none.
    /// @param text       if empty, nothing is appended.
    void append_separator(const char* separator, SmartCStr text);
    /// Returns whether the string starts with @p text; every string starts with the empty one.
    bool begins_with(SmartCStr text) const { return view().starts_with(text.view()); }
    /// Returns whether the string starts with @p c.
    bool begins_with(char c) const { return view().starts_with(c); }
    /// Returns whether the string ends with @p text; every string ends with the empty one.
    bool ends_with(SmartCStr text) const { return view().ends_with(text.view()); }
    /// Returns whether the string ends with @p c.
    bool ends_with(char c) const { return view().ends_with(c); }
    /// Returns whether @p text occurs anywhere; the empty one always does.
    bool contains(SmartCStr text) const { return view().find(text.view()) != npos; }
    /// Returns whether @p c occurs anywhere.
    bool contains(char c) const { return view().find(c) != npos; }
    /// Returns whether the last byte is a line feed or a carriage return.
    bool ends_with_newline() const { return ends_with('\n') || ends_with('\r'); }

    /// Replaces each occurrence of @p from in place, left to right, without searching the replacements.
    /// @return the number of replacements; 0 for an empty @p from.
    unsigned replace_all(SmartCStr from, SmartCStr to);
    /// Returns a copy after replace_all().
    String replace_all_copy(SmartCStr from, SmartCStr to) const;

    /// Returns the pieces between the separators, including empty ones: n separators produce n + 1 pieces.
    /// The empty string has no pieces.
    Vector<String> split(char separator) const;
    /// Replaces the content of @p pieces with the result of split(char).
    void split(Vector<String>& pieces, char separator) const;
    /// Replaces the content of @p pieces with the pieces between the separators, as split(char) does.
    /// @param separator  an empty one separates nothing.
    void splitByString(Vector<String>& pieces, SmartCStr separator) const;

    /// Removes the spaces (character 32 only) at both ends.
    String trim_spaces() const;
    /// Removes spaces, line feeds and carriage returns at both ends.
    String trim_spaces_newlines() const;
    /// Removes leading "0" characters; a string of zeros alone becomes empty.
    String trim_leading_zeros() const;

    /// Returns the FNV-1a hash with the 32-bit parameters, computed in 64 bits, so that the upper half is
    /// used too. That of the empty string is 0x811C9DC5. Source: Fowler, Noll, Vo, "FNV Non-Cryptographic
    /// Hash Algorithm".
    uint64 hash() const { return hash(data(), size()); }
    /// Returns the hash of @p length bytes at @p text.
    static uint64 hash(const char* text, std::size_t length);

    /// Compares runs of decimal digits by their value and other bytes as they are: "a9" sorts before "a10".
    /// Where only one text has a digit, the digit sorts first; values wrap modulo 2^32.
    /// @return negative, 0 or positive; the first difference of values or bytes, limited to the range of int.
    static int natural_compare(SmartCStr a, SmartCStr b);

    /// Checks the form of text that people type; it must have 1 to 512 bytes.
    /// @param kind  0: a mail address, which is ".+@.+\..+" as a regular expression over the whole text;
    ///              1: a telephone number, which is digits, "+", "-", "/", "(", ")" and spaces;
    ///              any other kind returns false.
    bool validate(int kind) const;

    /// Returns a readable dump: lines of 16 bytes, each with its offset in hexadecimal, ": ", the bytes and
    /// their printable form, and a line feed. The dump of no bytes is empty.
    static String createHexDumpFromBuffer(ConstByteSpan bytes);

    /// Reads a whole file into the string. Defined in files/string_file.cpp.
    /// @return true on success. @errors logged by Buffer::loadFromFile; the string then stays as it is.
    bool loadFromFile(SmartCStr path);
    /// Writes the bytes to a file. Defined in files/string_file.cpp. @return what File::writeFile returns.
    bool saveToFile(SmartCStr path) const;

    // --- UTF-8 in code points --------------------------------------------------------------------------

    /// Returns the number of code points.
    std::size_t utf8_size() const;
    /// Returns the code point at index @p index, or 0 past the end.
    uint32 utf8_at(std::size_t index) const;
    /// Returns @p count code points from index @p start on, or all if -1. Positions past the end are clipped.
    /// The bytes are copied unchanged, including broken ones.
    String utf8_substr(std::size_t start, int count = -1) const;
    /// Returns the position of the code point at index @p index, or the end of the text if it has no more.
    const_iterator utf8_get_iterator_at(std::size_t index) const;
    /// Reads one code point leniently and advances. @return 0 at the end, without advancing.
    /// @param position  an iterator of this string, the end included.
    uint32 utf8_parse(const_iterator& position) const;
    /// As utf8_parse(), without advancing.
    uint32 utf8_peek(const_iterator position) const;
    /// Reads one code point and advances. @return 0 at the end; kNoCodePoint, without advancing, if the bytes
    /// are not the shortest encoding of a code point up to U+10FFFF, or encode a surrogate.
    uint32 utf8_strict_parse(const_iterator& position) const;
    /// As utf8_strict_parse(), without advancing.
    uint32 utf8_strict_peek(const_iterator position) const;
    /// Appends 1 to 4 bytes for @p codePoint, with no check for surrogates or the upper limit.
    void utf8_append(uint32 codePoint);
    /// Returns the text as valid UTF-8, up to its first NUL: bytes that do not decode become their character
    /// in code page 1252, or U+FFFD.
    String utf8_fix() const;
    /// Maps each code point to lower case, by the one-to-one pairs of the Unicode Character Database.
    String utf8_lowercase() const;
    /// Maps each code point to upper case, by the one-to-one pairs of the Unicode Character Database.
    String utf8_uppercase() const;
    /// Maps the first code point to upper case and keeps the rest.
    String utf8_capitalize() const;
    /// Returns the string if it has at most @p count code points, else the first (count - 5) / 2 of them, "
    /// ... ", and the same number of the last. A @p count below 5 is taken as 5, which leaves the marker
    /// alone.
    String utf8_ellipsis(std::size_t count) const;
    /// Returns whether the text consists of digits 0 to 9 with at most one "," or "." and an optional leading
    /// "-". The empty string and "-" alone count as numeric.
    bool utf8_isnumeric() const;
    /// Returns whether a code point is special by util::unicode_is_special_character(); broken bytes are not.
    bool utf8_contains_special_characters() const;
    /// Applies the Unicode Bidirectional Algorithm (UAX #9), without the pairing of brackets, to find
    /// right-to-left runs, in time that follows the size of the text.
    /// @return 0 for none, 2 if the text holds one, 3 if it also begins with one.
    int utf8_rtl_flags() const;
    /// Returns the code points.
    Vector<uint32> utf8_to_unicode() const;
    /// Returns the text in UTF-16; code points above U+FFFF become surrogate pairs.
    Vector<uint16> utf8_to_utf16() const;
    /// Returns the text in wide characters: UTF-32, or UTF-16 where wchar_t has 16 bits.
    std::wstring utf8_to_std_wstring() const;
    /// Keeps code points below 128 and replaces each other with "?".
    String ascii_fix() const;
    /// Keeps code points 32 to 126 and replaces each other with "?".
    String ascii_fix_remove_controlcodes() const;

    // --- Base 16, base 64 and percent forms; defined in string_encoding.cpp ------------------------------

    /// Returns two upper-case hexadecimal digits for each byte.
    String encodeBase16() const;
    /// Decodes hexadecimal digits of either case to bytes up to their first NUL; empty for an odd length or a
    /// character outside the alphabet. Use decodeBase16toBuffer() for binary content.
    String decodeBase16() const;
    /// Returns two upper-case hexadecimal digits for each of @p size bytes.
    static String encodeBase16fromBuffer(const uint8* bytes, std::size_t size);
    /// Decodes into @p bytes. @param size  must be exactly half the length. @return false on any failure.
    bool decodeBase16toBuffer(uint8* bytes, std::size_t size) const;
    /// Returns half the length, or -1 if the length is odd.
    int64 getDecodeBase16Size() const;

    /// Encodes in base 64 with the standard alphabet (RFC 4648, section 4), without padding.
    String encodeBase64() const;
    /// Encodes in base 64 with the standard alphabet, padded with "=" to a multiple of four characters.
    String encodeBase64WithPadding() const;
    /// Encodes @p size bytes in base 64 with the standard alphabet.
    static String encodeBase64fromBuffer(const uint8* bytes, std::size_t size, bool padding);
    /// Decodes base-64 text, with or without padding; empty on failure.
    String decodeBase64() const;
    /// Decodes into @p bytes. @param size  must be getDecodeBase64Size(). @return false on any failure.
    bool decodeBase64toBuffer(uint8* bytes, std::size_t size) const;
    /// Returns the number of bytes that the text decodes to, computed from its length and trailing "=".
    int64 getDecodeBase64Size() const;

    /// Encodes in base 64 with the URL-safe alphabet (RFC 4648, section 5), without padding.
    String encodeBase64url() const;
    /// Encodes @p size bytes in base 64 with the URL-safe alphabet.
    static String encodeBase64urlFromBuffer(const uint8* bytes, std::size_t size, bool padding);
    /// As decodeBase64(), in the URL-safe alphabet.
    String decodeBase64url() const;
    /// As decodeBase64toBuffer(), in the URL-safe alphabet.
    bool decodeBase64urlToBuffer(uint8* bytes, std::size_t size) const;

    /// Encodes as self-checking text: four characters for the low 24 bits of the CRC-32C, then the data, all
    /// in the URL-safe alphabet without padding.
    String encodeBase64crc() const;
    /// As encodeBase64crc(), of @p size bytes.
    static String encodeBase64crcFromBuffer(const uint8* bytes, std::size_t size);
    /// Decodes self-checking text; empty if it is damaged.
    String decodeBase64crc() const;
    /// Decodes into @p bytes. @param size  must be getDecodeBase64crcSize(). @return false if damaged.
    bool decodeBase64crcToBuffer(uint8* bytes, std::size_t size) const;
    /// Returns the number of data bytes, or -1 below four characters.
    int64 getDecodeBase64crcSize() const;

    /// Returns "%" and two upper-case hexadecimal digits for every byte up to the first NUL.
    String encodeUrlBase16() const;
    /// Replaces each "%" and the two digits after it with their byte.
    String decodeUrlBase16() const;

    // --- Escapes; defined in string_escape.cpp -----------------------------------------------------------

    /// Replaces "&", double quote, "<" and ">" with "&amp", "&quot", "&lt" and "&gt", without a semicolon.
    String utf8_escape_html() const;
    /// Keeps ASCII letters, digits, "-", "_", "." and "~", and writes every other byte as "%" and two digits.
    String utf8_escape_url() const;
    /// Inserts a backslash before each backslash and single quote.
    String utf8_escape_php() const;
    /// Replaces tab, newline, return and each character that a file name can't hold with "_".
    String utf8_escape_filepath() const;
    /// Replaces each "{" with "{!", which protects text from the control codes of the text engine.
    String utf8_escape_controlcode() const;

    // --- Character sets; defined in string_charset.cpp ---------------------------------------------------

    /// Converts from the bytes of @p charset to UTF-8.
    /// @return the text, or the empty string if the bytes hold anything that is not a character. @errors
    /// logged.
    String utf8_convert_from_charset(Charset charset) const;
    /// Converts from UTF-8 to the bytes of @p charset.
    /// @return the bytes, or the empty string if @p charset lacks a character of the text. @errors logged.
    String utf8_convert_to_charset(Charset charset) const;
    /// Prepares the conversion tables. `System` calls it before worker threads exist; further calls do
    /// nothing.
    static void utf8_init_charset_conversion();
    /// Creates the standard locale of @p charset.
    /// @param silent  whether to log nothing on failure.
    /// @return false if the id is unknown or the platform has no such locale, with @p locale unchanged.
    static bool getLocaleFromCharset(int charset, std::locale& locale, bool silent);
    /// Removes the ISO 2022 escape sequences that switch a repertoire.
    String remove_escape_langchange() const;

    // --- Translation; defined in foundation/locale ---------------------------------------------------------

    /// Replaces each `{tr:key}` with its translation and keeps other control codes.
    /// @param language  null means the language of `System`.
    String applyTrOnlyControlCodes(const char* language) const;
    /// Returns the text of markup without control codes: translations are inserted, the ends of lines become
    /// line feeds, spacers become spaces and tabs tab characters; all other codes are removed. Defined in
    /// text/engine/plain_text.cpp.
    String transformControlCodesToPlainText(const char* language) const;

    /// Compares bytes; null means the empty text.
    template <internal::CharacterPointer Text>
    friend bool operator==(const String& a, const Text& b) noexcept {
        return a.view() == SmartCStr(b).view();
    }
    /// Orders by unsigned bytes, the shorter text first at a common prefix; null means the empty text.
    template <internal::CharacterPointer Text>
    friend std::strong_ordering operator<=>(const String& a, const Text& b) noexcept {
        return a.view() <=> SmartCStr(b).view();
    }

private:
    std::string_view view() const { return *this; }
};

namespace internal {

/// Types that can be concatenated with a String.
template <typename T>
concept StringPart = std::same_as < std::remove_cvref_t<T>,
char > || std::convertible_to<T, SmartCStr>;

/// Returns the first string of a concatenation; takes over the memory of a temporary.
template <typename T>
String beginOfText(T&& part) {
    if constexpr (std::same_as<std::remove_cvref_t<T>, char>) {
        return String(1, part);
    } else {
        return String(std::forward<T>(part));
    }
}

/// Appends a part of a concatenation.
template <typename T>
void appendPart(String& text, const T& part) {
    if constexpr (std::same_as<T, char> || std::derived_from<T, std::string>) {
        text += part;
    } else if constexpr (requires { part.view(); }) {
        text.append(part.view());
    } else {
        text.append(SmartCStr(part).view());
    }
}

template <typename T>
concept IsString = std::same_as<std::remove_cvref_t<T>, String>;

} // namespace internal

/// Concatenates a String and any text or character, in either order.
template <internal::StringPart A, internal::StringPart B>
requires internal::IsString<A> || internal::IsString<B> String operator+(A&& a, B&& b) {
    String text = internal::beginOfText(std::forward<A>(a));
    internal::appendPart(text, b);
    return text;
}

} // namespace qel

/// Makes String a key of the unordered containers. With std::equal_to<> they also find a key by a view of its
/// bytes, without a copy.
template <>
struct std::hash<qel::String> {
    using is_transparent = void; ///< States that views are hashed as the strings they view.
    /// Hashes the bytes.
    std::size_t operator()(std::string_view text) const noexcept {
        return std::hash<std::string_view>()(text);
    }
};
