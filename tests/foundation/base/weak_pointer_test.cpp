#include <qel/foundation/base/weak_pointer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace qel {
namespace {

/// Notes who was cleared, and may do something on top of it.
class Listener : public PointerOwner {
public:
    void onWeakPointerCleared(void* ownerData) override {
        cleared.push_back(*static_cast<int*>(ownerData));
        if (then) then();
    }

    std::vector<int> cleared;
    std::function<void()> then;
};

TEST(WeakPointerTest, BecomesNullWhenTheTargetDies) {
    auto target = std::make_unique<Object>();
    const WeakPointer<Object> pointer(target.get());
    const WeakPointer<Object> copy(pointer);
    EXPECT_EQ(copy.get(), target.get());
    target.reset();
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_EQ(copy.get(), nullptr);
}

TEST(WeakPointerTest, OwnersAreToldLastRegisteredFirstWithTheirData) {
    Listener listener;
    int data[] = {1, 2, 3};
    auto target = std::make_unique<Object>();
    WeakPointer<Object> a(target.get()), b(target.get()), c(target.get());
    a.setOwner(&listener, &data[0]);
    b.setOwner(&listener, &data[1]);
    c.setOwner(&listener, &data[2]);
    target.reset();
    EXPECT_EQ(listener.cleared, (std::vector<int>{3, 2, 1}));
}

TEST(WeakPointerTest, AnOwnerMayTouchOtherPointersOfTheSameTarget) {
    Listener listener;
    int data = 1;
    auto target = std::make_unique<Object>();
    auto first = std::make_unique<WeakPointer<Object>>(target.get());
    WeakPointer<Object> second(target.get());
    second.setOwner(&listener, &data);
    first->setOwner(&listener, &data);
    listener.then = [&] { first.reset(); };
    target.reset();
    EXPECT_EQ(listener.cleared, (std::vector<int>{1}));
}

TEST(WeakPointerTest, SwitchingLeavesTheOldTarget) {
    auto old = std::make_unique<Object>();
    Object target;
    WeakPointer<Object> pointer(old.get());
    pointer = &target;
    old.reset();
    EXPECT_EQ(pointer.get(), &target);
    pointer = nullptr;
    EXPECT_FALSE(pointer);
}

TEST(WeakPointerTest, ClearingAheadOfDestructionReachesAllAndNewOnesCanFollow) {
    Object target;
    target.removeWeakPointers(); // without any pointer: no effect
    const WeakPointer<Object> early(&target);
    target.removeWeakPointers();
    const WeakPointer<Object> late(&target);
    EXPECT_EQ(early.get(), nullptr);
    EXPECT_EQ(late.get(), &target);
}

TEST(WeakPointerTest, CopyingAnObjectCopiesNoWeakPointers) {
    auto original = std::make_unique<Object>();
    const WeakPointer<Object> pointer(original.get());
    {
        Object copy(*original);
        copy = *original;
    }
    EXPECT_EQ(pointer.get(), original.get());
}

TEST(WeakPointerTest, LockGivesAReference) {
    SmartPointer<Object> held(new Object);
    const WeakPointer<Object> pointer(held);
    const SmartPointer<Object> locked = pointer.lock();
    EXPECT_EQ(locked->getReferenceCount(), 2);
}

/// Releases all threads at the same moment.
class Start {
public:
    explicit Start(int threads) : m_missing(threads) {}
    void arriveAndWait() {
        --m_missing;
        while (m_missing > 0) std::this_thread::yield();
    }

private:
    std::atomic<int> m_missing;
};

TEST(WeakPointerTest, ThreadsThatTakeTheFirstPointerAtOnceShareOneList) {
    for (int round = 0; round < 50; ++round) {
        auto target = std::make_unique<Object>();
        std::vector<std::unique_ptr<WeakPointer<Object>>> pointers(3);
        Start start(3);
        std::vector<std::thread> threads;
        for (auto& pointer : pointers) {
            threads.emplace_back([&] {
                start.arriveAndWait();
                pointer = std::make_unique<WeakPointer<Object>>(target.get());
            });
        }
        for (std::thread& thread : threads) thread.join();
        target.reset();
        for (auto& pointer : pointers) EXPECT_EQ(pointer->get(), nullptr);
    }
}

TEST(WeakPointerTest, PointersMayEndWhileTheirTargetDiesOnAnotherThread) {
    for (int round = 0; round < 50; ++round) {
        auto target = std::make_unique<Object>();
        std::vector<std::unique_ptr<WeakPointer<Object>>> pointers;
        for (int i = 0; i < 20; ++i) pointers.push_back(std::make_unique<WeakPointer<Object>>(target.get()));
        Start start(2);
        std::thread other([&] {
            start.arriveAndWait();
            pointers.clear();
        });
        start.arriveAndWait();
        target.reset();
        other.join();
    }
}

} // namespace
} // namespace qel
