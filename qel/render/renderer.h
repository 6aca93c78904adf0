// Renderer: the drawing surface on which the scene draws itself.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/api.h>
#include <qel/render/texture.h>

namespace qel {

class Actor;
class Image;
class RenderTimer;
class TextActor;

/// Keeps the stacks of tint colours and clip rectangles, and reduces drawing to the operations named
/// xxxInternal, which a back end implements.
///
/// A frame is start(), drawing, stop(). Colours have the components R, G, B and A from 0 to 1, not multiplied
/// by alpha. Positions are in pixels from the target's left top corner. Parts of textures are given in
/// texture coordinates from 0 to 1. An orientation is a value of Rotation from 0 to 7.
/// @threads one thread, in practice the main thread.
class QEL_API Renderer : public Object {
    QEL_CLASS(Renderer, Object)

public:
    /// How drawn colours are combined with the target; the values belong to the back end.
    enum class BlendMode : int {
        Default = 1, ///< by alpha
    };

    Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;
    ~Renderer() override;

    // --- drawing, implemented by the back end -----------------------------------------------------------

    /// Fills the polygon through @p count points, whose outline may cross itself. Draws nothing if there are
    /// fewer than three points or one is not finite.
    virtual void drawFilledPolygonInternal(int count, const IVec2<float>* points);
    /// Copies the target into @p out. @return false if the back end cannot do so.
    virtual bool downloadFramebuffer(Image& out);
    /// Creates a timer. @owner the caller.
    virtual RenderTimer* createRenderTimer();
    /// Begins or resumes a frame.
    virtual void startInternal() = 0;
    /// Ends or suspends a frame.
    virtual void stopInternal() = 0;
    /// Starts what was drawn so far, without waiting for it.
    virtual void flushInternal() = 0;
    /// Returns true if colours are computed with more than 8 bits.
    virtual bool isHighPrecisionInternal() = 0;
    /// Fills the whole target, whatever the clip.
    virtual void clearInternal(const IVec4<float>& color) = 0;
    /// Restricts drawing. @param rect  left, top, right and bottom; the last two exclusive.
    virtual void setViewportInternal(const IVec4<int>& rect) = 0;
    /// Draws the part @p source of @p texture into @p target, with a tint of its own in each corner: left
    /// top, left bottom, right bottom, right top.
    virtual void drawTextureInternal(Texture* texture, const Rect& source, const Rect& target,
                                     int orientation, const IVec4<float>* cornerColors) = 0;
    /// Draws the part @p source of @p texture into @p target.
    virtual void drawTextureInternal(Texture* texture, const Rect& source, const Rect& target,
                                     int orientation) = 0;
    /// Draws a grey image through a window: values from `window.x` to `window.y` become black to white.
    /// @param lookup  a texture of createGrayscaleRemapTexture(), or null.
    virtual void drawTextureScaledLookupInternal(Texture* texture, const Rect& source, const Rect& target,
                                                 int orientation, const IVec2<float>& window,
                                                 Texture* lookup) = 0;
    /// Draws the colours that a texture of indices selects from @p palette.
    /// @param palette  an image of createOverlay16BitPaletteImage().
    /// @param extra    belongs to the back end.
    virtual void drawTextureWithPalette(Texture* texture, const Rect& source, const Rect& target,
                                        int orientation, Texture* palette, Texture* extra) = 0;
    /// Draws a text.
    virtual void drawTextActorInternal(TextActor* actor) = 0;
    /// Fills a rectangle with a colour in each corner: left top, left bottom, right bottom, right top.
    virtual void drawRectInternal(const Rect& rect, const IVec4<float>* cornerColors) = 0;
    /// Fills a rectangle with the tint.
    virtual void drawRectInternal(const Rect& rect) = 0;
    /// Draws a smooth line that is one pixel wide.
    virtual void drawAALineInternal(const IVec2<float>& from, const IVec2<float>& to) = 0;
    /// Fills a triangle.
    virtual void drawTriangleInternal(const IVec2<float>& a, const IVec2<float>& b,
                                      const IVec2<float>& c) = 0;
    /// Creates a texture. @return an object without references.
    virtual Texture* createTextureInternal() = 0;
    /// Returns the size of the target in pixels.
    virtual IVec2<int> getRenderTargetSize() = 0;
    /// Switches the depth test of 3D drawing.
    virtual void setDepthTestInternal(bool on) = 0;
    /// Returns the largest width and height of a texture.
    virtual IVec2<int> getMaximumTextureSize() = 0;
    /// Draws a dashed line by drawAALineInternal().
    /// @param dashes  pairs of the length of a dash and of the gap after it, repeated until the end of the
    /// line. Negative entries and entries that are not finite count as 0. A pattern so fine that the line
    /// would have more than 65,536 dashes is enlarged until it has that many.
    /// @errors logs a warning and draws nothing without dashes, or if all entries are 0.
    virtual void drawAADashedLineInternal(const IVec2<float>& from, const IVec2<float>& to,
                                          const Vector<IVec2<float>>& dashes);
    /// Returns true for a `Renderer3D`.
    virtual bool has3dSupport() const { return false; }
    /// Returns true if createRenderTimer() measures frames.
    virtual bool supportsTimers() const { return false; }

    // --- frames -----------------------------------------------------------------------------------------

    /// Begins a frame: the clip stack becomes the whole target; the colour stack stays.
    void start();
    /// Ends the frame; the target then holds the picture.
    void stop() { stopInternal(); }
    /// Suspends the frame while something else uses the target.
    void pause() { stopInternal(); }
    /// Continues the frame after pause() with the clip it had.
    void resume();
    /// Starts what was drawn so far.
    void flush() { flushInternal(); }
    /// Fills the whole target, whatever the clip and the tint.
    void clear(const IVec4<float>& color) { clearInternal(color); }
    /// Returns true if colours are computed with more than 8 bits.
    bool isHighPrecision() { return isHighPrecisionInternal(); }
    /// Switches the depth test of 3D drawing.
    void setDepthTest(bool on) { setDepthTestInternal(on); }
    /// Lets an active actor draw itself, unless everything is clipped. Defined in scene/actors.
    void draw(Actor* actor);

    // --- stacks -----------------------------------------------------------------------------------------

    /// Pushes the intersection of @p rect (left, top, right, bottom) and the current clip.
    void pushClip(const IVec4<int>& rect);
    /// Removes the last clip rectangle; the one of start() stays.
    void popClip();
    /// Returns the current clip rectangle, which may be inverted; (0, 0, 0, 0) before the first start().
    IVec4<int> getClip() const;
    /// Returns true if the current clip rectangle contains no pixel.
    bool isAllClipped() const { return m_allClipped; }
    /// Pushes the product of @p color and the current tint.
    void pushColor(const IVec4<float>& color);
    /// Replaces the tint by the product of @p color and the tint below; by @p color at the lowest level.
    void replaceColor(const IVec4<float>& color);
    /// Removes the last tint; the first one, white unless replaced, stays.
    void popColor();
    /// Returns the current tint.
    const IVec4<float>& getColor() const { return m_colorStack.back(); }
    /// Stores how drawn colours are combined with the target.
    void setBlendMode(BlendMode mode) { m_blendMode = mode; }
    /// Returns the stored mode.
    BlendMode getBlendMode() const { return m_blendMode; }

    // --- textures ---------------------------------------------------------------------------------------

    /// Creates a texture of this renderer.
    SmartPointer<Texture> createTexture() { return createTextureInternal(); }
    /// Creates the lookup table of a grey curve: an L8 image with two rows, which hold two roundings of the
    /// same values.
    /// @param curve  values from 0 to 1 for equally spaced places of the window.
    SmartPointer<Texture> createGrayscaleRemapTexture(const Vector<float>& curve);
    /// Makes @p out the RGBA8 palette of 256 by 256 pixels for all words of 16 overlay bits: the colours of
    /// the bits that are set, each drawn below those of lower bits.
    /// @param colors  16 colours, one per bit; null makes every entry transparent.
    static void createOverlay16BitPaletteImage(Image& out, const IVec4<float>* colors);

protected:
    /// Passes the current clip on to the back end.
    void computeClipping();

private:
    Vector<IVec4<float>> m_colorStack{{1, 1, 1, 1}};
    Vector<IVec4<int>> m_clipStack;
    bool m_allClipped = false;
    BlendMode m_blendMode = BlendMode::Default;
};

} // namespace qel
