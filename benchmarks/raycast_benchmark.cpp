// Ray casting of 256^3 voxels to 512 x 512 pixels by SoftwareRenderer3D, and by the fixed-point mapper of VTK
// with the same volume, table, camera, opacity unit and distance of samples, without shading.
//
// QEL_BENCHMARK_PICTURES=FOLDER writes the pictures of both and their difference, four times amplified, after
// the measurements.
#include <qel/imaging/pixels/image.h>
#include <qel/software3d/software_renderer_3d.h>
#include <qel/system/core/system.h>
#include <qel/testing/machine.h>
#include <qel/volume/volume_actor.h>
#include <qel/volume/volume_material.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#if QEL_PEER_VTK
#include <vtkAutoInit.h>
#include <vtkColorTransferFunction.h>
#include <vtkFixedPointVolumeRayCastMapper.h>
#include <vtkImageData.h>
#include <vtkImageImport.h>
#include <vtkNew.h>
#include <vtkPiecewiseFunction.h>
#include <vtkVolume.h>
#include <vtkVolumeProperty.h>
VTK_MODULE_INIT(vtkRenderingOpenGL2);
VTK_MODULE_INIT(vtkRenderingVolumeOpenGL2);
#endif

namespace {

constexpr int kSide = 256;
constexpr int kPicture = 512;
constexpr int kTableSteps = 1024;

/// A head of a skull, a noisy inside with a cavity, and air around it.
const std::vector<uint16_t>& sampleVoxels() {
    static const std::vector<uint16_t> voxels = [] {
        std::vector<uint16_t> all;
        uint32_t random = 1;
        for (int z = 0; z < kSide; ++z) {
            for (int y = 0; y < kSide; ++y) {
                for (int x = 0; x < kSide; ++x) {
                    const double u = (x - 127.5) / 95, v = (y - 127.5) / 118, w = (z - 127.5) / 105;
                    const double distance = std::sqrt(u * u + v * v + w * w);
                    const double hole = std::hypot((x - 150.0) / 30, (y - 110.0) / 50, (z - 120.0) / 40);
                    random = random * 1664525 + 1013904223;
                    const double noise = (random >> 24) / 255.0 - 0.5;
                    double value = 20;
                    if (distance < 1) value = 1000;
                    if (distance > 0.86 && distance < 0.94) value = 2000;
                    if (hole < 1) value = 400;
                    all.push_back(static_cast<uint16_t>(value + 40 * noise));
                }
            }
        }
        return all;
    }();
    return voxels;
}

const qel::Curve<qel::IVec3<float>>& colors() {
    static const qel::Curve<qel::IVec3<float>> curve{
        {0, {0, 0, 0}}, {900, {0.7f, 0.3f, 0.2f}}, {1200, {0.9f, 0.6f, 0.4f}}, {2100, {1, 1, 0.9f}}};
    return curve;
}

const qel::Curve<float>& opacities() {
    static const qel::Curve<float> curve{{0, 0},       {300, 0},    {900, 3 / 255.0f}, {1300, 4 / 255.0f},
                                         {1900, 0.1f}, {2100, 0.2f}};
    return curve;
}

struct Direction {
    double x, y, z;
};
constexpr Direction kAlongZ{0, 0, -1}, kOblique{-0.6, -0.48, -0.64};

/// Returns the number of samples that are nowhere more than a voxel apart.
int stepsAlong(const Direction& d) {
    return static_cast<int>(std::ceil(kSide / std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)})));
}

/// Our renderer with the sample.
class Scene {
public:
    Scene(Direction direction, int pixels, int steps, bool usesMeans) {
        m_target->initialize(qel::BGRA8, {pixels, pixels});
        m_renderer->setRenderTarget(m_target.get());
        m_texture = m_renderer->createVolumeTexture();
        m_texture->initialize(qel::UInt16, {kSide, kSide, kSide});
        m_texture->uploadData(0, kSide, qel::UInt16, sampleVoxels().data());
        qel::VolumeMaterial material;
        material.setColorCurve(colors()).setOpacityCurve(opacities());
        material.build(kTableSteps, m_renderer.get());
        m_actor->setScalarTexture(m_texture.get()).setVolumeScaleBias({1, 0}).setVolumeMaterial(material);
        m_actor->setStepCount(steps).setUsingPreintegration(usesMeans);
        // The world is that of the peer: a voxel's centre is at its number, and the picture shows the volume
        // from the first to the last centre.
        constexpr float n = kSide, edge = 0.5f / n;
        m_actor->setModelMatrix({n, 0, 0, 0, 0, n, 0, 0, 0, 0, n, 0, -0.5f, -0.5f, -0.5f, 1});
        m_renderer->setClipBox({edge, edge, edge}, {1 - edge, 1 - edge, 1 - edge});
        setCamera(direction);
    }

    const qel::Image& draw() {
        m_renderer->start3D();
        m_renderer->clear({0, 0, 0, 1});
        m_actor->onRender(m_renderer.get());
        m_renderer->stop3D();
        return *m_target;
    }

private:
    /// Looks along a direction, right-handed, without perspective.
    void setCamera(const Direction& direction) {
        const Direction up{0, 1, 0};
        const auto cross = [](const Direction& a, const Direction& b) {
            return Direction{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
        };
        Direction right = cross(direction, up);
        const double length = std::hypot(right.x, right.y, right.z);
        right = {right.x / length, right.y / length, right.z / length};
        const Direction top = cross(right, direction);
        const double half = (kSide - 1) / 2.0;
        const double scale = 1 / half, depth = 1 / (4 * half); // whatever the direction is
        const auto column = [&](const Direction& d, double factor) {
            return qel::IVec4<float>(static_cast<float>(d.x * factor), static_cast<float>(d.y * factor),
                                     static_cast<float>(d.z * factor),
                                     static_cast<float>(-half * (d.x + d.y + d.z) * factor));
        };
        const auto x = column(right, scale), y = column(top, scale), z = column(direction, depth);
        m_renderer->setViewMatrix({x.x, y.x, z.x, 0, x.y, y.y, z.y, 0, x.z, y.z, z.z, 0, x.w, y.w, z.w, 1});
        m_renderer->setProjectionMatrix({});
    }

    qel::SmartPointer<qel::SoftwareRenderer3D> m_renderer = qel::makeObject<qel::SoftwareRenderer3D>();
    qel::SmartPointer<qel::Image> m_target = qel::makeObject<qel::Image>();
    qel::SmartPointer<qel::VolumeActor> m_actor = qel::makeObject<qel::VolumeActor>();
    qel::SmartPointer<qel::VolumeTexture> m_texture;
};

/// A System with one or more processors.
class Machine {
public:
    explicit Machine(int processors) {
        qel::seams::setProcessorCount(static_cast<unsigned>(processors));
        qel::System::initialize({});
    }
    ~Machine() {
        qel::System::deinitialize();
        qel::seams::setProcessorCount(0);
    }
};

void drawPicture(benchmark::State& state, Direction direction, int processors, bool usesMeans) {
    const Machine machine(processors);
    {
        Scene scene(direction, kPicture, stepsAlong(direction), usesMeans);
        scene.draw();
        for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(scene.draw().getBytePointer());
    }
}

/// A quarter of the pixels on each axis and of the steps: the first picture while a volume turns.
void drawCoarsePicture(benchmark::State& state) {
    const Machine machine(2);
    {
        Scene scene(kOblique, kPicture / 4, stepsAlong(kOblique) / 4, true);
        scene.draw();
        for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(scene.draw().getBytePointer());
    }
}

#if QEL_PEER_VTK
/// The peer with the sample.
class VtkScene {
public:
    explicit VtkScene(int threads) {
        auto& voxels = const_cast<std::vector<uint16_t>&>(sampleVoxels()); // is only read
        m_import->SetImportVoidPointer(voxels.data());
        m_import->SetDataScalarTypeToUnsignedShort();
        m_import->SetNumberOfScalarComponents(1);
        m_import->SetWholeExtent(0, kSide - 1, 0, kSide - 1, 0, kSide - 1);
        m_import->SetDataExtentToWholeExtent();
        vtkNew<vtkColorTransferFunction> color;
        for (const auto& [value, c] : colors()) color->AddRGBPoint(value, c.x, c.y, c.z);
        vtkNew<vtkPiecewiseFunction> opacity;
        for (const auto& [value, a] : opacities()) opacity->AddPoint(value, a);
        vtkNew<vtkVolumeProperty> property;
        property->SetColor(color);
        property->SetScalarOpacity(opacity);
        property->SetInterpolationTypeToLinear();
        property->ShadeOff();
        property->SetScalarOpacityUnitDistance(kSide * std::sqrt(3.0) / 512);
        m_mapper->SetInputConnection(m_import->GetOutputPort());
        m_mapper->AutoAdjustSampleDistancesOff();
        m_mapper->SetSampleDistance(1);
        m_mapper->SetImageSampleDistance(1);
        m_mapper->IntermixIntersectingGeometryOff();
        m_mapper->SetNumberOfThreads(threads);
        m_volume->SetMapper(m_mapper);
        m_volume->SetProperty(property);
        m_image->SetDimensions(kPicture, kPicture, 1);
        m_image->AllocateScalars(VTK_UNSIGNED_CHAR, 3);
    }

    /// @return R, G and B of the pixels; the lowest row is the first.
    const uint8_t* draw(Direction direction) {
        double along[3] = {direction.x, direction.y, direction.z}, up[3] = {0, 1, 0};
        m_mapper->CreateCanonicalView(m_volume, m_image, 0, along, up);
        return static_cast<const uint8_t*>(m_image->GetScalarPointer());
    }

private:
    vtkNew<vtkImageImport> m_import;
    vtkNew<vtkFixedPointVolumeRayCastMapper> m_mapper;
    vtkNew<vtkVolume> m_volume;
    vtkNew<vtkImageData> m_image;
};

/// Writes the pictures of both and their difference beside each other.
void writePictures(const std::string& path, Direction direction) {
    Scene scene(direction, kPicture, stepsAlong(direction), false);
    const qel::Image& ours = scene.draw();
    VtkScene vtk(1);
    const uint8_t* const theirs = vtk.draw(direction);
    qel::Image all(qel::RGBA8, {3 * kPicture, kPicture});
    int64_t sum = 0;
    int most = 0;
    for (int y = 0; y < kPicture; ++y) {
        uint8_t* const out = all.getBytePointer(y);
        for (int x = 0; x < kPicture; ++x) {
            for (int c = 0; c < 4; ++c) {
                const int a = c == 3 ? 255 : ours.getBytePointer(y)[4 * x + 2 - c];
                const int b = c == 3 ? 255 : theirs[((kPicture - 1 - y) * kPicture + x) * 3 + c];
                out[4 * x + c] = static_cast<uint8_t>(a);
                out[4 * (x + kPicture) + c] = static_cast<uint8_t>(b);
                out[4 * (x + 2 * kPicture) + c] =
                    c == 3 ? uint8_t{255} : static_cast<uint8_t>(std::min(4 * std::abs(a - b), 255));
                sum += std::abs(a - b);
                most = std::max(most, std::abs(a - b));
            }
        }
    }
    std::printf("%s: mean difference %.2f of 255, largest %d\n", path.c_str(),
                static_cast<double>(sum) / (3.0 * kPicture * kPicture), most);
    all.saveTo(path.c_str());
}

void drawPictureByVtk(benchmark::State& state, Direction direction, int threads) {
    VtkScene scene(threads);
    scene.draw(direction);
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(scene.draw(direction));
    const char* const folder = std::getenv("QEL_BENCHMARK_PICTURES");
    if (folder != nullptr)
        writePictures(std::string(folder) + (direction.x == 0 ? "/raycast.png" : "/raycast_oblique.png"),
                      direction);
}
#endif

constexpr auto inMilliseconds = [](benchmark::internal::Benchmark* benchmark) {
    benchmark->Unit(benchmark::kMillisecond)->UseRealTime();
};

#define QEL_RAYCAST(FUNCTION, NAME, PEER, ...)                                                               \
    BENCHMARK_CAPTURE(FUNCTION, NAME, __VA_ARGS__)->Name("Volume/" #NAME PEER)->Apply(inMilliseconds)
QEL_RAYCAST(drawPicture, RaycastOnOneThread, "/qel", kAlongZ, 1, false);
QEL_RAYCAST(drawPicture, RaycastOnTwoThreads, "/qel", kAlongZ, 2, false);
QEL_RAYCAST(drawPicture, RaycastAcrossOnOneThread, "/qel", kOblique, 1, false);
QEL_RAYCAST(drawPicture, RaycastAcrossOnTwoThreads, "/qel", kOblique, 2, false);
#if QEL_PEER_VTK
QEL_RAYCAST(drawPictureByVtk, RaycastOnOneThread, "/vtk", kAlongZ, 1);
QEL_RAYCAST(drawPictureByVtk, RaycastOnTwoThreads, "/vtk", kAlongZ, 2);
QEL_RAYCAST(drawPictureByVtk, RaycastAcrossOnOneThread, "/vtk", kOblique, 1);
QEL_RAYCAST(drawPictureByVtk, RaycastAcrossOnTwoThreads, "/vtk", kOblique, 2);
#endif
QEL_RAYCAST(drawPicture, RaycastByMeans, "/qel", kOblique, 2, true);
BENCHMARK(drawCoarsePicture)->Name("Volume/RaycastCoarse/qel")->Apply(inMilliseconds);

} // namespace
