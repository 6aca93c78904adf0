#include <qel/platform/c_locale.h>

#include <clocale>

#include <locale.h>

namespace qel::platform {

CLocaleScope::CLocaleScope() {
    static const locale_t plain =
        newlocale(LC_ALL_MASK, "C", nullptr); // the C library's own object, never freed
    m_previous = uselocale(plain);
}

CLocaleScope::~CLocaleScope() {
    uselocale(static_cast<locale_t>(m_previous));
}

} // namespace qel::platform
