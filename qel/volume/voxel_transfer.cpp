#include <qel/volume/voxel_transfer_p.h>

#include <qel/foundation/base/buffer.h>
#include <qel/render/volume_texture.h>
#include <qel/system/core/range_kernel.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>

namespace qel::internal {
namespace {

/// Bytes that one thread reads and processes at a time.
constexpr uint64 kPieceBytes = 512 << 10;
/// Bytes of the shares that threads take, in the pass for the range and in that for the values.
constexpr uint64 kRangeShareBytes = 2 << 20;
constexpr uint64 kValueShareBytes = 128 << 10;
/// Bytes of converted slices before they are uploaded.
constexpr uint64 kGroupBytes = 1 << 20;
/// The most bytes of a group of slices that is kept while the next one is converted.
constexpr uint64 kMostKeptBytes = 16 << 20;

/// Returns true if other threads take shares.
bool isShared() {
    return Object::system() != nullptr && Object::system()->getProcessorCount() > 1;
}

/// Calls `run(begin, end)` for shares of 0 to @p voxels, of @p shareBytes and more.
template <typename Run>
void forShares(uint64 voxels, uint64 voxelBytes, uint64 shareBytes, const Run& run) {
    const auto shares = static_cast<unsigned>(std::min<uint64>(voxels * voxelBytes / shareBytes, 256));
    if (shares < 2 || !isShared()) return run(uint64{0}, voxels);
    RangeKernel<Run> kernel(voxels, shares, shares, run);
    executeParts(kernel);
}

/// Calls `run(begin, count)` for pieces of @p begin to @p end, of at most kPieceBytes, until it returns
/// false.
template <typename Run>
void forPieces(uint64 begin, uint64 end, uint64 voxelBytes, const Run& run) {
    for (const uint64 most = kPieceBytes / voxelBytes; begin < end;) {
        const uint64 count = std::min(most, end - begin);
        if (!run(begin, static_cast<size_t>(count))) return;
        begin += count;
    }
}

} // namespace

/// Converted slices that are uploaded on one thread while others convert the next ones.
class VoxelTransfer::SliceUpload {
public:
    /// Uploads slices of @p sliceVoxels voxels on the calling thread.
    SliceUpload(VolumeTexture& texture, uint64 sliceVoxels)
        : m_texture(texture), m_sliceVoxels(sliceVoxels) {}

    /// Sets the slices from @p begin to before @p end. @owner @p words must outlive the upload.
    void set(const uint16* words, int begin, int end) {
        m_words = words;
        m_begin = begin;
        m_end = end;
    }
    /// Uploads the slices, the last one first, on the right thread; does nothing on others. Keeps exceptions
    /// for finish(). @threads any.
    void runOnItsThread() noexcept {
        if (std::this_thread::get_id() != m_thread) return;
        try {
            while (m_end > m_begin) {
                const int z = --m_end;
                m_texture.uploadData(z, z + 1, UInt16,
                                     m_words + m_sliceVoxels * static_cast<uint64>(z - m_begin));
            }
        } catch (...) {
            m_end = m_begin;
            m_problem = std::current_exception();
        }
    }
    /// Uploads the slices unless that has been done. @errors what uploads have thrown.
    void finish() {
        runOnItsThread();
        if (m_problem) std::rethrow_exception(m_problem);
    }

private:
    VolumeTexture& m_texture;
    const uint64 m_sliceVoxels;
    const std::thread::id m_thread = std::this_thread::get_id();
    const uint16* m_words = nullptr;
    int m_begin = 0;
    int m_end = 0;
    std::exception_ptr m_problem;
};

VoxelRange VoxelTransfer::measure() {
    Mutex mutex;
    VoxelRange range;
    const uint64 voxels = m_sliceVoxels * static_cast<uint64>(m_slices);
    forShares(voxels, m_type.bytes, kRangeShareBytes, [&](uint64 toBegin, uint64 toEnd) {
        // The last share comes first, and the last voxels are read again soon.
        const uint64 begin = voxels - toEnd, end = voxels - toBegin;
        Buffer room(std::min<uint64>(kPieceBytes, (end - begin) * m_type.bytes));
        VoxelRange share;
        forPieces(begin, end, m_type.bytes, [&](uint64 first, size_t count) {
            const uint8* const bytes = read(first, count, room.getBytePointer());
            if (bytes == nullptr) return false;
            share.include(m_type.range(bytes, count));
            advance(count);
            return true;
        });
        const MutexLock lock(mutex);
        range.include(share);
    });
    return range;
}

void VoxelTransfer::upload(VolumeTexture& texture, const VoxelScale& scale) {
    if (m_slices == 0) return;
    const uint64 sliceBytes = m_sliceVoxels * sizeof(uint16);
    const int groupSlices =
        static_cast<int>(std::clamp<uint64>(kGroupBytes / sliceBytes, 1, static_cast<uint64>(m_slices)));
    const uint64 groupBytes = sliceBytes * static_cast<uint64>(groupSlices);
    SliceUpload converted(texture, m_sliceVoxels);
    const bool isKept = groupSlices < m_slices && groupBytes <= kMostKeptBytes && isShared();
    Buffer memory(groupBytes), next(isKept ? groupBytes : 0);
    for (int end = m_slices; end > 0;) {
        const int begin = std::max(end - groupSlices, 0);
        auto* const words = reinterpret_cast<uint16*>(memory.getBytePointer());
        convert(words, m_sliceVoxels * static_cast<uint64>(begin),
                m_sliceVoxels * static_cast<uint64>(end - begin), scale, converted);
        converted.finish();
        if (isEnded()) return;
        converted.set(words, begin, end);
        if (isKept)
            std::swap(memory, next);
        else
            converted.finish();
        end = begin;
    }
    converted.finish();
}

/// Returns the voxels from number @p first on; null if the passes are to end.
const uint8* VoxelTransfer::read(uint64 first, size_t count, uint8* room) {
    if (isEnded()) return nullptr;
    const uint8* const bytes = m_source.read(first * m_type.bytes, count * m_type.bytes, room);
    return isEnded() ? nullptr : bytes;
}

void VoxelTransfer::advance(uint64 voxels) {
    if (!m_progress) return;
    const auto both = static_cast<double>(m_sliceVoxels) * m_slices * 2;
    m_done += voxels;
    if (!m_progress(static_cast<float>(static_cast<double>(m_done) / both))) m_isEnded = true;
}

void VoxelTransfer::convert(uint16* out, uint64 begin, uint64 count, const VoxelScale& scale,
                            SliceUpload& before) {
    const bool inPlace = m_type.bytes == sizeof(uint16);
    forShares(count, m_type.bytes, kValueShareBytes, [&](uint64 shareBegin, uint64 shareEnd) {
        before.runOnItsThread();
        Buffer room(inPlace ? 0 : std::min<uint64>(kPieceBytes, (shareEnd - shareBegin) * m_type.bytes));
        forPieces(shareBegin, shareEnd, m_type.bytes, [&](uint64 first, size_t voxels) {
            uint16* const target = out + first;
            const uint8* const bytes = read(
                begin + first, voxels, inPlace ? reinterpret_cast<uint8*>(target) : room.getBytePointer());
            if (bytes == nullptr) return false;
            m_type.convert(target, bytes, voxels, scale);
            advance(voxels);
            return true;
        });
    });
}

} // namespace qel::internal
