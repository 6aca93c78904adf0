#include <qel/foundation/base/byte_consumer.h>

#include <qel/foundation/base/crc32c.h>

namespace qel {

ByteConsumer::~ByteConsumer() = default;

void HashCRC32C::process(StreamType, const uint8* data, unsigned size) {
    crc = util::crc32c(crc, data, size);
    byteCount += size;
}

} // namespace qel
