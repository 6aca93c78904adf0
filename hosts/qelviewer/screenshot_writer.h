// ScreenshotWriter: saves pictures of the window.
#pragma once

#include "background_queue.h"

#include <qel/imaging/pixels/image.h>

#include <functional>
#include <string>
#include <utility>

namespace qelviewer {

/// Writes pictures under the first free name of "qelviewer-0001.png" to "qelviewer-9999.png" in the working
/// folder, on a worker.
/// @threads main thread.
class ScreenshotWriter {
public:
    /// Receives the path, or what went wrong, in a pass of System.
    using Finished = std::function<void(const std::string& path, const std::string& problem)>;

    explicit ScreenshotWriter(Finished finished) : m_finished(std::move(finished)) {}
    ScreenshotWriter(const ScreenshotWriter&) = delete;
    ScreenshotWriter& operator=(const ScreenshotWriter&) = delete;
    /// Waits until all pictures are written.
    ~ScreenshotWriter() { m_queue.wait(); }

    /// Writes a picture. @errors are also logged, because the program may end meanwhile.
    void write(qel::Image&& picture);
    /// Returns true until the last picture has been reported.
    bool isWriting() const { return m_isWriting; }
    /// Waits until all pictures are written. The next pass of System then reports them.
    void wait() { m_queue.wait(); }

private:
    const Finished m_finished;
    bool m_isWriting = false;
    BackgroundQueue m_queue;
};

} // namespace qelviewer
