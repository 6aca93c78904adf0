// Writes a host's output to the standard streams, apart from the log.
#pragma once

#include <qel/foundation/base/write_whole.h>
#include <qel/platform/system_error.h>

#include <string>
#include <string_view>

namespace qelhosts {

/// The exit status of a host that could not write all of its output.
inline constexpr int kLostOutput = 1;

/// Writes @p text to standard output. @errors reported by statusAfterOutput().
inline void print(std::string_view text) {
    qel::writeToStandardStream(qel::platform::StandardStream::Output, text);
}

/// Writes "<program>: <text>" and a newline to standard error.
inline void complain(std::string_view program, std::string_view text) {
    std::string line(program);
    line.append(": ").append(text).append("\n");
    qel::writeToStandardStream(qel::platform::StandardStream::Error, line);
}

/// Returns the exit status of @p program: kLostOutput instead of 0 if any output to standard output was lost,
/// otherwise @p status. Lost output is reported on standard error.
inline int statusAfterOutput(int status, std::string_view program) {
    const auto error = qel::standardStreamError(qel::platform::StandardStream::Output);
    if (!error) return status;
    complain(program, "cannot write to standard output: " + qel::platform::errorText(error.value()));
    return status == 0 ? kLostOutput : status;
}

} // namespace qelhosts
