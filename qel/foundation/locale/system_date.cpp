#include <qel/system/core/system.h>

#include <qel/foundation/locale/gregorian_date.h>

namespace qel {

String System::getUTCDateTimeString() {
    // The log asks for this also where no System lives whose language would count.
    const char* const language = internal::g_system != nullptr ? internal::g_system->getLanguage().c_str() : "en";
    return GregorianDate::fromUTCDateTime(getUTCDateTimeStatic()).formatAsShortDateTime(language);
}

} // namespace qel
