#include <qel/foundation/base/matrix.h>

#include <cmath>

namespace qel {

namespace {

using Vector3 = IVec3<double>;

constexpr double kRadiansPerDegree = 0.017453292519943295;

double dot(const Vector3& a, const Vector3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector3 cross(const Vector3& a, const Vector3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Returns @p v with length 1; a vector without a direction becomes zero.
Vector3 normalize(const Vector3& v) {
    const double length = std::sqrt(dot(v, v));
    if (!(length > 0) || !std::isfinite(length)) return {};
    return {v.x / length, v.y / length, v.z / length};
}

double determinant(const Double3x3& m) {
    return dot(m.row(0), cross(m.row(1), m.row(2)));
}

/// Returns @p m without row @p skipRow and column @p skipColumn.
Double3x3 minor(const Double4x4& m, int skipRow, int skipColumn) {
    Double3x3 rest;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rest[r][c] = m[r + (r >= skipRow)][c + (c >= skipColumn)];
    return rest;
}

/// Stores the transposed cofactors. @return the determinant.
double adjugate(const Double3x3& m, Double3x3& result) {
    for (int i = 0; i < 3; ++i) {
        const Vector3 cofactors = cross(m.row((i + 1) % 3), m.row((i + 2) % 3));
        for (int r = 0; r < 3; ++r) result[r][i] = cofactors[r];
    }
    return determinant(m);
}

double adjugate(const Double4x4& m, Double4x4& result) {
    double sum = 0;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            const double cofactor = determinant(minor(m, r, c)) * ((r + c) % 2 == 0 ? 1 : -1);
            result[c][r] = cofactor;
            if (r == 0) sum += m[0][c] * cofactor;
        }
    return sum;
}

template <typename Wide, typename M>
Wide widen(const M& m, int size) {
    Wide wide;
    for (int r = 0; r < size; ++r)
        for (int c = 0; c < size; ++c) wide[r][c] = static_cast<double>(m[r][c]);
    return wide;
}

} // namespace

namespace internal {

template <typename Self, typename T, int N>
Self SquareMatrix<Self, T, N>::inverse() const {
    using Wide = std::conditional_t<N == 3, Double3x3, Double4x4>;
    Wide cofactors;
    const double det = adjugate(widen<Wide>(*this, N), cofactors);
    if (det == 0 || !std::isfinite(det)) return Self(T(0));
    return map([&](int r, int c) { return static_cast<T>(cofactors[r][c] / det); });
}

template <typename Self, typename T>
T Matrix3<Self, T>::determinant() const {
    return static_cast<T>(qel::determinant(widen<Double3x3>(*this, 3)));
}

template <typename Self, typename Small, typename T>
Self Matrix4<Self, Small, T>::Scaling(const IVec3<T>& v) {
    return Self({v.x, 0, 0, 0}, {0, v.y, 0, 0}, {0, 0, v.z, 0}, {0, 0, 0, 1});
}

template <typename Self, typename Small, typename T>
Self Matrix4<Self, Small, T>::Translation(const IVec3<T>& v) {
    Self result;
    result.setRow(3, {v.x, v.y, v.z, 1});
    return result;
}

template <typename Self, typename Small, typename T>
Self Matrix4<Self, Small, T>::Rotation(const IVec3<T>& axis, T radians) {
    const Vector3 a(axis);
    const double c = std::cos(static_cast<double>(radians));
    const double s = std::sin(static_cast<double>(radians));
    const double t = 1 - c;
    const Double3x3 block(a.x * a.x * t + c, a.x * a.y * t - s * a.z, a.z * a.x * t + s * a.y, //
                          a.x * a.y * t + s * a.z, a.y * a.y * t + c, a.y * a.z * t - s * a.x, //
                          a.z * a.x * t - s * a.y, a.y * a.z * t + s * a.x, a.z * a.z * t + c);
    Self result;
    for (int i = 0; i < 9; ++i) result[i / 3][i % 3] = static_cast<T>(block[i / 3][i % 3]);
    return result;
}

template <typename Self, typename Small, typename T>
Self Matrix4<Self, Small, T>::LookAt(const IVec3<T>& eye, const IVec3<T>& target, const IVec3<T>& up) {
    const Vector3 from(eye);
    const Vector3 to(target);
    const Vector3 z = normalize({to.x - from.x, to.y - from.y, to.z - from.z});
    const Vector3 x = normalize(cross(Vector3(up), z));
    const Vector3 y = cross(z, x);
    Self result;
    for (int i = 0; i < 3; ++i) result.setRow(i, IVec4<T>(IVec4<double>(x[i], y[i], z[i], 0)));
    result.setRow(3, IVec4<T>(IVec4<double>(-dot(x, from), -dot(y, from), -dot(z, from), 1)));
    return result;
}

template <typename Self, typename Small, typename T>
Self Matrix4<Self, Small, T>::Perspective(T fovY, T aspect, T near, T far) {
    const double t = std::tan(static_cast<double>(fovY) * 0.5);
    const double depth = static_cast<double>(far) - static_cast<double>(near);
    Self result(T(0));
    result[0][0] = static_cast<T>(1 / (t * static_cast<double>(aspect)));
    result[1][1] = static_cast<T>(1 / t);
    result[2][2] = static_cast<T>((static_cast<double>(near) + static_cast<double>(far)) / depth);
    result[2][3] = 1;
    result[3][2] = static_cast<T>(-(2 * static_cast<double>(far) * static_cast<double>(near)) / depth);
    return result;
}

template <typename Self, typename Small, typename T>
Self Matrix4<Self, Small, T>::FromQuaternion(const IVec4<T>& quaternion) {
    const IVec4<double> q(quaternion);
    const Double3x3 block(1 - 2 * (q.y * q.y + q.z * q.z), 2 * (q.x * q.y - q.w * q.z),
                          2 * (q.x * q.z + q.w * q.y), //
                          2 * (q.x * q.y + q.w * q.z), 1 - 2 * (q.x * q.x + q.z * q.z),
                          2 * (q.y * q.z - q.w * q.x), //
                          2 * (q.x * q.z - q.w * q.y), 2 * (q.y * q.z + q.w * q.x),
                          1 - 2 * (q.x * q.x + q.y * q.y));
    Self result;
    for (int i = 0; i < 9; ++i) result[i / 3][i % 3] = static_cast<T>(block[i / 3][i % 3]);
    return result;
}

template <typename Self, typename Small, typename T>
Self Matrix4<Self, Small, T>::FromCalibrationMatrix(const Small& k, T width, T height, T near, T far) {
    const Double3x3 wide = widen<Double3x3>(k, 3);
    const double w = static_cast<double>(width), h = static_cast<double>(height);
    const double first = static_cast<double>(near), last = static_cast<double>(far);
    Self result(T(0));
    result[0][0] = static_cast<T>(2 * wide[0][0] / w);
    result[1][1] = static_cast<T>(2 * wide[1][1] / h);
    result[2][0] = static_cast<T>(1 - 2 * wide[0][2] / w);
    result[2][1] = static_cast<T>(2 * wide[1][2] / h - 1);
    result[2][2] = static_cast<T>((first + last) / (last - first));
    result[2][3] = 1;
    result[3][2] = static_cast<T>(-(2 * last * first) / (last - first));
    return result;
}

template <typename Self, typename Small, typename T>
void Matrix4<Self, Small, T>::composeRigidMatrix(const IVec3<T>& translation, const IVec3<T>& rotation) {
    const Vector3 angles(rotation);
    const double cx = std::cos(angles.x * kRadiansPerDegree), sx = std::sin(angles.x * kRadiansPerDegree);
    const double cy = std::cos(angles.y * kRadiansPerDegree), sy = std::sin(angles.y * kRadiansPerDegree);
    const double cz = std::cos(angles.z * kRadiansPerDegree), sz = std::sin(angles.z * kRadiansPerDegree);
    const IVec4<double> rows[] = {{cy * cz, sx * sz - sy * cz * cx, sy * cz * sx + cx * sz, 0},
                                  {sy, cx * cy, -cy * sx, 0},
                                  {-sz * cy, sy * sz * cx + sx * cz, cx * cz - sy * sz * sx, 0}};
    for (int i = 0; i < 3; ++i) this->setRow(i, IVec4<T>(rows[i]));
    this->setRow(3, {translation.x, translation.y, translation.z, 1});
}

template <typename Self, typename Small, typename T>
void Matrix4<Self, Small, T>::decomposeRigidMatrix(IVec3<T>& translation, IVec3<T>& rotation) const {
    const Double4x4 m = widen<Double4x4>(*this, 4);
    translation = {this->row(3).x, this->row(3).y, this->row(3).z};
    const double q = m[1][0];
    Vector3 radians;
    if (q > 0.998 || q < -0.998)
        radians.z = std::atan2(m[0][2], m[2][2]);
    else
        radians = {std::atan2(-m[1][2], m[1][1]), std::asin(q), std::atan2(-m[2][0], m[0][0])};
    Vector3 degrees(radians.x / kRadiansPerDegree, radians.y / kRadiansPerDegree,
                    radians.z / kRadiansPerDegree);
    if (q > 0.998) degrees.y = 90;
    if (q < -0.998) degrees.y = -90;
    rotation = IVec3<T>(degrees);
}

template class SquareMatrix<Float3x3, float, 3>;
template class SquareMatrix<Double3x3, double, 3>;
template class SquareMatrix<Float4x4, float, 4>;
template class SquareMatrix<Double4x4, double, 4>;
template class Matrix3<Float3x3, float>;
template class Matrix3<Double3x3, double>;
template class Matrix4<Float4x4, Float3x3, float>;
template class Matrix4<Double4x4, Double3x3, double>;

} // namespace internal

Double4x4 Double4x4::Rotation2D(double radians) {
    return Rotation({0, 0, 1}, radians);
}

IVec4<double> Double4x4::diag() const {
    return {row(0).x, row(1).y, row(2).z, row(3).w};
}

Double3x3 Double4x4::getRotationMatrix() const {
    return {{row(0).x, row(0).y, row(0).z}, {row(1).x, row(1).y, row(1).z}, {row(2).x, row(2).y, row(2).z}};
}

Double4x4 Double4x4::multiplyCols(const IVec4<double>& v) const {
    return map([&](int r, int c) { return row(r)[c] * v[c]; });
}

} // namespace qel
