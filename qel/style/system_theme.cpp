#include <qel/system/core/system.h>

#include <qel/style/theme.h>

namespace qel {

Theme* System::getTheme() {
    if (m_themes.empty()) m_themes.emplace_back(new Theme);
    return static_cast<Theme*>(m_themes.back().get());
}

void System::pushTheme(Theme* theme) {
    if (theme != nullptr) m_themes.emplace_back(theme);
}

void System::popTheme() {
    if (m_themes.empty()) return;
    const SmartPointer<Object> removed = m_themes.back(); // dies after the stack has changed
    m_themes.pop_back();
}

void System::setTheme(Theme* theme) {
    if (theme == nullptr) return;
    Vector<SmartPointer<Object>> removed;
    removed.swap(m_themes);
    pushTheme(theme);
}

void System::releaseThemes() {
    Vector<SmartPointer<Object>> removed;
    removed.swap(m_themes);
}

} // namespace qel
