#include "picture_loader.h"

#include "reader_source.h"

#include <hosts/shared/settings.h>

#include <qel/imaging/pixels/image.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/task_queue.h>

#include <atomic>

namespace qelscreens {

/// Shared by the main thread and the worker, which writes everything before it sets isDone.
struct PictureLoader::Job {
    std::string path;
    qel::Image image;
    std::string problem;
    std::atomic<bool> isDone{false};
    std::atomic<bool> isWanted{true}; ///< false after another picture was asked for

    void run() {
        if (!isWanted) return;
        qel::Buffer content;
        problem = readFile(content, path, kMostPictureBytes);
        if (problem.empty() && !image.loadFromMemory(content))
            problem = "cannot decode " + qelhosts::inQuotes(path);
        isDone = true;
    }
};

PictureLoader::~PictureLoader() {
    dropPending();
}

/// Lets the worker pass over the picture that it has not begun to read.
void PictureLoader::dropPending() {
    if (m_pending) m_pending->isWanted = false;
    m_pending = nullptr;
}

void PictureLoader::load(const std::string& path) {
    auto job = std::make_shared<Job>();
    job->path = path;
    dropPending();
    m_pending = job;
    auto work = [job] { job->run(); };
    qel::Object::system()->getGlobalParallelQueue()->pushTask(
        new qel::TaskQueue::LambdaNoContextTask<decltype(work)>(work), 0);
}

bool PictureLoader::update() {
    if (!m_pending || !m_pending->isDone) return false;
    const std::shared_ptr<Job> job = std::move(m_pending);
    m_problem = job->problem;
    m_sprite = m_problem.empty() ? qel::Sprite::createFromImageSwap(job->image) : nullptr;
    return true;
}

} // namespace qelscreens
