#include <qel/foundation/locale/date_conversion.h>

#include <qel/foundation/base/object.h>
#include <qel/platform/clock.h>
#include <qel/system/core/system.h>

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace qel::util {

namespace {

constexpr int64 kTicksPerSecond = 10'000'000;
constexpr int64 kTicksPerHour = 3600 * kTicksPerSecond;
constexpr int64 kSecondsFrom1601To1970 = 11'644'473'600;
constexpr int64 kNanosPerTick = 100;

/// A time since 1970: seconds, rounded towards zero, and the remaining ticks, which have the same sign.
struct UnixTime {
    int64 seconds;
    int64 ticks;
};

/// Divides before it moves the origin, so that no stamp overflows.
UnixTime unixTime(int64 stamp) {
    UnixTime time{stamp / kTicksPerSecond - kSecondsFrom1601To1970, stamp % kTicksPerSecond};
    if (time.seconds < 0 && time.ticks > 0) {
        time.seconds += 1;
        time.ticks -= kTicksPerSecond;
    }
    return time;
}

using BreakDown = bool (*)(std::int64_t, platform::CalendarTime&);

GregorianDate breakDown(BreakDown function, int64 stamp) {
    const UnixTime time = unixTime(stamp);
    platform::CalendarTime fields;
    if (!function(time.seconds, fields)) return {};
    return {fields.year,
            fields.month,
            fields.day,
            fields.hours,
            fields.minutes,
            fields.seconds,
            static_cast<int>(time.ticks * kNanosPerTick)};
}

/// Returns the ticks of @p seconds since 1601, or 0 if they are outside the range of a stamp.
int64 ticksOf(int64 seconds) {
    constexpr int64 kMost = std::numeric_limits<int64>::max() / kTicksPerSecond;
    return seconds > kMost || seconds < -kMost ? 0 : seconds * kTicksPerSecond;
}

/// Returns the System's last stamp, or the clock's if there is no System.
int64 present() {
    System* system = Object::system();
    return system ? system->getUTCDateTimeFast() : System::getUTCDateTimeStatic();
}

/// Returns the minutes from @p stamp to now, rounded to the nearest minute and limited to the range of int.
int minutesSince(int64 stamp) {
    constexpr double kLimit = std::numeric_limits<int>::max();
    const auto passed = static_cast<int64>(static_cast<uint64>(present()) - static_cast<uint64>(stamp));
    const double minutes = static_cast<double>(passed) / 10000000 / 60 + 0.5;
    return static_cast<int>(std::clamp(minutes, -kLimit, kLimit));
}

} // namespace

GregorianDate convertUTCDateTimeToLocalTime(int64 stamp) {
    return breakDown(&platform::localCalendarTime, stamp);
}

GregorianDate convertUTCDateTimeToGMT(int64 stamp) {
    return breakDown(&platform::utcCalendarTime, stamp);
}

GregorianDate convertUTCDateTimeToGermanTime(int64 stamp) {
    constexpr int64 kLast = std::numeric_limits<int64>::max();
    return convertUTCDateTimeToGMT(stamp > kLast - kTicksPerHour ? kLast : stamp + kTicksPerHour);
}

int64 convertToUTCDateTimeFromLocalTime(int year, int month, int day, int hours, int minutes, int seconds) {
    const int64 unixSeconds = platform::unixSecondsFromLocal({year, month, day, hours, minutes, seconds, 0});
    return unixSeconds == -1 ? 0 : ticksOf(unixSeconds + kSecondsFrom1601To1970);
}

int64 convertToUTCDateTimeFromLocalTime(const GregorianDate& date) {
    return convertToUTCDateTimeFromLocalTime(date.getYear(), date.getMonth(), date.getDay(), date.getHours(),
                                             date.getMinutes(), date.getSeconds()) +
           date.getNanos() / kNanosPerTick;
}

String getAsTextTimePassedSince(int64 stamp) {
    int minutes = minutesSince(stamp);
    const int days = minutes / 1440;
    minutes %= 1440;
    const int hours = minutes / 60;
    minutes %= 60;
    if (days) return fmt::format("{}d {}h", days, hours);
    if (hours) return fmt::format("{}h {}m", hours, minutes);
    if (minutes) return fmt::format("{}m", minutes);
    return Object::tr("lastminute", "");
}

} // namespace qel::util
