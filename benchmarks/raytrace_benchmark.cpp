// The small ray tracer on one thread, against a library for tracing rays. The picture includes shading; the
// peer traces the same number of rays among the same boxes, made of triangles, and only finds what each of
// them meets.
#include <qel/imaging/pixels/image.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#if QEL_PEER_EMBREE
#include <embree3/rtcore.h>
#endif

namespace {

void smallPicture(benchmark::State& state) {
    qel::Image image;
    unsigned rays = 0;
    for ([[maybe_unused]] auto _ : state) rays += image.synthesize(true); // without a System: on this thread
    state.SetItemsProcessed(rays);
}

#if QEL_PEER_EMBREE

using Point = std::array<float, 3>;

/// The cells of the word; each holds a box.
constexpr const char* kWord[] = {
    "        x xxx            ", "        x x              ", "xxx xxx x x   xxx xxx xxx",
    "x x x x x x   x x x   x x", "x x xxx x x   x x x   xxx", "xxx x   x x   x x x   x  ",
    "  x xxx x xxx xxx x   xxx",
};
constexpr Point kCamera{0, -10.6f, 14};
constexpr Point kLight{0, -7, 5};

/// The triangles of boxes.
class Triangles {
public:
    void addBox(const Point& centre, const Point& extent) {
        const auto first = static_cast<unsigned>(m_points.size());
        for (int i = 0; i < 8; ++i)
            m_points.push_back({centre[0] + (i & 1 ? extent[0] : -extent[0]),
                                centre[1] + (i & 2 ? extent[1] : -extent[1]),
                                centre[2] + (i & 4 ? extent[2] : -extent[2])});
        static constexpr unsigned kFaces[6][4] = {{0, 1, 3, 2}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                                  {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 3, 7, 5}};
        for (const auto& face : kFaces) {
            m_corners.push_back({first + face[0], first + face[1], first + face[2]});
            m_corners.push_back({first + face[0], first + face[2], first + face[3]});
        }
    }
    void attachTo(RTCDevice device, RTCScene scene) const {
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        copy(geometry, RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT3, m_points);
        copy(geometry, RTC_BUFFER_TYPE_INDEX, RTC_FORMAT_UINT3, m_corners);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
    }

private:
    template <typename T>
    static void copy(RTCGeometry geometry, RTCBufferType type, RTCFormat format, const std::vector<T>& from) {
        void* const to = rtcSetNewGeometryBuffer(geometry, type, 0, format, sizeof(T), from.size());
        std::copy(from.begin(), from.end(), static_cast<T*>(to));
    }

    std::vector<Point> m_points;
    std::vector<std::array<unsigned, 3>> m_corners;
};

RTCRayHit rayFrom(const Point& origin, const Point& direction) {
    const float scale = 1 / std::hypot(direction[0], direction[1], direction[2]);
    RTCRayHit ray{};
    ray.ray.org_x = origin[0], ray.ray.org_y = origin[1], ray.ray.org_z = origin[2];
    ray.ray.dir_x = direction[0] * scale, ray.ray.dir_y = direction[1] * scale;
    ray.ray.dir_z = direction[2] * scale;
    ray.ray.tnear = 1e-3f;
    ray.ray.tfar = 100;
    ray.ray.mask = ~0u;
    ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    return ray;
}

class PeerScene {
public:
    PeerScene() : m_device(rtcNewDevice("threads=1")), m_scene(rtcNewScene(m_device)) {
        Triangles triangles;
        for (int row = 0; row < 7; ++row)
            for (int column = 0; column < 25; ++column)
                if (kWord[row][column] == 'x')
                    triangles.addBox({static_cast<float>(column - 12) * 1.5f + 5.8f,
                                      static_cast<float>(3 - row) * 1.5f + 4.2f, 1.5f},
                                     {0.66f, 0.66f, 0.7f});
        triangles.addBox({0, 0, -1.1f}, {50, 50, 0.1f}); // the floor
        triangles.attachTo(m_device, m_scene);
        rtcCommitScene(m_scene);
        rtcInitIntersectContext(&m_context);
    }
    PeerScene(const PeerScene&) = delete;
    PeerScene& operator=(const PeerScene&) = delete;
    ~PeerScene() {
        rtcReleaseScene(m_scene);
        rtcReleaseDevice(m_device);
    }

    /// Traces the ray of a pixel, and one towards the light and a reflected one from where it ends.
    /// @return the number of rays.
    unsigned trace(float x, float y) {
        RTCRayHit ray = rayFrom(kCamera, {x, 0.54f + y * 0.84f, -0.84f + y * 0.54f});
        rtcIntersect1(m_scene, &m_context, &ray);
        if (ray.hit.geomID == RTC_INVALID_GEOMETRY_ID) return 1;
        const Point end{ray.ray.org_x + ray.ray.dir_x * ray.ray.tfar,
                        ray.ray.org_y + ray.ray.dir_y * ray.ray.tfar,
                        ray.ray.org_z + ray.ray.dir_z * ray.ray.tfar};
        RTCRayHit toLight = rayFrom(end, {kLight[0] - end[0], kLight[1] - end[1], kLight[2] - end[2]});
        rtcOccluded1(m_scene, &m_context, &toLight.ray);
        RTCRayHit reflected = rayFrom(end, {ray.ray.dir_x, ray.ray.dir_y, -ray.ray.dir_z});
        rtcIntersect1(m_scene, &m_context, &reflected);
        benchmark::DoNotOptimize(toLight.ray.tfar + reflected.ray.tfar);
        return 3;
    }

private:
    RTCDevice m_device;
    RTCScene m_scene;
    RTCIntersectContext m_context;
};

void smallPictureEmbree(benchmark::State& state) {
    qel::Image image;
    const unsigned wanted = image.synthesize(true);
    PeerScene scene;
    unsigned rays = 0;
    for ([[maybe_unused]] auto _ : state) {
        const unsigned end = rays + wanted;
        for (unsigned pixel = 0; rays < end; pixel = (pixel + 1) % (120 * 70))
            rays += scene.trace(static_cast<float>(pixel % 120) / 105 - 0.57f,
                                0.32f - static_cast<float>(pixel / 120) / 109);
    }
    state.SetItemsProcessed(rays);
}
BENCHMARK(smallPictureEmbree)->Name("RayTracer/Small/embree");

#endif

BENCHMARK(smallPicture)->Name("RayTracer/Small/qel");

} // namespace
