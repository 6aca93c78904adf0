// The computation of one picture of a volume in pieces.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/types.h>
#include <qel/software3d/byte_key_p.h>
#include <qel/software3d/mesh_raster_p.h>
#include <qel/software3d/volume_draw_p.h>
#include <qel/software3d/volume_picture_p.h>

#include <atomic>
#include <memory>
#include <utility>

namespace qel::internal {

/// The depths of an area of the target.
struct DepthArea {
    DepthArea(const DepthBuffer& depth, const IVec4<int>& area);
    /// Returns true if the depths of the target are the same.
    bool matches(const DepthBuffer& depth) const;
    /// Returns the depths of a row from a pixel on.
    const float* at(int x, int y) const;

    IVec4<int> area;
    Vector<float> values;
};

/// What pictures of a volume share as long as its voxels and tables stay the same: the transparent blocks and
/// the light. It takes a pass over all voxels, so that it is computed in the background.
class Preparation {
public:
    /// How far the computation is.
    enum class State { Waiting, Running, Done };

    /// Computes at once what takes little time; otherwise the state is Waiting.
    explicit Preparation(const VolumeDraw& draw);

    /// Returns true if pictures of @p draw share it.
    bool isFor(const VolumeDraw& draw) const { return m_key == keyOf(draw); }
    /// Computes what is missing. Ends early after stop(), or if the voxels change meanwhile.
    /// @threads one, any.
    void run(const VolumeDraw& draw);
    /// Lets run() end soon. @threads any.
    void stop() { m_isStopped = true; }
    /// Adds the results to @p draw. @threads after run() has ended.
    void applyTo(VolumeDraw& draw) const;

    std::atomic<State> state{State::Done}; ///< changes while the mutex of RefinementQueue is held

private:
    static ByteKey keyOf(const VolumeDraw& draw);

    const ByteKey m_key;
    const uint64 m_revision;
    std::atomic<bool> m_isStopped{false};
    Vector<uint8> m_clearDistance;
    std::shared_ptr<const OcclusionGrid> m_occlusion;
};

/// Computes the tiles of a picture, first at half of the resolution with half of the steps, then exactly. It
/// holds the texture and the tables.
/// @threads one at a time, which holds the mutex of RefinementQueue, unless stated otherwise.
class ViewRefinement {
public:
    /// A tile that has been computed.
    using Tile = std::pair<int, SampledArea>;

    ViewRefinement(const VolumeDraw& draw, std::shared_ptr<const DepthArea> depths,
                   std::shared_ptr<Preparation> preparation);

    /// Stops, and lets the queue destroy this object; the owner does not access it any more. @threads main
    /// thread, without the mutex.
    void release() { m_isReleased = m_isStopped = true; }
    /// Returns true after release(). @threads main thread, without the mutex.
    bool isReleased() const { return m_isReleased; }
    /// Lets computations end at the next rows. @threads any.
    void stop() { m_isStopped = true; }
    /// Returns true after stop(), and if the voxels have changed. @threads any.
    bool isStopped() const { return m_isStopped; }
    /// Returns the number of pieces that can be computed now.
    unsigned countReady() const;
    /// Returns true if the exact colours of all pixels are known.
    bool isComplete() const { return !isStopped() && m_ended == m_order.size() * kLevels; }
    /// Returns true if a piece was taken and has not ended.
    bool isRunning() const { return m_running != 0; }
    /// Returns the number of tiles that were taken.
    unsigned getProgress() const { return m_next; }

    /// Takes a piece to compute; countReady() is not 0. end() must follow.
    unsigned take();
    /// Computes a piece: the preparation, or a tile. @return an empty area if there is no tile, or if it was
    /// stopped. @threads any number, without the mutex.
    Tile compute(unsigned piece);
    /// Stores the result of a piece.
    void end(unsigned piece, Tile&& result);
    /// Returns the tiles that have ended since the last call.
    Vector<Tile> takeFinished() { return std::exchange(m_finished, {}); }

private:
    static constexpr unsigned kLevels = 2;
    static constexpr unsigned kPreparation = ~0u;

    bool castRows(const VolumeDraw& draw, int row, SampledArea& area);

    const TileGrid m_grid;
    const Vector<int> m_order;
    const std::shared_ptr<const DepthArea> m_depths;
    const std::shared_ptr<Preparation> m_preparation;
    const uint64 m_revision;
    VolumeDraw m_levels[kLevels]; ///< constant as soon as the first tile is taken
    unsigned m_next = 0;          ///< the first tile that nobody has taken
    unsigned m_running = 0;       ///< pieces that were taken and have not ended
    size_t m_ended = 0;           ///< tiles
    Vector<Tile> m_finished;
    std::atomic<bool> m_isStopped{false};
    bool m_isReleased = false;
};

/// Returns the draw with a part of its steps.
VolumeDraw withFewerSteps(const VolumeDraw& draw, int divisor);
/// Computes the colours of @p count rows of @p area.
void castRows(const VolumeDraw& draw, const DepthArea& depths, int row, int count, SampledArea& area);
/// Computes the colours at every fourth pixel of every fourth row with a quarter of the steps, on all
/// processors; at fewer pixels if that would take more than some milliseconds.
SampledArea castCoarsely(const VolumeDraw& draw, const DepthArea& depths);

} // namespace qel::internal
