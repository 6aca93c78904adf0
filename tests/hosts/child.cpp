#include <tests/hosts/child.h>

#include <qel/foundation/base/write_whole.h>
#include <qel/platform/local_socket.h>

#include <gtest/gtest.h>

#include <array>
#include <csignal>

namespace qel::test {

namespace {

constexpr int kMostWaits = 60;
constexpr int kWaitMs = 1000; // a pause of the machine ends one wait early, not all of them

} // namespace

Child::Child(const std::vector<std::string>& command, const std::string& folder) {
    platform::Pipe input;
    platform::Pipe output;
    platform::ChildStart start{"setpriv", {"setpriv", "--pdeathsig", "TERM"}, folder};
    start.arguments.insert(start.arguments.end(), command.begin(), command.end());
    EXPECT_FALSE(platform::makePipe(input, 4096));
    EXPECT_FALSE(platform::makePipe(output, 4096));
    EXPECT_FALSE(platform::startChild(m_id, start, input.reading, output.writing, output.writing));
    m_input = std::move(input.writing);
    m_outputs = std::move(output.reading);
}

Child::~Child() {
    m_input.close();
    if (m_id == 0) return;
    for (const int signal : {SIGTERM, SIGKILL}) {
        if (collect()) return;
        ::kill(static_cast<pid_t>(m_id), signal);
        finish();
    }
}

void Child::writeLine(const std::string& line) {
    EXPECT_FALSE(writeWhole(m_input, line + "\n"));
}

bool Child::readLine(std::string& line) {
    size_t end = m_output.find('\n', m_taken);
    while (end == m_output.npos) {
        if (!waitForOutput()) return false;
        end = m_output.find('\n', m_taken);
    }
    line = m_output.substr(m_taken, end - m_taken);
    m_taken = end + 1;
    return true;
}

/// Reads what has been written, after waiting for it. @return false if nothing more was.
bool Child::waitForOutput() {
    platform::SocketWatch watch{&m_outputs, true};
    for (int i = 0; i < kMostWaits && !watch.canReceive; ++i)
        EXPECT_FALSE(platform::waitForSockets({&watch, 1}, kWaitMs));
    std::array<char, 4096> bytes{};
    size_t size = 0;
    if (watch.canReceive) {
        EXPECT_FALSE(m_outputs.read(bytes.data(), bytes.size(), size));
    }
    m_output.append(bytes.data(), size);
    return size != 0;
}

int Child::finish() {
    while (waitForOutput()) {
    }
    std::vector<platform::ProcessHandle> handles(1);
    std::vector<bool> ended;
    if (collect() || handles[0].open(m_id)) return m_status;
    for (int i = 0; i < kMostWaits && !collect(); ++i) {
        if (const platform::FileError error = platform::ProcessHandle::waitForAny(handles, kWaitMs, ended))
            ADD_FAILURE() << error.message();
    }
    return m_status;
}

/// @return true if the program has ended.
bool Child::collect() {
    if (!m_isEnded) {
        EXPECT_FALSE(platform::collectChild(m_id, m_isEnded, m_status));
    }
    return m_isEnded;
}

} // namespace qel::test
