// Texture: an image in the form that a renderer draws.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/imaging/pixels/image_format.h>
#include <qel/platform/api.h>

namespace qel {

class Alarm;
class Image;
class Renderer;

/// How pixels between the texels of a texture are computed.
enum class Filter : int {
    Undefined = 0, ///< as Nearest
    Nearest = 1,   ///< the texel that contains the point
    Bilinear = 2,  ///< the mean of the four texels around the point, weighted by distance
};

/// An image that belongs to a renderer, created by Renderer::createTexture(). It may outlive its renderer.
/// @threads main thread.
class QEL_API Texture : public Object {
    QEL_CLASS(Texture, Object)

public:
    /// The filter type under the name that belongs to textures.
    using Filter = qel::Filter;

    /// Creates a texture without content. @owner keeps a weak pointer to @p renderer, which may be null.
    explicit Texture(Renderer* renderer);
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;
    ~Texture() override;

    /// States format and size of content that the renderer owns elsewhere.
    virtual void declareExtern(FormatID format, const IVec2<int>& size) = 0;
    /// Replaces the content by @p image, whose memory is taken over where possible.
    /// @param flag  belongs to the renderer; the library passes false.
    virtual void upload(Image&& image, bool flag) = 0;
    /// Replaces the content by a copy of @p image.
    virtual void upload(const Image& image, bool flag) = 0;

    /// Returns the filter; Bilinear initially.
    Filter getFilter() const { return m_filter; }
    /// Sets the filter for draws from now on.
    void setFilter(Filter filter) { m_filter = filter; }
    /// Returns true after the first upload() or declareExtern().
    bool isValid() const { return m_valid; }
    /// Returns the format of the content.
    FormatID getFormat() const { return m_format; }
    /// Returns width and height of the content in pixels.
    const IVec2<int>& getSize() const { return m_size; }
    /// Returns System::getTimeFast() of the last upload, at first of the construction; 0 after clearTime().
    uint32 getTime() const { return m_time; }
    /// Sets the time to 0, so that the texture counts as old.
    void clearTime() { m_time = 0; }
    /// Stores the hint that every pixel is opaque.
    void setOpaqueContent(bool opaque) { m_opaqueContent = opaque; }
    /// Returns the hint; false initially.
    bool hasOpaqueContent() const { return m_opaqueContent; }
    /// Returns the timer with which the texture's user lets it expire.
    Alarm* getAlarm() const { return m_alarm.get(); }
    /// Returns the owning renderer, or null if it has been destroyed.
    Renderer* getRenderer() const;

protected:
    /// Stores what was uploaded or declared, with the current time, and makes the texture valid.
    void setContent(FormatID format, const IVec2<int>& size);

private:
    SmartPointer<Alarm> m_alarm;
    Filter m_filter = Filter::Bilinear;
    bool m_valid = false;
    FormatID m_format = UnknownFormat;
    IVec2<int> m_size;
    bool m_opaqueContent = false;
    uint32 m_time = 0;
    WeakPointer<Renderer> m_renderer;
};

} // namespace qel
