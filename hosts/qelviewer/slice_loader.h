// SliceLoader: reads slices of a volume in the background.
#pragma once

#include "background_queue.h"
#include "slice_frame.h"

#include <functional>
#include <memory>
#include <utility>

namespace qelviewer {

/// A slice of a volume.
struct SliceKey {
    std::shared_ptr<const Study> study; ///< null for none
    int slice = -1;                     ///< its number in the frame

    bool operator==(const SliceKey&) const = default;
};

/// Reads one slice at a time on a worker; a request that has to wait is replaced by the next one.
/// @threads main thread.
class SliceLoader {
public:
    /// Receives the stored voxels of a slice. Called on the main thread, in a pass of System.
    using Finished = std::function<void(const SliceKey& key, qel::Image&& voxels)>;

    explicit SliceLoader(Finished finished) : m_finished(std::move(finished)) {}

    /// Requests a slice, unless it was requested last.
    void request(const SliceKey& key, const SliceFrame& frame);
    /// Returns true while a worker reads.
    bool isReading() const { return m_isReading; }
    /// Drops the request.
    void cancel() { m_wanted = {}; }

private:
    void read();
    void finish(const SliceKey& key, qel::Image& voxels);

    const Finished m_finished;
    SliceKey m_wanted; ///< of the last request
    SliceFrame m_frame;
    bool m_isReading = false;
    BackgroundQueue m_queue;
};

} // namespace qelviewer
