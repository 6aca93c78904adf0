#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/signal.h>

#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qel {
namespace {

class Counter : public Object {
public:
    int count() { return ++calls; }

    int calls = 0;
};

class SignalTest : public ::testing::Test {
protected:
    /// Connects a callable that writes @p letter and then does @p then.
    SignalConnection* connect(char letter, std::function<void()> then = {}) {
        return signal->connect([this, letter, then] {
            calls += letter;
            if (then) then();
        });
    }
    /// Calls of one emission or several, with a blank behind each.
    std::string emit(int times = 1) {
        calls.clear();
        while (times-- > 0) {
            (*signal)();
            calls += ' ';
        }
        return calls;
    }
    /// Does @p what on the first call only.
    static std::function<void()> once(std::function<void()> what) {
        return [what, done = std::make_shared<bool>(false)] {
            if (!std::exchange(*done, true)) what();
        };
    }

    std::unique_ptr<Signal<void()>> signal = std::make_unique<Signal<void()>>();
    std::string calls;
};

TEST_F(SignalTest, CallsInTheOrderOfConnectionAgainAndAgain) {
    EXPECT_STREQ(signal->getDynamicClassName(), "_Signal");
    EXPECT_EQ(emit(), " ");
    for (const char letter : {'a', 'b', 'c'}) connect(letter);
    EXPECT_EQ(emit(2), "abc abc ");
    Signal<void(std::string)> withArgument;
    for (int i = 0; i < 2; ++i) withArgument.connect([this](const std::string& text) { calls += text; });
    withArgument("xy");
    EXPECT_EQ(calls, "abc abc xyxy") << "each listener has the whole argument";
}

TEST_F(SignalTest, AListenerThatAnotherOneRemovedIsNotCalled) {
    SignalConnection* third = nullptr;
    connect('a', once([&] { signal->disconnect(third); }));
    connect('b');
    third = connect('c');
    EXPECT_EQ(emit(), "ab ");
    connect('d', [&] { signal->disconnectAll(); });
    connect('e');
    EXPECT_EQ(emit(2), "abd  ");
    EXPECT_FALSE(signal->isConnected());
}

TEST_F(SignalTest, AListenerMayDisconnectItselfAndStillUseItsStateAndThrow) {
    connect('b');
    for (const bool throws : {false, true}) {
        SignalConnection* self = nullptr;
        const auto state = std::make_shared<char>('a');
        self = signal->connect([&, state] {
            signal->disconnect(self);
            calls += *state;
            if (throws) throw *state;
        });
        connect(throws ? 'd' : 'c');
        try {
            EXPECT_EQ(emit(), "bac ");
        } catch (char) {
            EXPECT_EQ(calls, "bca");
        }
        EXPECT_EQ(state.use_count(), 1);
    }
    EXPECT_EQ(emit(), "dbc ") << "complete, behind the one that threw";
}

TEST_F(SignalTest, AListenerThatDestroysItsObjectGoesAndTheOthersAreCalledOnce) {
    auto object = std::make_unique<Object>();
    connect('a');
    signal->connect(object.get(), [&] {
        calls += 'b';
        object.reset();
    });
    connect('c');
    EXPECT_EQ(emit(2), "abc ac ");
}

TEST_F(SignalTest, AListenerAddedInAnEmissionTakesItsPlaceBehindTheCallingOne) {
    connect('a', once([&] { connect('x'); }));
    EXPECT_EQ(emit(), "a ");
    connect('b', once([&] { connect('y'); }));
    connect('c');
    EXPECT_EQ(emit(2), "axbc axbyc ");
}

TEST_F(SignalTest, ANestedEmissionCallsTheRestAndTheOuterOneStartsOver) {
    connect('a', once([&] { (*signal)(); }));
    EXPECT_EQ(emit(), "aa ") << "the only listener";
    connect('b', once([&] { (*signal)(); }));
    connect('c');
    EXPECT_EQ(emit(), "abcabc ");
}

TEST_F(SignalTest, AConnectionThatNestedCallsRemovedLivesUntilTheOutermostReturns) {
    const auto state = std::make_shared<int>(1);
    SignalConnection* self = nullptr;
    self = signal->connect([&, state] {
        if (calls.empty()) {
            calls += 'a';
            (*signal)();
        } else {
            signal->disconnect(self);
        }
        calls += std::to_string(*state);
    });
    EXPECT_EQ(emit(), "a11 ");
    EXPECT_EQ(state.use_count(), 1);
}

TEST_F(SignalTest, AListenerMayDestroyTheSignalInANestedEmissionToo) {
    for (const bool nests : {false, true}) {
        signal = std::make_unique<Signal<void()>>();
        const auto state = std::make_shared<char>('x');
        if (nests) connect('a', once([&] { (*signal)(); }));
        signal->connect([this, state] {
            signal.reset();
            calls += *state;
        });
        if (!nests) connect('y');
        EXPECT_EQ(emit(), nests ? "ax " : "x ");
        EXPECT_EQ(state.use_count(), 1);
    }
}

TEST_F(SignalTest, SignalsAndListenersMayOutliveEachOther) {
    Counter late;
    {
        Counter member;
        Object context;
        for (Counter* counter : {&member, &late, static_cast<Counter*>(nullptr)})
            signal->connect(counter, &Counter::count);
        signal->connect(&context, [this] { calls += 'x'; });
        EXPECT_EQ(emit(), "x ");
        EXPECT_EQ(member.calls, 1);
    }
    EXPECT_EQ(emit(), " ");
    EXPECT_EQ(late.calls, 2);
    signal.reset();
}

TEST_F(SignalTest, DisconnectRefusesWhatIsNotItsConnection) {
    Signal<void()> other;
    SignalConnection* own = connect('a');
    EXPECT_FALSE(signal->disconnect(other.connect([] {})));
    EXPECT_TRUE(signal->disconnect(own));
    EXPECT_FALSE(signal->disconnect(own));
}

TEST(DelegateTest, UnconnectedLogsOnceIfThereIsAResultAndGivesAnEmptyValue) {
    test::LogCapture log;
    Delegate<void()>()();
    EXPECT_TRUE(log.take().empty());
    Delegate<int()> number;
    for (int call = 0; call < 2; ++call) EXPECT_EQ(number(), 0);
    log.expect(3, "delegate called without a listener");
    EXPECT_TRUE(log.take().empty());
    EXPECT_TRUE(Delegate<const std::vector<int>&()>()().empty());
    log.expect(3, "delegate called without a listener");
}

TEST(DelegateTest, TheLastListenerWinsAndTheFirstIsForgotten) {
    Delegate<int()> delegate;
    auto first = std::make_unique<Counter>();
    delegate.connect(first.get(), &Counter::count);
    EXPECT_EQ(delegate(), 1);
    delegate.connect([] { return 2; });
    first.reset(); // its death must not end the second connection
    EXPECT_EQ(delegate(), 2);
}

TEST(DelegateTest, AListenerMayReplaceItselfOrDestroyTheDelegateAndStillUseItsState) {
    for (const bool destroys : {false, true}) {
        auto delegate = std::make_unique<Delegate<std::string()>>();
        const auto state = std::make_shared<std::string>("old");
        delegate->connect([&delegate, destroys, state] {
            delegate->connect([] { return std::string("new"); });
            if (destroys) delegate.reset();
            return *state;
        });
        EXPECT_EQ((*delegate)(), "old");
        EXPECT_EQ(state.use_count(), 1);
        EXPECT_EQ(delegate ? (*delegate)() : "gone", destroys ? "gone" : "new");
    }
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
