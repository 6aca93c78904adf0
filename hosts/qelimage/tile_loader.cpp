#include "tile_loader.h"

#include <qel/system/core/system.h>
#include <qel/system/tasks/task_queue.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace qelimage {

namespace {

constexpr auto kProgressInterval = std::chrono::milliseconds(100);

/// The files of a page, and their tiles as far as they are done.
struct Batch {
    std::string folder;
    std::vector<std::string> names;
    std::vector<Tile> tiles;

    std::mutex mutex;
    std::condition_variable changed;
    size_t done = 0; ///< number of files; guarded by the mutex

    /// Makes the tile of a file, unless the program is being interrupted.
    void run(size_t index) {
        if (!qel::System::wasInterruptHandlerCalled()) tiles[index] = makeTile(folder, names[index]);
        const std::lock_guard lock(mutex);
        ++done;
        changed.notify_one();
    }
    /// Waits for a while. @return the number of files that are done.
    size_t wait() {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, kProgressInterval, [this] { return done == names.size(); });
        return done;
    }
};

} // namespace

std::vector<Tile> loadTiles(const std::string& folder, std::span<const std::string> names,
                            const std::function<void(size_t done)>& onProgress) {
    const auto batch = std::make_shared<Batch>();
    batch->folder = folder;
    batch->names.assign(names.begin(), names.end());
    batch->tiles.resize(names.size());
    const auto run = [batch](qel::TaskContext& context) {
        batch->run(batch->names.size() - 1 - context.getIndex());
    };
    const qel::SmartPointer<qel::TaskQueue::Task> task(new qel::TaskQueue::LambdaTask(run));
    qel::Object::system()->getGlobalParallelQueue()->pushTaskN(static_cast<unsigned>(names.size()),
                                                               task.get(), 0);
    size_t done = 0;
    while (done < names.size()) {
        done = batch->wait();
        onProgress(done);
    }
    return std::move(batch->tiles);
}

} // namespace qelimage
