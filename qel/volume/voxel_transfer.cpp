#include <qel/volume/voxel_transfer_p.h>

#include <qel/foundation/base/buffer.h>
#include <qel/render/volume_texture.h>
#include <qel/system/core/range_kernel.h>

#include <algorithm>

namespace qel::internal {
namespace {

/// Bytes that one thread reads and processes at a time.
constexpr uint64 kPieceBytes = 512 << 10;
/// Bytes of converted slices before they are uploaded.
constexpr uint64 kGroupBytes = 1 << 20;

/// Calls `run(begin, end)` for shares of 0 to @p voxels.
template <typename Run>
void forShares(uint64 voxels, uint64 voxelBytes, const Run& run) {
    const uint64 worthwhile = std::min<uint64>(voxels * voxelBytes / kPieceBytes, 256);
    if (worthwhile < 2) return run(uint64{0}, voxels);
    RangeKernel<Run> kernel(voxels, 0, static_cast<unsigned>(worthwhile), run);
    executeParts(kernel);
}

/// Calls `run(begin, count)` for pieces of @p begin to @p end, of at most kPieceBytes.
template <typename Run>
void forPieces(uint64 begin, uint64 end, uint64 voxelBytes, const Run& run) {
    for (const uint64 most = kPieceBytes / voxelBytes; begin < end;) {
        const uint64 count = std::min(most, end - begin);
        run(begin, static_cast<size_t>(count));
        begin += count;
    }
}

} // namespace

VoxelRange VoxelTransfer::measure() {
    Mutex mutex;
    VoxelRange range;
    const uint64 voxels = m_sliceVoxels * static_cast<uint64>(m_slices);
    forShares(voxels, m_type.bytes, [&](uint64 begin, uint64 end) {
        Buffer room(std::min<uint64>(kPieceBytes, (end - begin) * m_type.bytes));
        VoxelRange share;
        forPieces(begin, end, m_type.bytes, [&](uint64 first, size_t count) {
            if (m_isEnded) return;
            const uint8* const bytes =
                m_source.read(first * m_type.bytes, count * m_type.bytes, room.getBytePointer());
            share.include(m_type.range(bytes, count));
            advance(count);
        });
        const MutexLock lock(mutex);
        range.include(share);
    });
    return range;
}

void VoxelTransfer::upload(VolumeTexture& texture, const VoxelScale& scale) {
    if (m_slices == 0) return;
    const uint64 fitting = kGroupBytes / sizeof(uint16) / m_sliceVoxels;
    const int groupSlices = static_cast<int>(std::clamp<uint64>(fitting, 1, static_cast<uint64>(m_slices)));
    Buffer group(m_sliceVoxels * static_cast<uint64>(groupSlices) * sizeof(uint16));
    auto* const words = reinterpret_cast<uint16*>(group.getBytePointer());
    for (int end = m_slices; end > 0;) {
        const int begin = std::max(end - groupSlices, 0);
        convert(words, m_sliceVoxels * static_cast<uint64>(begin),
                m_sliceVoxels * static_cast<uint64>(end - begin), scale);
        if (m_isEnded) return;
        for (int z = end - 1; z >= begin; --z)
            texture.uploadData(z, z + 1, UInt16, words + m_sliceVoxels * static_cast<uint64>(z - begin));
        end = begin;
    }
}

void VoxelTransfer::advance(uint64 voxels) {
    if (!m_progress) return;
    const auto both = static_cast<double>(m_sliceVoxels) * m_slices * 2;
    m_done += voxels;
    if (!m_progress(static_cast<float>(static_cast<double>(m_done) / both))) m_isEnded = true;
}

void VoxelTransfer::convert(uint16* out, uint64 begin, uint64 count, const VoxelScale& scale) {
    const bool inPlace = m_type.bytes == sizeof(uint16);
    forShares(count, m_type.bytes, [&](uint64 shareBegin, uint64 shareEnd) {
        Buffer room(inPlace ? 0 : std::min<uint64>(kPieceBytes, (shareEnd - shareBegin) * m_type.bytes));
        forPieces(shareBegin, shareEnd, m_type.bytes, [&](uint64 first, size_t voxels) {
            if (m_isEnded) return;
            uint16* const target = out + first;
            uint8* const bytes = inPlace ? reinterpret_cast<uint8*>(target) : room.getBytePointer();
            m_type.convert(target,
                           m_source.read((begin + first) * m_type.bytes, voxels * m_type.bytes, bytes),
                           voxels, scale);
            advance(voxels);
        });
    });
}

} // namespace qel::internal
