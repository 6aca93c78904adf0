#include <tests/hosts/server_run.h>

#include <tests/process/process_fixture.h>

#include <fstream>
#include <random>
#include <regex>

#include <sys/resource.h>

namespace qel::test {

void ServerTest::TearDown() {
    if (m_server) {
        EXPECT_EQ(stop(), 0);
    }
    SystemFixture::TearDown();
}

void ServerTest::start(std::vector<std::string> arguments) {
    List<String> command{QELSERVER_PROGRAM, "--socket", folder.path("socket"), "--data",
                         folder.path("records.store")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_server = SmartPointer<Process>(new Process());
    m_output.clear();
    ASSERT_TRUE(m_server->spawn(QELSERVER_PROGRAM, command, folder.path().c_str(), true));
    waitUntil([this] { return output().find("serving on") != std::string::npos || !m_server->tick(); });
    ASSERT_TRUE(m_server->tick()) << output();
}

int ServerTest::stop(int signal) {
    ::kill(static_cast<pid_t>(m_server->getProcessId()), signal);
    waitUntil([this] {
        output();
        return !m_server->tick();
    });
    output();
    const int status = m_server->exitStatus();
    m_server = nullptr;
    return status;
}

std::string ServerTest::output() {
    String line;
    while (m_server && (m_server->readLine(line) || m_server->readErrLine(line))) m_output += line + "\n";
    return m_output;
}

void ServerTest::fillDisk() const {
    const rlimit none{1, 1};
    ASSERT_EQ(::prlimit(static_cast<pid_t>(m_server->getProcessId()), RLIMIT_FSIZE, &none, nullptr), 0);
}

HostRun ServerTest::shell(const std::string& line) const {
    return runProgram(folder, {"/bin/sh", "-c",
                               "program=$0; qelcall() { \"$program\" --socket socket \"$@\"; }\n" + line,
                               QELCALL_PROGRAM});
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
    std::string block(std::min<size_t>(bytes, 4 << 20), '\0');
    std::mt19937 random;
    for (char& c : block) c = static_cast<char>(random() & 0x3f);
    std::ofstream stream(folder.path(name), std::ios::binary);
    for (size_t done = 0; done < bytes; done += block.size()) stream << block;
    return folder.path(name);
}

} // namespace qel::test
