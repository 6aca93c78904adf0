// Reads any bytes as a compressed file, and compresses them.
#include <fuzz/require.h>
#include <qel/foundation/base/compression.h>

using qel::Buffer;
using qel::uint8;

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    const qel::ConstByteSpan bytes(data, size);
    Buffer content;
    const auto stated = qel::util::getCompressedContentSize(bytes);
    // A bomb is valid content, but would exceed the memory of the fuzzer.
    const bool isTried = !stated || *stated <= (size_t{64} << 20) || *stated > (qel::uint64{1} << 40);
    if (isTried && qel::util::decompress(bytes, content)) {
        require(stated && content.getSize() == *stated);
        require(content.getReservedSize() == content.getSize());
    } else {
        require(content.empty());
    }
    Buffer frame;
    require(qel::util::compress(bytes, frame));
    require(qel::util::getCompressedContentSize(frame) == size);
    require(qel::util::decompress(frame, content));
    require(content == Buffer(data, size));
    return 0;
}
