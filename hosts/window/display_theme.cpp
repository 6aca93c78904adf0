#include <hosts/window/display_theme.h>

#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelwindow {

void DisplayTheme::adaptToWindow() {
    qel::Theme& theme = *qel::Object::system()->getTheme();
    const DisplayFacts display = m_window.getDisplay();
    const qel::IVec2<int> size = m_window.getSize();
    theme.setDevice(display.dpi, display.sizeInches, size.x, size.y, display.retinaScaleFactor);
    if (m_userScale != 1) theme.setUserDpiScaling(m_userScale);
}

void DisplayTheme::setUserScale(float scale) {
    m_userScale = std::isnan(scale) ? 1 : std::clamp(scale, kLeastScale, kLargestScale);
    qel::Object::system()->getTheme()->setUserDpiScaling(m_userScale);
}

} // namespace qelwindow
