#include "watchdog.h"

#include <hosts/shared/command_line.h>
#include <hosts/shared/standard_output.h>
#include <qel/system/core/system.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace qelhost {

namespace {

constexpr auto kLookEvery = std::chrono::milliseconds(50);
constexpr auto kPatience = std::chrono::milliseconds(850);

/// Waits for at most @p time. @return true if the host has ended.
bool waitForEnd(const std::stop_token& end, std::chrono::milliseconds time) {
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any condition;
    return condition.wait_for(lock, end, time, [&end] { return end.stop_requested(); });
}

void watch(const std::stop_token& end) {
    while (!qel::System::wasInterruptHandlerCalled()) {
        if (waitForEnd(end, kLookEvery)) return;
    }
    if (waitForEnd(end, kPatience)) return;
    qelhosts::complain("qelhost", "a script does not end; the program was ended by force");
    qel::System::forceExitProcess(qelhosts::kInterruptedStatus);
}

} // namespace

Watchdog::Watchdog() : m_thread([](const std::stop_token& end) { watch(end); }) {}

} // namespace qelhost
