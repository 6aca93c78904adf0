#include <qel/render/renderer_software.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/fill_commands_p.h>
#include <qel/render/image_copy_p.h>
#include <qel/render/renderer_software_p.h>
#include <qel/render/texture_software.h>

#include <cmath>
#include <utility>

namespace qel {

using internal::Surface;

namespace {

bool isFinite(const IVec2<float>& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

int truncated(float v) {
    constexpr float kLimit = 1 << 30;
    return static_cast<int>(std::clamp(v, -kLimit, kLimit));
}

IVec2<int> truncated(const IVec2<float>& p) {
    return {truncated(p.x), truncated(p.y)};
}

} // namespace

RendererSoftware::RendererSoftware(Renderer* outer)
    : m_stacks(outer != nullptr ? outer : this), m_data(std::make_unique<internal::RendererSoftwareData>()) {}

RendererSoftware::~RendererSoftware() {
    RendererSoftware::flushInternal();
}

void RendererSoftware::setRenderTarget(Image* image) {
    RendererSoftware::flushInternal();
    const SmartPointer<Image> previous = std::move(m_data->target); // may be the last reference to @p image
    m_data->target = nullptr;
    m_data->surface = {};
    if (image == nullptr) return;
    if (internal::surfaceKind(image->getImageFormat()) == internal::SurfaceKind::None) {
        logging::error() << "unsupported rendertarget format for softwarerendering, image->getImageFormat()="
                         << static_cast<int>(image->getImageFormat());
        return;
    }
    m_data->target = image;
    m_data->surface = Surface::of(image);
}

Image* RendererSoftware::getRenderTarget() const {
    return m_data->target.get();
}

IVec2<int> RendererSoftware::getRenderTargetSize() {
    return m_data->targetSize();
}

// A target that was initialised again in the frame has other pixels, to which the recorded areas do not
// belong.
void RendererSoftware::flushInternal() {
    if (m_data->commands.isEmpty()) return;
    if (Surface::of(m_data->target.get()) == m_data->surface)
        m_data->commands.replay(m_data->surface);
    else
        m_data->commands.clear();
}

bool RendererSoftware::downloadFramebuffer(Image& out) {
    if (!m_data->target) return false;
    RendererSoftware::flushInternal();
    internal::copyPixels(out, *m_data->target);
    return true;
}

// What a frame without an end has recorded belongs to the target as it was then.
void RendererSoftware::startInternal() {
    RendererSoftware::flushInternal();
    m_data->surface = Surface::of(m_data->target.get());
    m_data->isInFrame = true;
}

void RendererSoftware::stopInternal() {
    RendererSoftware::flushInternal();
    m_data->isInFrame = false;
}

void RendererSoftware::setViewportInternal(const IVec4<int>&) {}

void RendererSoftware::setDepthTestInternal(bool) {}

Texture* RendererSoftware::createTextureInternal() {
    return new TextureSoftware(m_stacks);
}

const IVec4<float>& RendererSoftware::tint() const {
    return m_stacks->getColor();
}

bool RendererSoftware::isTintVisible() const {
    return tint().w > internal::kInvisibleAlpha;
}

/// Returns the pixels of @p area inside the clip and the target.
IVec4<int> RendererSoftware::visible(const IVec4<int>& area) const {
    const IVec2<int>& size = m_data->targetSize();
    return internal::intersect(internal::intersect(area, m_stacks->getClip()), {0, 0, size.x, size.y});
}

void RendererSoftware::clearInternal(const IVec4<float>& color) {
    const IVec2<int>& size = m_data->targetSize();
    const IVec4<int> area(0, 0, size.x, size.y);
    if (!internal::isEmpty(area)) record<internal::ClearCommand>(area, color);
}

void RendererSoftware::drawRectInternal(const Rect& rect, const IVec4<float>*) {
    RendererSoftware::drawRectInternal(rect);
}

void RendererSoftware::drawRectInternal(const Rect& rect) {
    if (!isTintVisible() || !isFinite(rect.leftTop()) || !isFinite(rect.rightBottom())) return;
    const IVec4<int> area = visible(rect.roundNearestAsInt());
    if (!internal::isEmpty(area)) record<internal::FillCommand>(area, tint());
}

void RendererSoftware::drawAALineInternal(const IVec2<float>& from, const IVec2<float>& to) {
    if (!isTintVisible() || !isFinite(from) || !isFinite(to)) return;
    const IVec2<int> first = truncated(from);
    const IVec2<int> last = truncated(to);
    const IVec4<int> area = visible(internal::LineCommand::bounds(first, last));
    if (!internal::isEmpty(area)) record<internal::LineCommand>(area, first, last, tint());
}

void RendererSoftware::drawTriangleInternal(const IVec2<float>& a, const IVec2<float>& b,
                                            const IVec2<float>& c) {
    if (!isTintVisible()) return;
    const auto shape = internal::TriangleShape::of(a, b, c);
    if (!shape) return;
    const IVec4<int> area = visible(shape->bounds());
    if (!internal::isEmpty(area)) record<internal::TriangleCommand>(area, *shape, tint());
}

} // namespace qel
