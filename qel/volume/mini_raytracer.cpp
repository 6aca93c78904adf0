#include <qel/volume/mini_raytracer_p.h>

#include <qel/system/core/system.h>

#include <bit>
#include <numbers>

namespace qel {

using internal::Float3;
using internal::MiniScene;
using internal::Ray;
using internal::RayHit;
using internal::operator+;
using internal::operator-;
using internal::operator*;

namespace {

constexpr int kPixelBytes = 4;
constexpr int kMostBounces = 64;
constexpr float kLeastThroughput = 0.02f;
constexpr float kLeastSeen = 0.004f;
/// Added to the bits of a float per unit of distance, so that light halves every 34.3 units.
constexpr float kFogDensity = 244497.27f;
constexpr Float3 kMistColor{0.012f, 0.036f, 0.095f};
/// Rays that leave a surface start this far from it.
constexpr float kSurfaceGap = 1e-3f;

/// Returns an approximation of 2 to the power of -@p x / 2^23, from the layout of floats.
float fastExp2(float x) {
    const float bits = 1065353344.0f - x;
    return std::bit_cast<float>(static_cast<int>(bits > 0 ? std::min(bits, 1065353344.0f) : 0.0f));
}

/// Rounds results of sin() and cos(), whose last bits differ between processors.
float rounded(double v) {
    return static_cast<float>(std::round(v * 1048576) / 1048576);
}

uint8 toByte(float c) {
    const float root = c > 0 ? std::sqrt(c) * 255 : 0.0f;
    return static_cast<uint8>(root < 255 ? static_cast<int>(root) : 255);
}

void store(uint8* pixel, const Float3& color, uint8 fourth) {
    pixel[0] = toByte(color.z);
    pixel[1] = toByte(color.y);
    pixel[2] = toByte(color.x);
    pixel[3] = fourth;
}

void mixHash(uint32& hash, unsigned value) {
    hash = (value ^ hash) * 16777619;
}

/// Returns the pixel of column @p x in a row.
template <typename Byte>
Byte* pixelOf(Byte* row, int x) {
    return row + std::ptrdiff_t{x} * kPixelBytes;
}

/// Makes a pixel the mean of two whose rays have seen the same. @return false if they have not.
bool interpolate(uint8* pixel, const uint8* a, const uint8* b) {
    if (a[3] != b[3]) return false;
    for (int i = 0; i < 3; ++i) pixel[i] = static_cast<uint8>((a[i] + b[i]) >> 1);
    pixel[3] = a[3];
    return true;
}

/// Returns the mean of two neighbours, half of which each sample at a corner beside them replaces.
uint8 between(int a, int b, const uint8* edge1, const uint8* edge2, int channel) {
    const int plain = (2 - edge1[3] - edge2[3]) * 2;
    const int samples = edge1[channel] * edge1[3] + edge2[channel] * edge2[3];
    return static_cast<uint8>((plain * (a + b) + 4 * samples + 4) >> 3);
}

} // namespace

MiniRaytracer::MiniRaytracer(Image& target, double time) : m_target(target) {
    m_centre = {target.getWidth() / 2, target.getHeight() / 2};
    const double a = 2 * std::numbers::pi * time;
    const double s = std::sin(a) * 0.5 + 0.5;
    const double q = std::sqrt(s);
    m_camera = {rounded(std::sin(-3 * a) * 18), rounded(-12 * q - 7.1 * (1 - q)),
                rounded(3 * (1 - s) + 25 * s)};
    m_light = {rounded(std::sin(4 * a) * 20), rounded(std::cos(4 * a) * -7),
               rounded(std::sin(5 * a) * 3 + 5)};
    m_forward = internal::normalize({(m_camera.x / 1.2f + m_light.x) * 0.5f - m_camera.x,
                                     m_light.y * 0.5f - m_camera.y, (m_light.z + 1) * 0.5f - m_camera.z});
    const float scale = 256 / static_cast<float>(target.getHeight()) * 0.0025f;
    const Float3 right = internal::normalize({-m_forward.y, m_forward.x, 0});
    m_right = right * scale;
    m_up = internal::normalize(internal::cross(m_forward, right)) * scale;
}

unsigned MiniRaytracer::run() {
    const IVec2<int> size = m_target.getSize();
    runStage(Stage::Picture);
    m_edges.initialize(BGRA8, {size.x - 1, size.y - 1});
    if (!m_edges.isInitialized()) {
        m_target.clear();
        return 0;
    }
    runStage(Stage::Edges);
    m_spare.swap(m_target);
    m_target.initialize(BGRA8, {2 * size.x - 4, 2 * size.y - 4});
    if (!m_target.isInitialized()) return 0;
    runStage(Stage::Double);
    unsigned rays = 0;
    for (const Counter& counter : m_counters) rays += counter.rays;
    return rays;
}

void MiniRaytracer::runStage(Stage stage) {
    m_stage = stage;
    if (internal::g_system != nullptr) return internal::g_system->execute(*this);
    unsigned parts = 1;
    prepare(parts);
    for (unsigned part = 0; part < parts; ++part) execute(part);
}

void MiniRaytracer::prepare(unsigned& parts) {
    m_parts = static_cast<unsigned>(m_target.getHeight()) / 16 + 1;
    if (m_counters.size() < m_parts) m_counters.resize(m_parts);
    parts = m_parts;
}

void MiniRaytracer::execute(unsigned part) {
    switch (m_stage) {
    case Stage::Picture:
        return tracePicture(part);
    case Stage::Edges:
        return traceEdges(part);
    case Stage::Double:
        return doubleRows(part);
    }
}

/// Returns the first of @p rows rows that belongs to @p part.
int MiniRaytracer::firstRow(unsigned part, int rows) const {
    return static_cast<int>(static_cast<uint64>(rows) * part / m_parts);
}

// --- the picture ----------------------------------------------------------------------------------------

// A part owns pairs of rows; the last part has the odd row too.
void MiniRaytracer::tracePicture(unsigned part) {
    const int height = m_target.getHeight();
    const int begin = 2 * firstRow(part, height / 2);
    const int end = 2 * firstRow(part + 1, height / 2);
    unsigned rays = 0;
    for (int y = begin; y < std::min(begin + 2, end); ++y) traceRow(y, static_cast<unsigned>(y) & 1, rays);
    for (int y = begin + 2; y < end; y += 2) {
        traceRow(y + 1, 1, rays);
        fillRowBetween(y, rays);
    }
    if (part + 1 == m_parts && height % 2 != 0) traceRow(height - 1, 0, rays);
    m_counters[part].rays += rays;
}

/// Traces every second pixel of a row and what differs between them.
void MiniRaytracer::traceRow(int y, unsigned phase, unsigned& rays) {
    const int width = m_target.getWidth();
    const int first = static_cast<int>(phase);
    uint8* const row = m_target.getBytePointer(y);
    for (int x = first; x < width; x += 2) tracePixel(x, y, pixelOf(row, x), rays);
    for (int x = 1 - first; x < width; x += 2) {
        uint8* const p = pixelOf(row, x);
        const bool isBetween = x > 0 && x < width - 1;
        if (!isBetween || !interpolate(p, p - kPixelBytes, p + kPixelBytes)) tracePixel(x, y, p, rays);
    }
}

/// Fills a row between two that have been traced.
void MiniRaytracer::fillRowBetween(int y, unsigned& rays) {
    const uint8* above = m_target.getBytePointer(y - 1);
    const uint8* below = m_target.getBytePointer(y + 1);
    uint8* p = m_target.getBytePointer(y);
    for (int x = 0; x < m_target.getWidth(); ++x) {
        if (!interpolate(p, above, below)) tracePixel(x, y, p, rays);
        above += kPixelBytes;
        below += kPixelBytes;
        p += kPixelBytes;
    }
}

void MiniRaytracer::tracePixel(int x, int y, uint8* pixel, unsigned& rays) const {
    const Sample sample = trace(static_cast<float>(x), static_cast<float>(y), rays);
    store(pixel, sample.color, sample.hash);
}

// --- rays -----------------------------------------------------------------------------------------------

MiniRaytracer::Sample MiniRaytracer::trace(float x, float y, unsigned& rays) const {
    const float dx = static_cast<float>(m_centre.x) - x;
    const float dy = static_cast<float>(m_centre.y) - y;
    Ray ray(m_camera, internal::normalize(m_right * dx + m_up * dy + m_forward));
    Float3 color;
    float mist = 0;
    float throughput = 1;
    uint32 hash = 0x811c9dc5;
    for (int bounce = 0; bounce < kMostBounces; ++bounce) {
        const RayHit hit = m_scene.hit(ray);
        ++rays;
        const float glare = halo(ray, hit.distance, throughput, bounce == 0);
        color = color + Float3(1, 0.95f, 0.8f) * glare;
        if (glare > kLeastSeen) mixHash(hash, static_cast<unsigned>(bounce));
        const float clear = fastExp2(hit.distance * kFogDensity);
        mist += (1 - clear) * throughput;
        throughput *= clear;
        if (hit.material < 0) break;
        const Float3 point = ray.origin + ray.direction * hit.distance + hit.normal * kSurfaceGap;
        const internal::Material& material = m_scene.material(hit);
        const float lamp = lampLight(point, hit.normal, throughput, rays);
        const float light = (baseLight(point) + lamp) * throughput;
        color = color + material.color * light;
        if (light * material.weight > kLeastSeen) mixHash(hash, 2 * (kMostBounces + hit.object) + (lamp > 0));
        throughput *= material.reflectivity;
        if (throughput < kLeastThroughput) break;
        const float slope = internal::dot(hit.normal, ray.direction);
        ray = Ray(point, internal::normalize(ray.direction - hit.normal * (2 * slope)));
    }
    return {color + kMistColor * mist, static_cast<uint8>(hash)};
}

/// Returns the light that comes from everywhere.
float MiniRaytracer::baseLight(const Float3& point) const {
    const Float3 toLight = m_light - point;
    return std::max(0.0f, 0.0034090912f * (44 - std::fabs(toLight.x) - std::fabs(toLight.y)));
}

/// Returns the light of the lamp; 0 in a shadow.
float MiniRaytracer::lampLight(const Float3& point, const Float3& normal, float throughput,
                               unsigned& rays) const {
    const Float3 toLight = m_light - point;
    const float squared = internal::dot(toLight, toLight);
    const float distance = std::sqrt(squared);
    const float facing = distance > 0 ? internal::dot(normal, toLight) / distance : 0;
    if (!(facing * throughput > kLeastThroughput)) return 0;
    ++rays;
    if (!m_scene.isFree(Ray(point, toLight * (1 / distance)), distance)) return 0;
    return 256 / (squared + 256) * facing;
}

/// Returns the glow around the lamp, if the ray passes it before it ends.
float MiniRaytracer::halo(const Ray& ray, float segment, float throughput, bool isPrimary) const {
    const Float3 toLight = m_light - ray.origin;
    const float nearest = internal::dot(toLight, ray.direction);
    if (!(nearest > 0) || segment <= nearest) return 0;
    const float glare = fastExp2(nearest * kFogDensity) * throughput * std::min(2.0f, segment);
    if (!(glare > 0.02f)) return 0;
    const float c = nearest / std::sqrt(internal::dot(toLight, toLight));
    if (!(c > 0.95f)) return 0;
    const float spread = isPrimary ? c / (1000 - 999 * c) : c / (20 - 19 * c);
    const float term = isPrimary ? spread * spread - 0.0003476631f : (spread * spread - 0.23734365f) * 1.5f;
    return std::max(term, 0.0f) * glare;
}

// --- edges and the large picture ------------------------------------------------------------------------

void MiniRaytracer::traceEdges(unsigned part) {
    const int height = m_edges.getHeight();
    unsigned rays = 0;
    for (int y = firstRow(part, height); y < firstRow(part + 1, height); ++y) {
        const uint8* above = m_target.getBytePointer(y) + 3;
        const uint8* below = m_target.getBytePointer(y + 1) + 3;
        uint8* edge = m_edges.getBytePointer(y);
        for (int x = 0; x < m_edges.getWidth(); ++x, above += 4, below += 4, edge += kPixelBytes) {
            if (above[0] == above[4] && above[0] == below[0] && above[0] == below[4])
                store(edge, {}, 0);
            else
                store(edge, trace(static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f, rays).color, 1);
        }
    }
    m_counters[part].rays += rays;
}

// A pixel of the first picture becomes a block of four: itself, the means with its right and lower
// neighbours, and the corner between them.
void MiniRaytracer::doubleRows(unsigned part) {
    const int rows = m_spare.getHeight() - 2;
    for (int y = firstRow(part, rows); y < firstRow(part + 1, rows); ++y) {
        DoubledRow row{m_spare.getBytePointer(y + 1),  m_spare.getBytePointer(y + 2),
                       m_edges.getBytePointer(y),      m_edges.getBytePointer(y + 1),
                       m_target.getBytePointer(2 * y), m_target.getBytePointer(2 * y + 1)};
        for (int x = 0; x < m_spare.getWidth() - 2; ++x) doublePixel(row, x);
    }
}

void MiniRaytracer::doublePixel(const DoubledRow& row, int x) {
    const uint8 *const p = pixelOf(row.pixels, x + 1), *const right = p + kPixelBytes;
    const uint8 *const below = pixelOf(row.below, x + 1), *const across = below + kPixelBytes;
    const uint8 *const e0 = pixelOf(row.edgesAbove, x), *const e1 = e0 + kPixelBytes;
    const uint8 *const e2 = pixelOf(row.edgesBelow, x), *const e3 = e2 + kPixelBytes;
    uint8 *const upper = pixelOf(row.upper, 2 * x), *const lower = pixelOf(row.lower, 2 * x);
    const int flags = e0[3] + e1[3] + e2[3] + e3[3];
    for (int i = 0; i < 3; ++i) {
        upper[i] = static_cast<uint8>((p[i] * (8 - flags) + e0[i] + e1[i] + e2[i] + e3[i] + 4) >> 3);
        upper[4 + i] = between(p[i], right[i], e1, e3, i);
        lower[i] = between(p[i], below[i], e2, e3, i);
        const int plain = p[i] + right[i] + below[i] + across[i];
        lower[4 + i] = static_cast<uint8>((plain * (2 - e3[3]) + 4 * e3[i] * e3[3] + 4) >> 3);
    }
    upper[3] = upper[7] = lower[3] = lower[7] = 255;
}

// --- Image ----------------------------------------------------------------------------------------------

unsigned Image::synthesize(bool small) {
    initialize(BGRA8, small ? IVec2<int>(62, 37) : IVec2<int>(3842, 2162));
    if (!isInitialized()) return 0;
    const uint32 now = internal::g_system != nullptr ? internal::g_system->getTime() : 0;
    return MiniRaytracer(*this, (now & 0x1ffff) * 7.6293945e-6).run();
}

} // namespace qel
