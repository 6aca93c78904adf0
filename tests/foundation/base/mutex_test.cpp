#include <qel/foundation/base/mutex.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(Mutex, StaysFreeForOthersOnlyWhileNobodyHoldsIt) {
    qel::Mutex mutex;
    bool taken = true;
    auto tryElsewhere = [&] {
        taken = mutex.try_lock();
        if (taken) mutex.unlock();
    };
    {
        qel::MutexLock lock(mutex);
        std::thread(tryElsewhere).join();
        EXPECT_FALSE(taken);
        lock.unlock();
        std::thread(tryElsewhere).join();
        EXPECT_TRUE(taken);
        lock.lock();
    }
    std::thread(tryElsewhere).join();
    EXPECT_TRUE(taken);
}

} // namespace
