// Fixed-width integer names used throughout the library.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qel {

using int8 = std::int8_t;     ///< Signed, 8 bits.
using int16 = std::int16_t;   ///< Signed, 16 bits.
using int32 = std::int32_t;   ///< Signed, 32 bits.
using int64 = std::int64_t;   ///< Signed, 64 bits.
using uint8 = std::uint8_t;   ///< Unsigned, 8 bits.
using uint16 = std::uint16_t; ///< Unsigned, 16 bits.
using uint32 = std::uint32_t; ///< Unsigned, 32 bits.
using uint64 = std::uint64_t; ///< Unsigned, 64 bits.

} // namespace qel
