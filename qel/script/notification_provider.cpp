#include <qel/script/notification_provider.h>

#include <qel/system/core/system.h>

#include <utility>

namespace qel {

NotificationProvider::NotificationProvider(MessageFunction function) : m_function(std::move(function)) {}

NotificationProvider::~NotificationProvider() = default;

String NotificationProvider::connect(const char* parameters, const char* a, const char* b, const char* c,
                                     const char* d, int32 first, int32 second, int32 third) {
    m_settings = {parameters, a, b, c, d, first, second, third};
    return performConnect();
}

void NotificationProvider::performRemoveTokenOnMainQueue(const GUID& a, const GUID& b) {
    runOnMainQueue([this, a, b] { performRemoveToken(a, b); });
}

void NotificationProvider::deliver(SmartPointer<NotificationMessage> message) {
    runOnMainQueue([this, message = std::move(message)] {
        if (m_function)
            m_function(message.get());
        else
            system()->delegateDeliverNotification(message.get());
    });
}

void NotificationProvider::runOnMainQueue(std::function<void()> work) {
    auto run = [this, work = std::move(work)] {
        // The work may release this object, whose queue must stay alive until the work returns.
        if (getReferenceCount() > 0) takeTimedReference();
        work();
    };
    m_queue.pushTask(new TaskQueue::LambdaNoContextTask(std::move(run)), 0);
}

} // namespace qel
