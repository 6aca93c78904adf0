#include <qel/platform/interrupt.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>

#include <unistd.h>

using namespace qel::platform;

TEST(Interrupt, SignalsSetTheFlagUntilTheHandlerIsRemoved) {
    const auto inherited = std::signal(SIGHUP, SIG_DFL); // a host started by nohup ignores it, which stays so
    const auto termination = std::signal(SIGTERM, SIG_IGN);
    installInterruptHandler();
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        setInterrupted(false);
        std::raise(number);
        EXPECT_TRUE(wasInterrupted()) << number;
    }
    removeInterruptHandler();
    EXPECT_EQ(std::signal(SIGTERM, termination), SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
    setInterrupted(false);
    for (int twice = 0; twice < 2; ++twice) installInterruptHandler();
    std::raise(SIGHUP);
    EXPECT_FALSE(wasInterrupted());
    removeInterruptHandler();
    EXPECT_EQ(std::signal(SIGHUP, inherited), SIG_IGN);
}

static int g_brokenPipeSignals = 0;

TEST(BrokenPipeGuard, TurnsTheSignalIntoAWriteError) {
    const auto before = std::signal(SIGPIPE, [](int) { ++g_brokenPipeSignals; });
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    close(ends[0]);
    const auto errorOfWrite = [&] { return write(ends[1], "x", 1) < 0 ? errno : 0; };
    {
        const BrokenPipeGuard guard;
        EXPECT_EQ(errorOfWrite(), EPIPE);
        const BrokenPipeGuard inner;
        EXPECT_EQ(errorOfWrite(), EPIPE);
    }
    EXPECT_EQ(g_brokenPipeSignals, 0);
    EXPECT_EQ(errorOfWrite(), EPIPE);
    EXPECT_EQ(g_brokenPipeSignals, 1) << "the host's own handling must be restored";
    std::signal(SIGPIPE, before);
    close(ends[1]);
}
