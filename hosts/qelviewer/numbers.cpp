#include "numbers.h"

#include <qel/foundation/base/object.h>

#include <charconv>
#include <cmath>
#include <iterator>
#include <utility>

namespace qelviewer {

namespace {

constexpr int kFewDigits = 3;

/// Replaces the decimal point by the sign of the language.
std::string translated(std::string text) {
    const size_t point = text.find('.');
    if (point != text.npos) text.replace(point, 1, qel::Object::tr("viewer-decimal-sign", "."));
    return text;
}

/// Returns a number with few digits, such as "0.0123" or "4.5e+12".
std::string withFewDigits(double value) {
    char buffer[32];
    const auto result =
        std::to_chars(std::begin(buffer), std::end(buffer), value, std::chars_format::general, kFewDigits);
    return translated({std::begin(buffer), result.ptr});
}

} // namespace

std::string formatNumber(double value, int digits) {
    char buffer[400];
    if (!std::isfinite(value)) return "–";
    const auto result =
        std::to_chars(std::begin(buffer), std::end(buffer), value, std::chars_format::fixed, digits);
    std::string text(std::begin(buffer), result.ptr);
    const bool isZero = text.find_first_not_of("-0.") == text.npos;
    if (isZero && text.front() == '-') text.erase(0, 1);
    return translated(std::move(text));
}

std::string formatShort(double value, int digits) {
    const double size = std::abs(value);
    if (!std::isfinite(value)) return formatNumber(value, 0);
    if (size >= 1e9 || (size > 0 && size < 0.1)) return withFewDigits(value);
    const double scale = std::pow(10.0, digits);
    double shown = std::round(value * scale);
    while (digits > 0 && std::fmod(shown, 10) == 0) {
        shown /= 10;
        --digits;
    }
    return formatNumber(value, digits);
}

} // namespace qelviewer
