// RendererSoftware: draws into an Image without a GPU.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/api.h>
#include <qel/render/renderer.h>
#include <qel/render/texture_part.h>

#include <memory>
#include <span>

namespace qel {

namespace internal {
struct RendererSoftwareData;
struct TextureDraw;
} // namespace internal

class TextureSoftware;

/// Draws into an Image, for hosts without a GPU and for pictures that are not shown.
///
/// During a frame the operations are recorded; flush(), stop() and downloadFramebuffer() draw them, large
/// frames on all processors. Between frames each operation is drawn at once. The pixels are the same on every
/// processor and for any number of threads.
///
/// Tint and clip are those at the time of the call, and so are the pixels of textures: textures may be
/// changed or destroyed before the frame ends. The clip never reaches outside the target. The target itself
/// must not be initialised again, nor its memory freed, between a drawing call and the end of the frame.
///
/// Operations with coordinates that are NaN or infinite, with an orientation outside 0 to 7, or with a
/// texture that is null, of another kind of renderer or without pixels draw nothing, without a log line. So
/// does a renderer without a target. Colours for corners are ignored in favour of the tint.
/// @threads one thread at a time; only the drawing itself uses others.
class QEL_API RendererSoftware : public Renderer {
    QEL_CLASS(RendererSoftware, Renderer)

public:
    /// Creates a renderer without a target.
    /// @param outer  a renderer whose stacks of clips and colours this one uses, and to which new textures
    ///               belong; it must outlive this one. Draw dashed lines and polygons by the outer renderer,
    ///               which reduces them to operations of this one. Null: this renderer itself.
    explicit RendererSoftware(Renderer* outer = nullptr);
    ~RendererSoftware() override;

    /// Draws what was recorded, then makes @p image the target: BGRA8, UInt8, L8, UInt16, L16 or X16, with
    /// any pitch. Null releases the target.
    /// @owner  takes a reference: an image that is not held by a SmartPointer needs disableSmartPointers().
    /// @errors logs an error for other formats and leaves the renderer without a target.
    void setRenderTarget(Image* image);
    /// Returns the target, or null.
    Image* getRenderTarget() const;

    /// Draws everything that was recorded and returns when it is drawn.
    void flushInternal() override;
    /// Copies the target as drawn so far; the frame continues. @return false without a target.
    bool downloadFramebuffer(Image& out) override;
    void startInternal() override;
    void stopInternal() override;
    bool isHighPrecisionInternal() override { return true; }
    void clearInternal(const IVec4<float>& color) override;
    /// Does nothing: each operation reads the clip itself.
    void setViewportInternal(const IVec4<int>& rect) override;
    void drawTextureInternal(Texture* texture, const Rect& source, const Rect& target, int orientation,
                             const IVec4<float>* cornerColors) override;
    /// @errors logs "unsupported texture format for ...", with the number of the format.
    void drawTextureInternal(Texture* texture, const Rect& source, const Rect& target,
                             int orientation) override;
    /// Draws parts of a texture one after another, as drawTextureInternal() draws each of them without
    /// turning it, but at a lower cost for each. @param offset  is added to all targets.
    void drawTextureParts(Texture* texture, std::span<const TexturePart> parts, const IVec2<float>& offset);
    /// The window is in the units of the texture's integers. The result is opaque; neither the tint, unless
    /// it is invisible, nor the texture's alpha has an effect.
    /// @errors logs "invalid lookuptable" if @p lookup is not L8 with two rows, or has no column.
    void drawTextureScaledLookupInternal(Texture* texture, const Rect& source, const Rect& target,
                                         int orientation, const IVec2<float>& window,
                                         Texture* lookup) override;
    /// The indices are the bytes of UInt8 and L8, the words of UInt16, L16 and X16, or plane 1 of MP_RGB8_O16
    /// and MP_UInt16_O16. An index past the end of the palette is transparent.
    /// @errors logs an error unless the palette is RGBA8 or has 256 by 256 pixels, and for other textures.
    void drawTextureWithPalette(Texture* texture, const Rect& source, const Rect& target, int orientation,
                                Texture* palette, Texture* extra) override;
    /// Draws the lines of a text that TextActor::Line::isVisible marks. Softly clipped texts end at the edges
    /// without fading. Defined in text/engine/renderer_software_text.cpp.
    void drawTextActorInternal(TextActor* actor) override;
    void drawRectInternal(const Rect& rect, const IVec4<float>* cornerColors) override;
    void drawRectInternal(const Rect& rect) override;
    /// The ends are truncated to whole pixels.
    void drawAALineInternal(const IVec2<float>& from, const IVec2<float>& to) override;
    /// Fills the pixels whose centres are inside or on an edge.
    void drawTriangleInternal(const IVec2<float>& a, const IVec2<float>& b, const IVec2<float>& c) override;
    Texture* createTextureInternal() override;
    /// Returns (0, 0) without a target.
    IVec2<int> getRenderTargetSize() override;
    /// Does nothing.
    void setDepthTestInternal(bool on) override;
    /// Returns 4096 by 4096; larger textures work too.
    IVec2<int> getMaximumTextureSize() override { return {4096, 4096}; }
    bool supportsTimers() const override { return true; }
    /// Does nothing.
    virtual void resetViewportInternal() {}

private:
    const IVec4<float>& tint() const;
    bool isTintVisible() const;
    IVec4<int> visible(const IVec4<int>& area) const;
    template <typename Command, typename... Args>
    void record(Args&&... args);
    template <typename Command, typename... Args>
    void recordWithTail(size_t tailBytes, Args&&... args);
    void drawMaskParts(Texture* texture, const SmartPointer<Image>& image, std::span<const TexturePart> parts,
                       const IVec2<float>& offset);
    bool prepare(internal::TextureDraw& draw, Texture* texture, const Rect& source, const Rect& target,
                 int orientation) const;

    Renderer* m_stacks; ///< the outer renderer, or this one
    std::unique_ptr<internal::RendererSoftwareData> m_data;
};

} // namespace qel
