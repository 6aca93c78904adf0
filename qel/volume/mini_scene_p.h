// The scene of the small ray tracer: a word of boxes above a floor between slanted walls.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace qel::internal {

using Float3 = IVec3<float>;

inline Float3 operator+(const Float3& a, const Float3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Float3 operator-(const Float3& a, const Float3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Float3 operator*(const Float3& a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline float dot(const Float3& a, const Float3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Float3 cross(const Float3& a, const Float3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
/// Returns @p v with length 1; @p v itself if it has no length.
inline Float3 normalize(const Float3& v) {
    const float length = std::sqrt(dot(v, v));
    return length > 0 ? v * (1 / length) : v;
}

/// A ray with what the tests of boxes need.
struct Ray {
    Ray(const Float3& origin_, const Float3& direction_);

    Float3 origin;
    Float3 direction; ///< of length 1
    Float3 reciprocal;
};

/// Where a ray ends.
struct RayHit {
    float distance;
    int material = -1;   ///< index of the material; -1 for a ray that hits nothing
    unsigned object = 0; ///< a number for each plane and for each face of each box
    Float3 normal;       ///< of length 1, towards the ray's origin
};

struct Box {
    Float3 lower;
    Float3 upper;

    /// Returns where the ray enters the box, if that is between @p from and @p to; otherwise @p to.
    float enter(const Ray& ray, float from, float to) const {
        float low = from, high = to;
        for (int i = 0; i < 3; ++i) {
            const float a = (lower[i] - ray.origin[i]) * ray.reciprocal[i];
            const float b = (upper[i] - ray.origin[i]) * ray.reciprocal[i];
            low = std::max(low, std::min(a, b));
            high = std::min(high, std::max(a, b));
        }
        return low < high ? low : to;
    }
};

struct Material {
    Float3 color;
    float reflectivity;
    float weight; ///< how much a change of what is seen counts for the hash of a ray
};

/// Boxes in clusters, and planes. Each plane and each cluster has a material, those of the planes first.
class MiniScene {
public:
    /// Rays end here.
    static constexpr float kFarDistance = 100;
    static constexpr int kPlanes = 4;
    static constexpr int kClusters = 11;

    MiniScene();

    /// Returns the closest hit; beyond kFarDistance there is none.
    RayHit hit(const Ray& ray) const;
    /// Returns true if nothing lies between the ray's origin and @p distance.
    bool isFree(const Ray& ray, float distance) const;
    /// Returns the material of a hit.
    const Material& material(const RayHit& hit) const {
        return m_materials[static_cast<size_t>(hit.material)];
    }

private:
    struct Plane {
        Float3 normal;
        float offset; ///< dot(normal, point) for the points of the plane
    };
    struct Cluster {
        Box bounds;
        Vector<Box> boxes;
        unsigned firstBox = 0; ///< the number of its first box in the scene
    };

    void hitBoxes(const Ray& ray, RayHit& result) const;
    void addWord();
    void addCell(size_t row, size_t column);
    void addWalls();
    static size_t clusterOf(size_t row, size_t column);

    std::array<Plane, kPlanes> m_planes;
    std::array<Cluster, kClusters> m_clusters;
    std::array<Material, kPlanes + kClusters> m_materials;
};

} // namespace qel::internal
