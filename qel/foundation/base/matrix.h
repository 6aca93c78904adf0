// Square matrices of three or four rows, for 3D views and rigid motions.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/platform/api.h>

#include <array>
#include <cstddef>
#include <type_traits>

namespace qel {

namespace internal {

/// What all matrices have in common. Vectors are rows: `v * M`, so that a product `a.multiply(b)` applies a
/// first and a translation is the last row. An index outside the matrix means its last row or column.
/// @tparam Self  the matrix itself.
/// @tparam T     float or double; inverses and determinants are computed in double.
/// @tparam N     3 or 4.
template <typename Self, typename T, int N>
class QEL_API SquareMatrix {
public:
    /// A row or column.
    using Row = std::conditional_t<N == 3, IVec3<T>, IVec4<T>>;

    /// Creates the identity.
    constexpr SquareMatrix() : SquareMatrix(T(1)) {}
    /// Creates a matrix with @p diagonal in the diagonal and 0 elsewhere.
    constexpr explicit SquareMatrix(T diagonal) {
        for (int i = 0; i < N; ++i) (*this)[i][i] = diagonal;
    }

    /// Returns the identity.
    static constexpr Self Identity() { return Self(T(1)); }

    /// Returns row @p i.
    constexpr const Row& row(int i) const { return m_rows[index(i)]; }
    /// Returns column @p i.
    constexpr Row col(int i) const {
        Row column;
        for (int r = 0; r < N; ++r) column[r] = row(r)[i];
        return column;
    }
    /// Replaces row @p i.
    constexpr void setRow(int i, const Row& values) { m_rows[index(i)] = values; }
    /// Returns row @p i.
    constexpr Row& operator[](int i) { return m_rows[index(i)]; }
    /// Returns row @p i.
    constexpr const Row& operator[](int i) const { return m_rows[index(i)]; }
    /// Returns the N * N elements, row by row.
    T* data() { return &m_rows[0].x; }
    /// Returns the N * N elements, row by row.
    const T* data() const { return &m_rows[0].x; }

    /// Copies all elements of @p other.
    constexpr void assign(const Self& other) { static_cast<Self&>(*this) = other; }
    /// Copies N * N elements, given row by row.
    constexpr void assign(const T* values) {
        for (int i = 0; i < N * N; ++i) (*this)[i / N][i % N] = values[i];
    }

    /// Returns the element-wise sum.
    constexpr Self addComponentWise(const Self& other) const {
        return map([&](int r, int c) { return row(r)[c] + other[r][c]; });
    }
    /// Returns the product of all elements and @p factor.
    constexpr Self multiplyScalar(T factor) const {
        return map([&](int r, int c) { return row(r)[c] * factor; });
    }
    /// Returns this matrix times @p right: the motion that applies this matrix first.
    constexpr Self multiply(const Self& right) const {
        return map([&](int r, int c) {
            T sum{};
            for (int i = 0; i < N; ++i) sum += row(r)[i] * right[i][c];
            return sum;
        });
    }
    /// Returns the row vector @p v times this matrix.
    constexpr Row transform(const Row& v) const {
        Row result;
        for (int c = 0; c < N; ++c)
            for (int i = 0; i < N; ++i) result[c] += v[i] * row(i)[c];
        return result;
    }
    /// Returns the matrix with rows and columns exchanged.
    constexpr Self transpose() const {
        return map([&](int r, int c) { return row(c)[r]; });
    }
    /// Returns the inverse; a matrix of zeros if the determinant is zero or not finite.
    Self inverse() const;

    /// Compares all elements.
    friend constexpr bool operator==(const SquareMatrix&, const SquareMatrix&) = default;

protected:
    /// Sets row by row the elements that @p element returns for row and column.
    template <typename Element>
    static constexpr Self map(Element element) {
        Self result;
        for (int r = 0; r < N; ++r)
            for (int c = 0; c < N; ++c) result[r][c] = element(r, c);
        return result;
    }

private:
    static constexpr std::size_t index(int i) {
        return static_cast<std::size_t>(i >= 0 && i < N ? i : N - 1);
    }

    std::array<Row, N> m_rows{};
};

/// What both matrices of three rows have in common.
template <typename Self, typename T>
class QEL_API Matrix3 : public SquareMatrix<Self, T, 3> {
public:
    using SquareMatrix<Self, T, 3>::SquareMatrix;
    /// Creates the identity.
    constexpr Matrix3() = default;
    /// Sets the rows.
    constexpr Matrix3(const IVec3<T>& a, const IVec3<T>& b, const IVec3<T>& c) {
        this->setRow(0, a);
        this->setRow(1, b);
        this->setRow(2, c);
    }
    /// Sets the elements, row by row.
    constexpr Matrix3(T m00, T m01, T m02, T m10, T m11, T m12, T m20, T m21, T m22)
        : Matrix3({m00, m01, m02}, {m10, m11, m12}, {m20, m21, m22}) {}

    /// Returns the determinant.
    T determinant() const;
};

/// What both matrices of four rows have in common.
/// @tparam Small  the matrix of three rows with the same elements.
template <typename Self, typename Small, typename T>
class QEL_API Matrix4 : public SquareMatrix<Self, T, 4> {
    using Base = SquareMatrix<Self, T, 4>;

public:
    using Base::Base;
    /// Creates the identity.
    constexpr Matrix4() = default;
    /// Sets the rows.
    constexpr Matrix4(const IVec4<T>& a, const IVec4<T>& b, const IVec4<T>& c, const IVec4<T>& d) {
        this->setRow(0, a);
        this->setRow(1, b);
        this->setRow(2, c);
        this->setRow(3, d);
    }
    /// Sets the elements, row by row.
    constexpr Matrix4(T m00, T m01, T m02, T m03, T m10, T m11, T m12, T m13, T m20, T m21, T m22, T m23,
                      T m30, T m31, T m32, T m33)
        : Matrix4({m00, m01, m02, m03}, {m10, m11, m12, m13}, {m20, m21, m22, m23}, {m30, m31, m32, m33}) {}
    /// Sets the upper left block; the rest is that of the identity.
    constexpr explicit Matrix4(const Small& leftTop) { fillLeftTop(leftTop); }

    /// Returns a matrix of zeros.
    static constexpr Self Null() { return Self(T(0)); }
    /// Returns the matrix that scales the axes by the components of @p v.
    static Self Scaling(const IVec3<T>& v);
    /// Returns the matrix that moves by @p v.
    static Self Translation(const IVec3<T>& v);
    /// Returns a rotation. With transform() a positive angle about +z turns +x towards -y; the transposed
    /// matrix turns the other way.
    /// @param axis  of length 1.
    static Self Rotation(const IVec3<T>& axis, T radians);
    /// Returns the left-handed view from @p eye towards @p target: x is to the right, y up, z into the
    /// picture. An axis that has no direction becomes a column of zeros.
    static Self LookAt(const IVec3<T>& eye, const IVec3<T>& target, const IVec3<T>& up);
    /// Returns the left-handed perspective projection with depths from -1 at @p near to 1 at @p far.
    /// @param fovY    vertical angle of view in radians.
    /// @param aspect  width divided by height.
    static Self Perspective(T fovY, T aspect, T near, T far);
    /// Returns the rotation of the unit quaternion (x, y, z, w), in the layout of Rotation().
    static Self FromQuaternion(const IVec4<T>& quaternion);
    /// Returns the projection of a camera with the intrinsic matrix @p k and pictures of the given size in
    /// pixels.
    static Self FromCalibrationMatrix(const Small& k, T width, T height, T near, T far);

    using Base::transform;
    /// Returns the point @p v, as a row with a fourth component of 1, times this matrix, without the division
    /// by the fourth component.
    constexpr IVec3<T> transform(const IVec3<T>& v) const {
        const IVec4<T> result = transform(IVec4<T>(v.x, v.y, v.z, T(1)));
        return {result.x, result.y, result.z};
    }
    /// Returns the direction @p v times the upper left block.
    constexpr IVec3<T> transform3x3(const IVec3<T>& v) const {
        const IVec4<T> result = transform(IVec4<T>(v.x, v.y, v.z, T(0)));
        return {result.x, result.y, result.z};
    }
    /// Replaces the upper left block.
    constexpr void fillLeftTop(const Small& block) {
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) (*this)[r][c] = block[r][c];
    }

    /// Becomes the rigid motion of three rotations and a translation.
    /// @param rotation  the angles about x, y and z in degrees.
    void composeRigidMatrix(const IVec3<T>& translation, const IVec3<T>& rotation);
    /// Takes a rigid motion apart: the inverse of composeRigidMatrix() for angles about y of less than 86.4
    /// degrees. Beyond, y is 90 or -90 and x is 0.
    /// @param rotation  out: the angles about x, y and z in degrees.
    void decomposeRigidMatrix(IVec3<T>& translation, IVec3<T>& rotation) const;
};

} // namespace internal

/// Three rows of three floats. @see internal::SquareMatrix for what vectors and products mean.
struct QEL_API Float3x3 : internal::Matrix3<Float3x3, float> {
    using Matrix3::Matrix3;
};

/// Three rows of three doubles.
struct QEL_API Double3x3 : internal::Matrix3<Double3x3, double> {
    using Matrix3::Matrix3;
};

/// Four rows of four floats. The factories compute in double and round once.
struct QEL_API Float4x4 : internal::Matrix4<Float4x4, Float3x3, float> {
    using Matrix4::Matrix4;
};

/// Four rows of four doubles.
struct QEL_API Double4x4 : internal::Matrix4<Double4x4, Double3x3, double> {
    using Matrix4::Matrix4;

    /// Returns the rotation about the z axis.
    static Double4x4 Rotation2D(double radians);
    /// Returns the four elements of the diagonal.
    IVec4<double> diag() const;
    /// Returns the upper left block.
    Double3x3 getRotationMatrix() const;
    /// Returns the matrix whose column i is column i of this one times component i of @p v.
    Double4x4 multiplyCols(const IVec4<double>& v) const;
};

extern template class internal::SquareMatrix<Float3x3, float, 3>;
extern template class internal::SquareMatrix<Double3x3, double, 3>;
extern template class internal::SquareMatrix<Float4x4, float, 4>;
extern template class internal::SquareMatrix<Double4x4, double, 4>;
extern template class internal::Matrix3<Float3x3, float>;
extern template class internal::Matrix3<Double3x3, double>;
extern template class internal::Matrix4<Float4x4, Float3x3, float>;
extern template class internal::Matrix4<Double4x4, Double3x3, double>;

} // namespace qel
