#include <qel/files/file_lock.h>
#include <qel/files/global_mutex.h>

#include <tests/files/file_fixture.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace qel {
namespace {

using Locks = test::FileFixture;

/// Checks that two locks of one kind exclude each other, and that a killed holder releases its lock.
template <typename Make>
void checkExclusion(Make make) {
    const auto first = make(), second = make();
    first->lock();
    EXPECT_TRUE(first->tryLock());
    EXPECT_FALSE(second->tryLock());
    first->unlock();
    EXPECT_TRUE(second->tryLock());
    second->unlock();
    const pid_t child = fork();
    if (child == 0) {
        const auto held = make();
        held->lock();
        raise(SIGSTOP);
        _exit(1);
    }
    EXPECT_EQ(waitpid(child, nullptr, WUNTRACED), child);
    EXPECT_FALSE(first->tryLock());
    kill(child, SIGKILL);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(first->tryLock());
    first->unlock();
}

TEST_F(Locks, ExcludeOthersUntilReleasedOrTheHolderIsKilled) {
    folder.write("lock", "content");
    checkExclusion([&] { return std::make_unique<FileLock>(path("lock").c_str()); });
    EXPECT_EQ(folder.read("lock"), "content");
    EXPECT_TRUE(FileLock(path("created").c_str()).tryLock());

    const std::string name = "test/" + std::to_string(getpid());
    ASSERT_TRUE(GlobalMutex::create(name.c_str()));
    ASSERT_TRUE(GlobalMutex::create(name.c_str()));
    checkExclusion([&] { return std::make_unique<GlobalMutex>(name.c_str()); });
    std::filesystem::remove("/dev/shm/qel-mutex-test%" + std::to_string(getpid()));
}

} // namespace
} // namespace qel
