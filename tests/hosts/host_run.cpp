#include <tests/hosts/host_run.h>

#include <qel/platform/process_run.h>
#include <tests/support/source_dir.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace qel::test {

HostRun HostTest::run(const std::vector<std::string>& arguments) const {
    // The shell only connects the streams and changes the folder; it never reads a name as a command.
    const Path out = scratch() / "stdout.txt";
    const Path error = scratch() / "stderr.txt";
    std::vector<std::string> command{
        "/bin/sh",
        "-c",
        "cd \"$0\" && out=$1 error=$2 && shift 2 && exec \"$@\" </dev/null >\"$out\" 2>\"$error\"",
        scratch().string(),
        out.string(),
        error.string(),
        QELHOST_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const platform::RunResult result = platform::runProcess(command, {});
    EXPECT_TRUE(result.started);
    return {result.exitCode, readText(out), readText(error)};
}

HostRun HostTest::runCatalogue(const std::string& language, const Path& folder) const {
    std::vector<std::string> arguments{"--plugins", sourceDir() + "/resources/plugins", "--resources",
                                       sourceDir() + "/resources"};
    if (!language.empty()) arguments.insert(arguments.end(), {"--language", language});
    arguments.insert(arguments.end(), {folder.string(), "--out", "result"});
    return run(arguments);
}

void HostTest::writePlugin(const std::string& plugin, const std::string& file, std::string_view text) const {
    writeText(scratch() / "plugins" / plugin / file, text);
}

void writeText(const std::filesystem::path& path, std::string_view text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::string readText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> sortedLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace qel::test
