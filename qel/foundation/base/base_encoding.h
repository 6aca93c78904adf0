// Base 16 and base 64 over raw memory (alphabets of RFC 4648).
//
// The contents of the output are unspecified after a failed decode. Input and output must not overlap.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <cstddef>

namespace qel::util {

/// Returns the number of characters that @p n bytes take in base 64, with or without padding to a multiple of
/// four.
constexpr size_t getBase64EncodedSize(size_t n, bool padding) {
    return padding ? n / 3 * 4 + (n % 3 != 0 ? 4 : 0) : n / 3 * 4 + (n % 3 * 8 + 5) / 6;
}

/// Writes @p n bytes as 2 * @p n upper-case hexadecimal digits. No terminating zero.
/// @threads any thread, as all functions here.
QEL_API void encodeBase16(uint8* out, const uint8* in, size_t n);

/// Reads @p n hexadecimal digits, of either case, into @p n / 2 bytes.
/// @return false if @p n is odd (@p out is then untouched) or a character is not a hexadecimal digit.
QEL_API bool decodeBase16(uint8* out, const uint8* in, size_t n);

/// Writes @p n bytes in base 64 with "+" and "/": getBase64EncodedSize() characters, no terminating zero.
QEL_API void encodeBase64(uint8* out, const uint8* in, size_t n, bool padding);

/// Reads @p n characters of base 64 with "+" and "/" into (characters before the first "=") * 3 / 4 bytes.
/// The first "=" ends the data. Unused bits of the last character are ignored.
/// @return false if a character is outside the alphabet, or anything but "=" follows the first "=".
QEL_API bool decodeBase64(uint8* out, const uint8* in, size_t n);

/// As encodeBase64(), with "-" and "_" in the alphabet.
QEL_API void encodeBase64url(uint8* out, const uint8* in, size_t n, bool padding);

/// As decodeBase64(), with "-" and "_" in the alphabet.
QEL_API bool decodeBase64url(uint8* out, const uint8* in, size_t n);

} // namespace qel::util
