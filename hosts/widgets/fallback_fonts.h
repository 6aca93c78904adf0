// Fonts for the scripts that the fonts of the theme lack.
#pragma once

#include <qel/text/fonts/font.h>

namespace qelwidgets {

/// Makes the system's font for Chinese, Japanese and Korean a resource if it is installed.
void addSystemFonts();

/// Lets the theme's fonts of a style ask those of other scripts for the glyphs that they lack, and lets them
/// join their letters. New sizes take some milliseconds.
void setFallbackFonts(qel::FontStyle style);

} // namespace qelwidgets
