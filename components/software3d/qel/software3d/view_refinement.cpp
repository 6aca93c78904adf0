#include <qel/software3d/view_refinement_p.h>

#include <qel/software3d/occlusion_grid_p.h>
#include <qel/software3d/parallel_p.h>
#include <qel/software3d/ray_caster_p.h>
#include <qel/software3d/seams.h>
#include <qel/software3d/volume_raster_p.h>
#include <qel/system/core/clock.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

namespace qel {
namespace {

std::function<void()> g_beforeRow;

} // namespace

void seams::setBeforeRefinedRow(std::function<void()> hook) {
    g_beforeRow = std::move(hook);
}

namespace internal {
namespace {

/// The most blocks that are examined at once, which takes about a millisecond.
constexpr int64 kFewBricks = 1 << 15;
/// Layers of blocks that are measured between two looks at the revision.
constexpr int kLayersAtOnce = 4;
/// Rows of a tile that are computed at once. A tile that was stopped ends between them.
constexpr int kRowsAtOnce = 4;
constexpr int kCoarseStep = 4;
constexpr int64 kCoarseBudgetNs = 4'000'000;
/// The most rays that are cast however long they take, since there must be a picture.
constexpr int64 kSureRays = 1024;
/// One of this number of coarse rows is computed even after the budget.
constexpr int kRowsPerSurety = 8;

int64 countBricks(const SoftwareVolumeTexture& texture) {
    const IVec3<int>& count = texture.getBrickCount();
    return int64{count.x} * count.y * count.z;
}

bool usesOcclusion(const VolumeDraw& draw) {
    return usesTables(draw) && draw.usesGlobalOcclusion;
}

/// Returns rows in an order in which those known at any time are evenly spaced, with few exceptions.
Vector<int> interlacedRows(int count) {
    Vector<int> rows;
    for (int row = 0; row < count; row += kRowsPerSurety) rows.push_back(row);
    for (int step = kRowsPerSurety; step > 1; step /= 2)
        for (int row = step / 2; row < count; row += step) rows.push_back(row);
    return rows;
}

/// Computes the rows between two that are known.
void interpolateRows(SampledArea& area, int from, int to) {
    for (int row = from + 1; row < to; ++row) {
        const float share = static_cast<float>(row - from) / static_cast<float>(to - from);
        for (int x = 0; x < area.getCount().x; ++x)
            area.rowAt(row)[x] = mix(area.rowAt(from)[x], area.rowAt(to)[x], share);
    }
}

/// Computes the rows that are not known from the nearest ones; the first row is known.
void fillRows(SampledArea& area, const Vector<uint8>& isKnown) {
    const int count = area.getCount().y;
    int last = 0;
    for (int row = 1; row < count; ++row) {
        if (isKnown[static_cast<size_t>(row)] == 0) continue;
        interpolateRows(area, last, row);
        last = row;
    }
    for (int row = last + 1; row < count; ++row)
        std::copy_n(area.rowAt(last), area.getCount().x, area.rowAt(row));
}

} // namespace

DepthArea::DepthArea(const DepthBuffer& depth, const IVec4<int>& pixels) : area(pixels) {
    values.reserve(static_cast<size_t>(area.z - area.x) * static_cast<size_t>(area.w - area.y));
    for (int y = area.y; y < area.w; ++y) {
        const float* const row = &depth.at(area.x, y);
        values.insert(values.end(), row, row + (area.z - area.x));
    }
}

bool DepthArea::matches(const DepthBuffer& depth) const {
    const size_t bytes = static_cast<size_t>(area.z - area.x) * sizeof(float);
    for (int y = area.y; y < area.w; ++y)
        if (std::memcmp(at(area.x, y), &depth.at(area.x, y), bytes) != 0) return false;
    return true;
}

const float* DepthArea::at(int x, int y) const {
    return values.data() + static_cast<size_t>(y - area.y) * static_cast<size_t>(area.z - area.x) +
           static_cast<size_t>(x - area.x);
}

// --- preparation -------------------------------------------------------------------------------------------

Preparation::Preparation(const VolumeDraw& draw)
    : m_key(keyOf(draw)), m_revision(draw.texture->getRevision()) {
    const bool isLarge =
        skipsBricks(draw) && (countBricks(*draw.texture) > kFewBricks || !draw.texture->areBricksMeasured());
    if (isLarge || usesOcclusion(draw))
        state = State::Waiting;
    else
        run(draw);
}

ByteKey Preparation::keyOf(const VolumeDraw& draw) {
    ByteKey key;
    key.addAddress(draw.colors.get());
    key.add(draw.texture->getRevision(), draw.isClassified, draw.usesMeans, draw.scale, draw.bias,
            usesOcclusion(draw), skipsBricks(draw));
    if (usesOcclusion(draw))
        for (int row = 0; row < 4; ++row) key.add(draw.model.row(row));
    return key;
}

void Preparation::run(const VolumeDraw& draw) {
    VolumeDraw work = draw;
    const auto isStopped = [&] { return m_isStopped || draw.texture->getRevision() != m_revision; };
    bool isMeasured = !skipsBricks(draw);
    while (!isMeasured && !isStopped()) {
        const auto lock = draw.texture->lockVoxels();
        if (!isStopped()) isMeasured = draw.texture->measureBricks(kLayersAtOnce);
    }
    const auto lock = draw.texture->lockVoxels();
    if (isStopped()) return;
    if (skipsBricks(draw)) findClearBricks(work);
    if (usesOcclusion(draw)) work.occlusion = std::make_shared<const OcclusionGrid>(work, isStopped);
    if (isStopped()) return;
    m_clearDistance = std::move(work.clearDistance);
    m_occlusion = std::move(work.occlusion);
}

void Preparation::applyTo(VolumeDraw& draw) const {
    draw.clearDistance = m_clearDistance;
    draw.occlusion = m_occlusion;
}

// --- tiles -------------------------------------------------------------------------------------------------

VolumeDraw withFewerSteps(const VolumeDraw& draw, int divisor) {
    VolumeDraw result = draw;
    result.steps = std::max(draw.steps / divisor, 1);
    return result;
}

void castRows(const VolumeDraw& draw, const DepthArea& depths, int row, int count, SampledArea& area) {
    const IVec2<int> place = area.placeOf(row);
    const int columns = area.getCount().x;
    RayCaster(draw).cast({place.x, place.y, area.getStep(), columns, count, depths.at(place.x, place.y),
                          depths.area.z - depths.area.x},
                         area.rowAt(row), columns);
}

ViewRefinement::ViewRefinement(const VolumeDraw& draw, std::shared_ptr<const DepthArea> depths,
                               std::shared_ptr<Preparation> preparation)
    : m_grid(depths->area),
      m_order(m_grid.fromCentre()),
      m_depths(std::move(depths)),
      m_preparation(std::move(preparation)),
      m_revision(draw.texture->getRevision()),
      m_levels{withFewerSteps(draw, 2), draw} {}

unsigned ViewRefinement::countReady() const {
    if (isStopped()) return 0;
    if (m_preparation->state == Preparation::State::Done)
        return static_cast<unsigned>(m_order.size()) * kLevels - m_next;
    return m_preparation->state == Preparation::State::Waiting ? 1 : 0;
}

unsigned ViewRefinement::take() {
    ++m_running;
    if (m_preparation->state == Preparation::State::Waiting) {
        m_preparation->state = Preparation::State::Running;
        return kPreparation;
    }
    if (m_next == 0)
        for (VolumeDraw& level : m_levels) m_preparation->applyTo(level);
    return m_next++;
}

ViewRefinement::Tile ViewRefinement::compute(unsigned piece) {
    if (piece == kPreparation) {
        m_preparation->run(m_levels[1]);
        return {};
    }
    const auto count = static_cast<unsigned>(m_order.size());
    const int tile = m_order[piece % count];
    const bool isExact = piece >= count;
    SampledArea area(m_grid.at(tile), isExact ? 1 : 2);
    for (int row = 0; row < area.getCount().y; row += kRowsAtOnce)
        if (!castRows(m_levels[isExact ? 1 : 0], row, area)) return {};
    return {tile, std::move(area)};
}

/// Computes some rows of a tile. @return false, with nothing computed, if it was stopped.
bool ViewRefinement::castRows(const VolumeDraw& draw, int row, SampledArea& area) {
    if (g_beforeRow) g_beforeRow();
    const auto isCurrent = [&] { return draw.texture->getRevision() == m_revision; };
    if (!isStopped() && isCurrent()) {
        const auto lock = draw.texture->lockVoxels();
        if (isCurrent()) {
            const int count = std::min(kRowsAtOnce, area.getCount().y - row);
            internal::castRows(draw, *m_depths, row, count, area);
            return true;
        }
    }
    stop();
    return false;
}

void ViewRefinement::end(unsigned piece, Tile&& result) {
    --m_running;
    if (piece == kPreparation)
        m_preparation->state = Preparation::State::Done;
    else
        ++m_ended;
    if (!result.second.isEmpty()) m_finished.push_back(std::move(result));
}

// --- the coarse picture ------------------------------------------------------------------------------------

namespace {

/// Returns the number of rays of an area whose pixels are known at some distance.
int64 countRays(const IVec4<int>& area, int step) {
    return int64{(area.z - area.x + step - 1) / step} * ((area.w - area.y + step - 1) / step);
}

/// Computes the colours at every pixel that is @p step from the next one. After @p end, rows are
/// interpolated instead.
SampledArea castUntil(int64 end, const VolumeDraw& draw, const DepthArea& depths, int step) {
    SampledArea area(depths.area, step);
    const Vector<int> rows = interlacedRows(area.getCount().y);
    const auto sure = static_cast<unsigned>((area.getCount().y + kRowsPerSurety - 1) / kRowsPerSurety);
    Vector<uint8> isKnown(rows.size());
    runPieces(static_cast<unsigned>(rows.size()), [&](unsigned i) {
        if (i >= sure && Clock::current().steadyNanoseconds() >= end) return;
        castRows(draw, depths, rows[i], 1, area);
        isKnown[static_cast<size_t>(rows[i])] = 1;
    });
    fillRows(area, isKnown);
    return area;
}

} // namespace

/// A few rays are cast first; the time that they take decides how many others there is time for.
SampledArea castCoarsely(const VolumeDraw& draw, const DepthArea& depths) {
    const VolumeDraw coarse = withFewerSteps(draw, kCoarseStep);
    const int64 begin = Clock::current().steadyNanoseconds();
    const int64 end = begin + kCoarseBudgetNs;
    int step = kCoarseStep;
    while (countRays(depths.area, step) > kSureRays) step *= 2;
    SampledArea first = castUntil(end, coarse, depths, step);
    const int64 now = Clock::current().steadyNanoseconds();
    const double raysInTime = static_cast<double>(countRays(depths.area, step)) *
                              static_cast<double>(end - now) / static_cast<double>(now - begin + 1);
    int finer = kCoarseStep;
    while (finer < step && raysInTime < static_cast<double>(countRays(depths.area, finer))) finer *= 2;
    return finer < step ? castUntil(end, coarse, depths, finer) : std::move(first);
}

} // namespace internal
} // namespace qel
