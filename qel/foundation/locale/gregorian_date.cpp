#include <qel/foundation/locale/gregorian_date.h>

#include <qel/foundation/locale/date_conversion.h>
#include <qel/platform/clock.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>

namespace qel {

namespace {

bool isLeapYear(int year) {
    return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
}

/// @param month  1 to 12
int daysInMonth(int year, int month) {
    constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

/// Does the same as std::stoi, with the same exception message on every system. @p digits has at most four
/// characters, so the number is never out of range.
int toInt(const String& digits) {
    try {
        return std::stoi(digits);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stoi argument");
    }
}

} // namespace

GregorianDate::GregorianDate(int year, int month, int day, int hours, int minutes, int seconds, int nanos) {
    set(year, month, day, hours, minutes, seconds, nanos);
}

GregorianDate::GregorianDate(const GregorianDateLegacy& legacy)
    : m_year(legacy.year),
      m_month(legacy.month),
      m_day(legacy.day),
      m_hours(legacy.hours),
      m_minutes(legacy.minutes),
      m_seconds(legacy.seconds) {}

GregorianDate::GregorianDate(int64 stamp) : GregorianDate(fromUTCDateTime(stamp)) {}

void GregorianDate::set(int year, int month, int day, int hours, int minutes, int seconds, int nanos) {
    setYear(year);
    setMonth(month);
    setDay(day);
    setHours(hours);
    setMinutes(minutes);
    setSeconds(seconds);
    setNanos(nanos);
}

int GregorianDate::getMicros() const {
    return static_cast<int>((int64{m_nanos} + 500) / 1000);
}

int GregorianDate::getMillis() const {
    return static_cast<int>((int64{m_nanos} + 500'000) / 1'000'000);
}

float GregorianDate::getTimeOfDay() const {
    return static_cast<float>(m_hours + m_minutes / 60.0);
}

int GregorianDate::getWeekDay() const {
    // At noon, a change of daylight saving time cannot move the day.
    const platform::CalendarTime noon{m_year, m_month, m_day, 12, 0, 0, 0};
    const std::int64_t seconds = platform::unixSecondsFromLocal(noon);
    platform::CalendarTime normalized;
    if (seconds == -1 || !platform::localCalendarTime(seconds, normalized)) return -1;
    return normalized.weekDay;
}

void GregorianDate::setYear(int year) {
    m_year = static_cast<int16>(year);
}

void GregorianDate::setMonth(int month) {
    m_month = static_cast<int8>(month);
}

void GregorianDate::setDay(int day) {
    m_day = static_cast<int8>(day);
}

void GregorianDate::setHours(int hours) {
    m_hours = static_cast<int8>(hours);
}

void GregorianDate::setMinutes(int minutes) {
    m_minutes = static_cast<int8>(minutes);
}

void GregorianDate::setSeconds(int seconds) {
    m_seconds = static_cast<int8>(seconds);
}

void GregorianDate::setNanos(int nanos) {
    m_nanos = nanos;
}

bool GregorianDate::valid() const {
    return m_year != 0 && m_month != 0 && m_day != 0;
}

bool GregorianDate::zeroDate() const {
    return m_year == 0 && m_month == 0 && m_day == 0;
}

bool GregorianDate::zeroTime() const {
    return m_hours == 0 && m_minutes == 0 && m_seconds == 0 && m_nanos == 0;
}

bool GregorianDate::validDateRange() const {
    if (m_year < 1800 || m_year > 2200) return false;
    if (m_month < 1 || m_month > 12) return false;
    return m_day >= 1 && m_day <= daysInMonth(m_year, m_month);
}

bool GregorianDate::validTimeRange() const {
    return m_hours < 24 && m_minutes < 60 && m_seconds < 60 && m_nanos < 1'000'000'000;
}

int GregorianDate::compare(const GregorianDate& other) const {
    const auto byFields = [](const GregorianDate& date) {
        return std::array<int, 7>{date.m_year,    date.m_month,   date.m_day,  date.m_hours,
                                  date.m_minutes, date.m_seconds, date.m_nanos};
    };
    const auto mine = byFields(*this);
    const auto others = byFields(other);
    const auto [a, b] = std::mismatch(mine.begin(), mine.end(), others.begin());
    if (a == mine.end()) return 0;
    return *a < *b ? -1 : 1; // the difference of two arbitrary nanosecond values might overflow
}

GregorianDate GregorianDate::combineDateTime(const GregorianDate& date, const GregorianDate& time) {
    return {date.m_year,    date.m_month,   date.m_day,  time.m_hours,
            time.m_minutes, time.m_seconds, time.m_nanos};
}

GregorianDate GregorianDate::fromUTCDateTime(int64 stamp) {
    return util::convertUTCDateTimeToLocalTime(stamp);
}

int64 GregorianDate::asUTCDateTimeLocalTime() const {
    return util::convertToUTCDateTimeFromLocalTime(*this);
}

GregorianDate GregorianDate::fromYYYYMMDD(const String& text) {
    const int year = toInt(text.substr(0, 4));
    const int month = toInt(text.substr(4, 2));
    const int day = toInt(text.substr(6, 2));
    return {year, month, day, 0, 0, 0, 0};
}

} // namespace qel
