#include <qel/system/core/system.h>

namespace qel {

bool System::isLowPowerModeApplicable() const {
    return getTimeFast() - m_lastActivityTime > 1000;
}

void System::disableLowPowerModeShortly() {
    noteActivity();
}

void System::setBackgroundMode(bool on) {
    if (on == m_backgroundMode) return;
    m_backgroundMode = on;
    if (on)
        signalEnterBackground();
    else
        signalLeaveBackground();
}

void System::syncUnsaved() {
    signalSyncUnsaved();
    signalSyncUnsaved();
}

void System::setSecureClose(bool on) {
    if (m_secureClose == static_cast<int>(on)) return;
    m_secureClose = on;
    delegateSecureClose(on);
}

void System::processFramebufferSizeChange(int width, int height) {
    m_framebufferWidth = width;
    m_framebufferHeight = height;
    m_forceRenderWhileTick = true;
    noteActivity();
    const auto area = [](int64 w, int64 h) { return w * h; };
    if (area(width, height) > area(m_maxFramebufferSize.x, m_maxFramebufferSize.y))
        m_maxFramebufferSize = IVec2<int>(width, height);
}

String System::getLanguage() const {
    const MutexLock lock(m_languageMutex);
    return m_language;
}

void System::setCurrentRotation(int deviceRotation) {
    m_currentRotation = deviceRotation == 1   ? Rotation::Clockwise90
                        : deviceRotation == 2 ? Rotation::Clockwise270
                                              : Rotation::None;
}

void System::setLanguage(SmartCStr language) {
    String lower = String(language.c_str()).utf8_lowercase();
    const MutexLock lock(m_languageMutex);
    m_language.swap(lower);
}

bool System::hasSecureKeyImplementation() const {
    return delegateSecureKeyStore.isConnected();
}

IVec4<float> System::defaultSafeArea() const {
    return IVec4<float>(0.0f, m_statusBarSize, static_cast<float>(m_framebufferWidth),
                        static_cast<float>(m_framebufferHeight - m_keyboardHeight));
}

} // namespace qel
