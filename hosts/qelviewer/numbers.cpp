#include "numbers.h"

#include <qel/foundation/base/object.h>

#include <charconv>
#include <cmath>
#include <iterator>

namespace qelviewer {

std::string formatNumber(double value, int digits) {
    char buffer[400];
    if (!std::isfinite(value)) return "–";
    const auto result =
        std::to_chars(std::begin(buffer), std::end(buffer), value, std::chars_format::fixed, digits);
    std::string text(std::begin(buffer), result.ptr);
    const bool isZero = text.find_first_not_of("-0.") == text.npos;
    if (isZero && text.front() == '-') text.erase(0, 1);
    const size_t point = text.find('.');
    if (point != text.npos) text.replace(point, 1, qel::Object::tr("viewer-decimal-sign", "."));
    return text;
}

std::string formatShort(double value, int digits) {
    if (!(std::abs(value) < 1e9)) return formatNumber(value, 0);
    const double scale = std::pow(10.0, digits);
    double shown = std::round(value * scale);
    while (digits > 0 && std::fmod(shown, 10) == 0) {
        shown /= 10;
        --digits;
    }
    return formatNumber(value, digits);
}

} // namespace qelviewer
