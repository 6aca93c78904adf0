// The random numbers and the shared mutexes of System.
#include <qel/system/core/system.h>

#include <qel/system/services/random_engine.h>

namespace qel {

uint32 System::randomUInt() {
    return m_randomEngine->draw();
}

uint8 System::randomUChar() {
    return m_randomEngine->drawByte();
}

uint64 System::randomULong() {
    return m_randomEngine->draw64();
}

uint32 System::randomUIntRange(uint32 lo, uint32 hi) {
    const uint32 draw = randomUInt();
    const uint32 count = hi - lo + 1;
    return lo + (count ? draw % count : draw); // a count of 2^32 wraps to 0: then every draw is in range
}

void System::randomBytes(void* bytes, size_t size) {
    m_randomEngine->fill(bytes, size);
}

void System::secureRandomBytes(void* bytes, size_t size) {
    randomBytes(bytes, size);
}

Mutex& System::accessHashedMutex(uint32 key) {
    const uint32 folded = key ^ (key >> 16);
    return m_hashedMutexes[(folded ^ (folded >> 8)) & 255];
}

} // namespace qel
