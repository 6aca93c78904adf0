#include <qel/volume/mini_scene_p.h>

#include <qel/foundation/log/message_stream.h>

namespace qel::internal {

namespace {

constexpr size_t kRows = 7;
constexpr size_t kColumns = 25;

/// The shape of each cell: a space is empty, x is a plain box, r is half a cell to the right, e half a cell
/// up, and s is a stretched box.
constexpr const char* kShapes[kRows] = {
    "        x xxx            ", //
    "        x x              ", //
    "xxx xxx x x   xxx xxx xxx", //
    "x x x x x x   x x x   x x", //
    "x x xxx x x   x x x   xxx", //
    "xxx x   x x   x x x   x  ", //
    "  s xxx s xxx xxx s   xxx",
};

/// The cluster of each cell.
constexpr const char* kClusterOfCell[kRows] = {
    "        2 333            ", //
    "        2 3              ", //
    "000 111 2 3   555 777 999", //
    "0 0 1 1 2 3   5 5 7   9 9", //
    "0 0 111 2 4   6 6 7   999", //
    "000 1   2 4   6 6 8   a  ", //
    "  0 111 2 444 666 8   aaa",
};

constexpr float kCell = 1.5f;
constexpr Float3 kWordCentre{5.8f, 4.2f, 1.5f};

constexpr Material kMaterials[] = {
    {{0.050f, 0.060f, 0.080f}, 0.50f, 1}, // floor
    {{0.060f, 0.080f, 0.140f}, 0.35f, 1}, // walls
    {{0.110f, 0.060f, 0.140f}, 0.35f, 1}, //
    {{0.040f, 0.110f, 0.140f}, 0.35f, 1}, //
    {{2.60f, 0.15f, 0.10f}, 0.25f, 1},    // q
    {{2.40f, 0.60f, 0.06f}, 0.25f, 1},    // e
    {{1.90f, 1.15f, 0.09f}, 0.25f, 1},    // l
    {{0.95f, 1.55f, 0.14f}, 0.25f, 1},    // C
    {{0.18f, 1.35f, 0.34f}, 0.25f, 1},    //
    {{0.07f, 1.20f, 0.95f}, 0.25f, 1},    // o
    {{0.06f, 0.90f, 1.40f}, 0.25f, 1},    //
    {{0.10f, 0.52f, 1.95f}, 0.25f, 1},    // r
    {{0.36f, 0.30f, 1.95f}, 0.25f, 1},    //
    {{1.05f, 0.25f, 1.85f}, 0.25f, 1},    // e
    {{1.80f, 0.22f, 1.15f}, 0.25f, 1},    //
};

/// Returns 1 / v, finite also for directions along an axis.
float reciprocalOf(float v) {
    constexpr float kLeast = 1e-12f;
    return 1 / (std::fabs(v) < kLeast ? (v < 0 ? -kLeast : kLeast) : v);
}

/// Returns the face of @p box that is closest to @p point: 0 and 1 across x, 2 and 3 across y, 4 and 5
/// across z.
unsigned faceAt(const Box& box, const Float3& point) {
    unsigned face = 0;
    float least = INFINITY;
    for (int i = 0; i < 6; ++i) {
        const float gap = std::fabs(point[i / 2] - (i % 2 == 0 ? box.lower : box.upper)[i / 2]);
        if (gap >= least) continue;
        least = gap;
        face = static_cast<unsigned>(i);
    }
    return face;
}

} // namespace

Ray::Ray(const Float3& origin_, const Float3& direction_)
    : origin(origin_),
      direction(direction_),
      reciprocal(reciprocalOf(direction.x), reciprocalOf(direction.y), reciprocalOf(direction.z)) {}

// --- boxes ----------------------------------------------------------------------------------------------

BoxGroup::BoxGroup() {
    // No ray enters an empty box at a point far away.
    for (auto& axis : lower) axis.fill(1e9f);
    for (auto& axis : upper) axis.fill(1e9f);
}

void BoxGroup::add(const Box& box) {
    for (int i = 0; i < 3; ++i) {
        lower[static_cast<size_t>(i)][size] = box.lower[i];
        upper[static_cast<size_t>(i)][size] = box.upper[i];
    }
    ++size;
}

Box BoxGroup::box(size_t index) const {
    return {{lower[0][index], lower[1][index], lower[2][index]},
            {upper[0][index], upper[1][index], upper[2][index]}};
}

Box BoxGroup::boundsWith(Box bounds) const {
    for (size_t k = 0; k < size; ++k)
        for (int i = 0; i < 3; ++i) {
            bounds.lower[i] = std::min(bounds.lower[i], box(k).lower[i]);
            bounds.upper[i] = std::max(bounds.upper[i], box(k).upper[i]);
        }
    return bounds;
}

// --- the scene ------------------------------------------------------------------------------------------

MiniScene::MiniScene() {
    std::copy(std::begin(kMaterials), std::end(kMaterials), m_materials.begin());
    addWord();
    addWalls();
}

void MiniScene::addWord() {
    for (size_t row = 0; row < kRows; ++row)
        for (size_t column = 0; column < kColumns; ++column)
            if (kShapes[row][column] != ' ') addCell(row, column);
    constexpr Box kLeast{{1e9f, 1e9f, 3.5f}, {-1e9f, -1e9f, 5.5f}};
    for (const BoxGroup& cluster : m_clusters) m_bounds.add(cluster.boundsWith(kLeast));
}

void MiniScene::addCell(size_t row, size_t column) {
    const char shape = kShapes[row][column];
    const float half = shape == 's' ? 0.74f : 0.66f;
    const float depth = shape == 's' ? 1.25f : 0.7f;
    const float right = static_cast<float>(column) - 12 + (shape == 'r' ? 0.5f : 0);
    const float up = 3 - static_cast<float>(row) + (shape == 'e' ? 0.5f : 0);
    const Float3 centre = kWordCentre + Float3(right * kCell, up * kCell, 0);
    const Float3 extent(half, half, depth);
    m_clusters[clusterOf(row, column)].add({centre - extent, centre + extent});
}

size_t MiniScene::clusterOf(size_t row, size_t column) {
    const char c = kClusterOfCell[row][column];
    const bool isDigit = c >= '0' && c <= '9';
    if (!isDigit && !(c >= 'a' && c <= 'z')) {
        logging::warning() << "invalid cluster at " << row << "," << column;
        return 0;
    }
    const size_t cluster = static_cast<size_t>(isDigit ? c - '0' : c - 'a' + 10);
    if (cluster < kClusters) return cluster;
    logging::warning() << "too high cluster at " << row << "," << column;
    return 0;
}

void MiniScene::addWalls() {
    const float tenth = 1 / std::sqrt(10.0f);
    const float nineteenth = 1 / std::sqrt(19.0f);
    m_planes = {Plane{{0, 0, 1}, -1},                        // the floor
                Plane{Float3(0, -3, 1) * tenth, -11},        // at the top of the word
                Plane{Float3(3, -3, 1) * nineteenth, -26},   // to the left
                Plane{Float3(-3, -3, 1) * nineteenth, -26}}; // to the right
}

RayHit MiniScene::hit(const Ray& ray) const {
    RayHit result{kFarDistance, -1, 0, {}};
    for (int i = 0; i < kPlanes; ++i) {
        const Plane& plane = m_planes[static_cast<size_t>(i)];
        const float slope = dot(plane.normal, ray.direction);
        if (!(slope < 0)) continue; // planes are seen from their front
        const float distance = (plane.offset - dot(plane.normal, ray.origin)) / slope;
        if (distance > 0 && distance < result.distance)
            result = {distance, i, static_cast<unsigned>(i), plane.normal};
    }
    hitBoxes(ray, result);
    return result;
}

/// Replaces @p result by the closest box that the ray meets before.
void MiniScene::hitBoxes(const Ray& ray, RayHit& result) const {
    const BoxHit hit = closestBox(m_clusters.data(), m_bounds, ray, result.distance);
    if (hit.group == BoxHit::kNone) return;
    result.distance = hit.distance;
    const unsigned face =
        faceAt(m_clusters[hit.group].box(hit.box), ray.origin + ray.direction * hit.distance);
    const size_t number = hit.group * BoxGroup::kCapacity + hit.box;
    result.material = kPlanes + static_cast<int>(hit.group);
    result.object = kPlanes + static_cast<unsigned>(number) * 6 + face;
    result.normal = {};
    result.normal[static_cast<int>(face / 2)] = face % 2 == 0 ? -1 : 1;
}

// The planes face the light, so only boxes throw shadows.
bool MiniScene::isFree(const Ray& ray, float distance) const {
    return !isAnyBoxHit(m_clusters.data(), m_bounds, ray, distance);
}

} // namespace qel::internal
