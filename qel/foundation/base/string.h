// The owning byte string of the framework; its content is UTF-8 by convention.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <concepts>
#include <locale>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qel {

class StringId;
struct ConstByteSpan;
enum class Charset : int;

/// A std::string with the text operations of the framework. It may hold any bytes. The `utf8_` operations
/// count in code points and never fail: a byte that does not decode is read as one character of Windows
/// code page 1252 (the lenient reading), or as U+FFFD where that page has none. A NUL ends their walks as
/// if the text ended there. Unless told otherwise an operation leaves the string alone and returns a new one.
/// @threads a value: one thread at a time, nothing is shared behind it.
class QEL_API String : public std::string {
public:
    using std::string::string;
    using std::string::operator=;

    /// What a reader returns when it has no code point to give: utf8_strict_parse() on broken bytes.
    static constexpr uint32 kNoCodePoint = 0xFFFFFFFF;

    /// The empty string.
    String() = default;
    /// @param text  may be null, which gives the empty string.
    String(const char* text) : String(SmartCStr(text)) {}
    /// The empty string.
    String(std::nullptr_t) {}
    /// Takes the bytes over unchanged.
    String(std::string text) noexcept : std::string(std::move(text)) {}
    /// Copies the text.
    String(SmartCStr text) : std::string(text.c_str()) {}
    /// Copies the bytes of the view.
    explicit String(std::string_view text) : std::string(text) {}
    /// Copies an interned text, NUL bytes included. Defined in string_id.h.
    String(const StringId& text);

    /// @param text  may be null, which gives the empty string.
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

    /// "String".
    static const char* getStaticClassName() { return "String"; }

    /// The same bytes as the standard type.
    std::string to_std_string() const { return *this; }
    /// The bytes without the terminating NUL. @owner valid until the string changes. @see byte_span.h
    ConstByteSpan getConstByteSpan() const;
    /// The bytes and the terminating NUL. @owner valid until the string changes. @see byte_span.h
    ConstByteSpan getConstByteSpanWithNullTerminator() const;

    // --- Text as bytes ---------------------------------------------------------------------------------

    /// As std::string::substr. @errors std::out_of_range when @p position lies behind the end.
    String substr(size_type position = 0, size_type count = npos) const {
        return String(std::string_view(*this).substr(position, count));
    }
    /// Appends @p text to a list: first @p separator, when the string so far is not empty, then the text.
    /// @param separator  null means none.
    /// @param text       when empty, nothing at all is appended.
    void append_separator(const char* separator, SmartCStr text);
    /// Whether the string starts with @p text; every string starts with the empty one.
    bool begins_with(SmartCStr text) const { return view().starts_with(text.view()); }
    /// Whether the string starts with @p c.
    bool begins_with(char c) const { return view().starts_with(c); }
    /// Whether the string ends with @p text; every string ends with the empty one.
    bool ends_with(SmartCStr text) const { return view().ends_with(text.view()); }
    /// Whether the string ends with @p c.
    bool ends_with(char c) const { return view().ends_with(c); }
    /// Whether @p text occurs anywhere; the empty one always does.
    bool contains(SmartCStr text) const { return view().find(text.view()) != npos; }
    /// Whether @p c occurs anywhere.
    bool contains(char c) const { return view().find(c) != npos; }
    /// Whether the last byte is a line feed or a carriage return.
    bool ends_with_newline() const { return ends_with('\n') || ends_with('\r'); }

    /// Replaces, in place, each occurrence of @p from, left to right, never looking into what it has put in.
    /// @return the number of replacements; 0 for an empty @p from.
    unsigned replace_all(SmartCStr from, SmartCStr to);
    /// The string after replace_all().
    String replace_all_copy(SmartCStr from, SmartCStr to) const;

    /// The pieces between the separators, empty ones kept: n separators make n + 1 pieces. The empty string
    /// has no piece.
    Vector<String> split(char separator) const;
    /// Fills @p pieces, whose old content goes, as split(char) does.
    void split(Vector<String>& pieces, char separator) const;
    /// Fills @p pieces, whose old content goes, with the pieces between the separators, as split(char) does.
    /// @param separator  the empty one never occurs.
    void splitByString(Vector<String>& pieces, SmartCStr separator) const;

    /// Without the blanks (character 32 only) at both ends.
    String trim_spaces() const;
    /// Without blanks, line feeds and carriage returns at both ends.
    String trim_spaces_newlines() const;
    /// Without leading "0" characters; a string of zeros alone gives the empty string.
    String trim_leading_zeros() const;

    /// FNV-1a with the 32-bit parameters carried out in 64 bits, so that the upper half is filled too. The
    /// empty string gives 0x811C9DC5. Source: Fowler, Noll, Vo, "FNV Non-Cryptographic Hash Algorithm".
    uint64 hash() const { return hash(data(), size()); }
    /// The hash of @p length bytes at @p text.
    static uint64 hash(const char* text, std::size_t length);

    /// Compares so that runs of decimal digits count by their value: "a9" sorts before "a10". Case counts.
    /// Where one text has a digit and the other has none, the digit comes first; runs count modulo 2^32.
    /// @return negative, 0 or positive; the difference of the values or bytes that decide, held inside int.
    static int natural_compare(SmartCStr a, SmartCStr b);

    /// A check of form for what people type; the text must have 1 to 512 bytes.
    /// @param kind  0: a mail address, which is ".+@.+\..+" as a regular expression over the whole text;
    ///              1: a telephone number, which is digits, "+", "-", "/", "(", ")" and blanks;
    ///              any other kind gives false.
    bool validate(int kind) const;

    /// The bytes as text for people: lines of 16 bytes, each with its offset in hexadecimal, ": ", the bytes
    /// and their printable form, and a line feed. No bytes give the empty string.
    static String createHexDumpFromBuffer(ConstByteSpan bytes);

    /// Reads a whole file into the string. Defined in files/string_file.cpp.
    /// @return true on success. @errors logged by Buffer::loadFromFile; the string then stays as it is.
    bool loadFromFile(SmartCStr path);
    /// Writes the bytes to a file. Defined in files/string_file.cpp. @return what File::writeFile returns.
    bool saveToFile(SmartCStr path) const;

    // --- UTF-8 in code points --------------------------------------------------------------------------

    /// The number of code points.
    std::size_t utf8_size() const;
    /// The code point at index @p index, or 0 past the end.
    uint32 utf8_at(std::size_t index) const;
    /// @p count code points from index @p start on; -1 means all. Positions past the end give what is there.
    /// The bytes are copied as they stand, broken ones included.
    String utf8_substr(std::size_t start, int count = -1) const;
    /// The place of the code point at index @p index: where the text ends, if it has no more than that.
    const_iterator utf8_get_iterator_at(std::size_t index) const;
    /// Reads one code point leniently and steps over it. @return 0 at the end, without a step.
    /// @param position  an iterator of this string, the end included.
    uint32 utf8_parse(const_iterator& position) const;
    /// As utf8_parse(), without the step.
    uint32 utf8_peek(const_iterator position) const;
    /// Reads one code point and steps over it. @return 0 at the end; kNoCodePoint, without a step, when the
    /// bytes there are no shortest-form encoding of a code point up to U+10FFFF, or are one of a surrogate.
    uint32 utf8_strict_parse(const_iterator& position) const;
    /// As utf8_strict_parse(), without the step.
    uint32 utf8_strict_peek(const_iterator position) const;
    /// Appends 1 to 4 bytes for @p codePoint, with no check for surrogates or the upper limit.
    void utf8_append(uint32 codePoint);
    /// The text as valid UTF-8, up to its first NUL: bytes that do not decode become what code page 1252
    /// makes of them, or U+FFFD.
    String utf8_fix() const;
    /// Each code point in lower case, by the one-to-one pairs of the Unicode Character Database.
    String utf8_lowercase() const;
    /// Each code point in upper case, by the one-to-one pairs of the Unicode Character Database.
    String utf8_uppercase() const;
    /// The first code point in upper case, the rest as it stands.
    String utf8_capitalize() const;
    /// The string as it is when it has at most @p count code points; else the first (count - 5) / 2 of them,
    /// " ... ", and as many of the last. A @p count below 5 is taken as 5: the marker alone.
    String utf8_ellipsis(std::size_t count) const;
    /// Whether the text is digits 0 to 9 with at most one "," or "." and perhaps a "-" in front. So are the
    /// empty string and a lone "-".
    bool utf8_isnumeric() const;
    /// Whether a code point is special by util::unicode_is_special_character(); broken bytes are not.
    bool utf8_contains_special_characters() const;
    /// What the Unicode Bidirectional Algorithm (UAX #9) finds: bit 1 when the text holds a right-to-left
    /// run, and bit 0 too when it begins with one. So 0 is none, 2 some, 3 from the start.
    int utf8_rtl_flags() const;
    /// The code points.
    Vector<uint32> utf8_to_unicode() const;
    /// The text in UTF-16; code points above U+FFFF become surrogate pairs.
    Vector<uint16> utf8_to_utf16() const;
    /// The text in wide characters: UTF-32, or UTF-16 where wchar_t has 16 bits.
    std::wstring utf8_to_std_wstring() const;
    /// Code points below 128 as they stand, "?" for each other.
    String ascii_fix() const;
    /// Code points 32 to 126 as they stand, "?" for each other.
    String ascii_fix_remove_controlcodes() const;

    // --- Base 16, base 64 and percent forms; defined in string_encoding.cpp ------------------------------

    /// Two upper-case hexadecimal digits for each byte.
    String encodeBase16() const;
    /// The bytes of hexadecimal text of either case, up to their first NUL; empty for an odd length or a
    /// character outside the alphabet. Binary content goes through decodeBase16toBuffer().
    String decodeBase16() const;
    /// Two upper-case hexadecimal digits for each of @p size bytes.
    static String encodeBase16fromBuffer(const uint8* bytes, std::size_t size);
    /// Decodes into @p bytes. @param size  must be exactly half the length. @return false on any failure.
    bool decodeBase16toBuffer(uint8* bytes, std::size_t size) const;
    /// Half the length, or -1 when the length is odd.
    int64 getDecodeBase16Size() const;

    /// Base 64 in the standard alphabet (RFC 4648, section 4) without padding.
    String encodeBase64() const;
    /// Base 64 in the standard alphabet with "=" up to a multiple of four characters.
    String encodeBase64WithPadding() const;
    /// Base 64 of @p size bytes in the standard alphabet.
    static String encodeBase64fromBuffer(const uint8* bytes, std::size_t size, bool padding);
    /// The bytes of base-64 text, with or without padding; empty on failure.
    String decodeBase64() const;
    /// Decodes into @p bytes. @param size  must be getDecodeBase64Size(). @return false on any failure.
    bool decodeBase64toBuffer(uint8* bytes, std::size_t size) const;
    /// The number of bytes that the text decodes to, told from its length and trailing "=".
    int64 getDecodeBase64Size() const;

    /// Base 64 in the URL-safe alphabet (RFC 4648, section 5) without padding.
    String encodeBase64url() const;
    /// Base 64 of @p size bytes in the URL-safe alphabet.
    static String encodeBase64urlFromBuffer(const uint8* bytes, std::size_t size, bool padding);
    /// As decodeBase64(), in the URL-safe alphabet.
    String decodeBase64url() const;
    /// As decodeBase64toBuffer(), in the URL-safe alphabet.
    bool decodeBase64urlToBuffer(uint8* bytes, std::size_t size) const;

    /// Self-checking text: four characters for the low 24 bits of the CRC-32C, then the data, all in the
    /// URL-safe alphabet without padding.
    String encodeBase64crc() const;
    /// As encodeBase64crc(), of @p size bytes.
    static String encodeBase64crcFromBuffer(const uint8* bytes, std::size_t size);
    /// The data of self-checking text; empty when it is broken.
    String decodeBase64crc() const;
    /// Decodes into @p bytes. @param size  must be getDecodeBase64crcSize(). @return false when broken.
    bool decodeBase64crcToBuffer(uint8* bytes, std::size_t size) const;
    /// The number of data bytes, or -1 below four characters.
    int64 getDecodeBase64crcSize() const;

    /// "%" and two upper-case hexadecimal digits for every byte up to the first NUL.
    String encodeUrlBase16() const;
    /// The text with each "%" and the two digits behind it replaced by their byte.
    String decodeUrlBase16() const;

    // --- Escapes; defined in string_escape.cpp -----------------------------------------------------------

    /// "&", double quote, "<" and ">" as "&amp", "&quot", "&lt" and "&gt", without a semicolon.
    String utf8_escape_html() const;
    /// ASCII letters, digits, "-", "_", "." and "~" as they stand, every other byte as "%" and two digits.
    String utf8_escape_url() const;
    /// A backslash in front of each backslash and single quote.
    String utf8_escape_php() const;
    /// "_" in the place of tab, newline, return and each character that a file name can't hold.
    String utf8_escape_filepath() const;
    /// "{!" for each "{", which protects text from the control codes of the text engine.
    String utf8_escape_controlcode() const;

    // --- Character sets; defined in string_charset.cpp ---------------------------------------------------

    /// The text, whose bytes are in @p charset, as UTF-8. @errors logged.
    String utf8_convert_from_charset(Charset charset) const;
    /// The UTF-8 text in the bytes of @p charset. @errors logged.
    String utf8_convert_to_charset(Charset charset) const;
    /// Prepares the conversion tables; `System` calls it before worker threads exist. Further calls do
    /// nothing.
    static void utf8_init_charset_conversion();
    /// The standard locale whose repertoire belongs to @p charset. @return false for an unknown one, logged.
    static bool getLocaleFromCharset(int charset, std::locale& locale, bool silent);
    /// Without the ISO 2022 escape sequences that switch a repertoire.
    String remove_escape_langchange() const;

    // --- Translation; defined in foundation/locale ---------------------------------------------------------

    /// The text with each `{tr:key}` replaced by its translation; other control codes stay.
    /// @param language  null means the language of `System`.
    String applyTrOnlyControlCodes(const char* language) const;

private:
    std::string_view view() const { return *this; }
};

namespace internal {

/// What may stand beside a String in a concatenation.
template <typename T>
concept StringPart = std::same_as < std::remove_cvref_t<T>,
char > || std::convertible_to<T, SmartCStr>;

/// The string that a concatenation begins with; takes over the memory of a temporary.
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
    } else {
        text += SmartCStr(part).c_str();
    }
}

template <typename T>
concept IsString = std::same_as<std::remove_cvref_t<T>, String>;

} // namespace internal

/// A String on either side, any text or character on the other: gives a String.
template <internal::StringPart A, internal::StringPart B>
requires internal::IsString<A> || internal::IsString<B> String operator+(A&& a, B&& b) {
    String text = internal::beginOfText(std::forward<A>(a));
    internal::appendPart(text, b);
    return text;
}

} // namespace qel

/// Makes String a key of the unordered containers.
template <>
struct std::hash<qel::String> : std::hash<std::string> {};
