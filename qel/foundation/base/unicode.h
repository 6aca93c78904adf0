// Properties of single code points, and checks of UTF-8.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <string_view>

namespace qel::util {

/// Returned by the two code page 1252 functions where the page has no character.
inline constexpr uint32 kNoCodePoint = 0xFFFFFFFF;

/// Returns the code point of byte @p byte of Windows code page 1252; kNoCodePoint for 0x81, 0x8D, 0x8F, 0x90,
/// 0x9D and above 255. Source: unicode.org, Public/MAPPINGS/VENDORS/MICSFT/WINDOWS/CP1252.TXT.
QEL_API uint32 unicode_from_cp1252(uint32 byte);
/// Returns the byte of code page 1252 for @p codePoint, or kNoCodePoint.
QEL_API uint32 cp1252_from_unicode(uint32 codePoint);

/// Returns the lower-case partner of @p codePoint, or itself. Partners are the pairs whose simple mappings in
/// the Unicode Character Database lead to each other; so dotless i, sharp s and final sigma have no partner.
QEL_API uint32 unicode_tolower(uint32 codePoint);
/// Returns the upper-case partner of @p codePoint, or itself; see unicode_tolower().
QEL_API uint32 unicode_toupper(uint32 codePoint);

/// Returns whether @p codePoint is a control character, a space or otherwise invisible: up to 32, 127 to 160,
/// and the soft hyphen (173). Negative values are not.
QEL_API bool unicode_is_special_character(int32 codePoint);
/// Returns whether @p codePoint is below 256 or a character of Windows code page 1252.
QEL_API bool unicode_is_western_european(uint32 codePoint);

/// Returns whether all of @p text is well-formed UTF-8 (RFC 3629). NUL is a character like any other.
QEL_API bool utf8_is_valid(std::string_view text);

} // namespace qel::util
