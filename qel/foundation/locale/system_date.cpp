#include <qel/system/core/system.h>

#include <qel/foundation/locale/gregorian_date.h>

namespace qel {

String System::getUTCDateTimeString() {
    // The log calls this even if there is no System to supply a language.
    const String language = internal::g_system != nullptr ? internal::g_system->getLanguage() : String("en");
    return GregorianDate::fromUTCDateTime(getUTCDateTimeStatic()).formatAsShortDateTime(language.c_str());
}

} // namespace qel
