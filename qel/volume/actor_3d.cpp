#include <qel/volume/actor_3d.h>

namespace qel {

Actor3D::Actor3D() = default;
Actor3D::~Actor3D() = default;

Actor3D& Actor3D::setModelMatrix(const Float4x4& matrix) {
    m_modelMatrix = matrix;
    return *this;
}

} // namespace qel
