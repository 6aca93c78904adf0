// The two passes over the voxels of a volume.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/volume/voxel_source_p.h>
#include <qel/volume/voxel_type_p.h>

#include <atomic>
#include <functional>

namespace qel {
class VolumeTexture;
}

namespace qel::internal {

/// Reads the voxels once for their range and once for their values, in parts that stay in the processor's
/// cache, on all idle workers. No more than some slices are in memory.
class VoxelTransfer {
public:
    /// @param size  numbers of voxels on the axes; not negative. Their product fits 56 bits.
    /// @param progress  called with the share of both passes that is done, unless empty; returns false to end
    /// them. @owner must outlive this object. @threads all workers.
    VoxelTransfer(const VoxelType& type, VoxelSource& source, const IVec3<int>& size,
                  const std::function<bool(float)>& progress)
        : m_type(type),
          m_source(source),
          m_sliceVoxels(static_cast<uint64>(size.x) * static_cast<uint64>(size.y)),
          m_slices(size.z),
          m_progress(progress) {}

    /// Returns the range of all voxels; of some of them if it was ended.
    VoxelRange measure();
    /// Converts the voxels and uploads one slice after the other, the last slice first. Uploads run on the
    /// calling thread, while workers convert the next slices. @errors std::bad_alloc without memory for two
    /// slices.
    void upload(VolumeTexture& texture, const VoxelScale& scale);
    /// Returns true if a pass was ended before it was complete, by the progress or by the source.
    bool isEnded() const { return m_isEnded || m_source.hasFailed(); }

private:
    class SliceUpload;

    void convert(uint16* out, uint64 begin, uint64 count, const VoxelScale& scale, SliceUpload& before);
    const uint8* read(uint64 first, size_t count, uint8* room);
    void advance(uint64 voxels);

    const VoxelType& m_type;
    VoxelSource& m_source;
    const uint64 m_sliceVoxels;
    const int m_slices;
    const std::function<bool(float)>& m_progress;
    std::atomic<uint64> m_done{0}; ///< voxels of both passes
    std::atomic<bool> m_isEnded{false};
};

} // namespace qel::internal
