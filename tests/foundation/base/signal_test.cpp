#include <qel/foundation/base/signal.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace qel {
namespace {

class Counter : public Object {
public:
    void slotCalled() { ++calls; }

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
    /// Calls of one emission.
    std::string emit() {
        calls.clear();
        (*signal)();
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
    EXPECT_EQ(emit(), "");
    for (const char letter : {'a', 'b', 'c'}) connect(letter);
    EXPECT_EQ(emit(), "abc");
    EXPECT_EQ(emit(), "abc");
    Signal<void(const std::string&)> withArgument;
    for (int i = 0; i < 2; ++i) withArgument.connect([this](const std::string& text) { calls += text; });
    withArgument("xy");
    EXPECT_EQ(calls, "abcxyxy");
}

TEST_F(SignalTest, AListenerThatAnotherOneRemovedIsNotCalled) {
    SignalConnection* third = nullptr;
    connect('a', once([&] { signal->disconnect(third); }));
    connect('b');
    third = connect('c');
    EXPECT_EQ(emit(), "ab");
    connect('d', [&] { signal->disconnectAll(); });
    connect('e');
    EXPECT_EQ(emit(), "abd");
    EXPECT_FALSE(signal->isConnected());
    EXPECT_EQ(emit(), "");
}

TEST_F(SignalTest, AListenerMayDisconnectItselfAndStillUseItsState) {
    SignalConnection* self = nullptr;
    const auto state = std::make_shared<char>('a');
    self = signal->connect([&, state] {
        signal->disconnect(self);
        calls += *state;
    });
    connect('b');
    EXPECT_EQ(emit(), "ab");
    EXPECT_EQ(emit(), "b");
    EXPECT_EQ(state.use_count(), 1);
}

TEST_F(SignalTest, AListenerThatDestroysItsObjectGoesAndTheOthersAreCalledOnce) {
    auto object = std::make_unique<Object>();
    connect('a');
    signal->connect(object.get(), [&] {
        calls += 'b';
        object.reset();
    });
    connect('c');
    EXPECT_EQ(emit(), "abc");
    EXPECT_EQ(emit(), "ac");
}

TEST_F(SignalTest, AListenerAddedInAnEmissionTakesItsPlaceBehindTheCallingOne) {
    connect('a', once([&] { connect('x'); }));
    EXPECT_EQ(emit(), "a");
    connect('b', once([&] { connect('y'); }));
    connect('c');
    EXPECT_EQ(emit(), "axbc");
    EXPECT_EQ(emit(), "axbyc");
}

TEST_F(SignalTest, ANestedEmissionCallsTheRestAndTheOuterOneStartsOver) {
    connect('a', once([&] { (*signal)(); }));
    EXPECT_EQ(emit(), "aa") << "the only listener";
    connect('b', once([&] { (*signal)(); }));
    connect('c');
    EXPECT_EQ(emit(), "abcabc");
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
    EXPECT_EQ(emit(), "a11");
    EXPECT_EQ(state.use_count(), 1);
}

TEST_F(SignalTest, AListenerRemovedInANestedEmissionKeepsItsStateUntilItReturns) {
    const auto state = std::make_shared<int>(1);
    SignalConnection* self = signal->connect([&, state] {
        (*signal)();
        calls += std::to_string(*state);
    });
    connect('b', once([&] { signal->disconnect(self); }));
    EXPECT_EQ(emit(), "b1b");
    EXPECT_EQ(state.use_count(), 1);
}

TEST_F(SignalTest, AListenerMayRemoveItselfAndThrow) {
    const auto state = std::make_shared<int>(1);
    SignalConnection* self = nullptr;
    self = signal->connect([&, state] {
        signal->disconnect(self);
        throw *state;
    });
    connect('b');
    EXPECT_THROW((*signal)(), int);
    EXPECT_EQ(state.use_count(), 1);
    EXPECT_EQ(emit(), "b");
}

TEST_F(SignalTest, AListenerMayDestroyTheSignal) {
    for (int others : {0, 2}) {
        signal = std::make_unique<Signal<void()>>();
        const auto state = std::make_shared<char>('x');
        signal->connect([this, state] {
            signal.reset();
            calls += *state;
        });
        for (int i = 0; i < others; ++i) connect('y');
        EXPECT_EQ(emit(), "x");
        EXPECT_EQ(state.use_count(), 1);
    }
}

TEST_F(SignalTest, ANestedEmissionMayDestroyTheSignal) {
    connect('a', once([&] { (*signal)(); }));
    connect('b', [&] { signal.reset(); });
    EXPECT_EQ(emit(), "ab");
}

TEST_F(SignalTest, AnExceptionLeavesTheNextEmissionComplete) {
    connect('a');
    connect('b', once([] { throw 1; }));
    connect('c');
    EXPECT_THROW(emit(), int);
    EXPECT_EQ(emit(), "cab");
}

TEST_F(SignalTest, SignalsAndListenersMayOutliveEachOther) {
    {
        Counter member;
        Object context;
        signal->connect(&member, &Counter::slotCalled);
        signal->connect(&context, [this] { calls += 'x'; });
        EXPECT_EQ(emit(), "x");
        EXPECT_EQ(member.calls, 1);
    }
    EXPECT_FALSE(signal->isConnected());
    Counter late;
    signal->connect(static_cast<Counter*>(nullptr), &Counter::slotCalled);
    signal->connect(&late, &Counter::slotCalled);
    EXPECT_EQ(emit(), "");
    EXPECT_EQ(late.calls, 1);
    signal.reset();
}

TEST_F(SignalTest, DisconnectRefusesWhatIsNotItsConnection) {
    Signal<void()> other;
    SignalConnection* foreign = other.connect([] {});
    SignalConnection* own = connect('a');
    EXPECT_FALSE(signal->disconnect(foreign));
    EXPECT_TRUE(signal->disconnect(own));
    EXPECT_FALSE(signal->disconnect(own));
}

} // namespace
} // namespace qel
