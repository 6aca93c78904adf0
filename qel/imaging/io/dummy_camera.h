// DummyCamera: a camera that shows one picture.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/imaging/io/camera.h>

namespace qel {

/// Delivers the product's icon at a fixed rate, so that scenes with a camera run on any machine. Without the
/// icon, frames are uninitialised images. @threads main thread; System must exist.
class QEL_API DummyCamera : public Camera {
    QEL_CLASS(DummyCamera, Camera)

public:
    /// Copies the pixels of the sprite "icon-product-appicon.png" and connects to the passes of System.
    /// @errors logs an error if there is no such resource.
    explicit DummyCamera(const CameraParameters& cameraParameters);

    bool isValid() const override { return true; }
    /// Does the same as Camera::control(), and starts, stops and takes photos.
    void control(Command command) override;

private:
    void slotTick();

    uint32 m_lastFrameTime = 0;
    bool m_running = false;
    uint32 m_framePeriod;
    SmartPointer<Image> m_picture;
};

} // namespace qel
