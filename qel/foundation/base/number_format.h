// Numbers and lengths as text for people, the same under every locale.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <array>
#include <concepts>
#include <cstdarg>
#include <span>
#include <type_traits>
#include <variant>

namespace qel::util {

/// Formats a number of bytes with a decimal unit: "999 B", "1.5 kB", "20.0 GB", up to EB. Bytes are whole,
/// larger units have one decimal; a value that would round up to 1000.0 takes the next unit.
QEL_API String stringFormatWithBytesUnit1000(uint64 bytes);
/// Formats a number of bytes with a binary unit, in the same way: "1023 B", "1.5 KiB", "15.6 GiB", up to EiB.
QEL_API String stringFormatWithBytesUnit1024(uint64 bytes);
/// Formats a number of bits with a decimal unit, in the same way: "999 bit", "1.5 kbit", up to Ebit.
QEL_API String stringFormatWithBitsUnit1000(uint64 bits);

/// Formats a length with its unit and two decimals: "12.34 mm".
/// @param mm        the length in millimetres.
/// @param autoUnit  false: always "mm". True: "µm" below 1 mm, "mm" below 10 mm, "cm" below 1 m, "m" below
///                  1 km, else "km"; the sign is ignored, and zero is in mm.
QEL_API String stringFormatLengthWithMMUnit(double mm, bool autoUnit);

/// Formats as vsprintf does under the "C" locale, into a string of any length.
/// @param format     flags, width, precision, length modifiers and the conversions d i u o x X c s p a A e E
///                   f F g G and %. The text ends before the first conversion that is not among them, since
///                   the type of its argument is not known. Null is the empty text.
/// @param arguments  must fit the format.
/// @return the text; empty if it would exceed the range of int.
QEL_API String stringFormat_valist(const char* format, va_list arguments);

namespace internal {

/// A whole number as the signed and the unsigned conversions print it.
struct FormatInteger {
    long long asSigned;            ///< for d, i and c
    unsigned long long asUnsigned; ///< for o, u, x and X
};

/// One argument of stringFormat().
using FormatArgument = std::variant<FormatInteger, double, long double, const char*, const void*>;

/// What a value is to stringFormat(): the C library's promotions, with texts of any kind.
template <typename T>
FormatArgument toFormatArgument(const T& value) {
    if constexpr (std::is_enum_v<T>) {
        return toFormatArgument(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (std::integral<T>) {
        using Promoted = decltype(+value);
        return FormatInteger{static_cast<std::make_signed_t<Promoted>>(value),
                             static_cast<std::make_unsigned_t<Promoted>>(value)};
    } else if constexpr (std::same_as<T, long double>) {
        return value;
    } else if constexpr (std::floating_point<T>) {
        return static_cast<double>(value);
    } else if constexpr (std::convertible_to<const T&, SmartCStr>) {
        return SmartCStr(value).c_str();
    } else {
        return static_cast<const void*>(value);
    }
}

/// Formats @p arguments as stringFormat() does.
QEL_API String formatArguments(const char* format, std::span<const FormatArgument> arguments);

} // namespace internal

/// Formats as stringFormat_valist() does, with arguments whose types are known: whole numbers, enumerations,
/// floating-point numbers, pointers and texts of every kind. Length modifiers are accepted and not needed. A
/// null text prints as the empty one.
/// @return the text. @errors logged: it ends before the first conversion that is not known or does not fit
/// its
///         argument.
template <typename... Arguments>
String stringFormat(const char* format, const Arguments&... arguments) {
    const std::array<internal::FormatArgument, sizeof...(Arguments)> list = {
        internal::toFormatArgument(arguments)...};
    return internal::formatArguments(format, list);
}

} // namespace qel::util
