// ShapingRun and ShapedRun: what a host's shaper gets and what it returns (Font::delegateShapeRun).
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/types.h>

#include <span>

namespace qel {

class Font;

/// Adjacent characters and spaces of one font, one style and one direction on one line, in the order in which
/// they were written. Codes for colours, lines below the text and bars do not end a run.
struct ShapingRun {
    Font* font = nullptr;               ///< the font that draws the run
    std::span<const uint32> codePoints; ///< the characters; valid during the call
    bool isRightToLeft = false;         ///< true if the run is drawn from the right to the left
};

/// A glyph that a shaper chose.
struct ShapedGlyph {
    uint32 character = 0; ///< index in ShapingRun::codePoints of the character that the glyph belongs to
    /// Number of the glyph for Font::getGlyph(). The character's usual glyph is drawn for 0, and for a number
    /// that the font does not have.
    uint32 index = 0;
    /// From the pen in front of the character to the origin of the glyph, in pixels to the right. In a run
    /// from right to left the pen is at the right edge of the character, so that x is usually minus the
    /// advance.
    float x = 0;
    float y = 0; ///< from the baseline upwards, in pixels
};

/// The glyphs of a run. A character may have several glyphs or no glyph; the first one of a ligature has its
/// glyph and its advance, and the others have an advance of 0.
///
/// Lengths that are not numbers count as 0, and those beyond 32767 as 32767. Glyphs of characters that do not
/// exist, glyphs that are out of order, and glyphs beyond a total of 32 per character are ignored.
struct ShapedRun {
    /// Pixels by which the pen moves on, one for each character of the run; with another number of advances
    /// the run is not shaped. The sums of advances are rounded to whole pixels.
    Vector<float> advances;
    Vector<ShapedGlyph> glyphs; ///< in the order of their characters
};

} // namespace qel
