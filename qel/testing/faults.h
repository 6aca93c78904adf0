// Test seam: makes operations of the operating system fail.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/operation.h>

#include <cstddef>
#include <system_error>

namespace qel::seams {

/// Sits between the library and the operating system, so that a test can make every operation fail.
/// The calls that libraries make by themselves (SQLite, the C library's streams) do not pass through it.
class QEL_API Faults {
public:
    virtual ~Faults() = default;
    /// Called before each operation. A returned error is reported in place of doing the operation (for Close:
    /// after it); zero lets the operation happen. After EINTR it is
    /// called again, as the operation would be.
    /// @param size  the bytes about to be read, written, sent or received, which may be lowered to at
    ///              least 1; otherwise 0.
    /// @threads the thread that performs the operation, any number at a time.
    virtual std::error_code before(platform::Operation operation, std::size_t& size) = 0;
};

/// Puts @p faults between the library and the operating system; null, the state at start, removes it.
/// @owner the caller, which keeps it alive until it is removed and no operation is running.
QEL_API void setFaults(Faults* faults);

/// Asks the installed faults about an operation that the library does not perform itself, so that a test can
/// treat the calls of another library alike.
/// @return the forced error, or zero. @threads any thread.
QEL_API std::error_code forcedFault(platform::Operation operation, std::size_t& size);

} // namespace qel::seams
