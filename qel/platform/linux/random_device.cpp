#include <qel/platform/random_device.h>

#include <qel/platform/linux/file_system_p.h>

#include <atomic>

#include <sys/random.h>

namespace qel::platform {

namespace {

bool fillFromKernel(std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        ssize_t count = 0;
        std::size_t size = bytes.size();
        const FileError error =
            perform(Operation::ReadRandom, size, [&] { return count = getrandom(bytes.data(), size, 0); });
        if (error) return false;
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
