#include <qel/foundation/locale/gregorian_date.h>

#include <qel/foundation/locale/date_conversion.h>

#include <tests/support/environment.h>
#include <tests/support/system_fixture.h>
#include <tests/support/threads.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

GregorianDate timeOfDay(int hours, int minutes, int seconds, int nanos) {
    return {0, 0, 0, hours, minutes, seconds, nanos};
}

GregorianDate day(int year, int month, int dayOfMonth) {
    return {year, month, dayOfMonth, 0, 0, 0, 0};
}

TEST(GregorianDate, ValuesAreCutToTheirFieldsWidth) {
    const GregorianDate date(65536 + 2024, 256 + 3, 256 + 5, 200, -1, 300, -5);
    EXPECT_EQ(date.compare(GregorianDate(2024, 3, 5, 200 - 256, -1, 300 - 256, -5)), 0);
    EXPECT_EQ(date.getHours(), 200 - 256);
}

TEST(GregorianDate, RangesAreTheCalendarFrom1800To2200AndTheUpperEndsOfTimes) {
    EXPECT_FALSE(day(2024, 0, 0).valid() || day(2024, 0, 0).zeroDate());
    EXPECT_TRUE(GregorianDate().zeroDate() && !GregorianDate().valid() && day(1999, 2, 29).valid());
    for (const GregorianDate& good : {day(1800, 1, 1), day(2200, 12, 31), day(2000, 2, 29), day(2024, 2, 29)})
        EXPECT_TRUE(good.validDateRange()) << good.formatAsDicomDate();
    for (const GregorianDate& bad : {day(1799, 12, 31), day(2201, 1, 1), day(1999, 2, 29), day(1900, 2, 29),
                                     day(2024, 4, 31), day(2024, 0, 1), day(2024, 13, 1), day(2024, 1, 0)})
        EXPECT_FALSE(bad.validDateRange()) << bad.formatAsDicomDate();
    for (const GregorianDate& good : {timeOfDay(23, 59, 59, 999'999'999), timeOfDay(-1, -1, -1, -1)})
        EXPECT_TRUE(good.validTimeRange()) << good.formatAsDicomTime();
    for (const GregorianDate& bad : {timeOfDay(24, 0, 0, 0), timeOfDay(0, 60, 0, 0), timeOfDay(0, 0, 60, 0),
                                     timeOfDay(0, 0, 0, 1'000'000'000)})
        EXPECT_FALSE(bad.validTimeRange()) << bad.formatAsDicomTime();
}

TEST(GregorianDate, FractionsAreRoundedWithoutACarry) {
    const std::pair<int, int> micros[] = {{1499, 1}, {1500, 2}, {std::numeric_limits<int>::max(), 2'147'484}};
    for (const auto& [nanos, rounded] : micros) EXPECT_EQ(timeOfDay(0, 0, 0, nanos).getMicros(), rounded);
    EXPECT_EQ(timeOfDay(0, 0, 0, 999'999'999).getMillis(), 1000);
    EXPECT_FLOAT_EQ(timeOfDay(14, 30, 59, 0).getTimeOfDay(), 14.5f) << "seconds are left out";
}

TEST(GregorianDate, WeekDaysCountFromSundayInEveryTimeZone) {
    for (const char* zone : {"UTC0", "AAA-14", "AAA12", TimeZone::kCentralEurope}) {
        const TimeZone scope(zone);
        EXPECT_EQ(day(2024, 1, 7).getWeekDay(), 0) << zone;
        EXPECT_EQ(day(2024, 3, 31).getWeekDay(), 0) << zone;
        EXPECT_EQ(day(1969, 12, 31).getWeekDay(), 3) << zone;
    }
}

TEST(GregorianDate, ComparesByTheFirstFieldThatDiffersAndCombinesDateAndTime) {
    // each is above the one before it, though the field behind the one that rises falls
    const GregorianDate rising[] = {{2023, 9, 9, 9, 9, 9, 9}, {2024, 1, 9, 9, 9, 9, 9},
                                    {2024, 2, 1, 9, 9, 9, 9}, {2024, 2, 2, 1, 9, 9, 9},
                                    {2024, 2, 2, 2, 1, 9, 9}, {2024, 2, 2, 2, 2, 1, 9},
                                    {2024, 2, 2, 2, 2, 2, 1}, {2024, 2, 2, 2, 2, 2, 2}};
    for (size_t i = 1; i < std::size(rising); ++i) {
        EXPECT_GT(rising[i].compare(rising[i - 1]), 0) << i;
        EXPECT_LT(rising[i - 1].compare(rising[i]), 0) << i;
    }
    const GregorianDate combined = GregorianDate::combineDateTime(day(1999, 12, 31), kAfternoon);
    EXPECT_EQ(combined.compare(GregorianDate(1999, 12, 31, 14, 30, 7, 123'456'789)), 0);
}

TEST(GregorianDate, EightDigitsAreReadWithoutARangeCheckAndOthersRaiseTheStandardErrors) {
    const std::pair<const char*, GregorianDate> dates[] = {{"20240305 and more", kMidnight},
                                                           {"20249999", day(2024, 99, 99)},
                                                           {" 202+3-5", day(202, 3, -5)},
                                                           {"2x2x3x4x", day(2, 3, 4)}};
    for (const auto& [digits, date] : dates)
        EXPECT_EQ(GregorianDate::fromYYYYMMDD(digits).compare(date), 0) << digits;
    for (const char* empty : {"2024ab05", "", "2024", "202403"})
        EXPECT_THAT([&] { GregorianDate::fromYYYYMMDD(empty); },
                    testing::ThrowsMessage<std::invalid_argument>("invalid stoi argument"));
    for (const char* cut : {"202", "20240"})
        EXPECT_THROW(GregorianDate::fromYYYYMMDD(cut), std::out_of_range) << cut;
}

TEST(DateConversion, AStampBreaksDownByTheTimeZone) {
    const TimeZone zone(TimeZone::kCentralEurope);
    const int64 summer = kStampOf2024 + 182 * 86400 * kTicksPerSecond + 1234567;
    EXPECT_EQ(util::convertUTCDateTimeToGMT(summer).formatAsLogDateTime(), "[2024-07-01] [00:00:00.123]");
    EXPECT_EQ(GregorianDate(summer).formatAsLogDateTime(), "[2024-07-01] [02:00:00.123]");
    EXPECT_EQ(util::convertUTCDateTimeToGermanTime(summer).formatAsLogDateTime(),
              "[2024-07-01] [01:00:00.123]");
    EXPECT_EQ(GregorianDate(summer).getNanos(), 123'456'700);
}

TEST(DateConversion, AnyStampIsHarmlessAndAPartOfASecondBefore1970Negative) {
    const GregorianDate before = util::convertUTCDateTimeToGMT(kStampOf1970 - kTicksPerSecond - 3);
    EXPECT_EQ(before.formatAsDICOMFriendlyID(), "19691231235959");
    EXPECT_EQ(before.getNanos(), -300);
    EXPECT_EQ(util::convertUTCDateTimeToGMT(kStampOf1970 - 1).getYear(), 1970);
    EXPECT_EQ(util::convertUTCDateTimeToGMT(0).formatAsDICOMFriendlyID(), "16010101000000");
    EXPECT_EQ(util::convertUTCDateTimeToGermanTime(kHighest).formatAsDICOMFriendlyID(), "308280914024805");
    EXPECT_EQ(util::convertUTCDateTimeToGMT(kLowest).getYear(), -27627);
    EXPECT_TRUE(GregorianDate(kLowest).valid());
}

TEST(DateConversion, LocalDatesBecomeTheirStampsOrZeroWhereNoneHoldsThem) {
    const TimeZone zone(TimeZone::kCentralEurope);
    for (const int64 stamp : {kStampOf2024 + 7, kStampOf2024 + 182 * 86400 * kTicksPerSecond, int64{0},
                              kStampOf1970 - 86400 * kTicksPerSecond})
        EXPECT_EQ(GregorianDate(stamp).asUTCDateTimeLocalTime(), stamp);
    EXPECT_EQ(util::convertToUTCDateTimeFromLocalTime(2023, 13, 1, 1, 0, 0), kStampOf2024);
    constexpr int kMost = std::numeric_limits<int>::max();
    EXPECT_EQ(util::convertToUTCDateTimeFromLocalTime(1'000'000, 1, 1, 0, 0, 0), 0);
    EXPECT_EQ(util::convertToUTCDateTimeFromLocalTime(kMost, kMost, kMost, kMost, kMost, kMost), 0);
    EXPECT_EQ(util::convertToUTCDateTimeFromLocalTime(-kMost - 1, 1, 1, 0, 0, 0), 0);
    EXPECT_EQ(util::convertToUTCDateTimeFromLocalTime(2024, -kMost - 1, 1, 0, 0, 0), 0);
}

class DateFormat : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        system().setLanguage("en");
    }
};

TEST_F(DateFormat, FormsForMachinesArePlainDigits) {
    EXPECT_EQ(kAfternoon.formatAsDICOMFriendlyID(), "20240305143007");
    EXPECT_EQ(kAfternoon.formatAsDicomDate(), "20240305");
    EXPECT_EQ(kAfternoon.formatAsDicomTime(), "143007.123457");
    EXPECT_EQ(kAfternoon.formatAsFilenameFriendlyIDWithTime(), "20240305-143007");
    EXPECT_EQ(kAfternoon.formatAsLogDateTime(), "[2024-03-05] [14:30:07.123]");
    const GregorianDate rounded(2024, 3, 5, 14, 30, 7, 999'999'999);
    EXPECT_EQ(rounded.formatAsDicomTime(), "143007.1000000") << "a digit more";
    EXPECT_EQ(rounded.formatAsLogDateTime(), "[2024-03-05] [14:30:07.1000]");
    EXPECT_EQ(day(2024, 1, 7).formatAsHttpDate(), "Mon, 07 Jan 2024 00:00:00") << "names the day after";
    EXPECT_EQ(kAfternoon.formatAsHttpDate(), "Wed, 05 Mar 2024 14:30:07");
}

TEST_F(DateFormat, GermanDatesPutTheDayFirstAndAllOthersTheMonth) {
    EXPECT_EQ(kAfternoon.formatAsShortDateTime("de"), "05.03.24 14:30:07");
    EXPECT_EQ(kAfternoon.formatAsShortDateWithoutSeparator("de"), "050324");
    EXPECT_EQ(kAfternoon.formatAsShortTextDateTime("de"), "5. Mar 2024 14:30");
    EXPECT_EQ(kAfternoon.formatAsShortTextDateTimeSeconds("de"), "5. Mar 2024 14:30:07");
    for (const char* language : {"en", "fr", "DE", "de_DE"}) {
        EXPECT_EQ(kAfternoon.formatAsShortDate(language), "03/05/24");
        EXPECT_EQ(kAfternoon.formatAsShortDateWithoutSeparator(language), "030524");
        EXPECT_EQ(kAfternoon.formatAsShortTextDate(language), "Mar/5/2024");
    }
    EXPECT_EQ(kAfternoon.formatAsUSDateTime(), "03/05/2024 14:30:07");
    system().setLanguage("de"); // counts where no language is told
    EXPECT_EQ(kAfternoon.formatAsShortDate() + " " + kAfternoon.formatAsShortTextDate(""),
              "05.03.24 5. Mar 2024");
}

TEST_F(DateFormat, MidnightIsLeftOut) {
    EXPECT_EQ(kMidnight.formatAsDicomTime(), "000000");
    EXPECT_EQ(kMidnight.formatAsShortDateTime("en"), "03/05/24");
    EXPECT_EQ(kMidnight.formatAsShortTextDateTime("de"), "5. Mar 2024");
    EXPECT_EQ(kMidnight.formatAsShortTextDateTimeSeconds("de"), "5. Mar 2024");
    EXPECT_EQ(kMidnight.formatAsUSDateTime(), "03/05/2024");
    EXPECT_EQ(GregorianDate(2024, 3, 5, 0, 0, 0, 1).formatAsShortDateTime("en"), "03/05/24 00:00:00");
}

TEST_F(DateFormat, AnyRecordCanBeWrittenOnAnyThreadAndNamesOutsideTheCalendarAreErr) {
    EXPECT_EQ(GregorianDate(-5, -1, -2, -3, -4, -5, -6).formatAsDICOMFriendlyID(), "-005-1-2-3-4-5");
    EXPECT_EQ(day(-5, 99, 3).formatAsShortTextDate("en"), "err/3/-5");
    for (const int month : {0, 13, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(GregorianDate::getMonthName(month, "en"), "err");
    for (const int weekDay : {-1, 7}) EXPECT_EQ(GregorianDate::getWeekdayName(weekDay, "en"), "err");
    test::onThreads(
        4, [](int i) { EXPECT_EQ(GregorianDate::getMonthName(1 + i / 2, "xx"), i < 2 ? "Jan" : "Feb"); });
    EXPECT_EQ(GregorianDate::getWeekdayName(6, nullptr), "Sun");
}

TEST_F(DateFormat, TimePassedIsToldInItsTwoLargestUnitsRoundedToMinutes) {
    const int64 now = system().getUTCDateTime();
    const std::pair<int64, const char*> texts[] = {{2 * 86400 + 5 * 3600 + 59 * 60, "2d 5h"},
                                                   {5 * 3600 + 12 * 60, "5h 12m"},
                                                   {12 * 60 + 29, "12m"},
                                                   {30, "1m"},
                                                   {29, ""},
                                                   {-89, ""},
                                                   {-90, "-1m"},
                                                   {-5 * 3600 - 12 * 60 - 60, "-5h -12m"}};
    for (const auto& [seconds, text] : texts)
        EXPECT_EQ(util::getAsTextTimePassedSince(now - seconds * kTicksPerSecond), text);
    for (const int64 any : {kLowest, kHighest}) EXPECT_NE(util::getAsTextTimePassedSince(any), "");
}

} // namespace
} // namespace qel
