// The backend and the delivery of lines, which the logging mutex guards.
#include <qel/foundation/log/log_backend.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/log/console_p.h>
#include <qel/foundation/log/log_delivery_p.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/crash.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

#include <array>
#include <atomic>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace qel {

namespace {

constexpr unsigned kChannelCount = 2;
constexpr int kCustomerChannel = 1;

constexpr size_t kSupportBatchBytes = 262'144;
constexpr uint32 kSupportBatchAgeMs = 30 * 60 * 1000;
constexpr uint32 kSupportQuietMs = 3 * 60 * 1000;
constexpr uint32 kSupportIntervalMs = 60 * 60 * 1000;
constexpr uint32 kSupportNeverSentMs = 0u - 3 * kSupportIntervalMs;

uint32 readMilliseconds() {
    return static_cast<uint32>(Clock::current().steadyNanoseconds() / 1'000'000);
}

/// The lines of a channel that are waiting for the database log.
class MessageQueue {
public:
    void limit(size_t lines, size_t bytes) {
        m_maxLines = lines;
        m_maxBytes = bytes;
    }
    void push(int64 time, const std::string& line) {
        if (m_messages.size() >= m_maxLines || m_bytes + line.size() > m_maxBytes) {
            ++m_dropped;
            return;
        }
        noteDropped(time);
        append(time, line);
    }
    std::optional<LogMessage> take() {
        if (m_messages.empty()) noteDropped(System::getUTCDateTimeStatic());
        if (m_messages.empty()) return std::nullopt;
        std::optional<LogMessage> message = std::move(m_messages.front());
        m_messages.pop_front();
        m_bytes -= message->text.size();
        return message;
    }

private:
    void append(int64 time, const std::string& line) {
        m_bytes += line.size();
        m_messages.emplace_back(time, line);
    }
    /// Adds a line that reports missing lines.
    void noteDropped(int64 time) {
        if (m_dropped == 0) return;
        append(time, "[WARNING] dropped " + std::to_string(std::exchange(m_dropped, 0)) +
                         " lines that came faster than they were stored");
    }

    std::deque<LogMessage> m_messages;
    size_t m_maxLines = std::numeric_limits<size_t>::max();
    size_t m_maxBytes = std::numeric_limits<size_t>::max();
    size_t m_bytes = 0;
    uint64 m_dropped = 0;
};

/// The state of the backend.
struct Backend {
    Signal<void(int, const char*)> signalNewLogMessage;
    Signal<void(const char*)> signalNewSupportMessage;
    std::array<MessageQueue, kChannelCount> queues;
    bool keepMessages = false;
    uint32 firstSupportTime = 0;
    uint32 lastSupportTime = 0;
    uint32 lastSupportSendTime = kSupportNeverSentMs;
    String supportBuffer;
    uint32 startTime = readMilliseconds();

    uint32 millisecondsSinceStart() const { return readMilliseconds() - startTime; }

    void receive(int level, int channels, const std::string& line) {
        signalNewLogMessage(level, line.c_str());
        if (keepMessages) keep(channels, line);
        if (signalNewSupportMessage.isConnected() && line.find("[SUPPORT]") != std::string::npos) {
            collectForSupport(line);
        }
    }

    void keep(int channels, const std::string& line) {
        const int64 time = System::getUTCDateTimeStatic();
        for (unsigned i = 0; i < kChannelCount; ++i) {
            if ((channels >> i & 1) != 0) queues[i].push(time, line);
        }
    }

    void collectForSupport(const std::string& line) {
        const uint32 now = millisecondsSinceStart();
        if (supportBuffer.empty()) firstSupportTime = now;
        lastSupportTime = now;
        supportBuffer.append(System::getUTCDateTimeString()).append(1, ' ').append(line).append(1, '\n');
    }

    bool isSupportBatchDue(uint32 now) const {
        if (supportBuffer.size() > kSupportBatchBytes || now - firstSupportTime > kSupportBatchAgeMs)
            return true;
        return now - lastSupportTime > kSupportQuietMs && now - lastSupportSendTime > kSupportIntervalMs;
    }

    void sendSupportBatch() {
        const uint32 now = millisecondsSinceStart();
        if (supportBuffer.empty() || !isSupportBatchDue(now)) return;
        const String batch = std::exchange(supportBuffer, String());
        signalNewSupportMessage(batch.c_str());
        lastSupportSendTime = now;
    }
};

/// Held while a line is delivered; locked before System::getStdOutMutex().
constinit Mutex g_loggingMutex;
/// Only destroyed by unregisterBackend(), since threads may log while the process ends.
Backend* g_backend QEL_GUARDED_BY(g_loggingMutex) = nullptr;
/// True if a backend exists; readable without the mutex.
std::atomic<bool> g_hasBackend = false;
/// Set while this thread delivers a line: its listeners would deadlock if they logged.
thread_local bool t_isDelivering = false;

struct DeliveringScope {
    DeliveringScope() { t_isDelivering = true; }
    ~DeliveringScope() { t_isDelivering = false; }
};

Backend& makeBackendLocked() QEL_REQUIRES(g_loggingMutex) {
    if (!g_backend) g_backend = new Backend;
    g_hasBackend = true;
    return *g_backend;
}

bool isShownOnConsole(int level, std::string_view text) {
    if (!logging::g_hideVerboseOutputInConsole) return true;
    return level != 0 && text.find("[VERBOSE]") == std::string_view::npos;
}

} // namespace

namespace logging {

bool isDeliverable(int level) {
    return level != 0 || !g_hideVerboseOutputInConsole || g_hasBackend.load(std::memory_order_relaxed);
}

void deliverLine(int level, int channels, const LineBuilder& line) {
    if (t_isDelivering) return;
    platform::rememberLogLine(line.line()); // first, so that a crash in a listener shows the line too
    const bool isShown = isShownOnConsole(level, line.text());
    const MutexLock lock(g_loggingMutex);
    const DeliveringScope delivering;
    if (isShown) {
        std::optional<ConsoleTime> time;
        if (g_backend && !g_hideTimeInConsole)
            time.emplace(g_backend->millisecondsSinceStart(), (channels & kCustomerChannel) != 0);
        writeToConsole({level, channels, time ? time->text() : std::string_view(), line.line()});
    }
    if (g_backend) g_backend->receive(level, channels, line.line());
}

} // namespace logging

void LogBackend::registerBackend(bool keepMessages) {
    const MutexLock lock(g_loggingMutex);
    makeBackendLocked().keepMessages = keepMessages;
}

void LogBackend::limitMessages(size_t lines, size_t bytes) {
    const MutexLock lock(g_loggingMutex);
    for (MessageQueue& queue : makeBackendLocked().queues) queue.limit(lines, bytes);
}

void LogBackend::unregisterBackend() {
    std::unique_ptr<Backend> ended; // destroyed without the mutex: objects that listeners own may log
    const MutexLock lock(g_loggingMutex);
    ended.reset(std::exchange(g_backend, nullptr));
    g_hasBackend = false;
}

Signal<void(int, const char*)>& LogBackend::getSignalNewLogMessage() {
    const MutexLock lock(g_loggingMutex);
    return makeBackendLocked().signalNewLogMessage;
}

Signal<void(const char*)>& LogBackend::getSignalNewSupportMessage() {
    const MutexLock lock(g_loggingMutex);
    return makeBackendLocked().signalNewSupportMessage;
}

void LogBackend::processSupportMessages() {
    const MutexLock lock(g_loggingMutex);
    const DeliveringScope delivering;
    if (g_backend) g_backend->sendSupportBatch();
}

std::optional<LogMessage> LogBackend::takeMessage(unsigned channelIndex) {
    const MutexLock lock(g_loggingMutex);
    if (!g_backend || channelIndex >= kChannelCount) return std::nullopt;
    return g_backend->queues[channelIndex].take();
}

} // namespace qel
