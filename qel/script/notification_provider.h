// NotificationProvider: what the providers of push notifications have in common.
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

/// Base of a host's connection to a service of push notifications: it keeps the settings of the connection,
/// runs work on the main thread, and delivers messages. What the settings mean is the derived class's.
/// @threads main thread, unless told otherwise.
class QEL_API NotificationProvider : public Object {
    QEL_CLASS(NotificationProvider, Object)

public:
    /// Takes a new message.
    using MessageFunction = std::function<void(NotificationMessage*)>;

    /// @param function  gets every new message, and may let go of the provider that others hold by a
    ///                  SmartPointer; empty for System::delegateDeliverNotification.
    explicit NotificationProvider(MessageFunction function = {});
    NotificationProvider(const NotificationProvider&) = delete;
    NotificationProvider& operator=(const NotificationProvider&) = delete;
    /// Drops the work that waits.
    ~NotificationProvider() override;

    /// Stores the settings and connects by performConnect(); null clears a field.
    /// @param parameters  JSON text.
    /// @return what performConnect() says.
    String connect(const char* parameters, const char* a, const char* b, const char* c, const char* d,
                   int32 first, int32 second, int32 third);
    /// Has performRemoveToken() called in the next pass. @threads any thread.
    void performRemoveTokenOnMainQueue(const GUID& a, const GUID& b);
    /// Tells work in progress to end early. @threads any thread.
    void stop() { m_stopped.store(true, std::memory_order_relaxed); }
    /// Whether stop() was called. @threads any thread.
    bool isStopped() const { return m_stopped.load(std::memory_order_relaxed); }

protected:
    /// Connects by the settings stored. @return a text for the caller of connect().
    virtual String performConnect() = 0;
    /// Makes the service forget the token that two identifiers name.
    virtual void performRemoveToken(const GUID& a, const GUID& b) = 0;

    /// Delivers @p message in the next pass. @threads any thread.
    void deliver(SmartPointer<NotificationMessage> message);
    /// Runs @p work on the main thread in the next pass; dropped when the provider dies before.
    /// @threads any thread.
    void runOnMainQueue(std::function<void()> work);

    /// The settings of the connection, as connect() was given them.
    struct Settings {
        String parameters; ///< JSON text
        String a;          ///< first text
        String b;          ///< second text
        String c;          ///< third text
        String d;          ///< fourth text
        int32 first = 1;   ///< first number
        int32 second = 1;  ///< second number
        int32 third = 0;   ///< third number
    };
    /// The settings stored.
    const Settings& settings() const { return m_settings; }

private:
    MessageFunction m_function;
    std::atomic<bool> m_stopped{false};
    Settings m_settings;
    TaskQueue m_queue{TaskQueue::kMain}; // last: what it drops may use the rest
};

} // namespace qel
