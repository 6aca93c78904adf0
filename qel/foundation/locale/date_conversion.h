// Converts between UTC stamps (100 ns ticks since 1601-01-01 00:00 UTC) and calendar dates.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/locale/gregorian_date.h>
#include <qel/platform/api.h>

namespace qel::util {

// Any stamp is accepted. Before 1970 a fraction of a second is stored as negative nanoseconds of the
// following second.

/// Returns the time @p stamp in the machine's time zone; the zero date if the system cannot convert it.
/// @threads any thread.
QEL_API GregorianDate convertUTCDateTimeToLocalTime(int64 stamp);

/// Returns the time @p stamp in UTC; the zero date if the system cannot convert it.
/// @threads any thread.
QEL_API GregorianDate convertUTCDateTimeToGMT(int64 stamp);

/// Returns the time @p stamp one hour ahead of UTC, in summer too.
/// @threads any thread.
QEL_API GregorianDate convertUTCDateTimeToGermanTime(int64 stamp);

/// Returns the stamp of a local time in the machine's time zone; fields outside their ranges carry over.
/// @return 0 if the system cannot convert the time or if it is outside the range of a stamp.
/// @threads any thread.
QEL_API int64 convertToUTCDateTimeFromLocalTime(int year, int month, int day, int hours, int minutes,
                                                int seconds);

/// Does the same for the fields of @p date and adds its nanoseconds as ticks.
/// @threads any thread.
QEL_API int64 convertToUTCDateTimeFromLocalTime(const GregorianDate& date);

/// Returns how long ago @p stamp was, relative to the System's last stamp: "2d 5h", "5h 12m", "12m", or the
/// translation of "lastminute" for less than half a minute. A stamp in the future yields negative numbers.
/// @threads any thread.
QEL_API String getAsTextTimePassedSince(int64 stamp);

} // namespace qel::util
