// Numbers and lengths as text for people, the same under every locale.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <cstdarg>

namespace qel::util {

/// A number of bytes with a decimal unit: "999 B", "1.5 kB", "20.0 GB", up to EB. Bytes are whole, larger
/// units have one decimal; a value that would round up to 1000.0 takes the next unit.
QEL_API String stringFormatWithBytesUnit1000(uint64 bytes);
/// A number of bytes with a binary unit: "1023 B", "1.5 KiB", "15.6 GiB", up to EiB. As the decimal form.
QEL_API String stringFormatWithBytesUnit1024(uint64 bytes);
/// A number of bits with a decimal unit: "999 bit", "1.5 kbit", up to Ebit. As the form for bytes.
QEL_API String stringFormatWithBitsUnit1000(uint64 bits);

/// A length with its unit and two decimals: "12.34 mm".
/// @param mm        millimetres.
/// @param autoUnit  false: always "mm". True: "µm" below 1 mm, "mm" below 10 mm, "cm" below 1 m, "m" below
///                  1 km, else "km"; the sign does not count, and zero is in mm.
QEL_API String stringFormatLengthWithMMUnit(double mm, bool autoUnit);

/// Formats as vsprintf does, into a string of any length, with "." as the decimal point.
/// @param format     flags, width, precision, length modifiers and the conversions d i u o x X c s p a A e E
///                   f F g G and %. A conversion that is not among them ends the text there, since what
///                   its argument would be is not known; so does null.
/// @param arguments  must fit the format; a null text prints as "(null)".
QEL_API String stringFormat_valist(const char* format, va_list arguments);

} // namespace qel::util
