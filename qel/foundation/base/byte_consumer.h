// ByteConsumer: an abstract sink for bytes, and the sink that hashes them.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// What is known about a piece of a byte stream.
enum class StreamType : int {
    /// Nothing is known.
    Plain = 0,
    /// The piece is likely to compress well.
    Compressible = 1,
};

/// A sink that takes bytes piece by piece.
class QEL_API ByteConsumer {
public:
    virtual ~ByteConsumer();
    /// Takes the next @p size bytes; they are only valid during the call.
    virtual void process(StreamType type, const uint8* data, unsigned size) = 0;
};

/// Hashes and counts the bytes that pass by; the type of a piece does not matter. One object per stream.
class QEL_API HashCRC32C : public ByteConsumer {
public:
    void process(StreamType type, const uint8* data, unsigned size) override;

    /// CRC-32C of the bytes so far, as util::crc32c() with seed 0.
    uint32 crc = 0;
    /// Number of bytes so far, modulo 2^32.
    uint32 byteCount = 0;
};

} // namespace qel
