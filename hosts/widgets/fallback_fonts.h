// Fonts for the scripts that the fonts of the theme lack.
#pragma once

namespace qelwidgets {

/// Makes the system's font for Chinese, Japanese and Korean a resource if it is installed.
void addSystemFonts();

/// Lets all fonts of the theme ask those of other scripts for the glyphs that they lack, and
/// lets them join their letters.
void setFallbackFonts();

} // namespace qelwidgets
