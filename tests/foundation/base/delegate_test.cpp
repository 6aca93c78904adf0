#include <qel/foundation/base/delegate.h>

#include "../../support/log_capture.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace qel {
namespace {

class Doubler : public Object {
public:
    explicit Doubler(std::vector<int>* deaths = nullptr) : m_deaths(deaths) {}
    ~Doubler() override {
        if (m_deaths) m_deaths->push_back(1);
    }
    int twice(int n) const { return 2 * n; }

private:
    std::vector<int>* m_deaths;
};

TEST(DelegateTest, GivesTheListenersResult) {
    Delegate<int(int)> delegate;
    EXPECT_FALSE(delegate.isConnected());
    const Doubler doubler;
    delegate.connect(const_cast<Doubler*>(&doubler), &Doubler::twice);
    EXPECT_TRUE(static_cast<bool>(delegate));
    EXPECT_EQ(delegate(21), 42);
}

TEST(DelegateTest, UnconnectedWithoutAResultDoesNothing) {
    Delegate<void(int&)> delegate;
    int n = 1;
    delegate(n);
    EXPECT_EQ(n, 1);
}

TEST(DelegateTest, UnconnectedWithAResultLogsOnceAndGivesAnEmptyValue) {
    test::LogCapture log;
    Delegate<int()> number;
    Delegate<const std::vector<int>&()> list;
    EXPECT_EQ(number(), 0);
    EXPECT_EQ(number(), 0);
    log.expect(3, "delegate called without a listener");
    EXPECT_TRUE(log.take().empty());
    EXPECT_TRUE(list().empty());
    log.expect(3, "delegate called without a listener");
}

TEST(DelegateTest, TheLastListenerWinsAndTheFirstIsForgotten) {
    Delegate<int(int)> delegate;
    auto first = std::make_unique<Doubler>();
    delegate.connect(first.get(), &Doubler::twice);
    delegate.connect([](int n) { return n + 1; });
    first.reset(); // its death must not end the second connection
    EXPECT_EQ(delegate(1), 2);
}

TEST(DelegateTest, EndsWithItsTarget) {
    Delegate<void()> delegate;
    {
        Doubler target;
        delegate.connect(&target, [] {});
        EXPECT_TRUE(delegate.isConnected());
    }
    EXPECT_FALSE(delegate.isConnected());
}

TEST(DelegateTest, AListenerMayReplaceItselfAndStillUseItsState) {
    Delegate<std::string()> delegate;
    const auto state = std::make_shared<std::string>("old");
    delegate.connect([&delegate, state] {
        delegate.connect([] { return std::string("new"); });
        return *state;
    });
    EXPECT_EQ(delegate(), "old");
    EXPECT_EQ(delegate(), "new");
    EXPECT_EQ(state.use_count(), 1);
}

TEST(DelegateTest, AListenerMayDestroyTheDelegate) {
    auto delegate = std::make_unique<Delegate<int()>>();
    const auto state = std::make_shared<int>(7);
    delegate->connect([&delegate, state] {
        delegate.reset();
        return *state;
    });
    EXPECT_EQ((*delegate)(), 7);
    EXPECT_EQ(state.use_count(), 1);
}

TEST(DelegateTest, ReferencesGoBothWays) {
    Delegate<std::vector<int>&(std::vector<int>&)> delegate;
    delegate.connect([](std::vector<int>& list) -> std::vector<int>& { return list; });
    std::vector<int> list;
    EXPECT_EQ(&delegate(list), &list);
}

TEST(DelegateTest, ArgumentsByValueReachTheListenerByMove) {
    Delegate<void(std::unique_ptr<int>)> delegate;
    int seen = 0;
    delegate.connect([&](std::unique_ptr<int> value) { seen = *value; });
    delegate(std::make_unique<int>(5));
    EXPECT_EQ(seen, 5);
}

TEST(DelegateTest, CallableStateDiesWithTheConnection) {
    const auto state = std::make_shared<int>(1);
    Delegate<void()> delegate;
    SignalConnection* connection = delegate.connect([state] {});
    EXPECT_EQ(state.use_count(), 2);
    EXPECT_TRUE(delegate.disconnect(connection));
    EXPECT_EQ(state.use_count(), 1);
}

} // namespace
} // namespace qel
