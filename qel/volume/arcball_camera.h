// ArcballCamera: a camera that orbits around the origin.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/matrix.h>
#include <qel/platform/api.h>

namespace qel {

/// Looks at the origin from getDirection() * getDistance(). Arguments that are NaN, and angles and matrices
/// that are not finite, are ignored.
class QEL_API ArcballCamera {
public:
    /// Starts on the z axis at distance 1, with y upwards and no limits of the distance.
    ArcballCamera() = default;

    /// Restores direction, up vector and distance 1, and keeps the limits.
    void reset();
    /// Turns the camera about its up vector: @p radians to the left, from the origin's view of the camera.
    void rotateX(float radians);
    /// Turns the camera about the axis to its side.
    void rotateY(float radians);
    /// Adds @p delta to the distance, within the limits.
    void zoom(float delta);
    /// Sets the distance, within the limits.
    void setDistance(float distance);
    /// Sets the limits of the distance and moves the distance into them; if @p min exceeds @p max, @p max
    /// counts. An infinite limit means none: the distance stays finite.
    void setMinMaxDistance(float min, float max);

    /// Returns the distance from the origin.
    float getDistance() const { return m_distance; }
    /// Returns the unit vector from the origin to the camera.
    const IVec3<float>& getDirection() const { return m_direction; }
    /// Returns the unit vector that is up in the picture.
    const IVec3<float>& getUp() const { return m_up; }

    /// Returns the view matrix, Float4x4::LookAt() from the camera to the origin. At distance 0 the camera
    /// looks against its direction.
    Float4x4 getViewMatrix() const;
    /// Returns the orientation as one value: row 0 the up vector, row 1 the direction, row 2 zero.
    Float3x3 getPseudoMatrix() const;
    /// Takes an orientation that getPseudoMatrix() returned.
    void setPseudoMatrix(const Float3x3& matrix);

private:
    void rotate(const IVec3<double>& axis, float radians);

    float m_distance = 1;
    float m_maxDistance = 3.4028235e38f;
    float m_minDistance = 0;
    IVec3<float> m_direction{0, 0, 1};
    IVec3<float> m_up{0, 1, 0};
};

} // namespace qel
