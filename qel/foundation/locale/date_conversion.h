// Between UTC stamps (100 ns ticks since 1601-01-01 00:00 UTC) and calendar dates.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/locale/gregorian_date.h>
#include <qel/platform/api.h>

namespace qel::util {

// Any stamp is harmless. Before 1970 a part of a second is told as negative nanoseconds of the second after
// it.

/// The moment @p stamp by the machine's time zone; the zero date where the system cannot tell.
/// @threads any thread.
QEL_API GregorianDate convertUTCDateTimeToLocalTime(int64 stamp);

/// The moment @p stamp in UTC; the zero date where the system cannot tell.
/// @threads any thread.
QEL_API GregorianDate convertUTCDateTimeToGMT(int64 stamp);

/// The moment @p stamp one hour ahead of UTC, in summer too.
/// @threads any thread.
QEL_API GregorianDate convertUTCDateTimeToGermanTime(int64 stamp);

/// The stamp of a moment told in the machine's time zone; fields beyond their ranges carry over.
/// @return 0 where the system cannot tell, or the stamp has no room for it.
/// @threads any thread.
QEL_API int64 convertToUTCDateTimeFromLocalTime(int year, int month, int day, int hours, int minutes,
                                                int seconds);

/// The same for the fields of @p date, with its nanoseconds in ticks added.
/// @threads any thread.
QEL_API int64 convertToUTCDateTimeFromLocalTime(const GregorianDate& date);

/// How long ago @p stamp was, by the System's last stamp: "2d 5h", "5h 12m", "12m", or the translation of
/// "lastminute" for less than half a minute. A stamp in the future gives negative numbers.
/// @threads any thread.
QEL_API String getAsTextTimePassedSince(int64 stamp);

} // namespace qel::util
