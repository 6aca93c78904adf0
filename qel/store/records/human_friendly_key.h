// HumanFriendlyKey: short keys for reading aloud and typing.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// A codec for keys that users read aloud and type, in the alphabet of Crockford's base 32 (Douglas
/// Crockford, "Base 32"): digits and upper-case letters without I, L, O and U. Decoding also accepts lower
/// case, the letter O for 0, and I and L for 1.
///
/// A number of 20 bits has four characters, the lowest five bits first. A value of 80 bits has four blocks of
/// five characters joined by "-"; the fifth character of a block is the exclusive or of the other four, so
/// every single wrong character is detected, and also its block.
/// @threads any thread, for all functions.
class QEL_API HumanFriendlyKey : public Object {
    QEL_CLASS(HumanFriendlyKey, Object)

public:
    /// The length of the text of an 80-bit value.
    static constexpr std::size_t kTextLength80Bit = 23;

    /// Encodes the low 20 bits of @p value as four characters.
    static String encode20Bit(int value);
    /// Decodes the first four characters of @p text; the rest is ignored.
    /// @return 0 to 1,048,575, or -1 if one of the four is invalid or missing.
    static int decode20Bit(const char* text);

    /// Encodes the 10 bytes at @p bytes as 23 characters, such as "1G06Q-02M0P-6R1GF-G481X".
    static String encode80BitIntoFourBlocks(const uint8* bytes);
    /// Decodes the text of encode80BitIntoFourBlocks() into the 10 bytes at @p bytes.
    /// @return 0 on success; otherwise @p bytes is unchanged, and the result is the number, 1 to 4, of the
    /// first bad block, or -1 if the text is not 23 characters long or a "-" is not in its place.
    static int decode80BitFromFourBlocks(uint8* bytes, const char* text);

    /// Fills the script class @p cls. Defined in human_friendly_key_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);
};

} // namespace qel
