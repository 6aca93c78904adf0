// Runs qelserver as a child process, and calls it as a user would.
#pragma once

#include <gtest/gtest.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/process/process.h>
#include <tests/hosts/host_run.h>
#include <tests/support/system_fixture.h>

#include <csignal>
#include <string>
#include <vector>

namespace qel::test {

/// A test with a server in a scratch folder. The server's files, but not the server, last for the whole test.
class ServerTest : public SystemFixture {
protected:
    /// Stops the server in order.
    void TearDown() override;

    /// Starts the server and waits until it answers. @param arguments  besides those for socket and data.
    void start(std::vector<std::string> arguments);
    /// Sends the server a signal and waits for its end. @return its exit status, 128 + number after a signal.
    int stop(int signal = SIGTERM);
    /// What the server wrote to its standard output so far.
    std::string output();

    /// Runs a line of a shell, in which `qelcall` calls the server and the working folder is the scratch one.
    HostRun shell(const std::string& line) const;
    /// Calls the server. @return what qelcall printed, without the last newline.
    std::string call(const std::string& method, const std::string& arguments = "[]") const;
    /// Calls until the answer matches the regular expression @p pattern. @return the last answer.
    std::string callUntil(const std::string& pattern, const std::string& method,
                          const std::string& arguments = "[]") const;
    /// Makes a file of @p bytes bytes, at most 4 MiB or a multiple of that, which are not all the same.
    /// @return its absolute path.
    std::string makeFile(const std::string& name, size_t bytes) const;
    const ScratchFolder folder;

private:
    SmartPointer<Process> m_server;
    std::string m_output;
};

} // namespace qel::test
