#include <qel/testing/triangulation.h>

#include <qel/render/triangulate_p.h>

namespace qel::seams {

Vector<uint32> triangulate(const Vector<Vector<IVec2<float>>>& rings) {
    return internal::triangulate(rings);
}

} // namespace qel::seams
