#include <hosts/qelviewer/volume/phantom.h>

#include <hosts/qelviewer/volume/header_text.h>
#include <hosts/qelviewer/volume/nrrd_header.h>
#include <hosts/qelviewer/volume/parallel_range.h>
#include <hosts/shared/file_replacement.h>

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/volume/volume_loader.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelviewer {
namespace {

/// Samples on each side of a voxel.
constexpr int kSamples = 3;
/// Millimetres on each side of the volume, which is 2 units of the table wide.
constexpr double kSideMm = 230.4;

/// An ellipsoid of the table: x points to the left of the head, y to the front, z to the top. It is turned
/// about z.
struct Ellipsoid {
    int tenths; ///< added inside, in tenths of the contrast between air and skull
    qel::IVec3<double> centre;
    qel::IVec3<double> radius;
    double cosine = 1; ///< of the angle from +x towards +y
    double sine = 0;
};

constexpr double kSine18 = 0.3090169943749474, kCosine18 = 0.9510565162951535;

constexpr Ellipsoid kHead[] = {
    {10, {0, 0, 0}, {0.69, 0.92, 0.9}},
    {-8, {0, 0, 0}, {0.6624, 0.874, 0.88}},
    {-2, {-0.22, 0, -0.25}, {0.41, 0.16, 0.21}, -kSine18, kCosine18}, // 108 degrees
    {-2, {0.22, 0, -0.25}, {0.31, 0.11, 0.22}, kSine18, kCosine18},   // 72 degrees
    {1, {0, 0.35, -0.25}, {0.21, 0.25, 0.5}},
    {1, {0, 0.1, -0.25}, {0.046, 0.046, 0.046}},
    {1, {-0.08, -0.65, -0.25}, {0.046, 0.023, 0.02}},
    {1, {0.06, -0.65, -0.25}, {0.046, 0.023, 0.02}, 0, 1}, // 90 degrees
    {1, {0.06, -0.105, 0.625}, {0.056, 0.04, 0.1}, 0, 1},
    {1, {0, 0.1, 0.625}, {0.056, 0.056, 0.1}},
};

/// Positions of samples on one axis, from -1 to 1.
struct Samples {
    int count;

    double at(int i) const { return (2.0 * i + 1) / count - 1; }
    /// Returns the first sample that is not before @p position, 0 to count.
    int firstFrom(double position) const {
        const double index = std::ceil(((position + 1) * count - 1) * 0.5);
        return static_cast<int>(std::clamp(index, 0.0, static_cast<double>(count)));
    }
};

/// Adds an ellipsoid to the differences between neighbours in a row of samples at (y, z).
void addToRow(int* differences, const Samples& samples, const Ellipsoid& ellipsoid, double y, double z) {
    const double dy = y - ellipsoid.centre.y, dz = (z - ellipsoid.centre.z) / ellipsoid.radius.z;
    // On the row, the coordinates in the ellipsoid are u = ux * dx + uy and v = vx * dx + vy.
    const double ux = ellipsoid.cosine / ellipsoid.radius.x, uy = ellipsoid.sine * dy / ellipsoid.radius.x;
    const double vx = -ellipsoid.sine / ellipsoid.radius.y, vy = ellipsoid.cosine * dy / ellipsoid.radius.y;
    const double a = ux * ux + vx * vx, b = ux * uy + vx * vy, c = uy * uy + vy * vy + dz * dz - 1;
    const double discriminant = b * b - a * c;
    if (!(discriminant > 0)) return;
    const double middle = ellipsoid.centre.x - b / a, half = std::sqrt(discriminant) / a;
    differences[samples.firstFrom(middle - half)] += ellipsoid.tenths;
    differences[samples.firstFrom(middle + half)] -= ellipsoid.tenths;
}

/// Adds the samples of one row to the sums of its voxels.
void addRow(qel::Vector<int>& sums, qel::Vector<int>& differences, const Samples& samples, double y,
            double z) {
    std::fill(differences.begin(), differences.end(), 0);
    for (const Ellipsoid& ellipsoid : kHead) addToRow(differences.data(), samples, ellipsoid, y, z);
    int tenths = 0;
    for (int i = 0; i < samples.count; ++i) {
        tenths += differences[static_cast<size_t>(i)];
        sums[static_cast<size_t>(i / kSamples)] += tenths;
    }
}

/// Computes the voxels of slice @p z. The y axis of the volume points to the back.
void computeSlice(qel::int16* slice, int voxels, int z) {
    const Samples samples{voxels * kSamples};
    const auto count = static_cast<size_t>(voxels);
    qel::Vector<int> sums(count), differences(static_cast<size_t>(samples.count) + 1);
    for (int y = 0; y < voxels; ++y) {
        std::fill(sums.begin(), sums.end(), 0);
        for (int i = 0; i < kSamples * kSamples; ++i)
            addRow(sums, differences, samples, -samples.at(y * kSamples + i / kSamples),
                   samples.at(z * kSamples + i % kSamples));
        for (size_t x = 0; x < count; ++x) {
            constexpr double kFull = 10 * kSamples * kSamples * kSamples;
            slice[static_cast<size_t>(y) * count + x] =
                static_cast<qel::int16>(std::floor(-1000 + 2000 * sums[x] / kFull + 0.5));
        }
    }
}

std::string phantomHeader(int voxels) {
    const std::string count = std::to_string(voxels);
    const std::string step = numberText(kSideMm / voxels);
    const std::string first = numberText((kSideMm / voxels - kSideMm) / 2);
    return "NRRD0004\n# A head of ten ellipsoids.\ntype: short\ndimension: 3\nspace: "
           "left-posterior-superior\n"
           "sizes: " +
           count + ' ' + count + ' ' + count + "\nspace directions: (" + step + ",0,0) (0," + step +
           ",0) (0,0," + step + ")\nspace origin: (" + first + ',' + first + ',' + first +
           ")\nkinds: domain domain domain\nendian: little\nencoding: raw\n\n";
}

} // namespace

qel::Buffer createPhantom(int voxels, LoadProgress& progress) {
    const auto count = static_cast<size_t>(voxels);
    qel::Buffer buffer(count * count * count * sizeof(qel::int16));
    auto* const data = reinterpret_cast<qel::int16*>(buffer.getBytePointer());
    std::atomic<int> done{0};
    forEachIndex(static_cast<unsigned>(voxels), [&](unsigned z) {
        if (progress.isCancelled) return;
        computeSlice(data + z * count * count, voxels, static_cast<int>(z));
        advanceTo(progress, static_cast<float>(++done) / static_cast<float>(voxels));
    });
    if (progress.isCancelled) buffer.free();
    return buffer;
}

std::string writePhantom(const std::string& path, int voxels, LoadProgress& progress) {
    qel::Buffer content = createPhantom(voxels, progress);
    if (content.empty()) return path + ": cancelled";
    const std::string header = phantomHeader(voxels);
    content.insertFront({reinterpret_cast<const qel::uint8*>(header.data()), header.size()});
    const qel::platform::FileError error = qelhosts::replaceFile(path, content);
    return error ? path + ": " + error.message() : std::string();
}

std::string loadPhantom(int voxels, qel::VolumeLoader& loader, VolumeHeader& header, LoadProgress& progress) {
    const qel::Buffer content = createPhantom(voxels, progress);
    if (content.empty()) return "cancelled";
    VolumeHeader read;
    VoxelLayout layout;
    std::string problem = readNrrdHeader(phantomHeader(voxels), read, layout);
    const Orientation& place = read.orientation;
    if (problem.empty() && !loader.loadFromVoxels(layout.format->id, layout.size, directionsOf(place),
                                                  qel::IVec3<float>(place.origin), content))
        problem = "the sample volume cannot be loaded";
    if (!problem.empty()) return problem;
    read.scaleBias = loader.getScaleBias();
    header = std::move(read);
    return {};
}

} // namespace qelviewer
