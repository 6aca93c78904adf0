// The voxels of a file, as a loader reads them.
#pragma once

#include <hosts/qelviewer/volume/byte_reader.h>
#include <hosts/qelviewer/volume/load_progress.h>
#include <hosts/qelviewer/volume/voxel_layout.h>
#include <hosts/qelviewer/volume/voxel_values.h>

#include <qel/foundation/base/buffer.h>

#include <memory>
#include <optional>
#include <string>

namespace qelviewer {

/// Reads the voxels of a file in pieces and in any order; decompresses them to memory first if necessary.
class VoxelSource {
public:
    /// Reads the voxels that @p layout describes. @owner both must outlive this object.
    VoxelSource(const VoxelLayout& layout, LoadProgress& progress) : m_layout(layout), m_progress(progress) {}

    /// Takes the file, compares the sizes with what it contains, decompresses it and measures floating-point
    /// voxels. @return what went wrong; empty on success.
    /// @errors std::bad_alloc without memory for decompressed voxels.
    std::string open(std::unique_ptr<FileReader> file);

    /// Returns the format of what read() copies: that of the file, or UInt16 for floating-point voxels.
    qel::FormatID format() const;
    /// Copies bytes of voxels in the processor's byte order. @param offset, size  multiples of the size of a
    /// voxel. @return false if the file cannot be read. @threads any number.
    bool read(qel::uint64 offset, qel::uint8* out, size_t size) const;
    /// Returns the factor from what read() copies to numbers in the file.
    double scale() const { return m_mapping ? m_mapping->scale() : 1; }
    /// Returns what is added after the multiplication.
    double bias() const { return m_mapping ? m_mapping->bias() : 0; }
    /// Returns the share of the progress that open() has used.
    float usedShare() const { return m_usedShare; }

private:
    std::string decompress(GzipReader& reader);
    std::string measure();
    /// Copies voxels of the file in the processor's byte order.
    bool readRaw(qel::uint64 offset, qel::uint8* out, size_t size) const;
    bool readWords(qel::uint64 offset, qel::uint8* out, size_t size) const;

    const VoxelLayout& m_layout;
    LoadProgress& m_progress;
    qel::uint64 m_bytes = 0; ///< of all voxels
    qel::uint64 m_begin = 0; ///< position in the file
    std::unique_ptr<FileReader> m_file;
    qel::Buffer m_memory; ///< all voxels, if they were compressed
    std::optional<WordMapping> m_mapping;
    float m_usedShare = 0;
};

} // namespace qelviewer
