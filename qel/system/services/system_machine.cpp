// Facts that System reports about the machine and this process.
#include <qel/system/core/system.h>

#include <qel/platform/machine.h>
#include <qel/platform/process_self.h>
#include <qel/platform/system_error.h>
#include <qel/system/core/clock.h>

#include <algorithm>

namespace qel {

namespace {

/// Indices in the sample that System keeps.
enum CpuTime { kIdle, kKernel, kUser };

/// Returns the share of time that was not idle between two samples, or -1 if they do not show it.
float busyShare(const Vector<uint64>& before, const Vector<uint64>& now) {
    if (before.empty() || now[kIdle] < before[kIdle] || now[kKernel] < before[kKernel] ||
        now[kUser] <= before[kUser])
        return -1.0f;
    const auto idle = static_cast<double>(now[kIdle] - before[kIdle]);
    const auto total = static_cast<double>(now[kKernel] - before[kKernel] + now[kUser] - before[kUser]);
    return static_cast<float>(std::clamp((total - idle) / total, 0.0, 1.0)); // kernel time includes idle time
}

} // namespace

uint64 System::getFreeMemory() const {
    return platform::freeMemorySize();
}

uint64 System::getFreeVirtualMemory() const {
    return 0x10000000;
}

float System::getCPUUsagePercent() {
    platform::CpuTimes times;
    if (!platform::readCpuTimes(times)) return -1.0f;
    Vector<uint64> now{static_cast<uint64>(times.idle), static_cast<uint64>(times.kernel),
                       static_cast<uint64>(times.user)};
    const float share = busyShare(m_lastCpuTimes, now);
    m_lastCpuTimes = std::move(now);
    return share;
}

unsigned System::getProcessID() const {
    return platform::processId();
}

bool System::isUserAdmin() {
    return platform::isAdministrator();
}

bool System::getElevationType(int* type) {
    if (!type) return false;
    *type = static_cast<int>(platform::elevation());
    return true;
}

int64 System::getLastSysCallErrorCode() {
    return platform::lastErrorCode();
}

String System::getLastSysCallErrorMessage() {
    return platform::errorText(platform::lastErrorCode());
}

String System::getErrorMessageFromCode(int64 code) {
    return platform::errorText(code);
}

void System::breakPoint() {
    platform::breakPoint();
}

void System::sleep(unsigned milliseconds) {
    Clock::current().sleep(milliseconds);
}

void System::disableOperatingSystemErrorReporting() {
    platform::disableCoreImages();
}

} // namespace qel
