// CRC-32C, the checksum of packets and self-checking texts.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel::util {

/// CRC-32C (Castagnoli, reflected polynomial 0x82F63B78) of @p n bytes, continued from @p seed.
///
/// The result is ~extend(~seed, in, n), where extend(crc, ...) is the usual update that takes and returns
/// finished checksums: extend(0, "123456789") is 0xE3069283, the published check value. So the seed -1 starts
/// as usual and returns the complement of the usual checksum, and passing a result as the seed continues it.
/// @threads any thread.
QEL_API uint32 crc32c(uint32 seed, const uint8* in, size_t n);

} // namespace qel::util
