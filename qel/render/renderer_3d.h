// Renderer3D: a renderer that draws meshes and volumes too.
#pragma once

#include <qel/foundation/base/matrix.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/api.h>
#include <qel/render/renderer.h>
#include <qel/render/volume_texture.h>

namespace qel {

class Mesh;
class VolumeActor;

/// The base of back ends with 3D drawing. Test a Renderer by dynamic_cast, not by has3dSupport().
///
/// The reserved operations belong to back ends; the library does not call them.
class QEL_API Renderer3D : public Renderer {
    QEL_CLASS(Renderer3D, Renderer)

public:
    Renderer3D();
    ~Renderer3D() override;

    bool has3dSupport() const override { return true; }

    /// Begins a frame with the depth test on.
    virtual void start3D();
    /// Ends the frame and the depth test.
    virtual void stop3D();
    /// Draws @p mesh with the tint. @param modelMatrix  maps the mesh into the scene.
    virtual void drawMeshInternal(Mesh* mesh, const Float4x4& modelMatrix) = 0;
    /// Creates a mesh. @return an object without references.
    virtual Mesh* createMeshInternal() = 0;
    /// Reserved for the back end.
    virtual void reserved1Internal() {}
    /// Reserved for the back end.
    virtual void reserved2Internal() {}
    /// Reserved for the back end.
    virtual void reserved3Internal() {}
    /// Creates a texture of voxels. @return an object without references.
    virtual VolumeTexture* createVolumeTextureInternal() = 0;
    /// Draws a volume with everything that @p actor states.
    virtual void drawVolumeInternal(VolumeActor* actor) = 0;
    /// Reserved for the back end.
    virtual void reserved4Internal() {}

    /// Creates a mesh of this renderer. Defined in volume/mesh.cpp.
    SmartPointer<Mesh> createMesh();
    /// Creates a texture of voxels of this renderer.
    SmartPointer<VolumeTexture> createVolumeTexture() { return createVolumeTextureInternal(); }

    /// Returns the matrix from the scene to the camera; the identity initially.
    const Float4x4& getViewMatrix() const { return m_viewMatrix; }
    /// Sets the matrix from the scene to the camera.
    void setViewMatrix(const Float4x4& matrix) { m_viewMatrix = matrix; }
    /// Returns the matrix from the camera to the picture; the identity initially.
    const Float4x4& getProjectionMatrix() const { return m_projectionMatrix; }
    /// Sets the matrix from the camera to the picture.
    void setProjectionMatrix(const Float4x4& matrix) { m_projectionMatrix = matrix; }
    /// Returns which sides of triangles are left out, in values of the back end; 0 initially.
    int getCullMode() const { return m_cullMode; }
    /// Sets which sides of triangles are left out.
    void setCullMode(int mode) { m_cullMode = mode; }

private:
    Float4x4 m_viewMatrix;
    Float4x4 m_projectionMatrix;
    int m_cullMode = 0;
};

} // namespace qel
