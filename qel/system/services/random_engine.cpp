#include <qel/system/services/random_engine.h>

#include <qel/platform/clock.h>
#include <qel/platform/random_device.h>

#include <cstddef>
#include <span>

namespace qel {

namespace {

uint32 seedFromMachine() {
    uint32 seed = 0;
    if (platform::fillRandom(std::as_writable_bytes(std::span(&seed, 1)))) return seed;
    return static_cast<uint32>(platform::steadyNanoseconds());
}

} // namespace

RandomEngine::RandomEngine() : RandomEngine(seedFromMachine()) {}

uint32 RandomEngine::draw() {
    const MutexLock lock(m_mutex);
    return static_cast<uint32>(m_engine());
}

uint64 RandomEngine::draw64() {
    const uint64 high = draw();
    return high << 32 | draw();
}

uint8 RandomEngine::drawByte() {
    return static_cast<uint8>(draw() >> 24);
}

void RandomEngine::fill(void* bytes, size_t size) {
    auto* at = static_cast<uint8*>(bytes);
    for (; size >= 4; size -= 4) {
        const uint32 word = draw();
        for (int shift = 0; shift < 32; shift += 8) *at++ = static_cast<uint8>(word >> shift);
    }
    for (; size > 0; --size) *at++ = drawByte();
}

} // namespace qel
