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
    int twice(int n) const { return 2 * n; }
};

TEST(DelegateTest, UnconnectedLogsOnceIfThereIsAResultAndGivesAnEmptyValue) {
    test::LogCapture log;
    Delegate<void()>()();
    EXPECT_TRUE(log.take().empty());
    Delegate<int()> number;
    EXPECT_EQ(number(), 0);
    EXPECT_EQ(number(), 0);
    log.expect(3, "delegate called without a listener");
    EXPECT_TRUE(log.take().empty());
    EXPECT_TRUE(Delegate<const std::vector<int>&()>()().empty());
    log.expect(3, "delegate called without a listener");
}

TEST(DelegateTest, TheLastListenerWinsAndTheFirstIsForgotten) {
    Delegate<int(int)> delegate;
    auto first = std::make_unique<Doubler>();
    delegate.connect(first.get(), &Doubler::twice);
    EXPECT_EQ(delegate(21), 42);
    delegate.connect([](int n) { return n + 1; });
    first.reset(); // its death must not end the second connection
    EXPECT_EQ(delegate(1), 2);
}

TEST(DelegateTest, EndsWithItsTarget) {
    Delegate<void()> delegate;
    {
        Doubler target;
        delegate.connect(&target, [] {});
        EXPECT_TRUE(static_cast<bool>(delegate));
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

TEST(DelegateTest, ReferencesGoBothWaysAndValuesAreMoved) {
    Delegate<int&(int&, std::unique_ptr<int>)> delegate;
    delegate.connect([](int& sum, std::unique_ptr<int> value) -> int& { return sum += *value; });
    int sum = 1;
    EXPECT_EQ(&delegate(sum, std::make_unique<int>(5)), &sum);
    EXPECT_EQ(sum, 6);
}

} // namespace
} // namespace qel
