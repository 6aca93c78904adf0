#include <qel/render/renderer_3d.h>

namespace qel {

Renderer3D::Renderer3D() = default;
Renderer3D::~Renderer3D() = default;

void Renderer3D::start3D() {
    start();
    setDepthTest(true);
}

void Renderer3D::stop3D() {
    setDepthTest(false);
    stop();
}

} // namespace qel
