#include "file_work.h"

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/compression.h>
#include <qel/foundation/base/crc32c.h>

namespace qelworker {

namespace {

constexpr const char* kStopped = "the worker was asked to stop";
constexpr const char* kExtension = ".zst";
constexpr qel::uint64 kMostCompressedBytes = qel::uint64{2} << 30; // the whole file is held in memory

qel::String cannot(const char* action, const qel::String& path) {
    return qel::String("cannot ") + action + " '" + path + "'";
}

qel::String asHex(qel::uint32 value) {
    qel::uint8 bytes[4];
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<qel::uint8>(value >> (24 - 8 * i));
    return qel::String::encodeBase16fromBuffer(bytes, sizeof bytes);
}

/// Adds "hash", the CRC-32C of the content as eight hexadecimal digits.
qel::String hash(const qel::String& path, JobFile& file, const Advance& advance, qel::Item& fields) {
    qel::uint32 state = ~qel::uint32{0};
    for (qel::Buffer piece;;) {
        if (!file.readPiece(piece)) return cannot("read", path);
        if (piece.empty()) break;
        state = qel::util::crc32c(state, piece.getBytePointer(), piece.getSize());
        if (!advance(piece.getSize())) return kStopped;
    }
    fields.add("hash").add(asHex(~state));
    return {};
}

/// Reads the whole file. @return why it can't be read; empty if it was.
qel::String readWhole(const qel::String& path, JobFile& file, const Advance& advance, qel::Buffer& content) {
    if (file.size() > kMostCompressedBytes) return cannot("compress", path) + ": it is too large";
    content.reserveTotal(static_cast<size_t>(file.size()));
    for (qel::Buffer piece;;) {
        if (!file.readPiece(piece)) return cannot("read", path);
        if (piece.empty()) return {};
        if (content.getSize() + piece.getSize() > kMostCompressedBytes) return cannot("read", path);
        content.append(piece);
        if (!advance(piece.getSize())) return kStopped;
    }
}

/// Writes the content as one zstd frame to a file beside the original, with the extension ".zst". Adds
/// "output", the path of that file, and "compressed", its size.
qel::String compress(const qel::String& path, JobFile& file, const Advance& advance, qel::Item& fields) {
    qel::Buffer content;
    if (qel::String error = readWhole(path, file, advance, content); !error.empty()) return error;
    qel::Buffer frame;
    if (!qel::util::compress(content.getConstByteSpan(), frame)) return cannot("compress", path);
    if (!advance(0)) return kStopped;
    if (qel::String error = file.createBeside(kExtension, frame); !error.empty()) return error;
    fields.add("output").add(path + kExtension).add("compressed").add(frame.getSize());
    return {};
}

} // namespace

FileWork workOfKind(const qel::String& kind) {
    if (kind == "hash") return &hash;
    if (kind == "compress") return &compress;
    return nullptr;
}

} // namespace qelworker
