#include <qel/files/file_lock.h>
#include <qel/files/global_mutex.h>

#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace qel {
namespace {

/// Starts a process that has taken a lock when this returns. @return its id.
template <typename Lock>
pid_t startHolder(Lock make) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        auto lock = make();
        lock->lock();
        const char sign = 1;
        if (write(ready[1], &sign, 1) != 1) _exit(1);
        for (;;) pause();
    }
    char sign = 0;
    EXPECT_EQ(read(ready[0], &sign, 1), 1);
    close(ready[0]);
    close(ready[1]);
    return child;
}

void kill(pid_t child) {
    ::kill(child, SIGKILL);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

/// Two locks of one kind that exclude each other, and a holder that is killed.
template <typename Make>
void checkExclusion(Make make) {
    const auto first = make(), second = make();
    first->lock();
    EXPECT_TRUE(first->tryLock());
    EXPECT_FALSE(second->tryLock());
    first->unlock();
    EXPECT_TRUE(second->tryLock());
    second->unlock();
    const pid_t child = startHolder(make);
    EXPECT_FALSE(first->tryLock());
    kill(child);
    EXPECT_TRUE(first->tryLock());
    first->unlock();
}

TEST(Locks, ExcludeOthersUntilGivenBackOrTheirProcessIsKilled) {
    test::ScratchFolder scratch;
    const std::string path = scratch.write("lock", "content");
    checkExclusion([&] { return std::make_unique<FileLock>(path.c_str()); });
    EXPECT_EQ(scratch.read("lock"), "content");
    FileLock guarded(path.c_str());
    {
        FileLockGuard guard(&guarded);
        EXPECT_FALSE(FileLock(path.c_str()).tryLock());
    }
    EXPECT_TRUE(FileLock(path.c_str()).tryLock());

    const std::string name = "test/" + std::to_string(getpid());
    ASSERT_TRUE(GlobalMutex::create(name.c_str()) && GlobalMutex::create(name.c_str()));
    checkExclusion([&] { return std::make_unique<GlobalMutex>(name.c_str()); });
    GlobalMutex original(name.c_str());
    GlobalMutex shared(original);
    shared.lock();
    EXPECT_TRUE(original.tryLock() && !GlobalMutex(name.c_str()).tryLock());
    std::filesystem::remove("/dev/shm/qel-mutex-test%" + std::to_string(getpid()));
}

TEST(Locks, WithoutAFileOrAMutexCallsFailHarmlessly) {
    test::LogCapture log;
    FileLock lock("/nowhere/lock");
    log.expect(3, "failed to open lock file, err=No such file or directory");
    GlobalMutex mutex("nobody has made this one");
    lock.lock();
    mutex.lock();
    EXPECT_FALSE(lock.tryLock() || mutex.tryLock() || GlobalMutex::create("") ||
                 GlobalMutex(nullptr).tryLock());
    lock.unlock();
    mutex.unlock();
}

} // namespace
} // namespace qel
