// The scene of the small ray tracer: a word of boxes above a floor between slanted walls.
#pragma once

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

/// A box with edges along the axes.
struct Box {
    Float3 lower;
    Float3 upper;
};

/// Up to 16 boxes, stored so that a ray is tested against all of them with vector instructions.
struct BoxGroup {
    static constexpr size_t kCapacity = 16;

    /// Creates an empty group.
    BoxGroup();

    /// Adds a box; the group must not be full.
    void add(const Box& box);
    /// Returns the box that contains all boxes of the group and @p bounds.
    Box boundsWith(Box bounds) const;
    /// Returns a box of the group.
    Box box(size_t index) const;

    alignas(64) std::array<std::array<float, kCapacity>, 3> lower;
    alignas(64) std::array<std::array<float, kCapacity>, 3> upper;
    size_t size = 0;
};

/// The box that a ray meets first.
struct BoxHit {
    static constexpr size_t kNone = BoxGroup::kCapacity;

    float distance;
    size_t group; ///< kNone if the ray meets no box
    size_t box;
};

/// Returns the closest box that the ray enters after its origin and before @p to; of several at the same
/// distance the first. @param bounds  has a box around each of @p groups.
BoxHit closestBox(const BoxGroup* groups, const BoxGroup& bounds, const Ray& ray, float to);
/// Returns true if a box lies on the ray before @p to. @param bounds  as for closestBox().
bool isAnyBoxHit(const BoxGroup* groups, const BoxGroup& bounds, const Ray& ray, float to);

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

    /// Returns the closest hit; nothing is hit beyond kFarDistance.
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

    void hitBoxes(const Ray& ray, RayHit& result) const;
    void addWord();
    void addCell(size_t row, size_t column);
    void addWalls();
    static size_t clusterOf(size_t row, size_t column);

    std::array<Plane, kPlanes> m_planes;
    std::array<BoxGroup, kClusters> m_clusters;
    BoxGroup m_bounds; ///< a box around each cluster
    std::array<Material, kPlanes + kClusters> m_materials;
};

} // namespace qel::internal
