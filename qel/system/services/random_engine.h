// The generator of System's random numbers.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <random>

namespace qel {

/// A Mersenne Twister (Matsumoto and Nishimura, 1998) with 32-bit draws. Suitable for shuffling and for
/// identifiers, not for keys.
/// @threads any thread; one lock guards the generator.
class QEL_API RandomEngine {
public:
    /// Seeds with 32 bits of the machine's random source, or with the steady clock if that fails.
    RandomEngine();
    /// Seeds with @p seed, so that the draws are predictable.
    explicit RandomEngine(uint32 seed) : m_engine(seed) {}

    /// Returns the next 32 bits.
    uint32 draw();
    /// Returns the top 8 bits of a draw.
    uint8 drawByte();
    /// Returns the next 64 bits: two draws, the first one in the upper half.
    uint64 draw64();
    /// Fills @p size bytes: whole draws, lowest byte first, then the top 8 bits of one draw for each
    /// remaining byte.
    void fill(void* bytes, size_t size);

private:
    Mutex m_mutex;
    std::mt19937 m_engine QEL_GUARDED_BY(m_mutex);
};

} // namespace qel
