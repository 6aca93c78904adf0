// The machine's clocks, waiting, and the calendar in the machine's time zone.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>
#include <string>

namespace qel::platform {

/// Returns the steady clock: nanoseconds since some fixed moment. It never goes back and does not count time
/// spent suspended.
/// @threads any thread.
QEL_API std::int64_t steadyNanoseconds();

/// Returns the processor time that the calling thread has taken, in nanoseconds.
/// @threads any thread; each has a time of its own.
std::int64_t threadNanoseconds();

/// Returns the wall clock: 100 ns ticks since 1601-01-01 00:00:00 UTC. It may jump when the clock is set.
/// @threads any thread.
QEL_API std::int64_t utcTicks();

/// Blocks the calling thread for at least @p milliseconds, even if signals arrive; 0 only yields.
/// @threads any thread.
QEL_API void sleepMilliseconds(std::uint32_t milliseconds);

/// A moment in calendar fields.
struct CalendarTime {
    int year = 0;    ///< the full year, such as 2024
    int month = 0;   ///< 1 to 12
    int day = 0;     ///< 1 to 31
    int hours = 0;   ///< 0 to 23
    int minutes = 0; ///< 0 to 59
    int seconds = 0; ///< 0 to 60; 60 only where the time zone's table has leap seconds
    int weekDay = 0; ///< 0 for Sunday to 6 for Saturday
};

/// Converts @p unixSeconds (since 1970-01-01 UTC) to calendar fields in the machine's time zone.
/// @return false if the year does not fit an int; @p result is then unchanged.
/// @threads any thread; a change of the time zone takes effect after the C library's next tzset.
QEL_API bool localCalendarTime(std::int64_t unixSeconds, CalendarTime& result);

/// Converts @p unixSeconds (since 1970-01-01 UTC) to calendar fields in UTC.
/// @return false if the year does not fit an int; @p result is then unchanged.
/// @threads any thread.
QEL_API bool utcCalendarTime(std::int64_t unixSeconds, CalendarTime& result);

/// Returns the seconds since 1970-01-01 UTC of a moment given in the machine's time zone. Fields may lie
/// outside their ranges and are carried over (month 13 is the next January); weekDay is ignored. The time
/// zone's table decides whether daylight saving time applies.
/// @return -1 if the moment cannot be represented; the last second before 1970 is -1 as well.
/// @threads any thread.
QEL_API std::int64_t unixSecondsFromLocal(const CalendarTime& time);

/// Formats @p unixSeconds in the C library's fixed form, such as "Sun Sep 16 01:03:52 1973", in the machine's
/// time zone and without the newline. The text is English in every locale; it is empty if localCalendarTime
/// fails.
/// @threads any thread.
QEL_API std::string localTimeText(std::int64_t unixSeconds);

} // namespace qel::platform
