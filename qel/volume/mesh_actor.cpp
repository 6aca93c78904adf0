#include <qel/volume/mesh_actor.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/render/renderer_3d.h>

namespace qel {

MeshActor::MeshActor() = default;
MeshActor::~MeshActor() = default;

MeshActor& MeshActor::setMesh(Mesh* mesh) {
    m_mesh.reset(mesh);
    return *this;
}

MeshActor& MeshActor::setColor(const IVec4<float>& color) {
    m_color = color;
    return *this;
}

MeshActor& MeshActor::setPixelExact(bool pixelExact) {
    m_pixelExact = pixelExact;
    return *this;
}

void MeshActor::onRender(Renderer* renderer) {
    if (m_mesh)
        drawMeshActorInternal(renderer);
    else
        logging::warning() << "Missing mesh";
}

void MeshActor::drawMeshActorInternal(Renderer* renderer) {
    auto* const renderer3D = dynamic_cast<Renderer3D*>(renderer);
    if (renderer3D == nullptr) return;
    renderer3D->pushColor(m_color);
    renderer3D->drawMeshInternal(m_mesh.get(), getModelMatrix());
    renderer3D->popColor();
}

} // namespace qel
