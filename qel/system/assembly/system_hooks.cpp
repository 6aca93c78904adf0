#include <qel/system/core/system.h>

#include <qel/imaging/io/dummy_camera.h>
#include <qel/script/notification_message.h>

namespace qel {

namespace {

/// Connects a listener that always returns @p value.
template <typename R, typename... Args, typename Value>
void answer(Delegate<R(Args...)>& hook, Value value) {
    hook.connect([value](Args...) -> R { return value; });
}

const Vector<CameraMetadata>& noCameras() {
    static const Vector<CameraMetadata> none;
    return none;
}

} // namespace

void System::connectDefaultHooks() {
    delegateSleep.connect([](unsigned milliseconds) { System::sleep(milliseconds); });
    delegateDeliverNotification.connect(
        [this](NotificationMessage* message) { m_savedStartupMessage = message; });
    delegateHandleURL.connect([this](const String& url) { _default_handleURL(url); });
    delegateSafeArea.connect([this] { return defaultSafeArea(); });
    delegateSafeAreaForControls.connect([this] { return defaultSafeArea(); });
    delegateAskPermission.connect([](int, const std::function<void(bool)>& answerWith) { answerWith(true); });

    delegateCreateCamera.connect(
        [](const CameraParameters& parameters) { return new DummyCamera(parameters); });
    delegateCameraList.connect([]() -> const Vector<CameraMetadata>& { return noCameras(); });
    answer(delegateCreateAudioInput, nullptr);
    answer(delegateCreateAudioOutput, nullptr);
    answer(delegateRenderGlyph, false);
    answer(delegateGlyphMetric, 0.0f);

    answer(delegateDeviceName, "");
    answer(delegatePlatformName, "Linux");
    answer(delegatePlatformVersion, "");
    answer(delegateDeviceModel, "");
    answer(delegateOperatingSystem, "Linux");
    answer(delegateBundleIdentifier, "org.qel");
    answer(delegateGetClipboardText, String());
    answer(delegateIsDarkAppearance, false);
    answer(delegateIsNetworkAvailable, true);
    answer(delegatePointerPosition, false);
    answer(delegateGraphicsMemoryInUse, uint64{0});
    answer(delegateGraphicsMemoryLimit, uint64{0x1000000000});
    answer(delegateThermalState, 0);
    answer(delegateBatteryPercent, -1);
}

} // namespace qel
