#include <qel/foundation/base/number_format.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>

using namespace qel;
using namespace qel::util;

static String print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    String text = stringFormat_valist(format, arguments);
    va_end(arguments);
    return text;
}

TEST(NumberFormat, BytesTakeTheLargestUnitThatTheirRoundedFigureReachesWithAPointInAnyLocale) {
    const std::pair<uint64, const char*> bytes[] = {{0, "0 B"},          {999, "999 B"},
                                                    {1550000, "1.6 MB"}, {999949, "999.9 kB"},
                                                    {999950, "1.0 MB"},  {~uint64{0}, "18.4 EB"}};
    for (const auto& [n, text] : bytes) EXPECT_EQ(stringFormatWithBytesUnit1000(n), text);
    EXPECT_EQ(stringFormatWithBytesUnit1024(1048575), "1.0 MiB");
    EXPECT_EQ(stringFormatWithBitsUnit1000(2500000000), "2.5 Gbit");
    const std::string before = std::setlocale(LC_ALL, nullptr);
    // whose numbers have commas; where none is installed, nothing changes
    for (const char* name : {"de_DE.UTF-8", "tr_TR.UTF-8", "cs_CZ.UTF-8"}) std::setlocale(LC_ALL, name);
    EXPECT_EQ(stringFormatWithBytesUnit1000(1500) + print("%.1f", 1.5), "1.5 kB1.5");
    std::setlocale(LC_ALL, before.c_str());
}

TEST(NumberFormat, LengthsAreInMillimetresUnlessAUnitMayBeChosen) {
    EXPECT_EQ(stringFormatLengthWithMMUnit(1234.567, false), "1234.57 mm");
    const std::pair<double, const char*> chosen[] = {{1234.567, "1.23 m"}, {-12, "-1.20 cm"},
                                                     {0.5, "500.00 µm"},   {0, "0.00 mm"},
                                                     {2e6, "2.00 km"},     {std::nan(""), "nan mm"}};
    for (const auto& [mm, text] : chosen) EXPECT_EQ(stringFormatLengthWithMMUnit(mm, true), text);
}

TEST(PrintfFormat, GivesWhatTheCLibraryGives) {
    char expected[200];
#define EXPECT_AS_C(...)                                                                                     \
    std::snprintf(expected, sizeof(expected), __VA_ARGS__);                                                  \
    EXPECT_EQ(print(__VA_ARGS__), expected)

    EXPECT_AS_C("plain %% text");
    EXPECT_AS_C("%d|%5d|%-5d|%05d|%+d|% d", 42, 42, 42, 42, 42, 42);
    EXPECT_AS_C("%.4d|%8.4d|%*d|%-*d|%.*d|%.*d|%*d", 7, 7, 5, 7, 5, 7, 3, 7, -1, 7, -6, 7);
    EXPECT_AS_C("%u|%x|%X|%o|%#x|%#o", 255u, 255u, 255u, 8u, 255u, 8u);
    EXPECT_AS_C("%ld|%lld|%jd|%zd|%td", -5L, -5LL, std::intmax_t(-5), ssize_t(-5), ptrdiff_t(-5));
    EXPECT_AS_C("%lu|%llu|%ju|%zu", 5UL, ~0ULL, std::uintmax_t(5), size_t(5));
    EXPECT_AS_C("%f|%.2f|%10.3f|%-10.1f|%+e|%G|%Lf", 1.5, 1.005, 3.14159, 2.0, 12345.678, 1e-10, 1.25L);
    EXPECT_AS_C("%s|%10s|%-10s|%.2s|%6.2s|%c|%3c|%-3c|", "a", "b", "c", "def", "ghi", 'c', 'd', 'e');
    EXPECT_AS_C("%10s|%-4s|%.3s|", "äöü", "é", "\xC3\xA4\xC3\xA4");
#undef EXPECT_AS_C
}

TEST(PrintfFormat, EndsAtAConversionItDoesNotKnowAndReadsNoByteBehindAPrecision) {
    for (const char* format : {"ab%", "ab%y cd", "ab%5", "ab%l", "ab%."})
        EXPECT_EQ(print(format, 1, 2), "ab");
    const char* null = nullptr;
    EXPECT_EQ(print(null) + print("%s", null), "(null)");
    const char letters[3] = {'a', 'b', 'c'};
    EXPECT_EQ(print("%.3s", letters), "abc");
    EXPECT_EQ(print("%hhd|%hd|%hhu|%hu", 200, 40000, 300u, 70000u), "-56|-25536|44|4464");
}
