// The static operations of Process, on any process of the machine.
#include <qel/process/process.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/child_process.h>
#include <qel/platform/process_self.h>
#include <qel/platform/system_error.h>
#include <qel/process/command_text_p.h>
#include <qel/process/process_wait_p.h>

#include <algorithm>

namespace qel {

using platform::FileError;
using platform::ProcessHandle;

namespace {

String nameOf(const platform::ProcessEntry& process) {
    return String(process.name).utf8_lowercase();
}

/// Returns the ids of the processes whose programs have one of the names, which are in lower case.
FileError findProcesses(const Set<String>& names, Set<int64>& ids) {
    std::vector<platform::ProcessEntry> processes;
    const FileError error = platform::listProcesses(processes);
    for (const platform::ProcessEntry& process : processes) {
        if (names.contains(nameOf(process))) ids.insert(process.id);
    }
    return error;
}

/// Logs a failed step of ending the processes of one name.
struct TerminationLog {
    const String& name;

    bool failed(const char* step, const FileError& error) const {
        if (!error) return false;
        logging::error() << step << " '" << name << "' failed, err=" << platform::errorText(error.value());
        return true;
    }
};

/// Returns true if the process has ended.
bool endProcess(int64 id, uint32 timeoutMs, const TerminationLog& log) {
    std::vector<ProcessHandle> handles(1);
    const FileError error = handles.front().open(id);
    if (error == std::errc::no_such_process) return true;
    if (log.failed("open process", error)) return false;
    const FileError killError = handles.front().kill();
    if (killError == std::errc::no_such_process) return true;
    if (log.failed("terminate process", killError)) return false;
    const int limit = static_cast<int>(std::min<uint32>(timeoutMs, INT32_MAX));
    if (log.failed("wait for process", internal::waitForAll(handles, limit))) return false;
    if (handles.empty()) return true;
    logging::error() << "process '" << log.name << "' not terminated within timeout, timeout=" << timeoutMs;
    return false;
}

bool waitFailed(const FileError& error) {
    if (!error) return false;
    logging::error() << "wait for process failed, " << platform::errorText(error.value());
    return true;
}

/// Returns handles of the processes that have not ended meanwhile.
FileError openAll(const Set<int64>& ids, std::vector<ProcessHandle>& handles) {
    for (const int64 id : ids) {
        ProcessHandle handle;
        const FileError error = handle.open(id);
        if (error == std::errc::no_such_process) continue;
        if (error) return error;
        handles.push_back(std::move(handle));
    }
    return {};
}

} // namespace

int64 Process::currentId() {
    return platform::processId();
}

bool Process::exists(const char* name) {
    return !getAllProcessId(SmartCStr(name).c_str()).empty();
}

bool Process::exists(int64 pid) {
    return platform::isProcessRunning(pid);
}

Set<int64> Process::getAllProcessId(String name) { // NOLINT(performance-unnecessary-value-param): public
    Set<int64> ids;
    findProcesses({name.utf8_lowercase()}, ids);
    return ids;
}

String Process::getCommandLineOfProcess(int64 pid) {
    return internal::commandText(platform::processArguments(pid));
}

int64 Process::startTime(int64 pid) {
    constexpr int64 kSecondsFrom1601To1970 = 11'644'473'600;
    constexpr int64 kTicksPerSecond = 10'000'000;
    platform::FileTime start;
    if (!platform::readProcessStart(pid, start)) return 0;
    return (start.seconds + kSecondsFrom1601To1970) * kTicksPerSecond + start.nanoseconds / 100;
}

int Process::terminateProcessesByName(const char* name, const Set<int64>& exclude, uint32 timeoutMs) {
    const String lowerName = String(SmartCStr(name).c_str()).utf8_lowercase();
    const TerminationLog log{lowerName};
    Set<int64> ids;
    bool failed = log.failed("create snapshot for process", findProcesses({lowerName}, ids));
    int count = 0;
    for (const int64 id : ids) {
        if (exclude.contains(id)) continue;
        ++count;
        logging::info() << "terminating process '" << lowerName
                        << "', cmdline=" << getCommandLineOfProcess(id);
        failed = !endProcess(id, timeoutMs, log) || failed;
    }
    if (failed) logging::error() << "[SUPPORT] terminate processes '" << lowerName << "' failed";
    return count;
}

bool Process::waitForProcessesToTerminate(const Set<String>& names, int timeoutMs) {
    Set<String> lowerNames;
    for (const String& name : names) lowerNames.insert(name.utf8_lowercase());
    Set<int64> ids;
    std::vector<ProcessHandle> handles;
    if (waitFailed(findProcesses(lowerNames, ids)) || waitFailed(openAll(ids, handles))) return false;
    return !waitFailed(internal::waitForAll(handles, timeoutMs)) && handles.empty();
}

} // namespace qel
