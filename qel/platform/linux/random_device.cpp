#include <qel/platform/random_device.h>

#include <qel/platform/seams_p.h>

#include <atomic>
#include <cerrno>

#include <sys/random.h>

namespace qel::platform {

namespace {

bool fillFromKernel(std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = getrandom(bytes.data(), bytes.size(), 0);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

std::atomic<RandomFunction> g_random{&fillFromKernel};

} // namespace

bool fillRandom(std::span<std::byte> bytes) {
    return g_random.load()(bytes);
}

void setRandomFunction(RandomFunction function) {
    g_random.store(function ? function : &fillFromKernel);
}

} // namespace qel::platform
