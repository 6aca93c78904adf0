// Shared by the plain and the vector form of the base encodings.
#pragma once

#include <qel/foundation/base/types.h>

#include <array>
#include <cstddef>

namespace qel::internal {

/// The value of a character outside an alphabet.
constexpr uint8 kNoDigit = 0xFF;

/// An alphabet of base 64, both ways.
struct Base64Alphabet {
    /// Characters by value.
    std::array<uint8, 64> digits{};
    /// Values by character; kNoDigit for those outside.
    std::array<uint8, 256> values{};

    // For the vector decoder, which looks at a character's two nibbles at once. Each high nibble belongs to a
    // class; lowNibbleFaults[low] has the bits of those classes in which this low nibble is no digit, so that
    // a character is a digit exactly when lowNibbleFaults[low] & classOfHighNibble[high] is 0. In all classes
    // value = character + offset, but for the last digit, whose offset has a slot of its own.

    /// The classes in which a low nibble is not a digit.
    std::array<uint8, 16> lowNibbleFaults{};
    /// The class of a high nibble, one bit.
    std::array<uint8, 16> classOfHighNibble{};
    /// What to add to a character of a high nibble; the last digit's slot is 8 above its high nibble.
    std::array<uint8, 16> offsets{};
    /// For the vector encoder: what to add to a value for its digit. Slot 0 is for lower case, 1 to 10 are
    /// for figures, 11 and 12 for the last two digits, and 13 is for upper case.
    std::array<uint8, 16> digitOffsets{};

    /// The standard order: upper case, lower case, figures, and two more.
    constexpr Base64Alphabet(char digit62, char digit63) {
        for (uint8 i = 0; i < 26; ++i) {
            digits[i] = static_cast<uint8>('A' + i);
            digits[26 + i] = static_cast<uint8>('a' + i);
        }
        for (uint8 i = 0; i < 10; ++i) digits[52 + i] = static_cast<uint8>('0' + i);
        digits[62] = static_cast<uint8>(digit62);
        digits[63] = static_cast<uint8>(digit63);
        values.fill(kNoDigit);
        for (uint8 i = 0; i < 64; ++i) values[digits[i]] = i;
        fillNibbleTables();
        digitOffsets[0] = static_cast<uint8>(digits[26] - 26);
        for (uint8 i = 1; i <= 12; ++i) digitOffsets[i] = static_cast<uint8>(digits[51u + i] - 51 - i);
        digitOffsets[13] = digits[0];
    }

private:
    constexpr void fillNibbleTables() {
        for (unsigned high = 0; high < 16; ++high) {
            // 0, 1 and 8 to 15 have no digits and share a class; the others have one each.
            classOfHighNibble[high] = static_cast<uint8>(high >= 2 && high < 8 ? 1u << (high - 2) : 0x80);
            for (unsigned low = 0; low < 16; ++low) {
                const uint8 character = static_cast<uint8>(high * 16 + low);
                const uint8 value = values[character];
                if (value == kNoDigit) {
                    lowNibbleFaults[low] |= classOfHighNibble[high];
                } else if (value != 63) {
                    offsets[high] = static_cast<uint8>(value - character);
                } else {
                    offsets[high + 8] = static_cast<uint8>(value - character);
                }
            }
        }
    }
};

// Vector forms. Each processes all whole blocks at the beginning, stays within the given memory, and returns
// how much of the input it has finished; the plain form does the rest.

/// @return bytes encoded; writes two characters per byte.
size_t encodeBase16Blocks(uint8* out, const uint8* in, size_t n);
/// Stops before the block of the first character that is not a digit.
/// @return characters decoded, an even number; writes one byte per two characters.
size_t decodeBase16Blocks(uint8* out, const uint8* in, size_t n);
/// @return bytes encoded, a multiple of 3; writes 4 characters for 3 bytes.
size_t encodeBase64Blocks(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet);
/// Stops before the block of the first character that is not a digit. @p out has n * 3 / 4 bytes.
/// @return characters decoded, a multiple of 4; writes 3 bytes for 4 characters.
size_t decodeBase64Blocks(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet);

} // namespace qel::internal
