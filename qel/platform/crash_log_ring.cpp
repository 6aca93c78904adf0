// The last log lines, kept for the dump of a crash.
#include <qel/platform/crash.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

namespace qel::platform {

namespace {

constexpr std::size_t kLines = 64;
constexpr std::size_t kWords = 31;
constexpr std::size_t kMostBytes = kWords * sizeof(std::uint64_t);
constexpr std::uint64_t kBeingWritten = ~std::uint64_t{0};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "used in a signal handler");

/// One line. It is complete if stamp holds the number of the line both before and after the rest was read.
struct Slot {
    std::atomic<std::uint64_t> stamp{0}; // number of the line plus 1; 0 when empty
    std::atomic<std::uint64_t> size{0};
    std::array<std::atomic<std::uint64_t>, kWords> words{};
};

std::array<Slot, kLines> g_slots;
std::atomic<std::uint64_t> g_next{0};

void store(Slot& slot, std::string_view line) {
    slot.size.store(line.size(), std::memory_order_relaxed);
    std::uint64_t bytes = 0;
    std::size_t word = 0;
    for (; line.size() >= sizeof bytes; line.remove_prefix(sizeof bytes), ++word) {
        std::memcpy(&bytes, line.data(), sizeof bytes);
        slot.words[word].store(bytes, std::memory_order_relaxed);
    }
    if (line.empty()) return;
    bytes = 0;
    std::memcpy(&bytes, line.data(), line.size());
    slot.words[word].store(bytes, std::memory_order_relaxed);
}

/// Copies the line numbered @p number. @return its size, or 0 if it is not there or not complete.
std::size_t load(const Slot& slot, std::uint64_t number, std::array<std::uint64_t, kWords>& bytes) {
    if (slot.stamp.load(std::memory_order_acquire) != number + 1) return 0;
    const std::uint64_t size = std::min<std::uint64_t>(slot.size.load(std::memory_order_relaxed), kMostBytes);
    for (std::size_t word = 0; word < kWords; ++word) {
        bytes[word] = slot.words[word].load(std::memory_order_relaxed);
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    return slot.stamp.load(std::memory_order_relaxed) == number + 1 ? size : 0;
}

} // namespace

void rememberLogLine(std::string_view line) noexcept {
    const std::uint64_t number = g_next.fetch_add(1, std::memory_order_relaxed);
    Slot& slot = g_slots[number % kLines];
    if (slot.stamp.exchange(kBeingWritten, std::memory_order_acquire) == kBeingWritten) return;
    std::atomic_thread_fence(std::memory_order_release);
    store(slot, line.substr(0, kMostBytes));
    slot.stamp.store(number + 1, std::memory_order_release);
}

void writeRememberedLogLines(CrashWriter& out) {
    const std::uint64_t end = g_next.load(std::memory_order_acquire);
    std::array<std::uint64_t, kWords> bytes;
    for (std::uint64_t number = end > kLines ? end - kLines : 0; number < end; ++number) {
        const std::size_t size = load(g_slots[number % kLines], number, bytes);
        if (size == 0) continue;
        out.text("  ").line({reinterpret_cast<const char*>(bytes.data()), size}).text("\n");
    }
}

} // namespace qel::platform
