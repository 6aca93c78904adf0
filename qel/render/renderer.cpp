#include <qel/render/renderer.h>

#include <qel/imaging/pixels/image.h>
#include <qel/render/render_timer.h>

#include <algorithm>
#include <cmath>

namespace qel {

namespace {

IVec4<float> product(const IVec4<float>& a, const IVec4<float>& b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z, a.w * b.w};
}

/// Returns floor(value * 255 + bias) within 0 to 255; 0 for NaN.
uint8 remapped(float value, float bias) {
    const float level = std::floor(value * 255 + bias);
    return static_cast<uint8>(level > 0 ? std::min(level, 255.0f) : 0.0f);
}

} // namespace

Renderer::Renderer() = default;
Renderer::~Renderer() = default;

bool Renderer::downloadFramebuffer(Image&) {
    return false;
}

RenderTimer* Renderer::createRenderTimer() {
    return new RenderTimer;
}

void Renderer::start() {
    startInternal();
    const IVec2<int> size = getRenderTargetSize();
    m_clipStack.assign(1, {0, 0, size.x, size.y});
    computeClipping();
}

void Renderer::resume() {
    startInternal();
    computeClipping();
}

void Renderer::pushClip(const IVec4<int>& rect) {
    const IVec4<int> clip = getClip();
    m_clipStack.push_back({std::max(rect.x, clip.x), std::max(rect.y, clip.y), //
                           std::min(rect.z, clip.z), std::min(rect.w, clip.w)});
    computeClipping();
}

void Renderer::popClip() {
    if (m_clipStack.size() > 1) m_clipStack.pop_back();
    computeClipping();
}

IVec4<int> Renderer::getClip() const {
    return m_clipStack.empty() ? IVec4<int>() : m_clipStack.back();
}

void Renderer::computeClipping() {
    const IVec4<int> clip = getClip();
    m_allClipped = !(clip.x < clip.z && clip.y < clip.w);
    setViewportInternal(m_allClipped ? IVec4<int>() : clip);
}

void Renderer::pushColor(const IVec4<float>& color) {
    m_colorStack.push_back(product(color, getColor()));
}

void Renderer::replaceColor(const IVec4<float>& color) {
    const size_t count = m_colorStack.size();
    m_colorStack.back() = count > 1 ? product(color, m_colorStack[count - 2]) : color;
}

void Renderer::popColor() {
    if (m_colorStack.size() > 1) m_colorStack.pop_back();
}

SmartPointer<Texture> Renderer::createGrayscaleRemapTexture(const Vector<float>& curve) {
    Image image(L8, {static_cast<int>(curve.size()), 2});
    for (size_t i = 0; i < curve.size() && image.isInitialized(); ++i) {
        image.getBytePointer(0)[i] = remapped(curve[i], 0.25f);
        image.getBytePointer(1)[i] = remapped(curve[i], 0.75f);
    }
    SmartPointer<Texture> texture = createTexture();
    texture->upload(std::move(image), false);
    return texture;
}

} // namespace qel
