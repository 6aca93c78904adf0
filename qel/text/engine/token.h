// Token: what a text consists of after its markup has been read.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/text/fonts/font.h>

#include <bit>

namespace qel {

/// A character, a space or an instruction of a text.
struct Token {
    /// What a token is. The comment states what its value holds.
    enum class Type : uint8 {
        Character = 0,      ///< the code point
        Font = 1,           ///< nothing; the font is a member of its own
        FontStyle = 2,      ///< a FontStyle
        Color = 3,          ///< a packed colour, red in the lowest byte
        Space = 4,          ///< the code point 32
        LineEnd = 5,        ///< nothing
        ParagraphEnd = 6,   ///< nothing
        TextEnd = 7,        ///< nothing
        Tab = 8,            ///< a float, the distance between tab stops in line heights
        Spacer = 9,         ///< a float, the width in line heights
        PushMargin = 10,    ///< nothing: wrapped lines start at the pen from now on
        PopMargin = 11,     ///< nothing
        LineAlignment = 12, ///< -1 none, 0 centre, 1 left, 2 right
        BarBegin = 13,      ///< nothing: a bar in the background starts
        BarEnd = 14,        ///< a packed colour
        Bold = 15,          ///< a bool, which the layout ignores
        Underline = 16,     ///< a bool
        TabStop = 17,       ///< a float, the position in pixels
    };

    SmartPointer<qel::Font> font; ///< null but for Type::Font
    uint32 value = 0;             ///< as stated by the type
    uint32 sourceIndex = 0;       ///< of the character in the text that was read, in code points
    int32 mirrorSum = 0;          ///< left plus right edge of the run from right to left; set by the layout
    Type type = Type::Character;  ///< what the token is
    bool rightToLeft = false;     ///< set by the bidirectional pass

    /// Returns the value as a float.
    float asFloat() const { return std::bit_cast<float>(value); }
    /// Returns the value as a signed number.
    int32 asInt() const { return static_cast<int32>(value); }
    /// Stores a float as the value.
    void setFloat(float number) { value = std::bit_cast<uint32>(number); }
};

} // namespace qel
