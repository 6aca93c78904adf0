#include <qel/platform/seams_p.h>

#include <algorithm>
#include <array>
#include <atomic>

namespace qel::platform {

namespace {

std::atomic<FaultFunction> g_faults{nullptr};

constexpr std::array<const char*, kOperationCount> kNames{
    "Open",    "Read",     "Write",    "Sync",       "Close",      "Rename",     "Remove",     "SetSize",
    "SetMode", "SetOwner", "SetTime",  "ReadStatus", "ReadFolder", "MakeFolder", "MakeLink",   "ReadLink",
    "Map",     "Lock",     "MakePipe", "Spawn",      "Wait",       "MakeSocket", "Bind",       "Listen",
    "Accept",  "Connect",  "Send",     "Receive",    "ReadPeer",   "ReadAccess", "ReadRandom", "StartThread"};
static_assert(kNames.back() != nullptr);

} // namespace

const char* operationName(Operation operation) {
    return kNames.at(static_cast<std::size_t>(operation));
}

void setFaultFunction(FaultFunction function) {
    g_faults.store(function, std::memory_order_release);
}

FileError forcedFault(Operation operation, std::size_t& size) {
    const FaultFunction faults = g_faults.load(std::memory_order_acquire);
    if (!faults) return {};
    const std::size_t asked = size;
    FileError error;
    do error = faults(operation, size);
    while (error == std::errc::interrupted);
    if (asked > 0) size = std::clamp<std::size_t>(size, 1, asked);
    return error;
}

FileError forcedFault(Operation operation) {
    std::size_t none = 0;
    return forcedFault(operation, none);
}

} // namespace qel::platform
