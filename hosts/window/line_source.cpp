#include <hosts/window/line_source.h>

#include <qel/platform/system_error.h>

#include <array>

namespace qelwindow {

using namespace qel::platform;

std::string LineSource::open(const std::string& path) {
    FileStatus status;
    FileError error = openFile(m_file, path.c_str(), OpenMode::Read);
    if (!error) error = readStatus(status, m_file);
    if (!error && status.kind == FileKind::Directory) error = std::make_error_code(std::errc::is_a_directory);
    m_isPipe = status.kind != FileKind::File;
    return error ? "cannot read '" + path + "': " + errorText(error.value()) : std::string();
}

LineSource::Result LineSource::next(std::string& line) {
    while (!takeLine(line)) {
        if (m_hasEnded) return Result::End;
        if (m_pending.size() > kLongestLine) return Result::Failed;
        if (const Result result = readMore(); result != Result::Line) return result;
    }
    ++m_lineNumber;
    return line.size() > kLongestLine ? Result::Failed : Result::Line;
}

/// Takes a line from what was read. @return false if no line is complete.
bool LineSource::takeLine(std::string& line) {
    const size_t end = m_pending.find('\n');
    if (end == m_pending.npos && (!m_hasEnded || m_pending.empty())) return false;
    line = m_pending.substr(0, end);
    m_pending.erase(0, end == m_pending.npos ? end : end + 1);
    return true;
}

/// Reads more bytes. A pipe that no writer has opened yet seems to end.
LineSource::Result LineSource::readMore() {
    std::array<char, 4096> bytes{};
    std::size_t done = 0;
    const FileError error = m_file.read(bytes.data(), bytes.size(), done);
    if (error == std::errc::resource_unavailable_try_again) return Result::Waiting;
    if (error) return Result::Failed;
    if (done == 0 && m_isPipe && !m_hasRead) return Result::Waiting;
    m_hasRead = true;
    m_hasEnded = done == 0;
    m_pending.append(bytes.data(), done);
    return Result::Line;
}

} // namespace qelwindow
