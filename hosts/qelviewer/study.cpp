#include "study.h"

#include <cmath>

namespace qelviewer {

double Study::valueAt(const qel::IVec3<double>& voxel) const {
    qel::IVec3<int> nearest;
    for (int i = 0; i < 3; ++i) {
        if (!(voxel[i] >= -0.5 && voxel[i] < size()[i] - 0.5)) return std::nan("");
        nearest[i] = static_cast<int>(std::floor(voxel[i] + 0.5));
    }
    return qelviewer::valueAt(*volume, header.scaleBias, nearest);
}

} // namespace qelviewer
