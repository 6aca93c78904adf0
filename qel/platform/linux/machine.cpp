#include <qel/platform/linux/proc_file_p.h>
#include <qel/platform/machine.h>
#include <qel/platform/seams_p.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include <unistd.h>

namespace qel::platform {

namespace {

constexpr std::uint64_t kKiB = 1024;

/// Set by a test; 0 for the machine's own number.
constinit std::atomic<std::uint32_t> g_processorCount{0};

/// The columns of the first line of /proc/stat, in order. The time of guests is included in user and nice.
enum StatColumn { kUser, kNice, kSystem, kIdle, kIoWait, kIrq, kSoftIrq, kSteal, kStatColumns };

std::uint64_t systemValue(int name) {
    const long value = sysconf(name);
    return value > 0 ? static_cast<std::uint64_t>(value) : 0;
}

std::int64_t clockTicksToUnits(std::uint64_t clockTicks) {
    constexpr std::uint64_t kUnitsPerSecond = 10'000'000;
    return static_cast<std::int64_t>(
        clockTicks * (kUnitsPerSecond / std::max<std::uint64_t>(1, systemValue(_SC_CLK_TCK))));
}

} // namespace

std::uint32_t pageSize() {
    return static_cast<std::uint32_t>(systemValue(_SC_PAGESIZE));
}

std::uint32_t processorCount() {
    const std::uint32_t replaced = g_processorCount.load(std::memory_order_relaxed);
    return replaced != 0 ? replaced : std::max(1u, std::thread::hardware_concurrency());
}

void setProcessorCount(std::uint32_t count) {
    g_processorCount.store(count, std::memory_order_relaxed);
}

std::uint64_t physicalMemorySize() {
    return systemValue(_SC_PHYS_PAGES) * systemValue(_SC_PAGESIZE);
}

std::uint64_t freeMemorySize() {
    return procField(readProcFile("/proc/meminfo"), "MemAvailable:").value_or(0) * kKiB;
}

bool readCpuTimes(CpuTimes& times) {
    constexpr std::string_view kLabel = "cpu ";
    const std::string content = readProcFile("/proc/stat");
    if (!content.starts_with(kLabel)) return false;
    std::string_view text = std::string_view(content).substr(kLabel.size());
    std::array<std::uint64_t, kStatColumns> column{};
    for (std::uint64_t& value : column) {
        const auto number = takeNumber(text);
        if (!number) return false;
        value = *number;
    }
    const std::uint64_t idle = column[kIdle] + column[kIoWait];
    const std::uint64_t kernel = idle + column[kSystem] + column[kIrq] + column[kSoftIrq] + column[kSteal];
    times = {clockTicksToUnits(idle), clockTicksToUnits(kernel),
             clockTicksToUnits(column[kUser] + column[kNice])};
    return true;
}

bool readProcessMemory(ProcessMemory& memory) {
    const std::string status = readProcFile("/proc/self/status");
    const auto resident = procField(status, "VmRSS:");
    const auto anonymous = procField(status, "RssAnon:");
    const auto swapped = procField(status, "VmSwap:");
    if (!resident || !anonymous || !swapped) return false;
    memory = {*resident * kKiB, (*anonymous + *swapped) * kKiB};
    return true;
}

} // namespace qel::platform
