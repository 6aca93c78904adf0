// SoftwareRenderer3D: draws volumes and meshes without a GPU.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/platform/api.h>
#include <qel/render/renderer_3d.h>

#include <memory>

namespace qel {

class Image;
class RendererSoftware;

namespace internal {
struct SoftwareRenderer3DData;
struct VolumeDraw;
class VolumeRefiner;
} // namespace internal

/// Draws 2D operations exactly as RendererSoftware does, and volumes and meshes in the same target. 3D needs
/// a BGRA8 target; on others only 2D operations are drawn. The pixels are the same on every processor and for
/// any number of threads.
///
/// **Space.** A volume is the cube from 0 to 1 in model space, which the actor's matrix maps to the world;
/// voxel i of n has its centre at (i + 0.5) / n. Normalised device coordinates from -1 to 1 cover the
/// rectangle of setViewport3D(), with y upwards and depths from -1 to 1. A view with a matrix that has no
/// inverse draws nothing.
///
/// **Volumes** are integrated along one ray per pixel, through the centre of the pixel. The opacity of a
/// table holds for 1/512 of the length of the volume's diagonal in the world, so that the picture does not
/// depend on the number of steps in the limit. Without a table nothing is drawn; with isUsingClassified()
/// off, the largest table coordinate on the ray is drawn in grey. Local and global occlusion darken colours.
///
/// **Meshes** are lit from the eye, smoothly if there is a normal for each position. setCullMode() 1 leaves
/// out back faces, 2 front faces. A tint with an alpha below 0.998 blends, and does not hide what is drawn
/// later at a greater depth.
///
/// **Order.** Meshes are drawn at once, by depth. Volumes are drawn, the farthest centre first, before the
/// next 2D operation with the depth test off, or at the next flush(), pause(), stop3D() or stop(), so that a
/// mesh inside a volume may be drawn before or after it. Volumes do not penetrate each other.
/// @threads one thread at a time; drawing uses all processors. createVolumeTexture() and the textures may be
/// used by one other thread meanwhile.
class QEL_API SoftwareRenderer3D final : public Renderer3D {
    QEL_CLASS(SoftwareRenderer3D, Renderer3D)

public:
    /// The most planes that setClipPlanes() takes.
    static constexpr size_t kMaximumClipPlanes = 6;

    /// Creates a renderer without a target.
    SoftwareRenderer3D();
    ~SoftwareRenderer3D() override;

    /// Draws what was recorded, then makes @p image the target, as RendererSoftware::setRenderTarget() does.
    void setRenderTarget(Image* image);
    /// Returns the target, or null.
    Image* getRenderTarget() const;

    /// Sets where the picture of the scene appears: left, top, right and bottom in pixels. It may exceed the
    /// target, up to 2^20 pixels from its left top corner; otherwise, and if it is empty, 3D draws nothing.
    /// (0, 0, 0, 0), which is the default, means the whole target.
    void setViewport3D(const IVec4<int>& rect);
    /// Sets planes in the world that cut volumes: (a, b, c, d) keeps a * x + b * y + c * z + d >= 0. A plane
    /// that is not finite is ignored. @errors logs a warning if there are more than kMaximumClipPlanes, and
    /// ignores the rest.
    void setClipPlanes(const Vector<IVec4<float>>& planes);
    /// Sets the part of volumes that is drawn, in model space; at first everything, (0, 0, 0) to (1, 1, 1).
    void setClipBox(const IVec3<float>& lower, const IVec3<float>& upper);

    /// Sets whether pictures of volumes may be coarse at first. They are computed in the background then: a
    /// drawing call takes a few milliseconds, and System::delegateRequestFrame asks for a frame whenever more
    /// is known. Frames are to be drawn in the same way until no more are asked for; the last one equals the
    /// exact picture in every byte. A change of anything that affects the picture starts over.
    ///
    /// If a frame draws an actor more than 16 times in one viewport, the later ones are exact at once.
    ///
    /// Off initially: pictures are exact when stop3D() returns. Without a System, and on other threads than
    /// its main thread, they always are. Switching it off drops all pictures and waits for the rows that are
    /// being computed, as the destructor and the end of the System do.
    /// @owner   volumes and tables are held while their pictures are computed. Each actor and viewport that
    ///          was drawn in one of the last frames has a picture of 16 bytes for each pixel.
    /// @threads the main thread; it also has to destroy the renderer.
    void setProgressive(bool isOn);
    /// Returns true if pictures of volumes may be coarse at first.
    bool isProgressive() const;
    /// Returns true if a frame that is drawn in the same way as the last one will be exact.
    bool isRefined() const;
    /// Computes the exact pictures of what was drawn in the last frame. @errors returns early if voxels have
    /// changed; what they show must be drawn again first.
    void waitRefined();

    /// Begins a frame with the depth test on and all depths at the far plane.
    void start3D() override;
    void drawMeshInternal(Mesh* mesh, const Float4x4& modelMatrix) override;
    Mesh* createMeshInternal() override;
    VolumeTexture* createVolumeTextureInternal() override;
    void drawVolumeInternal(VolumeActor* actor) override;

    bool downloadFramebuffer(Image& out) override;
    RenderTimer* createRenderTimer() override;
    void startInternal() override;
    void stopInternal() override;
    void flushInternal() override;
    bool isHighPrecisionInternal() override;
    /// Also sets all depths to the far plane.
    void clearInternal(const IVec4<float>& color) override;
    void setViewportInternal(const IVec4<int>& rect) override;
    void drawTextureInternal(Texture* texture, const Rect& source, const Rect& target, int orientation,
                             const IVec4<float>* cornerColors) override;
    void drawTextureInternal(Texture* texture, const Rect& source, const Rect& target,
                             int orientation) override;
    void drawTextureScaledLookupInternal(Texture* texture, const Rect& source, const Rect& target,
                                         int orientation, const IVec2<float>& window,
                                         Texture* lookup) override;
    void drawTextureWithPalette(Texture* texture, const Rect& source, const Rect& target, int orientation,
                                Texture* palette, Texture* extra) override;
    void drawTextActorInternal(TextActor* actor) override;
    void drawRectInternal(const Rect& rect, const IVec4<float>* cornerColors) override;
    void drawRectInternal(const Rect& rect) override;
    void drawAALineInternal(const IVec2<float>& from, const IVec2<float>& to) override;
    void drawTriangleInternal(const IVec2<float>& a, const IVec2<float>& b, const IVec2<float>& c) override;
    Texture* createTextureInternal() override;
    IVec2<int> getRenderTargetSize() override;
    void setDepthTestInternal(bool on) override;
    IVec2<int> getMaximumTextureSize() override;
    bool supportsTimers() const override;

private:
    bool prepare3D();
    void drawVolumes();
    void drawExactly(internal::VolumeDraw& draw);
    internal::VolumeRefiner* currentRefiner();
    RendererSoftware& flat();

    std::unique_ptr<internal::SoftwareRenderer3DData> m_data;
};

} // namespace qel
