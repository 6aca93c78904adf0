#include <qel/platform/clock.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <limits>

namespace qel::platform {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

using BreakDown = tm* (*)(const time_t*, tm*);

bool breakDown(BreakDown function, std::int64_t unixSeconds, CalendarTime& result) {
    const time_t seconds = unixSeconds;
    tm fields{};
    if (!function(&seconds, &fields) || fields.tm_year > std::numeric_limits<int>::max() - 1900) return false;
    result = {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
              fields.tm_min,         fields.tm_sec,     fields.tm_wday};
    return true;
}

std::int64_t nanosecondsOf(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

} // namespace

std::int64_t steadyNanoseconds() {
    return nanosecondsOf(CLOCK_MONOTONIC);
}

std::int64_t threadNanoseconds() {
    return nanosecondsOf(CLOCK_THREAD_CPUTIME_ID);
}

std::int64_t utcTicks() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return (now.tv_sec + kSecondsFrom1601To1970) * kTicksPerSecond + now.tv_nsec / 100;
}

void sleepMilliseconds(std::uint32_t milliseconds) {
    timespec rest{static_cast<time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

bool localCalendarTime(std::int64_t unixSeconds, CalendarTime& result) {
    return breakDown(&localtime_r, unixSeconds, result);
}

bool utcCalendarTime(std::int64_t unixSeconds, CalendarTime& result) {
    return breakDown(&gmtime_r, unixSeconds, result);
}

std::int64_t unixSecondsFromLocal(const CalendarTime& time) {
    constexpr int kLowest = std::numeric_limits<int>::min();
    if (time.year < kLowest + 1900 || time.month == kLowest) return -1;
    tm fields{};
    fields.tm_year = time.year - 1900;
    fields.tm_mon = time.month - 1;
    fields.tm_mday = time.day;
    fields.tm_hour = time.hours;
    fields.tm_min = time.minutes;
    fields.tm_sec = time.seconds;
    fields.tm_isdst = -1;
    return mktime(&fields);
}

std::string localTimeText(std::int64_t unixSeconds) {
    const time_t seconds = unixSeconds;
    tm fields{};
    std::array<char, 64> text{}; // the C library asks for 26 bytes, and for more in years above 9999
    if (!localtime_r(&seconds, &fields)) return {};
    const int year = fields.tm_year;
    if (year > 9999 - 1900 || year < -999 - 1900 || !asctime_r(&fields, text.data())) return {};
    std::string result = text.data();
    result.pop_back(); // the newline
    return result;
}

} // namespace qel::platform
