#include <tests/hosts/server_run.h>

#include <qel/platform/process_run.h>

#include <chrono>
#include <fstream>
#include <regex>
#include <thread>

namespace qel::test {

namespace {

/// Calls @p done every few milliseconds until it is true, or a minute has passed.
template <class Done>
bool waitUntil(Done done) {
    using namespace std::chrono;
    const auto end = steady_clock::now() + seconds(60);
    while (!done()) {
        if (steady_clock::now() > end) return false;
        std::this_thread::sleep_for(milliseconds(5));
    }
    return true;
}

} // namespace

ServerTest::ServerTest() = default;

ServerTest::~ServerTest() {
    if (m_server) stop(SIGKILL);
}

void ServerTest::start(std::vector<std::string> arguments) {
    List<String> command{QELSERVER_PROGRAM, "--socket", (scratch() / "socket").string(), "--data",
                         (scratch() / "records.store").string()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_server = SmartPointer<Process>(new Process());
    m_output.clear();
    ASSERT_TRUE(m_server->spawn(QELSERVER_PROGRAM, command, scratch().c_str(), true));
    ASSERT_TRUE(
        waitUntil([this] { return output().find("serving on") != std::string::npos || !m_server->tick(); }));
    ASSERT_TRUE(m_server->tick()) << output();
}

int ServerTest::stop(int signal) {
    ::kill(static_cast<pid_t>(m_server->getProcessId()), signal);
    EXPECT_TRUE(waitUntil([this] {
        output();
        return !m_server->tick();
    }));
    const int status = m_server->exitStatus();
    m_server = nullptr;
    return status;
}

std::string ServerTest::output() {
    String line;
    while (m_server->readLine(line) || m_server->readErrLine(line)) m_output += line + "\n";
    return m_output;
}

HostRun ServerTest::shell(const std::string& line) const {
    const std::filesystem::path out = scratch() / "stdout.txt";
    const std::filesystem::path error = scratch() / "stderr.txt";
    const std::string script = "cd \"$0\" && program=$1 && out=$2 error=$3\n"
                               "qelcall() { \"$program\" --socket socket \"$@\"; }\n"
                               "{ " +
                               line + "\n} </dev/null >\"$out\" 2>\"$error\"";
    const platform::RunResult result = platform::runProcess(
        {"/bin/sh", "-c", script, scratch().string(), QELCALL_PROGRAM, out.string(), error.string()}, {});
    EXPECT_TRUE(result.started);
    return {result.exitCode, readText(out), readText(error)};
}

std::string ServerTest::call(const std::string& method, const std::string& arguments) const {
    const HostRun run = shell("qelcall " + method + " '" + arguments + "'");
    EXPECT_EQ(run.status, 0) << method << ": " << run.error;
    return run.out.substr(0, run.out.find_last_not_of('\n') + 1);
}

std::string ServerTest::callUntil(const std::string& pattern, const std::string& method,
                                  const std::string& arguments) const {
    std::string answer;
    waitUntil([&] {
        answer = call(method, arguments);
        return std::regex_search(answer, std::regex(pattern));
    });
    return answer;
}

std::string ServerTest::makeFile(const std::string& name, size_t bytes) const {
    const std::filesystem::path path = scratch() / name;
    std::ofstream stream(path, std::ios::binary);
    uint32 state = 1;
    std::string block(1 << 16, '\0');
    while (bytes != 0) {
        for (char& c : block) c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24 & 0x3f);
        const size_t size = std::min(bytes, block.size());
        stream.write(block.data(), static_cast<std::streamsize>(size));
        bytes -= size;
    }
    return path;
}

} // namespace qel::test
