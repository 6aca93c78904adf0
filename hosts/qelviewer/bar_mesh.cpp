#include "bar_mesh.h"

namespace qelviewer {

namespace {

/// The corners of the six faces of a box; bit i of a corner selects the upper limit on axis i.
constexpr qel::uint32 kFaces[6][4] = {{0, 2, 6, 4}, {1, 5, 7, 3}, {0, 4, 5, 1},
                                      {2, 3, 7, 6}, {0, 1, 3, 2}, {4, 6, 7, 5}};

} // namespace

void addBar(qel::MeshGeometry& geometry, int axis, const qel::IVec3<float>& from, const qel::IVec3<float>& to,
            const qel::IVec3<float>& thickness) {
    const auto first = static_cast<qel::uint32>(geometry.getPositions().size());
    for (unsigned corner = 0; corner < 8; ++corner) {
        qel::IVec3<float> position;
        for (int i = 0; i < 3; ++i) {
            const bool isUpper = (corner >> i & 1) != 0;
            const float margin = i == axis ? 0 : thickness[i];
            position[i] = isUpper ? to[i] + margin : from[i] - margin;
        }
        geometry.getPositions().push_back(position);
    }
    for (const auto& face : kFaces)
        for (const int corner : {0, 1, 2, 0, 2, 3}) geometry.getIndices().push_back(first + face[corner]);
}

void addBoxEdges(qel::MeshGeometry& geometry, const qel::IVec3<float>& lower, const qel::IVec3<float>& upper,
                 const qel::IVec3<float>& thickness) {
    for (int axis = 0; axis < 3; ++axis) {
        for (int edge = 0; edge < 4; ++edge) {
            const int second = (axis + 1) % 3;
            const int third = (axis + 2) % 3;
            qel::IVec3<float> from = lower;
            from[second] = (edge & 1) != 0 ? upper[second] : lower[second];
            from[third] = (edge & 2) != 0 ? upper[third] : lower[third];
            qel::IVec3<float> to = from;
            to[axis] = upper[axis];
            addBar(geometry, axis, from, to, thickness);
        }
    }
}

} // namespace qelviewer
