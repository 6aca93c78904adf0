#include <qel/foundation/log/number_text_p.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace qel::logging {
namespace {

std::string written(double value) {
    std::array<char, kNumberTextSize> text;
    return {text.data(), writeGeneral(text.data(), value)};
}

std::string expected(double value) {
    std::array<char, 32> text;
    return {text.data(),
            std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 6).ptr};
}

TEST(NumberText, RoundsTiesAndPowersOfTenAsTheStandardDoes) {
    for (int exponent = -6; exponent <= 8; ++exponent) {
        for (const double digits : {1.0, 9.999995, 9.9999949, 9.9999951, 1.000005, 1.000015, 2.5, 1.234565}) {
            double value = digits * std::pow(10, exponent);
            for (int step = 0; step < 3; ++step) {
                EXPECT_EQ(written(value), expected(value));
                EXPECT_EQ(written(-value), expected(-value));
                value = std::nextafter(value, step == 0 ? 0 : 1e9);
            }
        }
    }
    for (const double tie : {0.5, 1.5, 100000.5, 100001.5, 999999.5, 10000.25, 10000.75, 1.5258789e-05})
        EXPECT_EQ(written(tie), expected(tie));
}

TEST(NumberText, WritesEveryNumberAsTheStandardDoes) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const double any = std::bit_cast<double>(random());
        EXPECT_EQ(written(any), expected(any));
        const double usual = static_cast<double>(random() % 1'000'000'000) / std::pow(10, random() % 13);
        EXPECT_EQ(written(usual), expected(usual));
    }
    for (const double special :
         {0.0, -0.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN(),
          std::numeric_limits<double>::denorm_min()})
        EXPECT_EQ(written(special), expected(special));
}

} // namespace
} // namespace qel::logging
