// LibraryOutput: keeps what the library prints away from standard output.
#pragma once

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>

namespace qelimage {

/// While an object of this class exists, what is printed on standard output goes elsewhere: the library
/// prints a line there about a broken PNG file.
/// @threads create and destroy it while no other thread prints or logs.
class LibraryOutput {
public:
    /// Where it goes.
    enum class To {
        Errors,  ///< to standard error
        Nowhere, ///< it is discarded, and so are log lines
    };

    /// @errors throws std::system_error if standard output cannot be redirected.
    explicit LibraryOutput(To target);
    ~LibraryOutput();
    LibraryOutput(const LibraryOutput&) = delete;
    LibraryOutput& operator=(const LibraryOutput&) = delete;

private:
    qel::platform::FileHandle m_output;   ///< what standard output was
    qel::logging::ConsoleWriter m_writer; ///< what wrote log lines
};

} // namespace qelimage
