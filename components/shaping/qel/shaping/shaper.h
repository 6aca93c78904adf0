// connectShaper: joins the letters of Arabic, Devanagari and other scripts.
#pragma once

#include <qel/platform/api.h>

namespace qel {

class TrueTypeFont;

/// Lets HarfBuzz choose and place the glyphs of texts in @p font and in its fallback fonts, by the tables of
/// their files: letters that join, conjuncts, reordered vowels, marks, ligatures and kerning. Connects
/// Font::delegateShapeRun; disconnecting that ends it. The order of runs stays that of the layout.
///
/// The work for one file is limited: a file that needs far more time or glyphs than real ones is reported
/// as a warning, and texts in it are drawn without a shaper from then on.
/// @owner the connection keeps what it needs and ends with the font.
/// @threads main thread; call it before the font is used.
QEL_API void connectShaper(TrueTypeFont& font);

} // namespace qel
