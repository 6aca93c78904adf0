// MeshActor: draws a mesh in one colour.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/api.h>
#include <qel/volume/actor_3d.h>
#include <qel/volume/mesh.h>

namespace qel {

/// Draws a mesh through a Renderer3D; other renderers draw nothing.
/// @threads main thread.
class QEL_API MeshActor : public Actor3D {
    QEL_CLASS(MeshActor, Actor3D)

public:
    MeshActor();
    ~MeshActor() override;

    /// Returns the mesh, or null.
    Mesh* getMesh() const { return m_mesh.get(); }
    /// Sets the mesh. @owner takes a reference. @return this actor.
    MeshActor& setMesh(Mesh* mesh);
    /// Returns the tint; white initially.
    const IVec4<float>& getColor() const { return m_color; }
    /// Sets the tint. @return this actor.
    MeshActor& setColor(const IVec4<float>& color);
    /// Returns a hint for the back end; false initially.
    bool isPixelExact() const { return m_pixelExact; }
    /// Sets a hint for the back end. @return this actor.
    MeshActor& setPixelExact(bool pixelExact);

    /// Draws the mesh with the tint. @errors logs the warning "Missing mesh" if no mesh is set.
    void onRender(Renderer* renderer) override;

private:
    void drawMeshActorInternal(Renderer* renderer);

    SmartPointer<Mesh> m_mesh;
    IVec4<float> m_color{1, 1, 1, 1};
    bool m_pixelExact = false;
};

} // namespace qel
