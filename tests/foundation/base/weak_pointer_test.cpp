#include <qel/foundation/base/weak_pointer.h>

#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

namespace qel {
namespace {

/// Notes who was cleared, and may do something on top of it.
class Listener : public PointerOwner {
public:
    void onWeakPointerCleared(void* ownerData) override {
        cleared.push_back(*static_cast<int*>(ownerData));
        then();
    }

    std::vector<int> cleared;
    std::function<void()> then = [] {};
};

TEST(WeakPointerTest, BecomesNullWhenTheTargetDiesAndNotWhenItsCopyDoes) {
    auto target = std::make_unique<Object>();
    const WeakPointer<Object> pointer(target.get());
    const WeakPointer<Object> samePointer(pointer);
    auto copy = std::make_unique<Object>(*target);
    *copy = *target;
    WeakPointer<Object> switched(copy.get());
    switched = target.get();
    copy.reset();
    EXPECT_EQ(switched.get(), target.get());
    EXPECT_EQ(samePointer.get(), target.get());
    target.reset();
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_EQ(samePointer.get(), nullptr);
    EXPECT_FALSE(switched);
}

TEST(WeakPointerTest, OwnersAreToldLastRegisteredFirstAndMayTouchOtherPointers) {
    Listener listener;
    int data[] = {0, 1, 2};
    auto target = std::make_unique<Object>();
    std::optional<WeakPointer<Object>> pointers[3];
    for (int& index : data) pointers[index].emplace(target.get()).setOwner(&listener, &index);
    listener.then = [&] { pointers[1].reset(); };
    target.reset();
    EXPECT_EQ(listener.cleared, (std::vector<int>{2, 0})) << "the second one is gone by its turn";
}

TEST(WeakPointerTest, ClearingAheadOfDestructionReachesAllAndNewOnesCanFollow) {
    const SmartPointer<Object> held(new Object);
    Object& target = *held;
    target.removeWeakPointers(); // without any pointer: no effect
    const WeakPointer<Object> early(&target);
    target.removeWeakPointers();
    const WeakPointer<Object> late(&target);
    EXPECT_EQ(late.lock()->getReferenceCount(), 2);
    EXPECT_EQ(early.get(), nullptr);
    EXPECT_EQ(late.get(), &target);
}

TEST(WeakPointerTest, ThreadsMayTakeTheFirstPointersAtOnceAndDropThemWhileTheTargetDies) {
    for (int round = 0; round < 50; ++round) {
        auto target = std::make_unique<Object>();
        WeakPointer<Object> pointers[3];
        test::onThreads(3, [&](int i) { pointers[i] = target.get(); });
        std::vector<WeakPointer<Object>> dropped(20, WeakPointer<Object>(target.get()));
        test::onThreads(2, [&](int i) { i == 0 ? target.reset() : dropped.clear(); });
        for (const auto& pointer : pointers) EXPECT_EQ(pointer.get(), nullptr);
    }
}

} // namespace
} // namespace qel
