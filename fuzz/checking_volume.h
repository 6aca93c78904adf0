// A renderer whose volumes check how a loader fills them.
#pragma once

#include <fuzz/require.h>
#include <qel/render/volume_texture.h>
#include <tests/support/idle_renderer_3d.h>

/// Requires that every slice is uploaded once, the last one first.
class CheckingVolume : public qel::VolumeTexture {
public:
    using qel::VolumeTexture::uploadData;
    using qel::VolumeTexture::VolumeTexture;

    void initialize(qel::FormatID format, const qel::IVec3<int>& size) override {
        require(format == qel::UInt16);
        setContent(format, size);
        m_next = size.z;
    }
    void uploadData(int zBegin, int zEnd, qel::FormatID format, const void* data) override {
        require(format == qel::UInt16 && zEnd == m_next && zBegin == m_next - 1);
        m_next = zBegin;
        const auto* const words = static_cast<const qel::uint16*>(data);
        const auto count = static_cast<size_t>(getSize().x) * static_cast<size_t>(getSize().y);
        for (size_t i = 0; i < count; ++i) sum += words[i];
    }
    /// Returns true after the upload of the first slice.
    bool isComplete() const { return m_next == 0; }

    qel::uint64 sum = 0; ///< reads every voxel, for the sanitizers

private:
    int m_next = 0;
};

/// Creates such volumes.
struct CheckingRenderer : qel::test::IdleRenderer3D {
    qel::VolumeTexture* createVolumeTextureInternal() override { return new CheckingVolume(this); }
};
