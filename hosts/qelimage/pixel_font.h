// A small font for the captions of contact sheets.
#pragma once

#include <qel/imaging/pixels/image.h>

#include <string_view>

namespace qelimage {

/// The height of a line of text: seven pixels for capital letters, and two below them.
inline constexpr int kTextHeight = 9;

/// Draws a text as an A8 picture that is kTextHeight pixels high. Characters other than those of ASCII are
/// boxes. Of a text that is too wide the middle is replaced by dots.
/// @param longestWidth  in pixels.
qel::Image drawText(std::string_view text, int longestWidth);

} // namespace qelimage
