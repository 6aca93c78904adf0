#include <qel/software3d/software_renderer_3d.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/software3d/mesh_raster_p.h>
#include <qel/software3d/occlusion_grid_p.h>
#include <qel/software3d/software_volume_texture.h>
#include <qel/software3d/volume_raster_p.h>
#include <qel/software3d/volume_refiner_p.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qel {
namespace {

/// Tints with at most this alpha draw nothing.
constexpr float kInvisibleAlpha = 0.0019607844f;
constexpr int kFarthestPixel = 1 << 20;

bool isFinite(const IVec4<float>& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z) && std::isfinite(v.w);
}

/// Returns true if a rectangle has pixels and none too far away for exact positions.
bool isUsable(const IVec4<int>& rect) {
    const auto [least, most] = std::minmax({rect.x, rect.y, rect.z, rect.w});
    return rect.x < rect.z && rect.y < rect.w && least >= -kFarthestPixel && most <= kFarthestPixel;
}

IVec4<int> intersection(const IVec4<int>& a, const IVec4<int>& b) {
    return {std::max(a.x, b.x), std::max(a.y, b.y), std::min(a.z, b.z), std::min(a.w, b.w)};
}

} // namespace

namespace internal {

/// A volume that was drawn and is not yet on the target.
struct HeldVolume {
    const VolumeActor* actor; ///< not accessed
    VolumeDraw draw;
};

} // namespace internal

struct internal::SoftwareRenderer3DData {
    explicit SoftwareRenderer3DData(Renderer* outer) : flat(new RendererSoftware(outer)) {}

    const SmartPointer<RendererSoftware> flat;
    DepthBuffer depth;
    bool testsDepth = false;
    IVec4<int> viewport;
    Vector<IVec4<float>> planes;
    IVec3<float> lower{0, 0, 0};
    IVec3<float> upper{1, 1, 1};
    Vector<HeldVolume> volumes;
    TransferTables tables;
    OcclusionGrids grids;
    bool isProgressive = false;
    std::unique_ptr<VolumeRefiner> refiner; ///< is created when it is first needed
};

SoftwareRenderer3D::SoftwareRenderer3D() : m_data(std::make_unique<internal::SoftwareRenderer3DData>(this)) {}

SoftwareRenderer3D::~SoftwareRenderer3D() = default;

// --- 3D ----------------------------------------------------------------------------------------------------

void SoftwareRenderer3D::setViewport3D(const IVec4<int>& rect) {
    m_data->viewport = rect;
}

void SoftwareRenderer3D::setClipPlanes(const Vector<IVec4<float>>& planes) {
    if (planes.size() > kMaximumClipPlanes) logging::warning() << "too many clip planes: " << planes.size();
    m_data->planes.assign(planes.begin(), planes.begin() + static_cast<std::ptrdiff_t>(
                                                               std::min(planes.size(), kMaximumClipPlanes)));
    std::erase_if(m_data->planes, [](const IVec4<float>& plane) { return !isFinite(plane); });
}

void SoftwareRenderer3D::setClipBox(const IVec3<float>& lower, const IVec3<float>& upper) {
    m_data->lower = lower;
    m_data->upper = upper;
}

void SoftwareRenderer3D::setProgressive(bool isOn) {
    m_data->isProgressive = isOn;
    if (!isOn) m_data->refiner.reset();
}

bool SoftwareRenderer3D::isProgressive() const {
    return m_data->isProgressive;
}

bool SoftwareRenderer3D::isRefined() const {
    return m_data->refiner == nullptr || m_data->refiner->isRefined();
}

void SoftwareRenderer3D::waitRefined() {
    if (m_data->refiner != nullptr) m_data->refiner->waitRefined();
}

void SoftwareRenderer3D::start3D() {
    Renderer3D::start3D();
    m_data->depth.clear(getRenderTargetSize());
}

/// Draws the recorded 2D operations. @return true if 3D can be drawn on the target.
bool SoftwareRenderer3D::prepare3D() {
    Image* const target = getRenderTarget();
    if (target == nullptr || target->getImageFormat() != BGRA8 || !target->hasPixels()) return false;
    if (target->getSize() != getRenderTargetSize()) return false; // initialised again since the frame began
    m_data->flat->flush();
    if (m_data->depth.size != target->getSize()) m_data->depth.clear(target->getSize());
    return true;
}

namespace {

/// Returns the view of a draw; its clip is empty if nothing can be seen.
internal::View currentView(SoftwareRenderer3D& renderer, const IVec4<int>& viewport) {
    const IVec2<int> size = renderer.getRenderTargetSize();
    const IVec4<int> whole(0, 0, size.x, size.y);
    const IVec4<int> port = viewport == IVec4<int>() ? whole : viewport;
    IVec4<int> clip = intersection(intersection(renderer.getClip(), whole), port);
    if (!isUsable(port) || !(renderer.getColor().w > kInvisibleAlpha) || !isFinite(renderer.getColor()))
        clip = {};
    return {internal::toDouble(renderer.getViewMatrix()), internal::toDouble(renderer.getProjectionMatrix()),
            port, clip, renderer.getColor()};
}

bool isEmpty(const IVec4<int>& rect) {
    return rect.x >= rect.z || rect.y >= rect.w;
}

/// Turns planes in the world into planes in model space.
Vector<IVec4<double>> toModelSpace(const Vector<IVec4<float>>& planes, const Double4x4& model) {
    Vector<IVec4<double>> result;
    for (const IVec4<float>& plane : planes) {
        IVec4<double>& turned = result.emplace_back();
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) turned[i] += model[i][j] * plane[j];
    }
    return result;
}

} // namespace

void SoftwareRenderer3D::drawMeshInternal(Mesh* mesh, const Float4x4& modelMatrix) {
    if (mesh == nullptr || !prepare3D()) return;
    const internal::View view = currentView(*this, m_data->viewport);
    if (isEmpty(view.clip)) return;
    internal::drawMesh(*getRenderTarget(), m_data->depth, *mesh, internal::toDouble(modelMatrix), view,
                       {m_data->testsDepth, getCullMode()});
}

Mesh* SoftwareRenderer3D::createMeshInternal() {
    return new Mesh(this);
}

VolumeTexture* SoftwareRenderer3D::createVolumeTextureInternal() {
    return new SoftwareVolumeTexture(this);
}

void SoftwareRenderer3D::drawVolumeInternal(VolumeActor* actor) {
    if (actor == nullptr) return;
    auto* const texture = dynamic_cast<SoftwareVolumeTexture*>(actor->getScalarTexture());
    if (texture == nullptr || texture->getVoxels() == nullptr) return;
    const internal::View view = currentView(*this, m_data->viewport);
    if (isEmpty(view.clip)) return;
    m_data->volumes.push_back({actor, internal::VolumeDraw(*actor, *texture, view, m_data->tables)});
    internal::VolumeDraw& draw = m_data->volumes.back().draw;
    if (!std::isfinite(draw.distance)) return m_data->volumes.pop_back(); // a matrix is not finite
    draw.planes = toModelSpace(m_data->planes, draw.model);
    for (int axis = 0; axis < 3; ++axis) {
        // A component that is NaN does not cut.
        draw.lower[axis] = m_data->lower[axis] > 0 ? m_data->lower[axis] : 0.0;
        draw.upper[axis] = m_data->upper[axis] < 1 ? m_data->upper[axis] : 1.0;
    }
}

/// Draws the volumes that were held back, the farthest first.
void SoftwareRenderer3D::drawVolumes() {
    if (m_data->volumes.empty()) return;
    Vector<internal::HeldVolume> volumes;
    volumes.swap(m_data->volumes);
    if (!prepare3D()) return;
    std::stable_sort(volumes.begin(), volumes.end(),
                     [](const auto& a, const auto& b) { return a.draw.distance > b.draw.distance; });
    internal::VolumeRefiner* const refiner = currentRefiner();
    for (auto& [actor, draw] : volumes) {
        if (draw.size != draw.texture->getSize()) continue; // initialised again since it was drawn
        const IVec2<int> size = getRenderTargetSize();
        draw.view.clip = intersection(draw.view.clip, {0, 0, size.x, size.y});
        if (refiner == nullptr || !refiner->draw(actor, draw, *getRenderTarget(), m_data->depth))
            drawExactly(draw);
    }
}

/// Returns the object that draws pictures which become exact later; null if they are to be exact at once.
internal::VolumeRefiner* SoftwareRenderer3D::currentRefiner() {
    System* const host = system();
    if (!m_data->isProgressive || host == nullptr || !host->isMainThread()) return nullptr;
    if (m_data->refiner == nullptr || m_data->refiner->isClosed())
        m_data->refiner = std::make_unique<internal::VolumeRefiner>();
    return m_data->refiner.get();
}

void SoftwareRenderer3D::drawExactly(internal::VolumeDraw& draw) {
    if (internal::skipsBricks(draw)) internal::findClearBricks(draw);
    if (internal::usesTables(draw) && draw.usesGlobalOcclusion) draw.occlusion = m_data->grids.get(draw);
    internal::drawVolume(*getRenderTarget(), m_data->depth, draw);
}

// --- 2D: everything goes to a RendererSoftware ---------------------------------------------------------

/// Returns the renderer for a 2D operation, after the volumes on which it is to be drawn.
RendererSoftware& SoftwareRenderer3D::flat() {
    if (!m_data->testsDepth) drawVolumes();
    return *m_data->flat;
}

void SoftwareRenderer3D::setRenderTarget(Image* image) {
    drawVolumes();
    m_data->flat->setRenderTarget(image);
}

Image* SoftwareRenderer3D::getRenderTarget() const {
    return m_data->flat->getRenderTarget();
}

IVec2<int> SoftwareRenderer3D::getRenderTargetSize() {
    return m_data->flat->getRenderTargetSize();
}

void SoftwareRenderer3D::startInternal() {
    if (m_data->refiner != nullptr)
        if (internal::VolumeRefiner* const refiner = currentRefiner()) refiner->beginFrame();
    m_data->flat->startInternal();
}

void SoftwareRenderer3D::stopInternal() {
    drawVolumes();
    m_data->flat->stopInternal();
}

void SoftwareRenderer3D::flushInternal() {
    drawVolumes();
    m_data->flat->flushInternal();
}

bool SoftwareRenderer3D::downloadFramebuffer(Image& out) {
    drawVolumes();
    return m_data->flat->downloadFramebuffer(out);
}

void SoftwareRenderer3D::clearInternal(const IVec4<float>& color) {
    m_data->volumes.clear();
    m_data->depth.clear(getRenderTargetSize());
    m_data->flat->clearInternal(color);
}

void SoftwareRenderer3D::setDepthTestInternal(bool on) {
    m_data->testsDepth = on;
}

void SoftwareRenderer3D::drawTextureInternal(Texture* texture, const Rect& source, const Rect& target,
                                             int orientation, const IVec4<float>* cornerColors) {
    flat().drawTextureInternal(texture, source, target, orientation, cornerColors);
}

void SoftwareRenderer3D::drawTextureInternal(Texture* texture, const Rect& source, const Rect& target,
                                             int orientation) {
    flat().drawTextureInternal(texture, source, target, orientation);
}

void SoftwareRenderer3D::drawTextureScaledLookupInternal(Texture* texture, const Rect& source,
                                                         const Rect& target, int orientation,
                                                         const IVec2<float>& window, Texture* lookup) {
    flat().drawTextureScaledLookupInternal(texture, source, target, orientation, window, lookup);
}

void SoftwareRenderer3D::drawTextureWithPalette(Texture* texture, const Rect& source, const Rect& target,
                                                int orientation, Texture* palette, Texture* extra) {
    flat().drawTextureWithPalette(texture, source, target, orientation, palette, extra);
}

void SoftwareRenderer3D::drawTextActorInternal(TextActor* actor) {
    flat().drawTextActorInternal(actor);
}

void SoftwareRenderer3D::drawRectInternal(const Rect& rect, const IVec4<float>* cornerColors) {
    flat().drawRectInternal(rect, cornerColors);
}

void SoftwareRenderer3D::drawRectInternal(const Rect& rect) {
    flat().drawRectInternal(rect);
}

void SoftwareRenderer3D::drawAALineInternal(const IVec2<float>& from, const IVec2<float>& to) {
    flat().drawAALineInternal(from, to);
}

void SoftwareRenderer3D::drawTriangleInternal(const IVec2<float>& a, const IVec2<float>& b,
                                              const IVec2<float>& c) {
    flat().drawTriangleInternal(a, b, c);
}

void SoftwareRenderer3D::setViewportInternal(const IVec4<int>& rect) {
    m_data->flat->setViewportInternal(rect);
}

bool SoftwareRenderer3D::isHighPrecisionInternal() {
    return m_data->flat->isHighPrecisionInternal();
}

RenderTimer* SoftwareRenderer3D::createRenderTimer() {
    return m_data->flat->createRenderTimer();
}

Texture* SoftwareRenderer3D::createTextureInternal() {
    return m_data->flat->createTextureInternal();
}

IVec2<int> SoftwareRenderer3D::getMaximumTextureSize() {
    return m_data->flat->getMaximumTextureSize();
}

bool SoftwareRenderer3D::supportsTimers() const {
    return m_data->flat->supportsTimers();
}

} // namespace qel
