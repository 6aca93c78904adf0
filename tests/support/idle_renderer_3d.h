// A Renderer3D that draws nothing.
#pragma once

#include <qel/render/renderer_3d.h>
#include <qel/render/texture_software.h>
#include <qel/volume/mesh.h>

namespace qel::test {

/// Implements every operation; tests override those that they watch.
class IdleRenderer3D : public Renderer3D {
public:
    void startInternal() override {}
    void stopInternal() override {}
    void flushInternal() override {}
    bool isHighPrecisionInternal() override { return false; }
    void clearInternal(const IVec4<float>&) override {}
    void setViewportInternal(const IVec4<int>&) override {}
    void drawTextureInternal(Texture*, const Rect&, const Rect&, int, const IVec4<float>*) override {}
    void drawTextureInternal(Texture*, const Rect&, const Rect&, int) override {}
    void drawTextureScaledLookupInternal(Texture*, const Rect&, const Rect&, int, const IVec2<float>&,
                                         Texture*) override {}
    void drawTextureWithPalette(Texture*, const Rect&, const Rect&, int, Texture*, Texture*) override {}
    void drawTextActorInternal(TextActor*) override {}
    void drawRectInternal(const Rect&, const IVec4<float>*) override {}
    void drawRectInternal(const Rect&) override {}
    void drawAALineInternal(const IVec2<float>&, const IVec2<float>&) override {}
    void drawTriangleInternal(const IVec2<float>&, const IVec2<float>&, const IVec2<float>&) override {}
    Texture* createTextureInternal() override { return new TextureSoftware(this); }
    IVec2<int> getRenderTargetSize() override { return {100, 50}; }
    void setDepthTestInternal(bool) override {}
    IVec2<int> getMaximumTextureSize() override { return {4096, 4096}; }
    void drawMeshInternal(Mesh*, const Float4x4&) override {}
    Mesh* createMeshInternal() override { return new Mesh(this); }
    VolumeTexture* createVolumeTextureInternal() override { return nullptr; }
    void drawVolumeInternal(VolumeActor*) override {}
};

} // namespace qel::test
