#include "file_work.h"

#include <qel/files/file.h>
#include <qel/files/file_stream.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/compression.h>
#include <qel/foundation/base/crc32c.h>

namespace qelworker {

namespace {

constexpr const char* kEnded = "the worker was told to end";

qel::String cannot(const char* action, const qel::String& path) {
    return qel::String("cannot ") + action + " '" + path + "'";
}

qel::String asHex(qel::uint32 value) {
    qel::uint8 bytes[4];
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<qel::uint8>(value >> (24 - 8 * i));
    return qel::String::encodeBase16fromBuffer(bytes, sizeof bytes);
}

/// Adds "hash", the CRC-32C of the content as eight hexadecimal digits.
qel::String hash(const qel::String& path, const qel::String&, const Advance& advance, qel::Item& fields) {
    qel::SmartPointer<qel::FileStream> stream(new qel::FileStream(path.c_str(), true));
    qel::uint32 state = ~qel::uint32{0};
    for (;;) {
        qel::Buffer piece;
        const int outcome = stream->read(piece);
        if (outcome == qel::SystemStream::kFailed) return cannot("read", path);
        if (outcome == qel::SystemStream::kEnd) break;
        state = qel::util::crc32c(state, piece.getBytePointer(), piece.getSize());
        if (!advance(piece.getSize())) return kEnded;
    }
    fields.add("hash").add(asHex(~state));
    return {};
}

/// Writes a file under another name first, so that its own name always stands for a whole one.
bool writeWhole(const qel::String& path, const qel::String& mark, const qel::Buffer& content) {
    const qel::String unfinished = path + "." + mark + ".part";
    const bool isWhole = qel::File::writeFile(unfinished, content.getConstByteSpan()) &&
                         qel::File::getFileSize(unfinished) == content.getSize();
    if (isWhole && qel::File::moveFile(unfinished, path)) return true;
    qel::File::deleteFile(unfinished, true);
    return false;
}

/// Writes the file beside itself as one zstd frame, with the extension ".zst". Adds "output" and
/// "compressed", the path and the size of that.
qel::String compress(const qel::String& path, const qel::String& mark, const Advance& advance,
                     qel::Item& fields) {
    qel::Buffer content;
    if (!content.loadFromFile(path.c_str(), false, false)) return cannot("read", path);
    const size_t half = content.getSize() / 2;
    if (!advance(half)) return kEnded;
    qel::Buffer frame;
    if (!qel::util::compress(content.getConstByteSpan(), frame)) return cannot("compress", path);
    if (!advance(content.getSize() - half)) return kEnded;
    const qel::String output = path + ".zst";
    if (!writeWhole(output, mark, frame)) return cannot("write", output);
    fields.add("output").add(output).add("compressed").add(frame.getSize());
    return {};
}

} // namespace

FileWork workOfKind(const qel::String& kind) {
    if (kind == "hash") return &hash;
    if (kind == "compress") return &compress;
    return nullptr;
}

} // namespace qelworker
