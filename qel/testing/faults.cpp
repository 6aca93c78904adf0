#include <qel/testing/faults.h>

#include <qel/platform/seams_p.h>

#include <atomic>

namespace qel::seams {

namespace {

std::atomic<Faults*> g_faults{nullptr};

std::error_code askFaults(platform::Operation operation, std::size_t& size) {
    Faults* const faults = g_faults.load(std::memory_order_acquire);
    return faults ? faults->before(operation, size) : std::error_code();
}

} // namespace

void setFaults(Faults* faults) {
    g_faults.store(faults, std::memory_order_release);
    platform::setFaultFunction(faults ? &askFaults : nullptr);
}

std::error_code forcedFault(platform::Operation operation, std::size_t& size) {
    return platform::forcedFault(operation, size);
}

} // namespace qel::seams
