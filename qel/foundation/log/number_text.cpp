#include <qel/foundation/log/number_text_p.h>

#include <qel/foundation/base/types.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>

namespace qel::logging {

namespace {

constexpr int kDigits = 6;

/// The six digits of a number between 0.0001 and 999999.5, and the position of the decimal point.
struct SixDigits {
    uint32 digits = 0; // 100000 to 999999; 0 if the number needs the general form
    int exponent = 0;  // of the first digit: digits * 10^(exponent - 5) is the number
};

/// The product of a double's 53 bits with a power of ten fits in 128 bits, so that rounding is exact.
SixDigits roundToSixDigits(double value) {
    constexpr double kPowers[] = {1e-4, 1e-3, 1e-2, 1e-1, 1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};
    constexpr uint32 kScales[] = {1'000'000'000, 100'000'000, 10'000'000, 1'000'000, 100'000,
                                  10'000,        1'000,       100,        10,        1};
    if (!(value >= kPowers[0] && value < kPowers[10])) return {};
    int place = 0;
    while (value >= kPowers[place + 1]) ++place;

    const uint64 bits = std::bit_cast<uint64>(value);
    const uint64 mantissa = (bits & 0xfffffffffffff) | uint64(1) << 52;
    const int shift = 1075 - static_cast<int>(bits >> 52); // 33 to 66
    __extension__ using uint128 = unsigned __int128;
    const uint128 scaled = uint128(mantissa) * kScales[place];
    const uint128 half = uint128(1) << (shift - 1);
    const uint128 rest = scaled & (2 * half - 1);
    auto digits = static_cast<uint32>(scaled >> shift);
    if (rest > half || (rest == half && digits % 2 != 0)) ++digits;
    if (digits == 1'000'000) {
        digits = 100'000;
        ++place;
    }
    if (place == 10) return {};
    return {digits, place - 4};
}

} // namespace

char* writeGeneral(char* out, double value) {
    const SixDigits number = roundToSixDigits(std::fabs(value));
    if (number.digits == 0)
        return std::to_chars(out, out + kNumberTextSize, value, std::chars_format::general, kDigits).ptr;
    if (value < 0) *out++ = '-';
    char digits[kDigits];
    uint32 rest = number.digits;
    for (int i = kDigits; i-- > 0; rest /= 10) digits[i] = static_cast<char>('0' + rest % 10);
    int count = kDigits;
    while (count > 1 && digits[count - 1] == '0') --count;

    const int whole = number.exponent + 1; // digits before the decimal point
    if (whole <= 0) {
        *out++ = '0';
        *out++ = '.';
        out = std::fill_n(out, -whole, '0');
        return std::copy_n(digits, count, out);
    }
    out = std::copy_n(digits, whole, out);
    if (count <= whole) return out;
    *out++ = '.';
    return std::copy(digits + whole, digits + count, out);
}

} // namespace qel::logging
