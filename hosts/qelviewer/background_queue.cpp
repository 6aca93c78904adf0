#include "background_queue.h"

#include <qel/system/core/system.h>

#include <utility>

namespace qelviewer {

namespace {

/// Serial, beside the workers that compute.
constexpr qel::TaskQueue::Type kType = qel::TaskQueue::kIOBit | qel::TaskQueue::kHighPriorityBit | 0x41;

void pushTo(qel::TaskQueue& queue, std::function<void()> run) {
    queue.pushTask(new qel::TaskQueue::LambdaNoContextTask<std::function<void()>>(std::move(run)), 0);
}

} // namespace

BackgroundQueue::BackgroundQueue() : m_isAlive(std::make_shared<bool>(true)), m_queue(kType) {}

BackgroundQueue::~BackgroundQueue() {
    *m_isAlive = false;
}

void BackgroundQueue::push(std::function<void()> work, std::function<void()> finish) {
    const auto finishIfAlive = [isAlive = m_isAlive, finish = std::move(finish)] {
        if (*isAlive && finish) finish();
    };
    pushTo(m_queue, [work = std::move(work), finishIfAlive] {
        work();
        pushTo(*qel::Object::system()->getGlobalMainQueue(), finishIfAlive);
    });
}

} // namespace qelviewer
