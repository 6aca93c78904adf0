#include <qel/volume/arcball_camera.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qel {

namespace {

using Vector3 = IVec3<double>;

/// Returns @p v with length 1; a vector without a direction becomes zero.
Vector3 normalize(const Vector3& v) {
    const double length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    if (!(length > 0) || !std::isfinite(length)) return {};
    return {v.x / length, v.y / length, v.z / length};
}

Vector3 cross(const Vector3& a, const Vector3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

bool isFinite(const Float3x3& matrix) {
    return std::all_of(matrix.data(), matrix.data() + 9, [](float v) { return std::isfinite(v); });
}

} // namespace

void ArcballCamera::reset() {
    m_direction = {0, 0, 1};
    m_up = {0, 1, 0};
    m_distance = 1;
}

void ArcballCamera::rotateX(float radians) {
    rotate(Vector3(m_up), radians);
}

void ArcballCamera::rotateY(float radians) {
    rotate(cross(Vector3(m_up), Vector3(m_direction)), radians);
}

void ArcballCamera::zoom(float delta) {
    setDistance(m_distance + delta);
}

void ArcballCamera::setDistance(float distance) {
    if (std::isnan(distance)) return;
    m_distance = std::min(std::max(distance, m_minDistance), m_maxDistance);
}

void ArcballCamera::setMinMaxDistance(float min, float max) {
    if (std::isnan(min) || std::isnan(max)) return;
    constexpr float kMost = std::numeric_limits<float>::max();
    m_minDistance = std::clamp(min, -kMost, kMost); // an infinite distance has no view
    m_maxDistance = std::clamp(max, -kMost, kMost);
    setDistance(m_distance);
}

Float4x4 ArcballCamera::getViewMatrix() const {
    const Vector3 direction(m_direction);
    const Double4x4 turn = Double4x4::LookAt({}, {-direction.x, -direction.y, -direction.z}, Vector3(m_up));
    const Vector3 eye(IVec3<float>(m_direction.x * m_distance, m_direction.y * m_distance, //
                                   m_direction.z * m_distance));
    const Double4x4 view = Double4x4::Translation({-eye.x, -eye.y, -eye.z}).multiply(turn);
    return {IVec4<float>(view[0]), IVec4<float>(view[1]), IVec4<float>(view[2]), IVec4<float>(view[3])};
}

Float3x3 ArcballCamera::getPseudoMatrix() const {
    return {m_up, m_direction, IVec3<float>()};
}

void ArcballCamera::setPseudoMatrix(const Float3x3& matrix) {
    if (!isFinite(matrix)) return;
    m_up = matrix.row(0);
    m_direction = matrix.row(1);
}

// The tip of the up vector is carried along, so that rounding does not tilt it.
void ArcballCamera::rotate(const Vector3& axis, float radians) {
    if (!std::isfinite(radians)) return;
    const Double4x4 turn = Double4x4::Rotation(normalize(axis), static_cast<double>(radians));
    const Vector3 oldDirection(m_direction);
    const Vector3 tip = turn.transform(Vector3(
        oldDirection.x + double{m_up.x}, oldDirection.y + double{m_up.y}, oldDirection.z + double{m_up.z}));
    const Vector3 direction = normalize(turn.transform(oldDirection));
    m_direction = IVec3<float>(direction);
    m_up = IVec3<float>(normalize({tip.x - direction.x, tip.y - direction.y, tip.z - direction.z}));
}

} // namespace qel
