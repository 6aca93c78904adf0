#include <qel/imaging/io/camera.h>

namespace qel {

void Camera::control(Command command) {
    switch (command) {
    case Command::LockExposure:
        exposureMode = ExposureMode::Locked;
        break;
    case Command::UnlockExposure:
        exposureMode = ExposureMode::Auto;
        break;
    case Command::LockWhiteBalance:
        whiteBalanceMode = WhiteBalanceMode::Locked;
        break;
    case Command::UnlockWhiteBalance:
        whiteBalanceMode = WhiteBalanceMode::Auto;
        break;
    case Command::FlashOn:
        flashMode = FlashMode::On;
        break;
    case Command::FlashOff:
        flashMode = FlashMode::Off;
        break;
    case Command::FlashAuto:
        flashMode = FlashMode::Auto;
        break;
    default:
        break;
    }
}

void Camera::focusPoint(const IVec2<float>&) {}

} // namespace qel
