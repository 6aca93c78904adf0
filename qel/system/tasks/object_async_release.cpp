// Releases an object on a worker, which only this unit can start.
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/timed_references.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/task_queue.h>

namespace qel {

void Object::decreaseReferenceCountAsyncOnParallel() {
    internal::addTimedReferenceParallel(this);
    auto release = [] { internal::removeAllTimedReferencesParallel(); };
    system()->getGlobalParallelQueue()->pushTask(new TaskQueue::LambdaNoContextTask(release), 0);
}

} // namespace qel
