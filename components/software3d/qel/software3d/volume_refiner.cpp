#include <qel/software3d/volume_refiner_p.h>

#include <qel/software3d/volume_raster_p.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <utility>

namespace qel::internal {
namespace {

/// Views are dropped after this number of frames without them. It grows with the number of views, since the
/// parts of a window may be frames of their own.
constexpr uint64 kFramesKept = 64;
constexpr uint64 kFramesKeptPerView = 4;
/// A view that has not been drawn for this number of frames shows its actor in another viewport of the same
/// target, so that a pane that changes its size has few views.
constexpr uint64 kFramesUntilReuse = 16;
/// The most pictures of an actor in a viewport.
constexpr size_t kMostViewsOfActor = 16;

/// Returns everything that decides the colours of a picture but the depths.
ByteKey keyOf(const VolumeDraw& draw, const IVec4<int>& area) {
    ByteKey key;
    key.add(draw.texture->getRevision(), area, draw.view.viewport, draw.isLinear, draw.isClassified,
            draw.usesMeans, draw.usesGradient, draw.isSobel, draw.usesLocalOcclusion,
            draw.usesGlobalOcclusion, draw.steps, draw.scale, draw.bias, draw.gradientScale,
            draw.gradientFactor, draw.gradientBias, draw.lower, draw.upper);
    key.addAddress(draw.colors.get());
    key.addAddress(draw.weights.get());
    for (const Double4x4* const matrix : {&draw.model, &draw.view.view, &draw.view.projection})
        for (int row = 0; row < 4; ++row) key.add(matrix->row(row));
    for (const IVec4<double>& plane : draw.planes) key.add(plane);
    return key;
}

/// Returns a viewport; the whole target is the same one whatever its size.
IVec4<int> placeOf(const IVec4<int>& viewport, const Image& target) {
    return viewport == IVec4<int>(0, 0, target.getWidth(), target.getHeight()) ? IVec4<int>() : viewport;
}

} // namespace

VolumeRefiner::VolumeRefiner()
    : m_queue(new RefinementQueue([this] { publish(); })),
      m_queueOfSystem(Object::system()->getGlobalParallelQueue()) {
    m_queueOfSystem.setOwner(this);
}

VolumeRefiner::~VolumeRefiner() {
    close();
}

void VolumeRefiner::onWeakPointerCleared(void*) {
    close();
}

void VolumeRefiner::close() {
    for (const auto& view : m_views) drop(*view);
    m_views.clear();
    m_queue->close();
}

void VolumeRefiner::beginFrame() {
    ++m_frame;
    const uint64 kept = kFramesKept + kFramesKeptPerView * m_views.size();
    std::erase_if(m_views, [&](const auto& view) {
        const bool isUnused = m_frame - view->lastFrame > kept;
        if (isUnused) drop(*view);
        return isUnused;
    });
}

bool VolumeRefiner::draw(const void* actor, VolumeDraw& draw, Image& target, const DepthBuffer& depth) {
    const IVec4<int> area = coveredArea(draw);
    if (area.x >= area.z || area.y >= area.w) return true;
    ByteKey key = keyOf(draw, area);
    View* const view = viewFor(actor, placeOf(draw.view.viewport, target), target, key, depth);
    if (view == nullptr) return false;
    view->lastFrame = m_frame;
    if (!view->shows(key, depth)) {
        view->key = std::move(key);
        view->depths = std::make_shared<const DepthArea>(depth, area);
        restart(*view, draw);
    }
    view->picture.draw(target, draw.view.tint);
    return true;
}

/// Returns the view that shows what is to be drawn. Otherwise, returns the oldest view of the actor in the
/// same viewport of the target that was not drawn in this frame, one that is not needed any more, or a new
/// one; null if this frame has used all views that an actor may have.
VolumeRefiner::View* VolumeRefiner::viewFor(const void* actor, const IVec4<int>& viewport, Image& target,
                                            const ByteKey& key, const DepthBuffer& depth) {
    View* same = nullptr;
    View* other = nullptr;
    size_t count = 0;
    for (const auto& view : m_views) {
        if (view->actor != actor) continue;
        if (view->shows(key, depth)) return view.get();
        const bool isSame = view->target.get() == &target && view->viewport == viewport;
        View*& oldest = isSame ? same : other;
        if ((isSame || isReusable(*view, target)) &&
            (oldest == nullptr || view->lastFrame < oldest->lastFrame))
            oldest = view.get();
        count += isSame;
    }
    if (same != nullptr && same->lastFrame != m_frame) return same;
    if (count >= kMostViewsOfActor) return nullptr;
    View* const view = other != nullptr ? other : m_views.emplace_back(std::make_unique<View>()).get();
    view->actor = actor;
    view->viewport = viewport;
    view->target = &target;
    return view;
}

/// Returns true if a view may show its actor in another viewport of @p target.
bool VolumeRefiner::isReusable(const View& view, const Image& target) const {
    if (!view.target) return true;
    return view.target.get() == &target && m_frame - view.lastFrame >= kFramesUntilReuse;
}

void VolumeRefiner::restart(View& view, VolumeDraw& draw) {
    if (view.refinement != nullptr) view.refinement->release();
    m_queue->dropReleased();
    view.tables[0] = draw.colors;
    view.tables[1] = draw.weights;
    prepare(view, draw);
    view.picture.start(view.depths->area, castCoarsely(draw, *view.depths));
    auto refinement = std::make_unique<ViewRefinement>(draw, view.depths, view.preparation);
    view.refinement = refinement.get();
    m_queue->add(std::move(refinement));
    Object::system()->disableLowPowerModeShortly();
}

/// Adds what is prepared for the voxels and tables to @p draw.
void VolumeRefiner::prepare(View& view, VolumeDraw& draw) {
    if (!view.preparation || !view.preparation->isFor(draw)) {
        if (view.preparation) view.preparation->stop();
        view.preparation = std::make_shared<Preparation>(draw);
    }
    if (view.preparation->state == Preparation::State::Done) view.preparation->applyTo(draw);
}

void VolumeRefiner::drop(View& view) {
    if (view.preparation) view.preparation->stop();
    if (view.refinement != nullptr) view.refinement->release();
    m_queue->dropReleased();
}

bool VolumeRefiner::isRefined() const {
    return std::all_of(m_views.begin(), m_views.end(),
                       [](const auto& view) { return view->refinement == nullptr; });
}

void VolumeRefiner::waitRefined() {
    m_queue->finish();
    publish();
}

/// Adds the tiles that have been computed to the picture of a view. @return true if a frame would show more.
bool VolumeRefiner::update(View& view) {
    if (view.refinement == nullptr) return false;
    Vector<ViewRefinement::Tile> tiles;
    const bool isComplete = m_queue->takeFinished(*view.refinement, tiles);
    for (auto& [tile, content] : tiles) view.picture.setTile(tile, std::move(content));
    if (isComplete) std::exchange(view.refinement, nullptr)->release();
    return !tiles.empty();
}

void VolumeRefiner::publish() {
    bool hasChanged = false;
    for (const auto& view : m_views) hasChanged |= update(*view);
    hasChanged |= std::erase_if(m_views, [](const auto& view) { // the voxels have changed
                      const bool isStopped = view->refinement != nullptr && view->refinement->isStopped();
                      if (isStopped) view->refinement->release();
                      return isStopped;
                  }) != 0;
    m_queue->dropReleased();
    if (!hasChanged) return;
    System* const system = Object::system();
    system->disableLowPowerModeShortly();
    if (system->delegateRequestFrame.isConnected()) system->delegateRequestFrame();
}

} // namespace qel::internal
