#include <qel/foundation/base/crc32c.h>

#include <algorithm>
#include <cstddef>

#include <isa-l/crc.h>

namespace qel::util {

uint32 crc32c(uint32 seed, const uint8* in, size_t n) {
    constexpr size_t kMaxPiece = size_t{1} << 30; // the library takes an int
    // The library works on the bare register, without the inversions before and after; they cancel out
    // against those of this form.
    while (n != 0) {
        const size_t piece = std::min(n, kMaxPiece);
        seed = crc32_iscsi(const_cast<uint8*>(in), static_cast<int>(piece), seed);
        in += piece;
        n -= piece;
    }
    return seed;
}

} // namespace qel::util
