// StudyLoader: loads volumes in the background.
#pragma once

#include "background_queue.h"
#include "study.h"

#include <hosts/qelviewer/volume/load_progress.h>

#include <functional>
#include <memory>
#include <string>

namespace qel {
class Renderer3D;
} // namespace qel

namespace qelviewer {

/// Loads one volume at a time on a worker; a request replaces the one before.
/// @threads main thread.
class StudyLoader {
public:
    /// Receives the volume, or null and what went wrong. Called on the main thread, in a pass of System.
    using Finished = std::function<void(std::shared_ptr<const Study> study, const std::string& problem)>;

    /// @param renderer  creates the textures; must outlive this object.
    StudyLoader(qel::Renderer3D* renderer, Finished finished);
    StudyLoader(const StudyLoader&) = delete;
    StudyLoader& operator=(const StudyLoader&) = delete;
    /// Cancels the request and waits until its worker has stopped.
    ~StudyLoader();

    /// Starts to load a file.
    void load(const std::string& path);
    /// Starts to load the sample volume. It is computed first if the file @p path does not exist.
    /// @param mustBeKept  false if it shall also be shown if the file cannot be written, with a warning in
    /// the log.
    void loadSample(const std::string& path, bool mustBeKept);
    /// Returns true until the request has finished.
    bool isLoading() const { return m_job != nullptr; }
    /// Returns the share of the work that is done, from 0 to 1.
    float getShare() const;
    /// Returns true until the worker has stopped. The next pass of System then finishes the request.
    bool isRunning() const { return m_queue.isRunning(); }

private:
    struct Job;

    void start();
    void cancel();

    qel::Renderer3D* const m_renderer;
    const Finished m_finished;
    std::shared_ptr<Job> m_job;
    BackgroundQueue m_queue;
};

} // namespace qelviewer
