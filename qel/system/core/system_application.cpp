#include <qel/system/core/system.h>

namespace qel {

Application* System::getApplication() {
    if (!m_application) m_application = m_applicationFactory();
    return m_application.get();
}

void System::clearApplication() {
    m_application = nullptr;
}

String System::popSavedStartupURL() {
    return std::exchange(m_savedStartupURL, String());
}

void System::_default_handleURL(const String& url) {
    m_savedStartupURL = url;
}

} // namespace qel
