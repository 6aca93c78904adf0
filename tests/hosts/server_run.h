// Runs qelserver as a child process and calls it through qelcall.
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

/// A test with a server in a scratch folder, whose files are kept when the server is started again.
class ServerTest : public SystemFixture {
protected:
    /// Stops the server in order.
    void TearDown() override;

    /// Starts the server and waits until it listens. @param arguments  added to those for socket and data.
    void start(std::vector<std::string> arguments);
    /// Sends a signal to the server and waits for its end. @return its exit status; 128 + number if a signal
    /// ended it.
    int stop(int signal = SIGTERM);
    /// Returns what the server has written to its standard streams so far.
    std::string output();

    /// Runs a shell command in the scratch folder, in which `qelcall` calls the server.
    HostRun shell(const std::string& line) const;
    /// Calls the server. @return what qelcall printed, without the last newline.
    std::string call(const std::string& method, const std::string& arguments = "[]") const;
    /// Calls until the answer matches the regular expression @p pattern. @return the last answer.
    std::string callUntil(const std::string& pattern, const std::string& method,
                          const std::string& arguments = "[]") const;
    /// Creates a file of varied content. @param bytes  at most 4 MiB or a multiple of 4 MiB.
    /// @return its absolute path.
    std::string makeFile(const std::string& name, size_t bytes) const;
    const ScratchFolder folder;

    /// Makes every further write of the server fail that extends a file.
    void fillDisk() const;

private:
    SmartPointer<Process> m_server;
    std::string m_output;
};

} // namespace qel::test
