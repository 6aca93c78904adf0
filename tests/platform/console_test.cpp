#include <qel/platform/console.h>

#include <tests/support/environment.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qel::platform {
namespace {

using test::EnvironmentVariable;

/// Puts another file in the place of standard input.
class StandardInput {
public:
    explicit StandardInput(const char* path) : m_before(dup(0)) {
        const int file = open(path, O_RDWR | O_NOCTTY);
        EXPECT_GE(file, 0) << path;
        dup2(file, 0);
        close(file);
    }
    ~StandardInput() {
        dup2(m_before, 0);
        close(m_before);
    }

private:
    int m_before;
};

/// A terminal that no person sits at.
class PseudoTerminal {
public:
    PseudoTerminal() : m_control(posix_openpt(O_RDWR | O_NOCTTY)) {
        m_isThere = grantpt(m_control) == 0 && unlockpt(m_control) == 0 && access(path(), R_OK) == 0;
    }
    ~PseudoTerminal() { close(m_control); }

    /// False where the file system of terminals isn't mounted, as in a bare change-root.
    bool isThere() const { return m_isThere; }
    const char* path() const { return ptsname(m_control); }
    void setColumns(unsigned short columns) const {
        const winsize size{24, columns, 0, 0};
        ioctl(m_control, TIOCSWINSZ, &size);
    }

private:
    int m_control;
    bool m_isThere = false;
};

TEST(Console, AFileIsNoTerminal) {
    const StandardInput input("/dev/null");
    const EnvironmentVariable terminal("TERM", "xterm");
    EXPECT_FALSE(isTerminal(StandardStream::Input));
    EXPECT_EQ(terminalWidth(StandardStream::Input), 80);
    EXPECT_FALSE(wantsColor(StandardStream::Input));
}

TEST(Console, ATerminalTellsItsWidth) {
    const PseudoTerminal terminal;
    if (!terminal.isThere()) GTEST_SKIP() << "no terminals here";
    const StandardInput input(terminal.path());
    EXPECT_TRUE(isTerminal(StandardStream::Input));
    terminal.setColumns(123);
    EXPECT_EQ(terminalWidth(StandardStream::Input), 123);
    terminal.setColumns(0);
    EXPECT_EQ(terminalWidth(StandardStream::Input), 80);
}

TEST(Console, ColoursAreWantedOnATerminalThatKnowsThemUnlessRefused) {
    const PseudoTerminal terminal;
    if (!terminal.isThere()) GTEST_SKIP() << "no terminals here";
    const StandardInput input(terminal.path());
    const EnvironmentVariable refusal("NO_COLOR", "");
    const EnvironmentVariable kind("TERM", "xterm");
    EXPECT_TRUE(wantsColor(StandardStream::Input));
    const std::pair<const char*, const char*> refusals[] = {
        {"NO_COLOR", "1"}, {"TERM", nullptr}, {"TERM", "dumb"}};
    for (const auto& [name, value] : refusals) {
        const EnvironmentVariable changed(name, value);
        EXPECT_FALSE(wantsColor(StandardStream::Input)) << name;
    }
}

} // namespace
} // namespace qel::platform
