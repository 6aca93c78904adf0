// A calendar date with its time of day, as logs, reports, identifiers and people see it.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qelSq {
class Object;
}

namespace qel {

/// The older record that older stored data holds: a GregorianDate without nanoseconds.
struct GregorianDateLegacy {
    int16 year = 0;   ///< the full year
    int8 month = 0;   ///< 1 to 12
    int8 day = 0;     ///< 1 to 31
    int8 hours = 0;   ///< 0 to 23
    int8 minutes = 0; ///< 0 to 59
    int8 seconds = 0; ///< 0 to 59
};

/// A broken-down date and time without a time zone of its own. A plain value: it may hold anything, values
/// are cut to their field's width when stored, and the predicates tell what it is good for. All zero means
/// none.
///
/// What is stored and exchanged is a UTC stamp instead: an int64 of 100 ns ticks since 1601-01-01 00:00 UTC.
/// The conversions stand in date_conversion.h.
/// @threads a value; every operation may be called from any thread on objects of its own.
class QEL_API GregorianDate {
public:
    /// The zero date.
    GregorianDate() = default;
    /// Stores the fields, each cut to its width.
    GregorianDate(int year, int month, int day, int hours, int minutes, int seconds, int nanos);
    /// The older record's fields, with no nanoseconds.
    GregorianDate(const GregorianDateLegacy& legacy);
    /// The same as fromUTCDateTime().
    GregorianDate(int64 stamp);

    /// The class name, "GregorianDate".
    static const char* getStaticClassName() { return "GregorianDate"; }

    /// Stores the fields, each cut to its width.
    void set(int year, int month, int day, int hours, int minutes, int seconds, int nanos);
    /// Makes this the zero date.
    void clear() { *this = GregorianDate(); }

    int getYear() const { return m_year; }       ///< the full year, as 2024
    int getMonth() const { return m_month; }     ///< 1 to 12
    int getDay() const { return m_day; }         ///< 1 to 31
    int getHours() const { return m_hours; }     ///< 0 to 23
    int getMinutes() const { return m_minutes; } ///< 0 to 59
    int getSeconds() const { return m_seconds; } ///< 0 to 59
    int getNanos() const { return m_nanos; }     ///< nanoseconds of the second

    /// Nanoseconds rounded to microseconds; 1000000 where the rounding fills the second.
    int getMicros() const;
    /// Nanoseconds rounded to milliseconds; 1000 where the rounding fills the second.
    int getMillis() const;
    /// Hours and minutes as hours; the seconds do not count.
    float getTimeOfDay() const;
    /// The day of the week, 0 for Sunday to 6 for Saturday; -1 where the system cannot tell.
    int getWeekDay() const;

    void setYear(int year);       ///< cut to 16 bits
    void setMonth(int month);     ///< cut to 8 bits
    void setDay(int day);         ///< cut to 8 bits
    void setHours(int hours);     ///< cut to 8 bits
    void setMinutes(int minutes); ///< cut to 8 bits
    void setSeconds(int seconds); ///< cut to 8 bits
    void setNanos(int nanos);     ///< nanoseconds of the second

    /// Whether year, month and day are all there (not zero).
    bool valid() const;
    /// Whether year, month and day are all zero. Not the opposite of valid(): a year alone is neither.
    bool zeroDate() const;
    /// Whether hours, minutes, seconds and nanoseconds are all zero.
    bool zeroTime() const;
    /// Whether the date is one of the calendar's in the years 1800 to 2200.
    bool validDateRange() const;
    /// Whether no field of the time is above its range; negative values pass.
    bool validTimeRange() const;

    /// Negative, zero or positive as this lies before, at or after @p other.
    int compare(const GregorianDate& other) const;

    /// The date of @p date with the time of @p time.
    static GregorianDate combineDateTime(const GregorianDate& date, const GregorianDate& time);
    /// The local date and time of a UTC stamp; the zero date where the system cannot tell.
    static GregorianDate fromUTCDateTime(int64 stamp);
    /// The UTC stamp of this as local time; 0 where the system cannot tell.
    int64 asUTCDateTimeLocalTime() const;
    /// Reads eight digits, as "20240305"; what follows them is ignored and no range is checked.
    /// @errors std::invalid_argument or std::out_of_range, as std::stoi and std::string::substr have them.
    static GregorianDate fromYYYYMMDD(const String& text);

    /// The short name of @p month (1 to 12) in @p language, "err" outside the range. A name
    /// stays as it was first translated.
    /// @param language  null counts as empty: the translation for no language in particular.
    static String getMonthName(int month, const char* language);
    /// The short name of @p day (0 for Monday to 6 for Sunday) in @p language, "err" outside the range. A
    /// name stays as it was first translated.
    /// @param language  null counts as empty: the translation for no language in particular.
    static String getWeekdayName(int day, const char* language);

    /// "20240305143007".
    String formatAsDICOMFriendlyID() const;
    /// "20240305".
    String formatAsDicomDate() const;
    /// "143007", or "143007.123457" when there are nanoseconds.
    String formatAsDicomTime() const;
    /// "20240305-143007".
    String formatAsFilenameFriendlyIDWithTime() const;
    /// "[2024-03-05] [14:30:07.123]".
    String formatAsLogDateTime() const;
    /// "14:30:07".
    String formatAsTime() const;
    /// "Wed, 05 Mar 2024 14:30:07", in English. The name is that of the day after the date's own (5 March
    /// 2024 is a Tuesday): readers have come to expect it. No zone is written.
    String formatAsHttpDate() const;
    /// "03/05/2024 14:30:07"; the date alone at midnight.
    String formatAsUSDateTime() const;

    // A language of null or empty means the System's. "de" has forms of its own; all others share one.

    /// "05.03.24" in "de", else "03/05/24".
    String formatAsShortDate(const char* language = nullptr) const;
    /// "050324" in "de", else "030524".
    String formatAsShortDateWithoutSeparator(const char* language = nullptr) const;
    /// formatAsShortDate() and, unless midnight, " 14:30:07".
    String formatAsShortDateTime(const char* language = nullptr) const;
    /// "5. Mar 2024" in "de", else "Mar/5/2024", with the month's name in the language.
    String formatAsShortTextDate(const char* language = nullptr) const;
    /// formatAsShortTextDate() and, unless midnight, " 14:30".
    String formatAsShortTextDateTime(const char* language = nullptr) const;
    /// formatAsShortTextDate() and, unless midnight, " 14:30:07".
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
