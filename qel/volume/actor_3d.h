// Actor3D: an actor with a place in a 3D scene.
#pragma once

#include <qel/foundation/base/matrix.h>
#include <qel/platform/api.h>
#include <qel/scene/actors/actor.h>

namespace qel {

/// An object that draws itself into a 3D scene.
/// @threads main thread.
class QEL_API Actor3D : public Actor {
    QEL_CLASS(Actor3D, Actor)

public:
    Actor3D();
    ~Actor3D() override;

    /// Returns the matrix from the object to the scene; the identity initially.
    const Float4x4& getModelMatrix() const { return m_modelMatrix; }
    /// Sets the matrix from the object to the scene. @return this actor.
    Actor3D& setModelMatrix(const Float4x4& matrix);

private:
    Float4x4 m_modelMatrix;
};

} // namespace qel
