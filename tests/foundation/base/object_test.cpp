#include <qel/foundation/base/object.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/timed_references.h>
#include <qel/foundation/base/unmanaged_object.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace qel {
namespace {

/// Notes its death in a list.
class Mortal : public Object {
    QEL_CLASS(Mortal, Object)

public:
    Mortal(std::vector<std::string>& deaths, std::string name) : m_deaths(deaths), m_name(std::move(name)) {}
    ~Mortal() override {
        m_deaths.push_back(m_name);
        if (releasedLater) releasedLater->takeTimedReference();
    }

    Object* releasedLater = nullptr;

private:
    std::vector<std::string>& m_deaths;
    std::string m_name;
};

class OnStack : public UnmanagedObject {
    QEL_CLASS(OnStack, UnmanagedObject)

public:
    explicit OnStack(bool* died = nullptr) : m_died(died) {}
    OnStack(const OnStack& other) = default;
    ~OnStack() override {
        if (m_died) *m_died = true;
    }

private:
    bool* m_died;
};

class ObjectTest : public ::testing::Test {
protected:
    std::vector<std::string> deaths;
};

std::vector<std::string> names(const ClassChain& chain) {
    std::vector<std::string> result;
    for (const char* name : chain) result.emplace_back(name ? name : "null");
    return result;
}

TEST(ClassNameTest, AChainReadsFromObjectDownAndEndsInNulls) {
    const OnStack object;
    const Object& base = object;
    std::vector<std::string> expected(16, "null");
    expected[0] = "Object";
    expected[1] = "UnmanagedObject";
    expected[2] = "OnStack";
    EXPECT_EQ(names(base.getDynamicClassChain()), expected);
    EXPECT_EQ(names(OnStack::getStaticClassChain()), expected);
    EXPECT_STREQ(base.getDynamicClassName(), "OnStack");
    EXPECT_STREQ(Object::getStaticClassName(), "Object");
}

TEST(ClassNameTest, AFullChainTakesNoMoreNames) {
    ClassChain chain{};
    EXPECT_EQ(internal::appendClassName(chain, 15, "last"), 16);
    EXPECT_EQ(internal::appendClassName(chain, 16, "one too many"), 16);
    EXPECT_STREQ(chain[15], "last");
}

TEST_F(ObjectTest, TheLastReleaseDeletes) {
    SmartPointer<Mortal> first(new Mortal(deaths, "a"));
    SmartPointer<Object> second = first;
    EXPECT_EQ(first->getReferenceCount(), 2);
    first.reset();
    EXPECT_TRUE(deaths.empty());
    second = nullptr;
    EXPECT_EQ(deaths, std::vector<std::string>{"a"});
}

TEST_F(ObjectTest, ReleasingSeveralReferencesAtOnceDeletesOnExactlyZero) {
    auto* object = new Mortal(deaths, "a");
    object->increaseReferenceCountBy(5);
    object->decreaseReferenceCountBy(3);
    EXPECT_TRUE(deaths.empty());
    object->decreaseReferenceCountBy(2);
    EXPECT_EQ(deaths.size(), 1u);
}

TEST_F(ObjectTest, ReassigningAPointerToItselfKeepsTheObject) {
    SmartPointer<Mortal> pointer(new Mortal(deaths, "a"));
    pointer = SmartPointer<Mortal>(pointer.get());
    EXPECT_EQ(pointer->getReferenceCount(), 1);
    EXPECT_TRUE(deaths.empty());
}

TEST_F(ObjectTest, CopiesAndAssignmentsLeaveTheCountsAlone) {
    const SmartPointer<Mortal> held(new Mortal(deaths, "a"));
    Mortal copy(*held);
    EXPECT_EQ(copy.getReferenceCount(), 0);
    copy.increaseReferenceCount();
    static_cast<Object&>(copy) = *held;
    EXPECT_EQ(copy.getReferenceCount(), 1);
    EXPECT_EQ(held->getReferenceCount(), 1);
}

TEST(UnmanagedObjectTest, ASmartPointerDeletesACopyOnly) {
    bool died = false;
    auto* original = new OnStack(&died);
    SmartPointer<OnStack>(original).reset();
    EXPECT_FALSE(died);
    SmartPointer<OnStack>(new OnStack(*original)).reset();
    EXPECT_TRUE(died);
    delete original;
}

TEST_F(ObjectTest, ATimedReferenceKeepsAnObjectAliveUntilTheMainLoopReleasesIt) {
    SmartPointer<Mortal>(new Mortal(deaths, "a"))->takeTimedReference();
    EXPECT_TRUE(deaths.empty());
    EXPECT_TRUE(internal::removeAllTimedReferences());
    EXPECT_EQ(deaths.size(), 1u);
    EXPECT_FALSE(internal::removeAllTimedReferences());
}

TEST_F(ObjectTest, TimedReferencesEndLastInFirstOutWithWhatDyingObjectsAdd) {
    auto* added = new Mortal(deaths, "added");
    auto* first = new Mortal(deaths, "first");
    auto* second = new Mortal(deaths, "second");
    second->releasedLater = added;
    first->takeTimedReference();
    second->takeTimedReference();
    EXPECT_TRUE(internal::removeAllTimedReferences());
    EXPECT_EQ(deaths, (std::vector<std::string>{"second", "added", "first"}));
}

TEST_F(ObjectTest, AHandedOverReferenceIsTheCallersOwn) {
    auto* object = new Mortal(deaths, "a");
    object->increaseReferenceCount();
    object->decreaseReferenceCountAsyncOnMain();
    EXPECT_EQ(object->getReferenceCount(), 1);
    internal::removeAllTimedReferences();
    EXPECT_EQ(deaths.size(), 1u);
}

TEST(SingletonTest, ANullForAnUnknownNameChangesNothing) {
    EXPECT_EQ(Object::setSingleton("nobody", nullptr), nullptr);
    EXPECT_EQ(Object::getSingletonObject("nobody"), nullptr);
}

TEST_F(ObjectTest, ASingletonIsHeldUntilItIsReplacedErasedOrDiscarded) {
    auto* a = new Mortal(deaths, "a");
    EXPECT_EQ(Object::setSingleton("test", a), a);
    EXPECT_EQ(Object::getSingletonObject("test"), a);
    EXPECT_EQ(a->getReferenceCount(), 1);
    Object::setSingleton("test", new Mortal(deaths, "b"));
    EXPECT_EQ(deaths, std::vector<std::string>{"a"});
    Object::setSingleton("test", nullptr);
    EXPECT_EQ(deaths, (std::vector<std::string>{"a", "b"}));
    Object::setSingleton("test", new Mortal(deaths, "c"));
    Object::discardSingletons();
    EXPECT_EQ(deaths, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(Object::getSingletonObject("test"), nullptr);
}

TEST_F(ObjectTest, ThreadsMayTakeAndReleaseReferencesAtOnce) {
    auto* object = new Mortal(deaths, "a");
    std::vector<std::thread> threads;
    object->increaseReferenceCountBy(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([object] {
            for (int n = 0; n < 1000; ++n) SmartPointer<Mortal> held(object);
            object->decreaseReferenceCount();
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(deaths.size(), 1u);
}

} // namespace
} // namespace qel
