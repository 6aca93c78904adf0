// Text functions of the C library that do not depend on the host's locale.
#pragma once

#include <qel/platform/api.h>

namespace qel::platform {

/// While an object of this class exists, the C library formats and reads numbers on this thread as in the "C"
/// locale, with a decimal point, whatever locale the host has set. Other threads are not affected.
/// @threads must be created and destroyed on the same thread; may be nested.
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
