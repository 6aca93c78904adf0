#include <qel/style/css_number_p.h>

#include <charconv>
#include <limits>
#include <system_error>

namespace qel::internal {

namespace {

/// Returns true if @p text, which has no sign, is at least 1. Only its order of magnitude matters, since it
/// is called for numbers outside of the range of float.
bool isLarge(std::string_view text) {
    const size_t exponentAt = text.find_first_of("eE");
    const std::string_view digits = text.substr(0, exponentAt);
    const size_t first = digits.find_first_of("123456789");
    if (first == digits.npos) return false;
    const size_t point = digits.find('.');
    const size_t wholeDigits = point == digits.npos ? digits.size() : point;
    const auto magnitude = static_cast<long long>(wholeDigits) - static_cast<long long>(first);
    if (exponentAt == text.npos) return magnitude > 0;
    std::string_view exponentText = text.substr(exponentAt + 1);
    const bool isNegative = exponentText.starts_with('-');
    if (isNegative || exponentText.starts_with('+')) exponentText.remove_prefix(1);
    long long exponent = 0;
    const auto read =
        std::from_chars(exponentText.data(), exponentText.data() + exponentText.size(), exponent);
    if (read.ec != std::errc()) return !isNegative;
    return magnitude + (isNegative ? -exponent : exponent) > 0;
}

} // namespace

float cssNumber(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    float value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec == std::errc::result_out_of_range)
        value = isLarge(text) ? std::numeric_limits<float>::max() : 0.0f;
    return isNegative ? -value : value;
}

} // namespace qel::internal
