// Camera: a source of live frames and photos.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/signal.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/imaging/pixels/image.h>
#include <qel/platform/api.h>

namespace qel {

/// The settings with which a camera is created. Only cameras of a platform read more than framesPerSecond.
class QEL_API CameraParameters {
public:
    String name;              ///< name of the camera in its CameraMetadata
    IVec2<int> resolution;    ///< wanted size of frames in pixels; 0 for the size that the camera prefers
    int framesPerSecond = 25; ///< wanted frames per second; values below 1 count as 1
};

/// An entry of a host's list of cameras.
class QEL_API CameraMetadata {
public:
    String name; ///< name of the camera, to be passed in CameraParameters
};

/// When the flash fires.
enum class FlashMode : int {
    Off = 0,  ///< never
    On = 1,   ///< with each photo
    Auto = 2, ///< as the camera decides
};

/// How the exposure is set.
enum class ExposureMode : int {
    Auto = 0,   ///< by the camera
    Locked = 1, ///< stays as it is
};

/// How the white balance is set.
enum class WhiteBalanceMode : int {
    Auto = 0,   ///< by the camera
    Locked = 1, ///< stays as it is
};

/// A camera. Platforms derive from it; DummyCamera shows a fixed picture. Frames and photos are images of
/// their own, which receivers may keep. @threads main thread.
class QEL_API Camera : public Object {
    QEL_CLASS(Camera, Object)

public:
    /// The commands of control(). Other values have no effect.
    enum class Command : int {
        Start = 0,              ///< starts the frames
        Stop = 1,               ///< stops the frames; none follows
        LockExposure = 2,       ///< exposureMode becomes Locked
        UnlockExposure = 3,     ///< exposureMode becomes Auto
        LockWhiteBalance = 4,   ///< whiteBalanceMode becomes Locked
        UnlockWhiteBalance = 5, ///< whiteBalanceMode becomes Auto
        TakePhoto = 8,          ///< emits photoSignal when the photo is taken
        FlashOn = 9,            ///< flashMode becomes On
        FlashOff = 10,          ///< flashMode becomes Off
        FlashAuto = 11,         ///< flashMode becomes Auto
    };

    /// Stores a copy of @p cameraParameters.
    explicit Camera(const CameraParameters& cameraParameters) : parameters(cameraParameters) {}

    /// Returns the number of photos that were requested and have not arrived.
    virtual int getNumPendingPhotos() { return pendingPhotos; }
    /// Returns the number of quarter turns by which frames must be rotated.
    virtual int getRotation() { return 0; }
    /// Returns true if the camera has a flash.
    virtual bool hasFlash() { return false; }
    /// Returns true if focusPoint() has an effect.
    virtual bool hasTapToFocus() { return false; }
    /// Returns true if the exposure can be locked.
    virtual bool hasExposureLock() { return false; }
    /// Returns true if the white balance can be locked.
    virtual bool hasWhiteBalanceLock() { return false; }
    /// Returns true if the camera can zoom.
    virtual bool hasZoomFactors() { return false; }
    /// Returns true if frames must be mirrored.
    virtual bool requiresMirror() { return false; }
    /// Returns true if the camera can deliver frames.
    virtual bool isValid() const = 0;
    /// Sets the modes; starting, stopping and photos are left to derived classes.
    virtual void control(Command command);
    /// Focuses on a point of the frame, 0 to 1 in both directions; does nothing here.
    virtual void focusPoint(const IVec2<float>& point);

    Signal<void(unsigned, SmartPointer<Image>)>
        frameSignal;                                ///< the milliseconds between two frames, and a frame
    Signal<void(SmartPointer<Image>)> photoSignal;  ///< a photo
    CameraParameters parameters;                    ///< as given to the constructor
    FlashMode flashMode = FlashMode::Off;           ///< set by control()
    ExposureMode exposureMode = ExposureMode::Auto; ///< set by control()
    WhiteBalanceMode whiteBalanceMode = WhiteBalanceMode::Auto; ///< set by control()
    int pendingPhotos = 0;                                      ///< see getNumPendingPhotos()
};

} // namespace qel
