#include <tests/hosts/host_run.h>

#include <qel/platform/process_run.h>

#include <fstream>
#include <iterator>
#include <ostream>

namespace qel::test {

HostRun runProgram(const std::filesystem::path& folder, const std::vector<std::string>& command) {
    // The shell only connects the streams and changes the folder; it never reads a name as a command.
    std::vector<std::string> all{
        "/bin/sh", "-c", "cd \"$0\" && exec \"$@\" </dev/null >stdout.txt 2>stderr.txt", folder.string()};
    all.insert(all.end(), command.begin(), command.end());
    const platform::RunResult result = platform::runProcess(all, {});
    return {result.started ? result.exitCode : -1, readText(folder / "stdout.txt"),
            readText(folder / "stderr.txt")};
}

std::ostream& operator<<(std::ostream& stream, const HostRun& run) {
    return stream << "status " << run.status << "\nout " << run.out << "\nerror " << run.error;
}

void writeText(const std::filesystem::path& path, std::string_view text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::string readText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace qel::test
