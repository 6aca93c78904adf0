// The library's one form of compression: whole contents as single zstd frames.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <optional>

namespace qel::util {

/// Returns the content size that a zstd frame states in its header.
/// @return nothing if the bytes are not a zstd frame or the frame states no size; an empty frame states 0.
/// @threads any thread, as all functions here.
QEL_API std::optional<uint64> getCompressedContentSize(ConstByteSpan frame);

/// Compresses a whole content into one zstd frame at level 3, with the content size in its header.
/// @param out  receives the frame; must not be the memory that @p content views.
/// @return false if zstd reports an error; @p out is then empty.
QEL_API bool compress(ConstByteSpan content, Buffer& out);

/// Decompresses frames to exactly the size that the first one states. The stated size is not trusted: memory
/// grows with the decompressed data, so that a small hostile frame can't make it allocate much.
/// @param out  receives the content, with a capacity of exactly its size; untouched on failure.
/// @return false if no size is stated, or the data are damaged or hold more or fewer bytes than stated.
QEL_API bool decompress(ConstByteSpan frame, Buffer& out);

} // namespace qel::util
