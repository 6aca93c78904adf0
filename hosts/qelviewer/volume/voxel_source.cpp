#include <hosts/qelviewer/volume/voxel_source.h>

#include <hosts/qelviewer/volume/parallel_range.h>

#include <qel/foundation/base/mutex.h>

#include <atomic>
#include <cstring>
#include <utility>

namespace qelviewer {
namespace {

/// The shares of the progress that decompression and the range of floating-point voxels use.
constexpr float kDecompressShare = 0.6f, kMeasureShare = 0.15f;
/// Bytes that are read between two looks at the progress.
constexpr size_t kPiece = 1 << 20;
constexpr const char* kTooShort = "it ends before its last voxel";

/// Calls a function with voxels of type float or double.
template <typename Run>
void withType(const qel::uint8* voxels, const VoxelFormat& format, const Run& run) {
    if (format.bytes == sizeof(float)) return run(reinterpret_cast<const float*>(voxels));
    run(reinterpret_cast<const double*>(voxels));
}

} // namespace

std::string VoxelSource::open(std::unique_ptr<FileReader> file) {
    const std::optional<qel::uint64> bytes = countBytes(m_layout);
    if (!bytes || *bytes > std::numeric_limits<size_t>::max() / 2) return kTooShort;
    m_bytes = *bytes;
    if (m_layout.isAtEnd && m_bytes > file->size()) return kTooShort;
    m_begin = m_layout.isAtEnd ? file->size() - m_bytes : m_layout.begin;
    file->seek(m_begin);
    const auto fits = [this](qel::uint64 most) {
        return m_layout.skip <= most && m_bytes <= most - m_layout.skip;
    };
    std::string problem;
    if (m_layout.isGzip) {
        GzipReader reader(std::move(file));
        problem = fits(reader.mostBytes()) ? decompress(reader) : kTooShort;
    } else {
        if (!fits(file->mostBytes())) return kTooShort;
        m_begin += m_layout.skip;
        m_file = std::move(file);
    }
    return problem.empty() && m_layout.format->isFloat ? measure() : problem;
}

std::string VoxelSource::decompress(GzipReader& reader) {
    const auto failure = [&] { return reader.problem().empty() ? kTooShort : reader.problem(); };
    for (qel::uint64 left = m_layout.skip; left > 0;) {
        if (m_progress.isCancelled) return "cancelled";
        const qel::uint64 piece = std::min<qel::uint64>(kPiece, left);
        if (!reader.skip(piece)) return failure();
        left -= piece;
    }
    m_memory.resize(static_cast<size_t>(m_bytes));
    for (size_t done = 0; done < m_memory.getSize();) {
        if (m_progress.isCancelled) return "cancelled";
        const size_t piece = std::min(kPiece, m_memory.getSize() - done);
        if (reader.read(m_memory.getBytePointer() + done, piece) != piece) return failure();
        done += piece;
        advanceTo(m_progress, kDecompressShare * static_cast<float>(done) / static_cast<float>(m_bytes));
    }
    m_usedShare = kDecompressShare;
    return reader.verifyEnd() ? std::string() : reader.problem();
}

std::string VoxelSource::measure() {
    ValueRange range;
    qel::Mutex mutex;
    std::atomic<bool> hasFailed{false};
    std::atomic<qel::uint64> done{0};
    forEachPiece(m_bytes, kPiece, [&](qel::uint64 begin, qel::uint64 end) {
        const auto size = static_cast<size_t>(end - begin);
        if (m_progress.isCancelled || hasFailed) return;
        qel::Buffer room(size);
        ValueRange piece;
        if (!readRaw(begin, room.getBytePointer(), size)) {
            hasFailed = true;
            return;
        }
        withType(room.getBytePointer(), *m_layout.format,
                 [&](const auto* voxels) { piece.include(voxels, size / sizeof *voxels); });
        const qel::MutexLock lock(mutex);
        range.include(piece);
        const float share = static_cast<float>(done += size) / static_cast<float>(m_bytes);
        advanceTo(m_progress, m_usedShare + kMeasureShare * share);
    });
    m_usedShare += kMeasureShare;
    m_mapping = WordMapping(range);
    if (m_progress.isCancelled) return "cancelled";
    return hasFailed ? kTooShort : std::string();
}

qel::FormatID VoxelSource::format() const {
    return m_mapping ? qel::UInt16 : m_layout.format->id;
}

bool VoxelSource::read(qel::uint64 offset, qel::uint8* out, size_t size) const {
    return m_mapping ? readWords(offset, out, size) : readRaw(offset, out, size);
}

bool VoxelSource::readRaw(qel::uint64 offset, qel::uint8* out, size_t size) const {
    if (m_file == nullptr)
        std::memcpy(out, m_memory.getBytePointer() + offset, size);
    else if (!m_file->readAt(m_begin + offset, out, size))
        return false;
    if (m_layout.isBigEndian) swapBytes(out, size / m_layout.format->bytes, m_layout.format->bytes);
    return true;
}

bool VoxelSource::readWords(qel::uint64 offset, qel::uint8* out, size_t size) const {
    const size_t count = size / sizeof(qel::uint16), bytes = m_layout.format->bytes;
    qel::Buffer room(count * bytes);
    if (!readRaw(offset / sizeof(qel::uint16) * bytes, room.getBytePointer(), room.getSize())) return false;
    withType(room.getBytePointer(), *m_layout.format, [&](const auto* voxels) {
        for (size_t i = 0; i < count; ++i) {
            const qel::uint16 word = m_mapping->wordOf(static_cast<double>(voxels[i]));
            std::memcpy(out + i * sizeof word, &word, sizeof word);
        }
    });
    return true;
}

} // namespace qelviewer
