// Colours as text: names and hexadecimal digits.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel::util {

/// Returns the colour that @p text names, packed with red in the lowest byte.
///
/// The letters' case does not matter. The web colours are tried first, then the names of the user interface,
/// such as "primary" and "gray50", then hexadecimal digits without a hash sign.
/// @param alpha  of a web colour or of 3 or 6 digits, limited to 0 to 1; "transparent" stays transparent. The
///               names of the user interface are opaque, and 4 and 8 digits state their own alpha.
/// @return all bits set, which is opaque white, for an unknown text.
/// @threads any thread.
QEL_API uint32 getColorFromString(SmartCStr text, float alpha);

/// Reads 3, 4, 6 or 8 hexadecimal digits: red, green, blue and perhaps alpha.
/// @param alpha  used with 3 or 6 digits, limited to 0 to 1.
/// @return false, with @p out unchanged, for any other text.
/// @threads any thread.
QEL_API bool getColorFromHexString(SmartCStr text, IVec4<float>& out, float alpha = 1.0f);

/// Looks up a colour name of CSS Color Module Level 4 or "transparent"; the letters' case does not matter.
/// @return false, with @p out unchanged, if there is no such name.
/// @threads any thread.
QEL_API bool getColorFromWebColor(SmartCStr name, IVec4<float>& out);

/// Returns the opaque colour of three bytes.
QEL_API IVec4<float> getColorFromRGBBytes(uint8 red, uint8 green, uint8 blue);

/// Converts hue, saturation and value, each from 0 to 1, to red, green and blue. A hue outside of that range
/// wraps around; the other two are limited to it.
QEL_API IVec3<float> convertHSVtoRGB(const IVec3<float>& hsv);

} // namespace qel::util
