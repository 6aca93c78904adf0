#include <qel/platform/child_process.h>

#include <qel/platform/linux/proc_file_p.h>

#include <charconv>
#include <optional>

#include <unistd.h>

namespace qel::platform {

namespace {

std::string pathOf(std::int64_t id, const char* file) {
    return "/proc/" + std::to_string(id) + file;
}

std::string_view fileNameOf(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

/// What the kernel reports about a process in one line.
struct ProcessStatus {
    char state = 0;              ///< 'R', 'S', ...; 'Z' and 'X' once it has ended
    std::string ownName;         ///< at most 15 bytes
    std::uint64_t startTime = 0; ///< clock ticks since the machine's start

    bool hasEnded() const { return state == 'Z' || state == 'X'; }
};

/// Reads /proc/ID/stat: the number, the process's own name in brackets (it may contain brackets itself), the
/// state, and numbers. The 19th number after the state is the start time.
std::optional<ProcessStatus> readProcessStatus(std::int64_t id) {
    constexpr int kFieldsBeforeStart = 18;
    const std::string text = readProcFile(pathOf(id, "/stat").c_str());
    const std::size_t open = text.find('(');
    const std::size_t close = text.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close + 2 >= text.size()) return {};
    ProcessStatus status;
    status.ownName = text.substr(open + 1, close - open - 1);
    status.state = text[close + 2];
    std::string_view rest = std::string_view(text).substr(close + 3);
    for (int field = 0; field < kFieldsBeforeStart; ++field) {
        rest.remove_prefix(std::min(rest.size(), rest.find_first_not_of(' ')));
        rest.remove_prefix(std::min(rest.size(), rest.find(' '))); // some are negative
    }
    const std::optional<std::uint64_t> start = takeNumber(rest);
    if (!start) return {};
    status.startTime = *start;
    return status;
}

/// Returns the file name of the program if this user may read it, else the longest of the other names.
std::string programNameOf(std::int64_t id, const std::string& ownName) {
    constexpr std::string_view kDeleted = " (deleted)";
    std::string path;
    if (!readSymLink(path, pathOf(id, "/exe").c_str())) {
        std::string_view target = path;
        if (target.ends_with(kDeleted)) target.remove_suffix(kDeleted.size());
        return std::string(fileNameOf(target));
    }
    const std::vector<std::string> arguments = processArguments(id);
    const std::string_view first = arguments.empty() ? std::string_view() : fileNameOf(arguments.front());
    return std::string(first.starts_with(ownName) ? first : ownName);
}

std::optional<std::int64_t> numberOf(std::string_view name) {
    std::int64_t id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    if (error != std::errc() || end != name.data() + name.size()) return {};
    return id;
}

} // namespace

FileError listProcesses(std::vector<ProcessEntry>& processes) {
    processes.clear();
    FileHandle folder;
    if (const FileError error = openDirectory(folder, "/proc")) return error;
    DirectoryReader reader(folder);
    DirectoryEntry entry;
    FileError error;
    while (reader.next(entry, error)) {
        const std::optional<std::int64_t> id = numberOf(entry.name);
        if (!id) continue;
        const std::optional<ProcessStatus> status = readProcessStatus(*id);
        if (!status || status->hasEnded()) continue;
        processes.push_back({*id, programNameOf(*id, status->ownName)});
    }
    return error;
}

bool isProcessRunning(std::int64_t id) {
    if (id <= 0) return false;
    const std::optional<ProcessStatus> status = readProcessStatus(id);
    return status && !status->hasEnded();
}

std::vector<std::string> processArguments(std::int64_t id) {
    std::vector<std::string> arguments;
    if (id <= 0) return arguments;
    const std::string text = readProcFile(pathOf(id, "/cmdline").c_str());
    for (std::size_t at = 0; at < text.size();) {
        arguments.emplace_back(text.c_str() + at);
        at += arguments.back().size() + 1;
    }
    return arguments;
}

bool readProcessStart(std::int64_t id, FileTime& start) {
    const std::optional<ProcessStatus> status = id > 0 ? readProcessStatus(id) : std::nullopt;
    const std::optional<std::uint64_t> boot = procField(readProcFile("/proc/stat"), "btime");
    const long ticksPerSecond = sysconf(_SC_CLK_TCK);
    if (!status || !boot || ticksPerSecond <= 0) return false;
    const std::uint64_t ticks = static_cast<std::uint64_t>(ticksPerSecond);
    start.seconds = static_cast<std::int64_t>(*boot + status->startTime / ticks);
    start.nanoseconds = static_cast<std::uint32_t>(status->startTime % ticks * (1'000'000'000 / ticks));
    return true;
}

} // namespace qel::platform
