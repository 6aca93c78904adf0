// VolumeTexture: voxels in the form that a 3D renderer draws.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/imaging/pixels/image_format.h>
#include <qel/platform/api.h>
#include <qel/render/texture.h>

namespace qel {

/// A block of voxels that belongs to a 3D renderer, created by Renderer3D::createVolumeTexture().
/// @threads main thread.
class QEL_API VolumeTexture : public Object {
    QEL_CLASS(VolumeTexture, Object)

public:
    /// Creates a texture without storage. @p renderer must outlive it.
    explicit VolumeTexture(Renderer* renderer);
    VolumeTexture(const VolumeTexture&) = delete;
    VolumeTexture& operator=(const VolumeTexture&) = delete;
    ~VolumeTexture() override;

    /// Allocates storage for width, height and depth in voxels.
    virtual void initialize(FormatID format, const IVec3<int>& size) = 0;
    /// Copies plane 0 of @p image to slice @p z.
    /// @errors logs an error for the largest number, which no slice has.
    virtual void uploadData(int z, const Image& image);
    /// Copies the slices from @p zBegin to before @p zEnd.
    /// @param data  the slices, packed one after the other.
    virtual void uploadData(int zBegin, int zEnd, FormatID format, const void* data) = 0;

    /// Returns the filter; Bilinear initially.
    Filter getFilter() const { return m_filter; }
    /// Sets the filter for draws from now on.
    void setFilter(Filter filter) { m_filter = filter; }
    /// Returns true once there is content.
    bool isValid() const { return m_valid; }
    /// Returns the format of the voxels.
    FormatID getFormat() const { return m_format; }
    /// Returns width, height and depth in voxels.
    const IVec3<int>& getSize() const { return m_size; }
    /// Returns the renderer that created the texture.
    Renderer* getRenderer() const { return m_renderer; }
    /// Returns System::getTimeFast() at construction.
    uint32 getTime() const { return m_time; }

protected:
    /// Stores what initialize() allocated and makes the texture valid.
    void setContent(FormatID format, const IVec3<int>& size);

private:
    Filter m_filter = Filter::Bilinear;
    bool m_valid = false;
    FormatID m_format = UnknownFormat;
    IVec3<int> m_size;
    Renderer* m_renderer;
    uint32 m_time;
};

} // namespace qel
