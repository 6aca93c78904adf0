#include <qel/foundation/base/number_format.h>

#include <tests/support/comma_locale.h>
#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string>

using namespace qel;
using namespace qel::util;

static String print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    String text = stringFormat_valist(format, arguments);
    va_end(arguments);
    return text;
}

/// What the C library prints under the locale "C".
[[gnu::format(printf, 1, 2)]] static std::string printAsC(const char* format, ...) {
    char text[400];
    const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    const locale_t previous = uselocale(plain);
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    uselocale(previous);
    freelocale(plain);
    return text;
}

TEST(NumberFormat, BytesTakeTheLargestUnitOfTheRoundedFigure) {
    const std::pair<uint64, const char*> bytes[] = {{0, "0 B"},          {999, "999 B"},
                                                    {1550000, "1.6 MB"}, {999949, "999.9 kB"},
                                                    {999950, "1.0 MB"},  {~uint64{0}, "18.4 EB"}};
    for (const auto& [n, text] : bytes) EXPECT_EQ(stringFormatWithBytesUnit1000(n), text);
    EXPECT_EQ(stringFormatWithBytesUnit1024(1048575), "1.0 MiB");
    EXPECT_EQ(stringFormatWithBitsUnit1000(2500000000), "2.5 Gbit");
}

TEST(NumberFormat, ALocaleWithADecimalCommaChangesNothing) {
    const test::CommaLocale locale;
    if (!locale.isSet()) GTEST_SKIP() << "localedef cannot build a locale here";
    EXPECT_EQ(stringFormatWithBytesUnit1000(1500), "1.5 kB");
    EXPECT_EQ(print("%.1f", 1.5), "1.5");
    EXPECT_EQ(stringFormat("%.1f", 1.5), "1.5");
}

TEST(NumberFormat, LengthsAreInMillimetresUnlessAUnitMayBeChosen) {
    EXPECT_EQ(stringFormatLengthWithMMUnit(1234.567, false), "1234.57 mm");
    const std::pair<double, const char*> chosen[] = {{1234.567, "1.23 m"}, {-12, "-1.20 cm"},
                                                     {0.5, "500.00 µm"},   {0, "0.00 mm"},
                                                     {2e6, "2.00 km"},     {std::nan(""), "nan mm"}};
    for (const auto& [mm, text] : chosen) EXPECT_EQ(stringFormatLengthWithMMUnit(mm, true), text);
}

TEST(PrintfFormat, EqualsTheCLibrary) {
#define EXPECT_AS_C(...)                                                                                     \
    EXPECT_EQ(print(__VA_ARGS__), printAsC(__VA_ARGS__));                                                    \
    EXPECT_EQ(stringFormat(__VA_ARGS__), printAsC(__VA_ARGS__))

    EXPECT_AS_C("plain %% text");
    EXPECT_AS_C("%d|%5d|%-5d|%05d|%+d|% d", 42, 42, 42, 42, 42, 42);
    EXPECT_AS_C("%.4d|%8.4d|%*d|%-*d|%.*d|%.*d|%*d", 7, 7, 5, 7, 5, 7, 3, 7, -1, 7, -6, 7);
    EXPECT_AS_C("%.0d|%.d|%5.0d|%+.0d", 0, 0, 0, 0);
    EXPECT_AS_C("%u|%x|%X|%o|%#x|%#o|%#o", 255u, 255u, 255u, 8u, 255u, 8u, 0u);
    EXPECT_AS_C("%ld|%lld|%jd|%zd|%td", -5L, -5LL, std::intmax_t(-5), ssize_t(-5), ptrdiff_t(-5));
    EXPECT_AS_C("%lu|%llu|%ju|%zu", 5UL, ~0ULL, std::uintmax_t(5), size_t(5));
    EXPECT_AS_C("%f|%.2f|%10.3f|%-10.1f|%+e|%G|%Lf", 1.5, 1.005, 3.14159, 2.0, 12345.678, 1e-10, 1.25L);
    EXPECT_AS_C("%a|%020a|%-20A|%.2a|%#g|%#.0f|%La", 1.5, 1.5, 0.1, 3.7, 1.0, 3.0, 1.5L);
    EXPECT_AS_C("%f|%F|%010f|%g", HUGE_VAL, -HUGE_VAL, HUGE_VAL, std::nan(""));
    EXPECT_AS_C("%s|%10s|%-10s|%.2s|%6.2s|%c|%3c|%-3c|", "a", "b", "c", "def", "ghi", 'c', 'd', 'e');
    EXPECT_AS_C("%10s|%-4s|%.3s|", "äöü", "é", "\xC3\xA4\xC3\xA4");
#undef EXPECT_AS_C
}

TEST(PrintfFormat, EndsAtAConversionItDoesNotKnow) {
    int written = -1;
    for (const char* format : {"ab%", "ab%y cd", "ab%5", "ab%l", "ab%.", "ab%n", "ab%1$d", "ab%'d"})
        EXPECT_EQ(print(format, &written), "ab") << format;
    EXPECT_EQ(written, -1);
}

TEST(PrintfFormat, NullFormatsAndTextsAreHarmless) {
    const char* null = nullptr;
    EXPECT_EQ(print(null), "");
    EXPECT_EQ(print("%s", null), "(null)");
    EXPECT_EQ(stringFormat(null), "");
    EXPECT_EQ(stringFormat("<%s>", null), "<>");
}

TEST(PrintfFormat, ReadsNoByteAfterThePrecision) {
    const char letters[3] = {'a', 'b', 'c'};
    EXPECT_EQ(print("%.3s", letters), "abc");
}

TEST(PrintfFormat, TextTooLongForAnIntIsEmpty) {
    EXPECT_EQ(print("%2147483647d%d", 1, 2), "");
}

TEST(StringFormat, LogsAFormatThatDoesNotFitAndEndsThere) {
    test::LogCapture log;
    const std::pair<String, const char*> results[] = {
        {stringFormat("a%s", 1), "a%s"},        {stringFormat("a%d", 1.5), "a%d"},
        {stringFormat("a%f", 1), "a%f"},        {stringFormat("a%d"), "a%d"},
        {stringFormat("a%*d", 1.5, 2), "a%*d"}, {stringFormat("a%n", 1), "a%n"}};
    for (const auto& [text, format] : results) {
        EXPECT_EQ(text, "a") << format;
        log.expect(3, "the format '" + std::string(format) + "' does not fit its arguments");
    }
}
