#include "host_application.h"

namespace qelhost {

HostApplication::HostApplication() : m_plugins(new qel::Plugins()) {}

HostApplication& HostApplication::instance() {
    return *static_cast<HostApplication*>(application());
}

} // namespace qelhost
