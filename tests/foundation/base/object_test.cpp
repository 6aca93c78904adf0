#include <qel/foundation/base/object.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/timed_references.h>
#include <qel/foundation/base/unmanaged_object.h>
#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <string>
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
    explicit OnStack(int& deaths) : m_deaths(deaths) {}
    OnStack(const OnStack& other) = default;
    ~OnStack() override { ++m_deaths; }

private:
    int& m_deaths;
};

using Names = std::vector<std::string>;

class ObjectTest : public ::testing::Test {
protected:
    Names deaths;
};

Names namesOf(const ClassChain& chain) {
    Names names;
    for (const char* name : chain) names.emplace_back(name ? name : "null");
    return names;
}

TEST(ClassNameTest, AChainReadsFromObjectDownAndEndsInNulls) {
    int deaths = 0;
    const OnStack object(deaths);
    Names expected = {"Object", "UnmanagedObject", "OnStack"};
    expected.resize(16, "null");
    EXPECT_EQ(namesOf(static_cast<const Object&>(object).getDynamicClassChain()), expected);
    EXPECT_EQ(namesOf(OnStack::getStaticClassChain()), expected);
    EXPECT_STREQ(object.getDynamicClassName(), "OnStack");
}

TEST(ClassNameTest, AFullChainTakesNoMoreNames) {
    ClassChain chain{};
    EXPECT_EQ(internal::appendClassName(chain, 15, "last"), 16);
    EXPECT_EQ(internal::appendClassName(chain, 16, "one too many"), 16);
    EXPECT_STREQ(chain[15], "last");
}

TEST_F(ObjectTest, TheReleaseOfExactlyTheLastReferenceDeletes) {
    auto* object = new Mortal(deaths, "a");
    SmartPointer<Object> pointer(object);
    pointer = SmartPointer<Object>(object); // to itself
    object->increaseReferenceCountBy(5);
    EXPECT_EQ(object->getReferenceCount(), 6);
    pointer = nullptr;
    object->decreaseReferenceCountBy(3);
    EXPECT_TRUE(deaths.empty());
    object->decreaseReferenceCountBy(2);
    EXPECT_EQ(deaths.size(), 1u);
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
    int deaths = 0;
    OnStack original(deaths);
    SmartPointer<OnStack>(&original).reset();
    EXPECT_EQ(deaths, 0);
    SmartPointer<OnStack>(new OnStack(original)).reset();
    EXPECT_EQ(deaths, 1);
}

TEST_F(ObjectTest, TimedReferencesEndLastInFirstOutWithWhatDyingObjectsAdd) {
    auto* added = new Mortal(deaths, "added");
    auto* first = new Mortal(deaths, "first");
    auto* second = new Mortal(deaths, "second");
    second->releasedLater = added;
    first->takeTimedReference();
    second->increaseReferenceCount();
    second->decreaseReferenceCountAsyncOnMain(); // hands that reference over
    EXPECT_EQ(second->getReferenceCount(), 1);
    EXPECT_TRUE(deaths.empty());
    EXPECT_TRUE(internal::removeAllTimedReferences());
    EXPECT_EQ(deaths, (Names{"second", "added", "first"}));
    EXPECT_FALSE(internal::removeAllTimedReferences());
}

TEST_F(ObjectTest, ASingletonIsHeldUntilItIsReplacedErasedOrDiscarded) {
    auto* a = new Mortal(deaths, "a");
    EXPECT_EQ(Object::setSingleton("test", a), a);
    EXPECT_EQ(Object::getSingletonObject("test"), a);
    Object::setSingleton("test", new Mortal(deaths, "b"));
    EXPECT_EQ(deaths, Names{"a"});
    Object::setSingleton("test", nullptr);
    EXPECT_EQ(deaths, (Names{"a", "b"}));
    Object::setSingleton("test", new Mortal(deaths, "c"));
    Object::discardSingletons();
    EXPECT_EQ(deaths, (Names{"a", "b", "c"}));
    EXPECT_EQ(Object::getSingletonObject("test"), nullptr);
}

TEST_F(ObjectTest, ThreadsMayTakeAndReleaseReferencesAtOnce) {
    auto* object = new Mortal(deaths, "a");
    object->increaseReferenceCountBy(4);
    test::onThreads(4, [object](int) {
        for (int n = 0; n < 1000; ++n) SmartPointer<Mortal> held(object);
        object->decreaseReferenceCount();
    });
    EXPECT_EQ(deaths.size(), 1u);
}

} // namespace
} // namespace qel
