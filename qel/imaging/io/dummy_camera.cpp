#include <qel/imaging/io/dummy_camera.h>

#include <qel/render/sprite.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qel {
namespace {

/// Keeps an object alive for the time of an emission, unless nobody counts references to it.
class KeepAlive {
public:
    explicit KeepAlive(Object* object) : m_object(object->getReferenceCount() > 0 ? object : nullptr) {
        if (m_object) m_object->increaseReferenceCount();
    }
    KeepAlive(const KeepAlive&) = delete;
    KeepAlive& operator=(const KeepAlive&) = delete;
    ~KeepAlive() {
        if (m_object) m_object->decreaseReferenceCount();
    }

private:
    Object* m_object;
};

} // namespace

DummyCamera::DummyCamera(const CameraParameters& cameraParameters)
    : Camera(cameraParameters),
      m_framePeriod(1000 / static_cast<uint32>(std::max(cameraParameters.framesPerSecond, 1))),
      m_picture(new Image(system()->getSprite("icon-product-appicon.png")->getImage())) {
    system()->signalApplicationTick.connect(this, &DummyCamera::slotTick);
}

void DummyCamera::control(Command command) {
    if (command == Command::Start) m_running = true;
    if (command == Command::Stop) m_running = false;
    if (command != Command::TakePhoto) return Camera::control(command);
    const KeepAlive self(this);
    photoSignal(SmartPointer<Image>(new Image(*m_picture)));
}

void DummyCamera::slotTick() {
    if (!m_running) return;
    const uint32 now = system()->getTime();
    if (now - m_lastFrameTime < m_framePeriod) return;
    m_lastFrameTime = now;
    const KeepAlive self(this);
    frameSignal(m_framePeriod, SmartPointer<Image>(new Image(*m_picture)));
}

} // namespace qel
