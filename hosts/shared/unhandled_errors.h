// Reports errors that nobody handled.
#pragma once

#include <hosts/shared/standard_output.h>

#include <exception>

namespace qelhosts {

/// Runs @p run, which returns an exit status. An exception, as that of a thread that can't be started, is
/// reported on standard error. @return the exit status; 1 after an exception.
template <class Run>
int reportingErrors(const char* program, const Run& run) {
    try {
        return run();
    } catch (const std::exception& error) {
        complain(program, error.what());
        return 1;
    }
}

} // namespace qelhosts
