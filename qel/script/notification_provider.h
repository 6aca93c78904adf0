// NotificationProvider: base class of the providers of push notifications.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/script/notification_message.h>
#include <qel/store/core/guid.h>
#include <qel/system/tasks/task_queue.h>

#include <atomic>
#include <functional>

namespace qel {

/// Base class of a host's connection to a push notification service. It keeps the settings of the connection,
/// runs work on the main thread, and delivers messages. The derived class defines what the settings mean.
/// @threads main thread, unless stated otherwise.
class QEL_API NotificationProvider : public Object {
    QEL_CLASS(NotificationProvider, Object)

public:
    /// Receives a new message.
    using MessageFunction = std::function<void(NotificationMessage*)>;

    /// Creates a provider that passes its messages to @p function.
    /// @param function  called with every new message; it may release the last SmartPointer to the provider.
    ///                  If empty, System::delegateDeliverNotification is called instead.
    explicit NotificationProvider(MessageFunction function = {});
    NotificationProvider(const NotificationProvider&) = delete;
    NotificationProvider& operator=(const NotificationProvider&) = delete;
    /// Drops the work that is still waiting.
    ~NotificationProvider() override;

    /// Stores the settings and calls performConnect(); null clears a field.
    /// @param parameters  JSON text.
    /// @return the result of performConnect().
    String connect(const char* parameters, const char* a, const char* b, const char* c, const char* d,
                   int32 first, int32 second, int32 third);
    /// Calls performRemoveToken() in the next pass. @threads any thread.
    void performRemoveTokenOnMainQueue(const GUID& a, const GUID& b);
    /// Asks work in progress to end early. @threads any thread.
    void stop() { m_stopped.store(true, std::memory_order_relaxed); }
    /// Returns true if stop() was called. @threads any thread.
    bool isStopped() const { return m_stopped.load(std::memory_order_relaxed); }

protected:
    /// Connects with the stored settings. @return the result of connect().
    virtual String performConnect() = 0;
    /// Removes the token identified by @p a and @p b from the service.
    virtual void performRemoveToken(const GUID& a, const GUID& b) = 0;

    /// Delivers @p message in the next pass. @threads any thread.
    void deliver(SmartPointer<NotificationMessage> message);
    /// Runs @p work on the main thread in the next pass, unless the provider is destroyed before that.
    /// @threads any thread.
    void runOnMainQueue(std::function<void()> work);

    /// The settings of the connection, as passed to connect().
    struct Settings {
        String parameters; ///< JSON text
        String a;          ///< first string
        String b;          ///< second string
        String c;          ///< third string
        String d;          ///< fourth string
        int32 first = 1;   ///< first number
        int32 second = 1;  ///< second number
        int32 third = 0;   ///< third number
    };
    /// Returns the stored settings.
    const Settings& settings() const { return m_settings; }

private:
    MessageFunction m_function;
    std::atomic<bool> m_stopped{false};
    Settings m_settings;
    TaskQueue m_queue{TaskQueue::kMain}; // last, because the tasks that it drops may use the other members
};

} // namespace qel
