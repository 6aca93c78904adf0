#include <qel/foundation/locale/gregorian_date.h>

#include <qel/script/class_binder.h>
#include <qel/script/core_imports.h>

namespace qel {

namespace {

using Date = GregorianDate;

String monthName(int month) {
    return Date::getMonthName(month, nullptr);
}
String weekdayName(int day) {
    return Date::getWeekdayName(day, nullptr);
}

// Binds a form of the date whose language argument is optional.
using Form = String (Date::*)(const char*) const;
template <Form F>
String inSystemLanguage(Date& date) {
    return (date.*F)(nullptr);
}
template <Form F>
constexpr SQFUNCTION localised =
    &qelSq::callEither<0, &qelSq::callMethod<Date, &inSystemLanguage<F>>, &qelSq::callMethod<Date, F>>;

void bindStatics(qelSq::ClassBinder<Date>& binder) {
    using namespace qelSq;
    binder.staticFunction<&Date::getStaticClassName>("getClassName")
        .native("getMonthName", &callEither<1, &callStatic<&monthName>, &callStatic<&Date::getMonthName>>,
                true)
        .native("getWeekdayName",
                &callEither<1, &callStatic<&weekdayName>, &callStatic<&Date::getWeekdayName>>, true)
        .staticFunction<&Date::combineDateTime>("combineDateTime")
        .staticFunction<&Date::fromUTCDateTime>("fromUTCDateTime")
        .staticFunction<&Date::fromYYYYMMDD>("fromYYYYMMDD");
}

void bindForms(qelSq::ClassBinder<Date>& binder) {
    binder
        .native("formatAsShortTextDateTimeSeconds", localised<&Date::formatAsShortTextDateTimeSeconds>, false)
        .native("formatAsShortDate", localised<&Date::formatAsShortDate>, false)
        .native("formatAsShortDateWithoutSeparator", localised<&Date::formatAsShortDateWithoutSeparator>,
                false)
        .native("formatAsShortDateTime", localised<&Date::formatAsShortDateTime>, false)
        .native("formatAsShortTextDate", localised<&Date::formatAsShortTextDate>, false)
        .method<&Date::formatAsLogDateTime>("formatAsLogDateTime")
        .method<&Date::formatAsUSDateTime>("formatAsUSDateTime")
        .method<&Date::formatAsDicomDate>("formatAsFilenameFriendlyID")
        .method<&Date::formatAsFilenameFriendlyIDWithTime>("formatAsFilenameFriendlyIDWithTime")
        .method<&Date::formatAsDICOMFriendlyID>("formatAsDICOMFriendlyID")
        .method<&Date::formatAsDicomDate>("formatAsDicomDate")
        .method<&Date::formatAsDicomTime>("formatAsDicomTime");
}

void bindFields(qelSq::ClassBinder<Date>& binder) {
    binder.method<&Date::getWeekDay>("getWeekDay")
        .method<&Date::validDateRange>("validDateRange")
        .method<&Date::validTimeRange>("validTimeRange")
        .method<&Date::getYear>("getYear")
        .method<&Date::getMonth>("getMonth")
        .method<&Date::getDay>("getDay")
        .method<&Date::getHours>("getHours")
        .method<&Date::getMinutes>("getMinutes")
        .method<&Date::getSeconds>("getSeconds")
        .method<&Date::getNanos>("getNanos")
        .method<&Date::getMicros>("getMicros")
        .method<&Date::getMillis>("getMillis")
        .method<&Date::setHours>("setHours")
        .method<&Date::setMinutes>("setMinutes")
        .method<&Date::setSeconds>("setSeconds")
        .method<&Date::setNanos>("setNanos")
        .method<&Date::clear>("clear")
        .method<&Date::valid>("valid")
        .method<&Date::zeroDate>("zeroDate")
        .method<&Date::zeroTime>("zeroTime")
        .method<&Date::compare>("compare")
        .method<&Date::set>("set");
}

} // namespace

void GregorianDate::bindSqVM(qelSq::Object* cls) {
    qelSq::ClassBinder<Date> binder(cls);
    bindStatics(binder);
    binder.method<&Date::asUTCDateTimeLocalTime>("asUTCDateTimeLocalTime")
        .method<&Date::getTimeOfDay>("getTimeOfDay");
    bindForms(binder);
    bindFields(binder);
}

} // namespace qel

namespace qelSq {

void importGregorianDate(VM* vm, const char* tableName) {
    importClass<qel::GregorianDate>(vm, tableName);
}

} // namespace qelSq
