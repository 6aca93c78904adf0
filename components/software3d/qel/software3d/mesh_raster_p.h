// Triangles and points on the target.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/imaging/pixels/image.h>
#include <qel/software3d/pixel_blend_p.h>
#include <qel/software3d/volume_draw_p.h>
#include <qel/volume/mesh.h>

namespace qel::internal {

/// The normalised depth of each pixel of the target, -1 to 1, where 1 is the far plane.
struct DepthBuffer {
    IVec2<int> size;
    Vector<float> values;

    /// Sets the size and the depth of all pixels to 1.
    void clear(const IVec2<int>& newSize);
    float& at(int x, int y) { return values[indexOf(x, y)]; }
    const float& at(int x, int y) const { return values[indexOf(x, y)]; }

private:
    size_t indexOf(int x, int y) const {
        return static_cast<size_t>(y) * static_cast<size_t>(size.x) + static_cast<size_t>(x);
    }
};

/// How meshes are drawn.
struct MeshStyle {
    bool testsDepth = true;
    int cullMode = 0; ///< 1 leaves out back faces, 2 front faces
};

/// Draws a mesh on @p target, which is BGRA8, on all processors.
void drawMesh(Image& target, DepthBuffer& depth, const Mesh& mesh, const Double4x4& model, const View& view,
              const MeshStyle& style);

} // namespace qel::internal
