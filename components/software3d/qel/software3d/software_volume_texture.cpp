#include <qel/software3d/software_volume_texture.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/software3d/parallel_p.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace qel {
namespace {

/// More voxels than any memory can hold.
constexpr uint64 kMostVoxels = uint64{1} << 56;

uint64 nextRevision() {
    static std::atomic<uint64> last{0};
    return ++last;
}

int bricksOn(int voxels) {
    return (voxels - 1) / SoftwareVolumeTexture::kBrick + 1;
}

uint64 countVoxels(const IVec3<int>& size) {
    uint64 count = 1;
    for (int axis = 0; axis < 3; ++axis) {
        if (count > kMostVoxels / static_cast<uint64>(size[axis])) throw std::bad_alloc();
        count *= static_cast<uint64>(size[axis]);
    }
    return count;
}

void reportInvalidUpload(int zBegin, int64 zEnd) {
    logging::error() << "invalid upload of the slices " << zBegin << " to " << zEnd;
}

} // namespace

SoftwareVolumeTexture::SoftwareVolumeTexture(Renderer* renderer) : VolumeTexture(renderer) {}

SoftwareVolumeTexture::~SoftwareVolumeTexture() = default;

void SoftwareVolumeTexture::initialize(FormatID format, const IVec3<int>& size) {
    m_revision = nextRevision(); // lets readers stop
    const std::unique_lock lock(m_access);
    m_voxels.reset();
    m_brickCount = {};
    m_bricks.clear();
    m_isStale.clear();
    m_areBricksMeasured = true;
    m_uploadedSlices = 0;
    m_revision = nextRevision();
    const bool isSupported = format == UInt16;
    if (!isSupported) logging::error() << "unsupported format of voxels: " << static_cast<int>(format);
    setContent(UInt16, {});
    if (!isSupported || size.x <= 0 || size.y <= 0 || size.z <= 0) return;
    // The memory of the system is zero already; it is not touched before voxels are uploaded. Rays read
    // voxels in pairs, so one more follows the last.
    m_voxels.reset(static_cast<uint16*>(std::calloc(countVoxels(size) + 1, sizeof(uint16))));
    if (m_voxels == nullptr) throw std::bad_alloc();
    setContent(format, size);
    m_brickCount = {bricksOn(size.x), bricksOn(size.y), bricksOn(size.z)};
    m_isStale.assign(static_cast<size_t>(m_brickCount.z), 1);
    m_areBricksMeasured = false;
}

void SoftwareVolumeTexture::uploadData(int z, const Image& image) {
    const IVec3<int>& size = getSize();
    const bool isPacked = image.getPitch() == int64{size.x} * int64{sizeof(uint16)};
    if (!isPacked || z >= size.z || image.getSize() != IVec2<int>(size.x, size.y))
        return reportInvalidUpload(z, int64{z} + 1);
    VolumeTexture::uploadData(z, image);
}

void SoftwareVolumeTexture::uploadData(int zBegin, int zEnd, FormatID format, const void* data) {
    if (format != UInt16 || data == nullptr || zBegin < 0 || zEnd < zBegin || zEnd > getSize().z)
        return reportInvalidUpload(zBegin, zEnd);
    if (zBegin == zEnd) return;
    m_revision = nextRevision(); // lets readers stop
    const std::unique_lock lock(m_access);
    const size_t slice = static_cast<size_t>(getSize().x) * static_cast<size_t>(getSize().y);
    std::memcpy(m_voxels.get() + slice * static_cast<size_t>(zBegin), data,
                slice * static_cast<size_t>(zEnd - zBegin) * sizeof(uint16));
    const int first = std::max(zBegin - 1, 0) / kBrick, last = std::min(zEnd, getSize().z - 1) / kBrick;
    std::fill(m_isStale.begin() + first, m_isStale.begin() + last + 1, uint8{1});
    m_areBricksMeasured = false;
    m_uploadedSlices += zEnd - zBegin;
    m_revision = nextRevision();
}

const Vector<SoftwareVolumeTexture::Range>& SoftwareVolumeTexture::getBricks() {
    measureBricks(m_brickCount.z);
    return m_bricks;
}

bool SoftwareVolumeTexture::measureBricks(int layers) {
    const MutexLock lock(m_measuring);
    Vector<int> stale;
    for (int layer = 0; layer < m_brickCount.z; ++layer)
        if (m_isStale[static_cast<size_t>(layer)] != 0) stale.push_back(layer);
    const bool isLast = stale.size() <= static_cast<size_t>(layers);
    if (!isLast) stale.resize(static_cast<size_t>(layers));
    m_bricks.resize(static_cast<size_t>(m_brickCount.x) * static_cast<size_t>(m_brickCount.y) *
                    static_cast<size_t>(m_brickCount.z));
    internal::runPieces(static_cast<unsigned>(stale.size()), [&](unsigned i) { measureLayer(stale[i]); });
    m_areBricksMeasured = isLast;
    return isLast;
}

void SoftwareVolumeTexture::measureLayer(int layer) {
    m_isStale[static_cast<size_t>(layer)] = 0;
    size_t brick = static_cast<size_t>(layer) * static_cast<size_t>(m_brickCount.x) *
                   static_cast<size_t>(m_brickCount.y);
    for (int y = 0; y < m_brickCount.y; ++y)
        for (int x = 0; x < m_brickCount.x; ++x) m_bricks[brick++] = measure(x, y, layer);
}

SoftwareVolumeTexture::Range SoftwareVolumeTexture::measure(int brickX, int brickY, int brickZ) const {
    const IVec3<int>& size = getSize();
    const IVec3<int> brick(brickX, brickY, brickZ);
    IVec3<int> begin, end;
    for (int axis = 0; axis < 3; ++axis) {
        begin[axis] = std::max(brick[axis] * kBrick - 1, 0);
        end[axis] = std::min(brick[axis] * kBrick + kBrick + 1, size[axis]);
    }
    Range range{65535, 0};
    for (int z = begin.z; z < end.z; ++z) {
        for (int y = begin.y; y < end.y; ++y) {
            const uint16* const row = m_voxels.get() + (static_cast<size_t>(z) * static_cast<size_t>(size.y) +
                                                        static_cast<size_t>(y)) *
                                                           static_cast<size_t>(size.x);
            for (int x = begin.x; x < end.x; ++x) {
                range.minimum = std::min(range.minimum, row[x]);
                range.maximum = std::max(range.maximum, row[x]);
            }
        }
    }
    return range;
}

} // namespace qel
