// GregorianDate: a calendar date and a time of day.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qelSq {
class Object;
}

namespace qel {

/// The record in older stored data: a GregorianDate without nanoseconds.
struct GregorianDateLegacy {
    int16 year = 0;   ///< the full year
    int8 month = 0;   ///< 1 to 12
    int8 day = 0;     ///< 1 to 31
    int8 hours = 0;   ///< 0 to 23
    int8 minutes = 0; ///< 0 to 59
    int8 seconds = 0; ///< 0 to 59
};

/// A date and time in calendar fields, without a time zone. It is a plain value that may hold anything:
/// fields are truncated to their width when stored, and the predicates check them. If all fields are zero,
/// there is no date.
///
/// Stored and exchanged data holds a UTC stamp instead: an int64 of 100 ns ticks since 1601-01-01 00:00 UTC.
/// The conversions are in date_conversion.h.
/// @threads any thread; each object must be used by one thread at a time.
class QEL_API GregorianDate {
public:
    /// Creates the zero date.
    GregorianDate() = default;
    /// Stores the fields, each truncated to its width.
    GregorianDate(int year, int month, int day, int hours, int minutes, int seconds, int nanos);
    /// Copies the fields of the older record; the nanoseconds are 0.
    GregorianDate(const GregorianDateLegacy& legacy);
    /// Converts @p stamp as fromUTCDateTime() does.
    GregorianDate(int64 stamp);

    /// Returns the class name, "GregorianDate".
    static const char* getStaticClassName() { return "GregorianDate"; }

    /// Stores the fields, each truncated to its width.
    void set(int year, int month, int day, int hours, int minutes, int seconds, int nanos);
    /// Sets this to the zero date.
    void clear() { *this = GregorianDate(); }

    int getYear() const { return m_year; }       ///< the full year, such as 2024
    int getMonth() const { return m_month; }     ///< 1 to 12
    int getDay() const { return m_day; }         ///< 1 to 31
    int getHours() const { return m_hours; }     ///< 0 to 23
    int getMinutes() const { return m_minutes; } ///< 0 to 59
    int getSeconds() const { return m_seconds; } ///< 0 to 59
    int getNanos() const { return m_nanos; }     ///< nanoseconds of the second

    /// Returns the nanoseconds rounded to microseconds; 1000000 if they round up to a full second.
    int getMicros() const;
    /// Returns the nanoseconds rounded to milliseconds; 1000 if they round up to a full second.
    int getMillis() const;
    /// Returns the hours and minutes as a number of hours; the seconds are ignored.
    float getTimeOfDay() const;
    /// Returns the day of the week, 0 for Sunday to 6 for Saturday; -1 if the system cannot determine it.
    int getWeekDay() const;

    void setYear(int year);       ///< truncated to 16 bits
    void setMonth(int month);     ///< truncated to 8 bits
    void setDay(int day);         ///< truncated to 8 bits
    void setHours(int hours);     ///< truncated to 8 bits
    void setMinutes(int minutes); ///< truncated to 8 bits
    void setSeconds(int seconds); ///< truncated to 8 bits
    void setNanos(int nanos);     ///< nanoseconds of the second

    /// Returns true if year, month and day are all set (not zero).
    bool valid() const;
    /// Returns true if year, month and day are all zero. It is not the opposite of valid(): for a year alone,
    /// both are false.
    bool zeroDate() const;
    /// Returns true if hours, minutes, seconds and nanoseconds are all zero.
    bool zeroTime() const;
    /// Returns true if the date exists in the calendar and is in the years 1800 to 2200.
    bool validDateRange() const;
    /// Returns true if no field of the time is above its range; negative values are accepted.
    bool validTimeRange() const;

    /// Returns a negative value, zero or a positive value if this is before, equal to or after @p other.
    int compare(const GregorianDate& other) const;

    /// Returns the date of @p date combined with the time of @p time.
    static GregorianDate combineDateTime(const GregorianDate& date, const GregorianDate& time);
    /// Returns the local date and time of a UTC stamp; the zero date if the system cannot convert it.
    static GregorianDate fromUTCDateTime(int64 stamp);
    /// Returns the UTC stamp of this date and time, taken as local; 0 if the system cannot convert it.
    int64 asUTCDateTimeLocalTime() const;
    /// Parses eight digits, such as "20240305"; what follows them is ignored and no range is checked.
    /// @errors throws std::invalid_argument or std::out_of_range, as std::stoi and std::string::substr do.
    static GregorianDate fromYYYYMMDD(const String& text);

    /// Returns the short name of @p month (1 to 12) in @p language, or "err" outside the range. The first
    /// translation of a name is kept.
    /// @param language  null counts as empty, which selects the neutral translation.
    static String getMonthName(int month, const char* language);
    /// Returns the short name of @p day (0 for Monday to 6 for Sunday) in @p language, or "err" outside the
    /// range. The first translation of a name is kept.
    /// @param language  null counts as empty, which selects the neutral translation.
    static String getWeekdayName(int day, const char* language);

    /// Returns the form "20240305143007".
    String formatAsDICOMFriendlyID() const;
    /// Returns the form "20240305".
    String formatAsDicomDate() const;
    /// Returns the form "143007", or "143007.123457" if the nanoseconds are not 0.
    String formatAsDicomTime() const;
    /// Returns the form "20240305-143007".
    String formatAsFilenameFriendlyIDWithTime() const;
    /// Returns the form "[2024-03-05] [14:30:07.123]".
    String formatAsLogDateTime() const;
    /// Returns the form "14:30:07".
    String formatAsTime() const;
    /// Returns the form "Wed, 05 Mar 2024 14:30:07", in English and without a time zone. The weekday is one
    /// day late (5 March 2024 is a Tuesday), because readers have come to expect it.
    String formatAsHttpDate() const;
    /// Returns the form "03/05/2024 14:30:07"; only the date at midnight.
    String formatAsUSDateTime() const;

    // A null or empty language means the System's. "de" has its own forms; all other languages share one.

    /// Returns the form "05.03.24" in "de", otherwise "03/05/24".
    String formatAsShortDate(const char* language = nullptr) const;
    /// Returns the form "050324" in "de", otherwise "030524".
    String formatAsShortDateWithoutSeparator(const char* language = nullptr) const;
    /// Returns formatAsShortDate() followed by " 14:30:07" unless the time is midnight.
    String formatAsShortDateTime(const char* language = nullptr) const;
    /// Returns the form "5. Mar 2024" in "de", otherwise "Mar/5/2024", with the month's name in the language.
    String formatAsShortTextDate(const char* language = nullptr) const;
    /// Returns formatAsShortTextDate() followed by " 14:30" unless the time is midnight.
    String formatAsShortTextDateTime(const char* language = nullptr) const;
    /// Returns formatAsShortTextDate() followed by " 14:30:07" unless the time is midnight.
    String formatAsShortTextDateTimeSeconds(const char* language = nullptr) const;

    /// Fills the script class @p cls. Defined in gregorian_date_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

private:
    int32 m_nanos = 0;
    int16 m_year = 0;
    int8 m_month = 0;
    int8 m_day = 0;
    int8 m_hours = 0;
    int8 m_minutes = 0;
    int8 m_seconds = 0;
};

} // namespace qel
