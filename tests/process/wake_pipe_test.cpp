#include <qel/process/wake_pipe_p.h>

#include <qel/platform/local_socket.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

/// Returns true if a wait for @p pipe would end at once.
bool isReadable(const internal::WakePipe& pipe) {
    platform::SocketWatch watched[] = {{.socket = &pipe.handle(), .forReceiving = true}};
    EXPECT_FALSE(platform::waitForSockets(watched, 0));
    return watched[0].canReceive;
}

TEST(WakePipe, StaysAwakeUntilItIsReset) {
    internal::WakePipe pipe;
    ASSERT_TRUE(pipe.isOpen());
    EXPECT_FALSE(isReadable(pipe));
    for (int i = 0; i < 100'000; ++i) pipe.wake(); // more than a pipe can hold
    EXPECT_TRUE(isReadable(pipe));
    EXPECT_TRUE(isReadable(pipe));
    pipe.reset();
    EXPECT_FALSE(isReadable(pipe));
    pipe.wake();
    EXPECT_TRUE(isReadable(pipe));
}

} // namespace
} // namespace qel
