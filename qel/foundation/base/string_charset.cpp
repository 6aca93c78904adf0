// The members of String that convert between UTF-8 and the character sets of imaging data.
#include <qel/foundation/base/charset.h>
#include <qel/foundation/base/log_line.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/charset_converter.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace qel {

namespace {

constexpr int kErrorLevel = 3;

struct CharsetRow {
    const char* locale;
    const char* encoding;
};

/// Indexed by id; a gap is an unknown id. enum Charset documents the encodings.
constexpr CharsetRow kCharsets[] = {
    {"C", "UTF-8"},
    {"C", "ISO-8859-1"},
    {"cs_CZ", "ISO-8859-2"},
    {"tr_TR", "ISO-8859-3"},
    {"lt_LT", "ISO-8859-4"},
    {"ru_RU", "ISO-8859-5"},
    {"ar_AE", "ISO-8859-6"},
    {"el_GR", "ISO-8859-7"},
    {"he_IL", "ISO-8859-8"},
    {"tr_TR", "ISO-8859-9"},
    {},
    {},
    {},
    {},
    {},
    {},
    {},
    {"th_TH", "TIS-620"},
    {"ja_JP", "CP932"},
    {"ja_JP", "EUC-JP"},
    {"ja_JP", "EUC-JP"},
    {"zh_CN", "GB18030"},
    {"zh_CN", "GB18030"},
    {"zh_CN", "GBK"},
    {"ko_KR", "UHC"},
};

/// Code points of the bytes 0xA0 to 0xFF in ISO 8859-2; lower bytes equal their code points.
constexpr std::array<uint16, 96> kLatin2Upper = {
    0x0A0, 0x104, 0x2D8, 0x141, 0x0A4, 0x13D, 0x15A, 0x0A7, 0x0A8, 0x160, 0x15E, 0x164, 0x179, 0x0AD,
    0x17D, 0x17B, 0x0B0, 0x105, 0x2DB, 0x142, 0x0B4, 0x13E, 0x15B, 0x2C7, 0x0B8, 0x161, 0x15F, 0x165,
    0x17A, 0x2DD, 0x17E, 0x17C, 0x154, 0x0C1, 0x0C2, 0x102, 0x0C4, 0x139, 0x106, 0x0C7, 0x10C, 0x0C9,
    0x118, 0x0CB, 0x11A, 0x0CD, 0x0CE, 0x10E, 0x110, 0x143, 0x147, 0x0D3, 0x0D4, 0x150, 0x0D6, 0x0D7,
    0x158, 0x16E, 0x0DA, 0x170, 0x0DC, 0x0DD, 0x162, 0x0DF, 0x155, 0x0E1, 0x0E2, 0x103, 0x0E4, 0x13A,
    0x107, 0x0E7, 0x10D, 0x0E9, 0x119, 0x0EB, 0x11B, 0x0ED, 0x0EE, 0x10F, 0x111, 0x144, 0x148, 0x0F3,
    0x0F4, 0x151, 0x0F6, 0x0F7, 0x159, 0x16F, 0x0FA, 0x171, 0x0FC, 0x0FD, 0x163, 0x2D9,
};

/// The escape sequences that switch a repertoire (ISO 2022), without their ESC.
constexpr std::string_view kLanguageSwitches[] = {
    "(B", "-A", "-B", "-C", "-D", "-M",  "-L",  "-G",  "-F",  "-H",  "-T",
    "(I", ")I", ")J", "(J", "$B", "$(D", "$)D", "$)C", "$)B", "$)A", "$(C",
};

/// A single-byte character set with its tables of both directions, which the compiler creates.
struct ByteCharset {
    std::array<uint32, 256> toUnicode;
    std::array<std::pair<uint32, uint8>, 256> fromUnicode; // sorted

    template <typename CodePointOf>
    constexpr explicit ByteCharset(CodePointOf codePointOf) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            toUnicode[byte] = codePointOf(byte);
            fromUnicode[byte] = {toUnicode[byte], static_cast<uint8>(byte)};
        }
        std::sort(fromUnicode.begin(), fromUnicode.end());
    }

    String decode(const String& bytes) const {
        String text;
        text.reserve(bytes.size());
        for (const char c : bytes) text.utf8_append(toUnicode[static_cast<uint8>(c)]);
        return text;
    }

    /// @return false if the set lacks a character of @p text.
    bool encode(const String& text, String& bytes) const {
        for (const uint32 codePoint : text.utf8_to_unicode()) {
            const auto found =
                std::lower_bound(fromUnicode.begin(), fromUnicode.end(), std::pair(codePoint, uint8{0}));
            if (found == fromUnicode.end() || found->first != codePoint) return false;
            bytes.push_back(static_cast<char>(found->second));
        }
        return true;
    }
};

constexpr ByteCharset kLatin1([](unsigned byte) -> uint32 { return byte; });
constexpr ByteCharset kLatin2([](unsigned byte) -> uint32 {
    return byte < 0xA0 ? byte : kLatin2Upper[byte - 0xA0];
});

/// Returns the byte table of an id, or null if the system converts it.
const ByteCharset* findByteCharset(Charset charset) {
    if (charset == Charset::Latin1) return &kLatin1;
    if (charset == Charset::Latin2) return &kLatin2;
    return nullptr;
}

const CharsetRow* findCharset(int id, bool silent) {
    if (id >= 0 && id < static_cast<int>(std::size(kCharsets)) && kCharsets[id].locale) return &kCharsets[id];
    if (!silent) internal::logLine(kErrorLevel, "Unsupported locale or charset ID");
    return nullptr;
}

void logDecodeFailure(Charset charset, platform::CharsetResult result) {
    if (result == platform::CharsetResult::UnknownEncoding) {
        internal::logLine(kErrorLevel, "Unsupported codevt facet");
        return;
    }
    const char* reason = result == platform::CharsetResult::IncompleteCharacter
                             ? "error: codecvt NOCONV - wrong enconding or char"
                             : "error: codecvt ERROR";
    internal::logLine(kErrorLevel,
                      "utf8 convert from charset " + std::to_string(static_cast<int>(charset)) + reason);
}

bool encodeBySystem(const char* encoding, const String& text, String& bytes) {
    return platform::convertCharset("UTF-8", encoding, text.utf8_fix(), bytes) ==
           platform::CharsetResult::Done;
}

/// Returns the length of the switching sequence at the beginning of @p text, or 0.
size_t getLanguageSwitchLength(std::string_view text) {
    if (text.empty() || text[0] != '\x1b') return 0;
    const auto* found = std::find_if(std::begin(kLanguageSwitches), std::end(kLanguageSwitches),
                                     [&](std::string_view s) { return text.substr(1).starts_with(s); });
    return found == std::end(kLanguageSwitches) ? 0 : 1 + found->size();
}

} // namespace

void String::utf8_init_charset_conversion() {
    // The tables are constants.
}

bool String::getLocaleFromCharset(int charset, std::locale& locale, bool silent) {
    const CharsetRow* row = findCharset(charset, silent);
    if (!row) return false;
    try {
        locale = std::locale(row->locale);
        return true;
    } catch (const std::runtime_error&) { // the platform has no such locale
        if (!silent) internal::logLine(kErrorLevel, std::string("locale =") + row->locale);
        return false;
    }
}

String String::remove_escape_langchange() const {
    String kept;
    kept.reserve(size());
    for (size_t i = 0; i < size();) {
        const size_t skipped = getLanguageSwitchLength(std::string_view(*this).substr(i));
        if (skipped == 0) kept.push_back((*this)[i]);
        i += skipped != 0 ? skipped : 1;
    }
    return kept;
}

String String::utf8_convert_from_charset(Charset charset) const {
    if (empty()) return {};
    if (charset == Charset::Utf8) return utf8_fix();
    if (const ByteCharset* bytes = findByteCharset(charset)) return bytes->decode(*this);
    const CharsetRow* row = findCharset(static_cast<int>(charset), false);
    if (!row) return {};
    String text;
    const auto result = platform::convertCharset(row->encoding, "UTF-8", remove_escape_langchange(), text);
    if (result == platform::CharsetResult::Done) return text;
    logDecodeFailure(charset, result);
    return {};
}

String String::utf8_convert_to_charset(Charset charset) const {
    if (empty()) return {};
    if (charset == Charset::Utf8) return utf8_fix();
    const CharsetRow* row = findCharset(static_cast<int>(charset), false);
    if (!row) return {};
    String bytes;
    const ByteCharset* table = findByteCharset(charset);
    const bool isDone = table ? table->encode(*this, bytes) : encodeBySystem(row->encoding, *this, bytes);
    if (isDone) return bytes;
    internal::logLine(kErrorLevel, "Encoding codevt conversion error");
    return {};
}

} // namespace qel
