// Formats GregorianDate as text.
#include <qel/foundation/locale/gregorian_date.h>
#include <qel/system/core/system.h>

#include <fmt/format.h>

#include <string>
#include <string_view>

namespace qel {

namespace {

/// Returns @p language, or the System's language if it is null or empty.
std::string effectiveLanguage(const char* language) {
    if (language && *language) return language;
    const System* system = Object::system();
    return system ? system->getLanguage() : String();
}

/// Returns true if dates are written the German way, with the day before the month. All other languages share
/// one form.
bool isGerman(std::string_view language) {
    return language == "de";
}

/// Returns day and month in the order of the language, and the year without its century.
String shortDate(const GregorianDate& date, const char* language, char germanSeparator, char separator) {
    const bool german = isGerman(effectiveLanguage(language));
    const int first = german ? date.getDay() : date.getMonth();
    const int second = german ? date.getMonth() : date.getDay();
    const char sign = german ? germanSeparator : separator;
    const std::string_view between(&sign, sign ? 1 : 0);
    return fmt::format("{:02}{}{:02}{}{:02}", first, between, second, between, date.getYear() % 100);
}

} // namespace

String GregorianDate::formatAsDICOMFriendlyID() const {
    return fmt::format("{:04}{:02}{:02}{:02}{:02}{:02}", getYear(), getMonth(), getDay(), getHours(),
                       getMinutes(), getSeconds());
}

String GregorianDate::formatAsDicomDate() const {
    return fmt::format("{:04}{:02}{:02}", getYear(), getMonth(), getDay());
}

String GregorianDate::formatAsDicomTime() const {
    const std::string time = fmt::format("{:02}{:02}{:02}", getHours(), getMinutes(), getSeconds());
    return m_nanos == 0 ? time : fmt::format("{}.{:06}", time, getMicros());
}

String GregorianDate::formatAsFilenameFriendlyIDWithTime() const {
    return fmt::format("{:04}{:02}{:02}-{:02}{:02}{:02}", getYear(), getMonth(), getDay(), getHours(),
                       getMinutes(), getSeconds());
}

String GregorianDate::formatAsLogDateTime() const {
    return fmt::format("[{:04}-{:02}-{:02}] [{:02}:{:02}:{:02}.{:03}]", getYear(), getMonth(), getDay(),
                       getHours(), getMinutes(), getSeconds(), getMillis());
}

String GregorianDate::formatAsTime() const {
    return fmt::format("{:02}:{:02}:{:02}", getHours(), getMinutes(), getSeconds());
}

String GregorianDate::formatAsHttpDate() const {
    // getWeekDay counts from Sunday and getWeekdayName from Monday, so the name is one day late.
    return fmt::format("{}, {:02} {} {:04} {:02}:{:02}:{:02}", getWeekdayName(getWeekDay(), "en"), getDay(),
                       getMonthName(getMonth(), "en"), getYear(), getHours(), getMinutes(), getSeconds());
}

String GregorianDate::formatAsUSDateTime() const {
    const std::string date = fmt::format("{:02}/{:02}/{:04}", getMonth(), getDay(), getYear());
    return zeroTime() ? date : date + " " + formatAsTime();
}

String GregorianDate::formatAsShortDate(const char* language) const {
    return shortDate(*this, language, '.', '/');
}

String GregorianDate::formatAsShortDateWithoutSeparator(const char* language) const {
    return shortDate(*this, language, '\0', '\0');
}

String GregorianDate::formatAsShortDateTime(const char* language) const {
    const String date = formatAsShortDate(language);
    return zeroTime() ? date : date + " " + formatAsTime();
}

String GregorianDate::formatAsShortTextDate(const char* language) const {
    const std::string effective = effectiveLanguage(language);
    const String month = getMonthName(getMonth(), effective.c_str());
    return isGerman(effective) ? fmt::format("{}. {} {}", getDay(), month, getYear())
                               : fmt::format("{}/{}/{}", month, getDay(), getYear());
}

String GregorianDate::formatAsShortTextDateTime(const char* language) const {
    const String date = formatAsShortTextDate(language);
    return zeroTime() ? date : String(fmt::format("{} {:02}:{:02}", date, getHours(), getMinutes()));
}

String GregorianDate::formatAsShortTextDateTimeSeconds(const char* language) const {
    const String date = formatAsShortTextDate(language);
    return zeroTime() ? date : date + " " + formatAsTime();
}

} // namespace qel
