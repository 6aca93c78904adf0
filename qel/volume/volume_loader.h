// VolumeLoader: puts a volume from a file or from memory on a 3D renderer.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/matrix.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/imaging/pixels/image_format.h>
#include <qel/platform/api.h>
#include <qel/render/volume_texture.h>

#include <functional>
#include <utility>

namespace qel {

class Buffer;
class Renderer3D;

namespace internal {
class HeaderLines;
class VoxelSource;
struct VoxelType;
} // namespace internal

/// Reads a volume, converts its voxels to UInt16 and uploads them to a VolumeTexture, one slice after the
/// other, the last slice first. The value of a voxel in its source is `stored * scale + bias`. A loader can
/// be used again.
///
/// Files are read twice, in pieces, and never as a whole. Missing voxels count as 0.
/// @threads one thread, on which the renderer can create textures; conversion uses idle workers.
class QEL_API VolumeLoader : public Object {
    QEL_CLASS(VolumeLoader, Object)

public:
    /// Receives the finished share of a load, 0 to 1, after each piece. Must not throw. @return false to end
    /// the load.
    using Progress = std::function<bool(float share)>;

    /// Copies @p size bytes of voxels, from @p offset on, to @p out. Must not throw. @return false to end the
    /// load.
    using ReadVoxels = std::function<bool(uint64 offset, void* out, size_t size)>;

    /// The most bytes of a file that may be missing.
    static constexpr uint64 kMaxMissingBytes = 64 << 20;

    /// Creates a loader for @p renderer, which must outlive it.
    explicit VolumeLoader(Renderer3D* renderer);
    VolumeLoader(const VolumeLoader&) = delete;
    VolumeLoader& operator=(const VolumeLoader&) = delete;
    ~VolumeLoader() override;

    /// Loads an NRRD file; docs/formats.md describes which. Resets directions and origin once the file is
    /// open; other values that the header does not set are kept.
    /// @return false if the file cannot be opened, its header cannot be read, its first line is not that of
    /// an NRRD file, its sizes exceed what it contains by more than kMaxMissingBytes, or no texture can be
    /// created. The texture is then unchanged.
    /// @errors std::invalid_argument and std::out_of_range for numbers that cannot be read, with the texts
    /// "invalid stoi argument", "stoi argument out of range", "invalid stof argument" and "stof argument out
    /// of range"; what was read before is set, and the texture is unchanged. Bytes after the voxels log a
    /// warning; voxels that cannot be read log an error and count as missing.
    bool loadFromNRRD(const char* path);
    /// Loads voxels of any format with one channel, with x as the fastest axis.
    /// @return false if the format has no or several channels, there are fewer voxels than @p size states, or
    /// no texture can be created. Nothing has changed then; in the last case the size, the directions and the
    /// origin have, but neither the texture nor the scale and bias.
    bool loadFromVoxels(FormatID format, const IVec3<int>& size, const Float3x3& directions,
                        const IVec3<float>& origin, const Buffer& voxels);
    /// Loads voxels as loadFromVoxels() does, but reads them twice in pieces, so that they need not be in
    /// memory. @return false also if @p read is empty or returned false; the texture and the scale and bias
    /// are then unchanged.
    /// @threads @p read is called by all workers, several at once.
    bool loadFromReader(FormatID format, const IVec3<int>& size, const Float3x3& directions,
                        const IVec3<float>& origin, const ReadVoxels& read);
    /// Sets a function that loads call from now on; an empty one removes it. A load that it ends returns
    /// false, and the texture is unchanged. @threads it is called by all workers, several at once.
    void setProgress(Progress progress) { m_progress = std::move(progress); }
    /// Creates a volume of zeros with a cuboid of 65535, which extends from a tenth to a third of each side.
    /// The scale and bias stay. @errors logs an error, and the texture is unchanged, without a renderer or
    /// memory for it.
    void generateTestImage(const IVec3<int>& size);

    /// Returns the volume loaded last, or null.
    const SmartPointer<VolumeTexture>& getScalarTexture() const { return m_scalarTexture; }
    /// Returns the numbers of voxels on the axes, as the source states them.
    const IVec3<int>& getSize() const { return m_size; }
    /// Returns scale and bias from stored voxels to values in the source; (1, 0) initially.
    const IVec2<float>& getScaleBias() const { return m_scaleBias; }
    /// Returns one row per axis of the voxels: the step to the next voxel; the identity initially.
    const Float3x3& getSpaceDirections() const { return m_spaceDirections; }
    /// Returns the position of the first voxel; zero initially.
    const IVec3<float>& getOrigin() const { return m_origin; }

private:
    enum class HeaderEnd { Data, LineTooLong, NotNrrd };

    HeaderEnd readHeader(internal::HeaderLines& lines);
    void readProperty(const String& line);
    bool setProperty(int id, const String& value);
    bool setSizes(const String& value);
    bool loadAny(FormatID format, const IVec3<int>& size, const Float3x3& directions,
                 const IVec3<float>& origin, internal::VoxelSource& source, uint64 bytes);
    bool load(const internal::VoxelType* type, internal::VoxelSource& source, uint64 voxels);
    SmartPointer<VolumeTexture> createTexture();

    Renderer3D* m_renderer;
    SmartPointer<VolumeTexture> m_scalarTexture;
    Float3x3 m_spaceDirections;
    IVec3<float> m_origin;
    IVec3<int> m_size;
    IVec2<float> m_scaleBias{1, 0};
    FormatID m_sourceFormat = UnknownFormat;
    FormatID m_targetFormat = UInt16;
    Progress m_progress;
};

} // namespace qel
