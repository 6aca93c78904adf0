#include "library_output.h"

#include <qel/platform/stream_redirection.h>

#include <system_error>

namespace qelimage {

namespace {

using namespace qel::platform;

void discard(const qel::logging::ConsoleLine&) {}

FileError redirectToErrors(FileHandle& original) {
    FileHandle errors = borrowStandardStream(StandardStream::Error);
    const FileError error = redirectStandardStream(StandardStream::Output, errors, original);
    errors.release();
    return error;
}

FileError redirectToNowhere(FileHandle& original) {
    FileHandle nowhere;
    const FileError error = openFile(nowhere, "/dev/null", OpenMode::Write);
    return error ? error : redirectStandardStream(StandardStream::Output, nowhere, original);
}

} // namespace

LibraryOutput::LibraryOutput(To target) {
    const FileError error = target == To::Errors ? redirectToErrors(m_output) : redirectToNowhere(m_output);
    if (error) throw std::system_error(error, "cannot redirect standard output");
    m_writer = qel::logging::setConsoleWriter(&discard);
    if (target == To::Errors) qel::logging::setConsoleWriter(m_writer);
}

LibraryOutput::~LibraryOutput() {
    FileHandle redirected;
    static_cast<void>(redirectStandardStream(StandardStream::Output, m_output, redirected));
    qel::logging::setConsoleWriter(m_writer);
}

} // namespace qelimage
