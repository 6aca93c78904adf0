// The machine's clocks, waiting, and the calendar of the machine's time zone.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>
#include <string>

namespace qel::platform {

/// The steady clock: nanoseconds since some fixed moment, never going back. Does not count suspended time.
/// @threads any thread.
QEL_API std::int64_t steadyNanoseconds();

/// The wall clock: 100 ns ticks since 1601-01-01 00:00:00 UTC. May jump when the clock is set.
/// @threads any thread.
QEL_API std::int64_t utcTicks();

/// Blocks the calling thread for at least @p milliseconds, signals notwithstanding; 0 only yields.
/// @threads any thread.
QEL_API void sleepMilliseconds(std::uint32_t milliseconds);

/// A moment as a calendar shows it.
struct CalendarTime {
    int year = 0;    ///< the full year, as 2024
    int month = 0;   ///< 1 to 12
    int day = 0;     ///< 1 to 31
    int hours = 0;   ///< 0 to 23
    int minutes = 0; ///< 0 to 59
    int seconds = 0; ///< 0 to 60, 60 only where the zone's table has leap seconds
    int weekDay = 0; ///< 0 for Sunday to 6 for Saturday
};

/// Breaks @p unixSeconds (since 1970-01-01 UTC) down by the machine's time zone.
/// @return false where the year does not fit an int; @p result is then unchanged.
/// @threads any thread; a change of the zone is seen after the C library's next tzset.
QEL_API bool localCalendarTime(std::int64_t unixSeconds, CalendarTime& result);

/// Breaks @p unixSeconds (since 1970-01-01 UTC) down in UTC.
/// @return false where the year does not fit an int; @p result is then unchanged.
/// @threads any thread.
QEL_API bool utcCalendarTime(std::int64_t unixSeconds, CalendarTime& result);

/// Seconds since 1970-01-01 UTC of a moment told in the machine's time zone. Fields may lie outside their
/// ranges and are carried over (month 13 is the next January); weekDay is not read. Whether daylight saving
/// holds is decided by the zone's table.
/// @return -1 where the moment cannot be told; the second before 1970 is -1 too.
/// @threads any thread.
QEL_API std::int64_t unixSecondsFromLocal(const CalendarTime& time);

/// @p unixSeconds in the C library's fixed form, as "Sun Sep 16 01:03:52 1973", by the machine's time zone
/// and without the newline; empty where localCalendarTime fails. English in every locale.
/// @threads any thread.
QEL_API std::string localTimeText(std::int64_t unixSeconds);

} // namespace qel::platform
