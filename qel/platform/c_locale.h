// Text functions of the C library without the host's locale.
#pragma once

#include <qel/platform/api.h>

namespace qel::platform {

/// While one exists, the C library formats and reads numbers on this thread as in the "C" locale, with a
/// point for the decimals, whatever locale the host has set. Other threads are not touched.
/// @threads made and destroyed on one thread; may be nested.
class QEL_API CLocaleScope {
public:
    CLocaleScope();
    ~CLocaleScope();
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    void* m_previous;
};

} // namespace qel::platform
