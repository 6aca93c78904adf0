// ShapingRun and ShapedRun: what a host's shaper gets and what it returns (Font::delegateShapeRun).
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/types.h>

#include <span>

namespace qel {

class Font;

/// Adjacent characters and spaces of one font, one style and one direction on one line, in the order in which
/// they were written.
struct ShapingRun {
    Font* font = nullptr;               ///< the font that draws the run
    std::span<const uint32> codePoints; ///< the characters; valid during the call
    bool isRightToLeft = false;         ///< true if the run is drawn from the right to the left
};

/// A glyph that a shaper chose.
struct ShapedGlyph {
    uint32 character = 0; ///< index in ShapingRun::codePoints of the character that the glyph belongs to
    uint32 index = 0;     ///< number of the glyph for Font::getGlyph(); 0 means the character's usual glyph
    float x = 0;          ///< from the pen in front of the character to the right, in pixels
    float y = 0;          ///< from the baseline upwards, in pixels
};

/// The glyphs of a run. A character may have several glyphs or no glyph; the first one of a ligature has its
/// glyph and its advance, and the others have an advance of 0.
struct ShapedRun {
    Vector<float> advances;     ///< pixels by which the pen moves on, one for each character of the run
    Vector<ShapedGlyph> glyphs; ///< in the order of their characters
};

} // namespace qel
