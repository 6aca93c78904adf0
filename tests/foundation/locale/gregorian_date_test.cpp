#include <qel/foundation/locale/gregorian_date.h>

#include <qel/foundation/locale/date_conversion.h>

#include <tests/support/environment.h>
#include <tests/support/system_fixture.h>
#include <tests/support/threads.h>

#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>

namespace qel {
namespace {

using test::TimeZone;

constexpr int64 kTicksPerSecond = 10'000'000;
constexpr int64 kStampOf1970 = 116'444'736'000'000'000;
constexpr int64 kStampOf2024 = 133'485'408'000'000'000; // 2024-01-01 00:00 UTC
constexpr int64 kLowest = std::numeric_limits<int64>::min();
constexpr int64 kHighest = std::numeric_limits<int64>::max();

const GregorianDate kAfternoon(2024, 3, 5, 14, 30, 7, 123'456'789);
const GregorianDate kMidnight(2024, 3, 5, 0, 0, 0, 0);

GregorianDate day(int year, int month, int dayOfMonth) {
    return {year, month, dayOfMonth, 0, 0, 0, 0};
}

TEST(GregorianDate, RangeChecksUseTheCalendarFrom1800To2200) {
    EXPECT_FALSE(day(2024, 0, 0).valid());
    EXPECT_FALSE(day(2024, 0, 0).zeroDate());
    EXPECT_FALSE(GregorianDate().valid());
    for (const GregorianDate& good : {day(1800, 1, 1), day(2200, 12, 31), day(2000, 2, 29), day(2024, 2, 29)})
        EXPECT_TRUE(good.validDateRange()) << good.formatAsDicomDate();
    for (const GregorianDate& bad : {day(1799, 12, 31), day(2201, 1, 1), day(1900, 2, 29), day(2025, 2, 29),
                                     day(2024, 4, 31), day(2024, 13, 1), day(2024, 1, 0)})
        EXPECT_FALSE(bad.validDateRange()) << bad.formatAsDicomDate();
}

TEST(GregorianDate, WeekDaysCountFromSundayInEveryTimeZone) {
    for (const char* zone : {"UTC0", "AAA-14", "AAA12", TimeZone::kCentralEurope}) {
        const TimeZone scope(zone);
        EXPECT_EQ(day(2024, 3, 31).getWeekDay(), 0) << zone;
        EXPECT_EQ(day(1969, 12, 31).getWeekDay(), 3) << zone;
    }
}

TEST(GregorianDate, EightDigitsAreReadWithoutARangeCheck) {
    const std::pair<const char*, GregorianDate> dates[] = {
        {"20249999 and more", day(2024, 99, 99)}, {" 202+3-5", day(202, 3, -5)}, {"2x2x3x4x", day(2, 3, 4)}};
    for (const auto& [digits, date] : dates)
        EXPECT_EQ(GregorianDate::fromYYYYMMDD(digits).compare(date), 0) << digits;
    for (const char* empty : {"2024ab05", "", "2024"})
        EXPECT_THAT([&] { GregorianDate::fromYYYYMMDD(empty); },
                    testing::ThrowsMessage<std::invalid_argument>("invalid stoi argument"));
    EXPECT_THROW(GregorianDate::fromYYYYMMDD("20240"), std::out_of_range);
}

TEST(DateConversion, StampIsConvertedInTheTimeZone) {
    const TimeZone zone(TimeZone::kCentralEurope);
    const int64 summer = kStampOf2024 + 182 * 86400 * kTicksPerSecond + 1234567;
    EXPECT_EQ(util::convertUTCDateTimeToGMT(summer).formatAsLogDateTime(), "[2024-07-01] [00:00:00.123]");
    EXPECT_EQ(GregorianDate(summer).formatAsLogDateTime(), "[2024-07-01] [02:00:00.123]");
    EXPECT_EQ(util::convertUTCDateTimeToGermanTime(summer).formatAsLogDateTime(),
              "[2024-07-01] [01:00:00.123]");
}

TEST(DateConversion, AnyStampCanBeConverted) {
    const GregorianDate before = util::convertUTCDateTimeToGMT(kStampOf1970 - kTicksPerSecond - 3);
    EXPECT_EQ(before.compare(GregorianDate(1969, 12, 31, 23, 59, 59, -300)), 0);
    EXPECT_EQ(util::convertUTCDateTimeToGMT(0).formatAsDICOMFriendlyID(), "16010101000000");
    EXPECT_EQ(util::convertUTCDateTimeToGermanTime(kHighest).formatAsDICOMFriendlyID(), "308280914024805");
    EXPECT_EQ(util::convertUTCDateTimeToGMT(kLowest).getYear(), -27627);
}

TEST(DateConversion, LocalDatesBecomeStampsOrZero) {
    const TimeZone zone(TimeZone::kCentralEurope);
    for (const int64 stamp : {kStampOf2024 + 7, kStampOf2024 + 182 * 86400 * kTicksPerSecond, int64{0}})
        EXPECT_EQ(GregorianDate(stamp).asUTCDateTimeLocalTime(), stamp);
    EXPECT_EQ(util::convertToUTCDateTimeFromLocalTime(2023, 13, 1, 1, 0, 0), kStampOf2024);
    constexpr int kMost = std::numeric_limits<int>::max(), kLeast = std::numeric_limits<int>::min();
    for (const auto& [year, month, rest] :
         {std::tuple(kMost, kMost, kMost), {kLeast, 1, 1}, {2024, kLeast, 1}})
        EXPECT_EQ(util::convertToUTCDateTimeFromLocalTime(year, month, rest, rest, rest, rest), 0);
}

using DateFormat = test::SystemFixture;

TEST_F(DateFormat, LanguageSelectsOrderAndMidnightIsOmitted) {
    const auto texts = [](const GregorianDate& date, const char* language) {
        return date.formatAsShortDateTime(language) + "|" + date.formatAsShortDateWithoutSeparator(language) +
               "|" + date.formatAsShortTextDateTime(language) + "|" +
               date.formatAsShortTextDateTimeSeconds(language);
    };
    EXPECT_EQ(texts(kAfternoon, "de"), "05.03.24 14:30:07|050324|5. Mar 2024 14:30|5. Mar 2024 14:30:07");
    EXPECT_EQ(texts(kMidnight, "de"), "05.03.24|050324|5. Mar 2024|5. Mar 2024");
    for (const char* language : {"en", "DE", "de_DE"})
        EXPECT_EQ(texts(kMidnight, language), "03/05/24|030524|Mar/5/2024|Mar/5/2024");
}

TEST_F(DateFormat, AnyDateCanBeFormattedOnAnyThread) {
    EXPECT_EQ(GregorianDate(-5, -1, -2, -3, -4, -5, -6).formatAsDICOMFriendlyID(), "-005-1-2-3-4-5");
    for (const int month : {0, 13, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(GregorianDate::getMonthName(month, "en"), "err");
    for (const int weekDay : {-1, 7}) EXPECT_EQ(GregorianDate::getWeekdayName(weekDay, "en"), "err");
    test::onThreads(
        4, [](int i) { EXPECT_EQ(GregorianDate::getMonthName(1 + i / 2, "xx"), i < 2 ? "Jan" : "Feb"); });
}

} // namespace
} // namespace qel
