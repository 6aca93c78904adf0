// A VolumeTexture that stores what is uploaded, and its renderer.
#pragma once

#include <tests/support/idle_renderer_3d.h>

#include <qel/render/volume_texture.h>

#include <algorithm>
#include <vector>

namespace qel::test {

/// Stores 16-bit voxels and the numbers of the slices in the order of their uploads.
class NotingVolume : public VolumeTexture {
public:
    using VolumeTexture::uploadData;
    using VolumeTexture::VolumeTexture;

    void initialize(FormatID format, const IVec3<int>& size) override {
        setContent(format, size);
        m_slice = static_cast<size_t>(size.x) * static_cast<size_t>(size.y);
        voxels.assign(m_slice * static_cast<size_t>(size.z), kNotUploaded);
    }
    void uploadData(int zBegin, int zEnd, FormatID format, const void* data) override {
        uploadedFormat = format;
        const auto* const words = static_cast<const uint16*>(data);
        std::copy_n(words, m_slice * static_cast<size_t>(zEnd - zBegin),
                    voxels.begin() + static_cast<std::ptrdiff_t>(m_slice * static_cast<size_t>(zBegin)));
        for (int z = zBegin; z < zEnd; ++z) slices.push_back(z);
    }

    static constexpr uint16 kNotUploaded = 0xABCD;
    std::vector<uint16> voxels;
    std::vector<int> slices;
    FormatID uploadedFormat = UnknownFormat;

private:
    size_t m_slice = 0;
};

/// Creates textures that store what is uploaded.
class VolumeRenderer : public IdleRenderer3D {
public:
    VolumeTexture* createVolumeTextureInternal() override {
        return hasMemory ? new NotingVolume(this) : nullptr;
    }
    bool hasMemory = true;
};

} // namespace qel::test
