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
          std::numeric_limits<double>::denorm_min(), 9.999995, 9.9999949})
        EXPECT_EQ(written(special), expected(special));
    for (const double tie : {0.5, 1.5, 100000.5, 100001.5, 999999.5, 10000.25, 10000.75, 1.5258789e-05}) {
        EXPECT_EQ(written(tie), expected(tie));
        EXPECT_EQ(written(std::nextafter(tie, 0)), expected(std::nextafter(tie, 0)));
    }
}

} // namespace
} // namespace qel::logging
