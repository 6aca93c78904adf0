// SoftwareVolumeTexture: the volumes of SoftwareRenderer3D.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/render/volume_texture.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <shared_mutex>

namespace qel {

/// Stores UInt16 voxels, which are 0 until they are uploaded, and the range of each block of 8 by 8 by 8.
/// @threads one thread at a time, any thread; getUploadedSlices(), getRevision() and lockVoxels() any
/// thread.
class QEL_API SoftwareVolumeTexture final : public VolumeTexture {
    QEL_CLASS(SoftwareVolumeTexture, VolumeTexture)

public:
    /// The voxels on a side of a block.
    static constexpr int kBrick = 8;
    /// The smallest and the largest voxel of a block and its neighbours at a distance of one voxel.
    struct Range {
        uint16 minimum; ///< smallest voxel
        uint16 maximum; ///< largest voxel
    };

    /// Creates a texture without voxels.
    explicit SoftwareVolumeTexture(Renderer* renderer);
    ~SoftwareVolumeTexture() override;

    /// Allocates voxels of value 0; no voxels for a size with a component that is 0 or negative.
    /// @errors logs an error for formats other than UInt16, and the texture then has no voxels;
    /// std::bad_alloc without memory for them.
    void initialize(FormatID format, const IVec3<int>& size) override;
    /// @errors logs an error and changes nothing for a slice that does not exist, and for an image of another
    /// size or format, or with padding after its rows.
    void uploadData(int z, const Image& image) override;
    /// @errors logs an error and changes nothing for another format or slices that do not exist.
    void uploadData(int zBegin, int zEnd, FormatID format, const void* data) override;

    /// Returns the voxels, x first; null without voxels.
    const uint16* getVoxels() const { return m_voxels.get(); }
    /// Returns the number of slices uploaded since initialize().
    int getUploadedSlices() const { return m_uploadedSlices; }
    /// Returns a number that changes with the voxels and that no other texture has. It changes before the
    /// voxels do and once more after them.
    uint64 getRevision() const { return m_revision; }
    /// Returns a lock that another thread needs for reading the voxels: while it exists, initialize() and
    /// uploadData() wait. A thread that reads the same voxels for long should release the lock now and then,
    /// and stop when getRevision() has changed.
    std::shared_lock<std::shared_mutex> lockVoxels() const { return std::shared_lock(m_access); }
    /// Returns the numbers of blocks on the axes.
    const IVec3<int>& getBrickCount() const { return m_brickCount; }
    /// Returns the ranges of all blocks, x first, after measuring those that have changed.
    const Vector<Range>& getBricks();
    /// Returns true if getBricks() has nothing to measure. @threads any.
    bool areBricksMeasured() const { return m_areBricksMeasured; }
    /// Measures up to @p layers layers of blocks that have changed. @return true if none is left.
    /// @threads one other thread, which holds a lock of lockVoxels().
    bool measureBricks(int layers);

private:
    struct Free {
        void operator()(uint16* memory) const { std::free(memory); }
    };

    void measureLayer(int layer);
    Range measure(int x, int y, int z) const;

    std::unique_ptr<uint16, Free> m_voxels;
    IVec3<int> m_brickCount;
    mutable std::shared_mutex
        m_access;      ///< held for changes of the voxels, shared for reading in the background
    Mutex m_measuring; ///< taken after m_access
    Vector<Range> m_bricks;
    std::atomic<bool> m_areBricksMeasured{true};
    Vector<uint8> m_isStale; ///< for each layer of blocks: whether their ranges must be measured
    std::atomic<int> m_uploadedSlices{0};
    std::atomic<uint64> m_revision{0};
};

} // namespace qel
