#include <qel/system/core/system.h>

namespace qel {

void System::setEnv(SmartCStr key, SmartCStr value) {
    m_environment.insert_or_assign(String(key.c_str()), String(value.c_str()));
}

void System::unsetEnv(SmartCStr key) {
    m_environment.erase(String(key.c_str()));
}

const char* System::getEnv(SmartCStr key) const {
    const auto found = m_environment.find(String(key.c_str()));
    return found != m_environment.end() ? found->second.c_str() : nullptr;
}

} // namespace qel
