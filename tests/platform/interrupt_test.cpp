#include <qel/platform/interrupt.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>

#include <unistd.h>

namespace qel::platform {
namespace {

class Interrupt : public testing::Test {
protected:
    void TearDown() override {
        removeInterruptHandler();
        setInterrupted(false);
    }
};

TEST_F(Interrupt, EachOfItsSignalsSetsTheFlagInsteadOfEndingTheProcess) {
    installInterruptHandler();
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        setInterrupted(false);
        std::raise(number);
        EXPECT_TRUE(wasInterrupted()) << number;
    }
}

TEST_F(Interrupt, RemovalPutsBackWhatWasThereBefore) {
    const auto before = std::signal(SIGTERM, SIG_IGN);
    installInterruptHandler();
    installInterruptHandler();
    removeInterruptHandler();
    EXPECT_EQ(std::signal(SIGTERM, before), SIG_IGN);
}

TEST_F(Interrupt, AnIgnoredHangupStaysIgnored) {
    const auto before = std::signal(SIGHUP, SIG_IGN);
    installInterruptHandler();
    std::raise(SIGHUP);
    EXPECT_FALSE(wasInterrupted());
    removeInterruptHandler();
    std::signal(SIGHUP, before);
}

/// Two ends of a pipe whose reading end is closed.
class BrokenPipe {
public:
    BrokenPipe() {
        EXPECT_EQ(pipe(m_ends.data()), 0);
        close(m_ends[0]);
    }
    ~BrokenPipe() { close(m_ends[1]); }

    /// @return the error of a write, 0 for none
    int write() const { return ::write(m_ends[1], "x", 1) < 0 ? errno : 0; }

private:
    std::array<int, 2> m_ends{};
};

int g_brokenPipeSignals = 0;

TEST(BrokenPipeGuard, TurnsTheSignalIntoAnErrorOfTheWrite) {
    const auto before = std::signal(SIGPIPE, [](int) { ++g_brokenPipeSignals; });
    const BrokenPipe pipe;
    {
        const BrokenPipeGuard guard;
        EXPECT_EQ(pipe.write(), EPIPE);
        {
            const BrokenPipeGuard inner;
            EXPECT_EQ(pipe.write(), EPIPE);
        }
    }
    EXPECT_EQ(g_brokenPipeSignals, 0);
    EXPECT_EQ(pipe.write(), EPIPE);
    EXPECT_EQ(g_brokenPipeSignals, 1) << "the host's own handling must be as it was";
    std::signal(SIGPIPE, before);
}

} // namespace
} // namespace qel::platform
