// A plane as a first row and a distance between rows.
#pragma once

#include <qel/foundation/base/types.h>

namespace qel::internal {

/// Rows of memory, `const uint8` or `uint8`.
template <typename Byte>
struct PlaneView {
    Byte* data = nullptr; ///< first row
    int64 pitch = 0;      ///< bytes from one row to the next

    /// Returns row @p y; null if the plane has no memory.
    Byte* row(uint64 y) const { return data ? data + static_cast<int64>(y) * pitch : nullptr; }
};

using Source = PlaneView<const uint8>; ///< A plane that is read.
using Target = PlaneView<uint8>;       ///< A plane that is written.

} // namespace qel::internal
