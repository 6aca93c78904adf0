#include <qel/files/system_stream.h>

#include <qel/foundation/base/buffer.h>

#include <cstring>

namespace qel {

int SystemStream::readAll(Buffer& target) {
    Buffer piece;
    int result = kChunk;
    while ((result = read(piece)) == kChunk) {
        if (piece.empty()) continue;
        const size_t before = target.getSize();
        target.resizeExtraReserve(before + piece.getSize());
        std::memcpy(target.getBytePointer() + before, piece.getBytePointer(), piece.getSize());
    }
    return result;
}

} // namespace qel
