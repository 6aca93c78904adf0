#include <qel/system/tasks/spin_budget.h>

#include <gtest/gtest.h>

namespace qel::internal {
namespace {

TEST(SpinBudgetTest, VainTriesMakeItShortAndASuccessMakesItLongAgain) {
    SpinBudget budget;
    const int full = budget.rounds();
    for (int i = 0; i < 5; ++i) budget.note(false);
    EXPECT_LT(budget.rounds(), full / 10);
    budget.note(true);
    EXPECT_EQ(budget.rounds(), full);
}

TEST(SpinBudgetTest, ALongTryComesNowAndThenWhateverFails) {
    SpinBudget budget;
    const int full = budget.rounds();
    int longTries = 0;
    for (int i = 0; i < 160; ++i) {
        longTries += budget.rounds() == full;
        budget.note(false);
    }
    EXPECT_GT(longTries, 5);
    EXPECT_LT(longTries, 20);
}

} // namespace
} // namespace qel::internal
