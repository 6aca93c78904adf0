// Test seam: makes operations of the operating system fail.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/operation.h>

#include <cstddef>
#include <system_error>

namespace qel::seams {

/// Is called between the library and the operating system, so that a test can make every operation fail.
/// Calls that other libraries make themselves (SQLite, the C library's streams) do not pass through it.
/// Those of the C++ streams that the library opens do, once for each time their buffer is filled or written.
class QEL_API Faults {
public:
    virtual ~Faults() = default;
    /// Called before each operation. A returned error is reported instead of performing the operation (for
    /// Close: after it); zero performs the operation. After EINTR it is called again, as the operation would
    /// be.
    /// @param size  the number of bytes to be read, written, sent or received, which may be reduced to a
    /// minimum of 1; 0 for other operations.
    /// @threads the thread that performs the operation; several threads may call it at the same time.
    virtual std::error_code before(platform::Operation operation, std::size_t& size) = 0;
};

/// Calls @p faults before each operation of the library; null, the initial state, removes it.
/// @owner the caller, which must keep it alive until it is removed and no operation is running.
QEL_API void setFaults(Faults* faults);

/// Consults the installed faults about an operation that the library does not perform itself, so that a test
/// can treat the calls of another library in the same way.
/// @return the forced error, or zero. @threads any thread.
QEL_API std::error_code forcedFault(platform::Operation operation, std::size_t& size);

} // namespace qel::seams
