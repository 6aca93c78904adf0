#include <tests/hosts/host_run.h>

#include <qel/platform/process_run.h>

#include <ostream>

namespace qel::test {

HostRun runProgram(const ScratchFolder& folder, const std::vector<std::string>& command) {
    // The shell only redirects the streams and changes the folder; it does not interpret the command.
    std::vector<std::string> all{
        "/bin/sh", "-c", "cd \"$0\" && exec \"$@\" </dev/null >stdout.txt 2>stderr.txt", folder.path()};
    all.insert(all.end(), command.begin(), command.end());
    const platform::RunResult result = platform::runProcess(all, {});
    return {result.started ? result.exitCode : -1, folder.read("stdout.txt"), folder.read("stderr.txt")};
}

std::ostream& operator<<(std::ostream& stream, const HostRun& run) {
    return stream << "status " << run.status << "\nout " << run.out << "\nerror " << run.error;
}

} // namespace qel::test
