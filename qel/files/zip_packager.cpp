#include <qel/files/zip_packager.h>

#include <qel/files/absolute_path_p.h>
#include <qel/files/child_lines_p.h>
#include <qel/files/file.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/command_line.h>

namespace qel {

namespace {

String asLine(const List<String>& arguments) {
    String line;
    for (const String& argument : arguments) line.append_separator(" ", platform::quoteArgument(argument));
    return line;
}

} // namespace

ZipPackager::ZipPackager(SmartCStr toolPath) : m_toolPath(toolPath) {}

ZipPackager::~ZipPackager() = default;

// The tool runs inside the folder, so the folder's own name cannot be interpreted as a switch or a pattern.
// The only pattern is the intended one.
bool ZipPackager::packDirectory(SmartCStr from, SmartCStr to, bool recurse) {
    bool isDirectory = false;
    m_atWork = false;
    m_process = nullptr;
    if (!File::checkIfDirectory(from, isDirectory) || !isDirectory) return false;
    const String tool = m_toolPath.contains('/') ? internal::absolutePath(m_toolPath) : m_toolPath;
    List<String> arguments = {tool, "a", internal::absolutePath(to), "./*"};
    if (recurse) arguments.emplace_back("-r");
    arguments.emplace_back("-mx=1");
    logging::verbose() << "[ZIP] executing " << asLine(arguments);
    m_process = new Process;
    m_atWork = m_process->spawn(tool, arguments, from.c_str(), false);
    if (!m_atWork) logging::error() << "[ZIP] failed to spawn 7z";
    return m_atWork;
}

bool ZipPackager::tick() {
    if (!m_atWork) return false;
    m_atWork = m_process->tick();
    takeOutput();
    if (m_atWork) return true;
    m_process->terminate(false); // closes the streams, which releases a last line without a line end
    takeOutput();
    return false;
}

void ZipPackager::takeOutput() {
    internal::takeLines(
        *m_process, m_atWork, [](const String&) {},
        [](const String& line) {
            if (!line.empty()) logging::error() << "[ZIP] " << line;
        });
}

bool ZipPackager::success() const {
    return m_process && !m_atWork && m_process->exitStatus() == 0;
}

} // namespace qel
