#include <qel/foundation/base/object.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/timed_references.h>
#include <qel/foundation/base/unmanaged_object.h>
#include <qel/foundation/base/weak_pointer.h>
#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace qel {
namespace {

using Names = std::vector<std::string>;

/// Records its death in a list.
template <typename Base>
class MortalOf : public Base {
    QEL_CLASS(MortalOf, Base)

public:
    MortalOf(Names& deaths, std::string name) : m_deaths(deaths), m_name(std::move(name)) {}
    MortalOf(const MortalOf&) = default;
    ~MortalOf() override {
        m_deaths.push_back(m_name);
        if (releasedLater) releasedLater->takeTimedReference();
    }

    Object* releasedLater = nullptr;

private:
    Names& m_deaths;
    std::string m_name;
};

using Mortal = MortalOf<Object>;
using OnStack = MortalOf<UnmanagedObject>;

class ObjectTest : public ::testing::Test {
protected:
    Names deaths;
};

TEST_F(ObjectTest, TheLastReleaseDeletesOnAnyThread) {
    auto* object = new Mortal(deaths, "a");
    SmartPointer<Object> pointer(object);
    pointer = SmartPointer<Object>(object); // to itself
    object->increaseReferenceCountBy(5);
    pointer = nullptr;
    object->decreaseReferenceCount();
    test::onThreads(4, [object](int) {
        for (int n = 0; n < 1000; ++n) SmartPointer<Mortal> held(object);
        object->decreaseReferenceCount();
    });
    EXPECT_EQ(deaths.size(), 1u);
}

TEST_F(ObjectTest, CopiesAndAssignmentsKeepTheCounts) {
    const SmartPointer<Object> held(new Object);
    Object copy(*held);
    copy = *held;
    EXPECT_EQ(copy.getReferenceCount(), 0);
    OnStack original(deaths, "b");
    SmartPointer<OnStack>(&original).reset();
    EXPECT_TRUE(deaths.empty()) << "a pointer must not delete it, unlike its copy on the heap";
    SmartPointer<OnStack>(new OnStack(original)).reset();
    EXPECT_EQ(deaths, Names{"b"});
}

TEST_F(ObjectTest, TimedReferencesAreReleasedLastInFirstOut) {
    auto* added = new Mortal(deaths, "added");
    auto* first = new Mortal(deaths, "first");
    auto* second = new Mortal(deaths, "second");
    second->releasedLater = added;
    first->takeTimedReference();
    second->increaseReferenceCount();
    second->decreaseReferenceCountAsyncOnMain(); // hands that reference over
    EXPECT_TRUE(deaths.empty());
    EXPECT_TRUE(internal::removeAllTimedReferences());
    EXPECT_EQ(deaths, (Names{"second", "added", "first"}));
}

TEST(WeakPointerTest, BecomesNullOnlyWhenItsTargetDies) {
    auto target = std::make_unique<Object>();
    auto copy = std::make_unique<Object>(*target);
    const WeakPointer<Object> pointer(target.get()), samePointer(pointer);
    WeakPointer<Object> switched(copy.get());
    switched = target.get();
    copy.reset();
    EXPECT_EQ(switched.get(), target.get());
    target.reset();
    for (const auto& each : {pointer, samePointer, switched}) EXPECT_FALSE(each);
}

TEST(WeakPointerTest, ThreadsMayRegisterAndDropPointersAtOnce) {
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
