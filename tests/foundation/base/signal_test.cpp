#include <qel/foundation/base/signal.h>

#include <qel/foundation/base/smart_pointer.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace qel {
namespace {

/// A listener object that appends its letter to a text and then does what it is told.
class Letter : public Object {
    QEL_CLASS(Letter, Object)

public:
    Letter(std::string& text, char letter) : m_text(text), m_letter(letter) {}
    void slotCalled() {
        m_text += m_letter;
        if (then) then();
    }

    std::function<void()> then;

private:
    std::string& m_text;
    char m_letter;
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

TEST_F(SignalTest, NamesItselfAndItsChain) {
    EXPECT_STREQ(signal->getDynamicClassName(), "_Signal");
    EXPECT_STREQ(signal->getDynamicClassChain()[0], "Object");
    EXPECT_STREQ(signal->getDynamicClassChain()[1], "_Signal");
    EXPECT_EQ(signal->getDynamicClassChain()[2], nullptr);
}

TEST_F(SignalTest, CallsInTheOrderOfConnectionAgainAndAgain) {
    EXPECT_EQ(emit(), "");
    connect('a');
    EXPECT_EQ(emit(), "a");
    connect('b');
    connect('c');
    EXPECT_EQ(emit(), "abc");
    EXPECT_EQ(emit(), "abc");
}

TEST_F(SignalTest, EveryListenerGetsTheArguments) {
    Signal<void(int, const std::string&)> withArguments;
    std::string text;
    for (int i = 0; i < 2; ++i) {
        withArguments.connect([&](int n, const std::string& s) { text += std::to_string(n) + s; });
    }
    withArguments(7, "x");
    EXPECT_EQ(text, "7x7x");
}

TEST_F(SignalTest, AListenerThatAnotherOneRemovedIsNotCalled) {
    SignalConnection* third = nullptr;
    connect('a');
    connect('b', [&] { signal->disconnect(third); });
    third = connect('c');
    EXPECT_EQ(emit(), "ab");
}

TEST_F(SignalTest, AListenerMayDisconnectItselfAndStillUseItsState) {
    SignalConnection* self = nullptr;
    connect('a');
    const auto state = std::make_shared<std::string>("alive");
    std::string seen;
    self = signal->connect([&, state] {
        signal->disconnect(self);
        seen = *state;
    });
    connect('c');
    EXPECT_EQ(emit(), "ac");
    EXPECT_EQ(seen, "alive");
    EXPECT_EQ(state.use_count(), 1);
}

TEST_F(SignalTest, AListenerThatDestroysItsObjectGoesAndTheOthersAreCalledOnce) {
    auto object = std::make_unique<Letter>(calls, 'b');
    object->then = [&] { object.reset(); };
    connect('a');
    signal->connect(object.get(), &Letter::slotCalled);
    connect('c');
    EXPECT_EQ(emit(), "abc");
    EXPECT_EQ(emit(), "ac");
}

TEST_F(SignalTest, AListenerAddedInAnEmissionTakesItsPlaceBehindTheCallingOne) {
    connect('a', once([&] { connect('x'); }));
    connect('b');
    EXPECT_EQ(emit(), "ab");
    EXPECT_EQ(emit(), "axb");
}

TEST_F(SignalTest, TheOnlyListenerMayAddOthersForTheNextEmission) {
    connect('a', once([&] { connect('b'); }));
    EXPECT_EQ(emit(), "a");
    EXPECT_EQ(emit(), "ab");
}

TEST_F(SignalTest, ANestedEmissionCallsTheRestAndTheOuterOneStartsOver) {
    connect('a');
    connect('b', once([&] { (*signal)(); }));
    connect('c');
    EXPECT_EQ(emit(), "abcabc");
    EXPECT_EQ(emit(), "abc");
}

TEST_F(SignalTest, TheOnlyListenerMayEmitAnew) {
    connect('a', once([&] { (*signal)(); }));
    EXPECT_EQ(emit(), "aa");
}

TEST_F(SignalTest, AConnectionThatNestedCallsRemovedLivesUntilTheOutermostReturns) {
    const auto state = std::make_shared<int>(1);
    SignalConnection* self = nullptr;
    int depth = 0;
    self = signal->connect([&, state] {
        if (++depth == 1) {
            (*signal)();
            calls += std::to_string(*state);
        } else {
            signal->disconnect(self);
            calls += std::to_string(*state + 1);
        }
    });
    EXPECT_EQ(emit(), "21");
    EXPECT_EQ(state.use_count(), 1);
}

TEST_F(SignalTest, AListenerMayDestroyTheSignal) {
    for (int others : {0, 2}) {
        signal = std::make_unique<Signal<void()>>();
        calls.clear();
        const auto state = std::make_shared<std::string>("x");
        signal->connect([this, state] {
            signal.reset();
            calls += *state;
        });
        for (int i = 0; i < others; ++i) connect('y');
        (*signal)();
        EXPECT_EQ(calls, "x");
        EXPECT_EQ(state.use_count(), 1);
    }
}

TEST_F(SignalTest, ANestedEmissionMayDestroyTheSignal) {
    connect('a', [&] {
        if (signal) (*signal)();
    });
    connect('b', [&] { signal.reset(); });
    (*signal)();
    EXPECT_EQ(calls, "ab");
}

TEST_F(SignalTest, AListenerMayDisconnectEverybody) {
    connect('a', [&] { signal->disconnectAll(); });
    connect('b');
    EXPECT_EQ(emit(), "a");
    EXPECT_FALSE(signal->isConnected());
    EXPECT_EQ(emit(), "");
}

TEST_F(SignalTest, AnExceptionLeavesTheNextEmissionComplete) {
    connect('a');
    connect('b', once([] { throw 1; }));
    connect('c');
    EXPECT_THROW((*signal)(), int);
    EXPECT_EQ(emit(), "cab");
    EXPECT_EQ(emit(), "cab");
}

TEST_F(SignalTest, OutlivesItsListenersAndEmitsNothing) {
    {
        Letter listener(calls, 'a');
        signal->connect(&listener, &Letter::slotCalled);
        EXPECT_EQ(emit(), "a");
    }
    EXPECT_FALSE(signal->isConnected());
    EXPECT_EQ(emit(), "");
}

TEST_F(SignalTest, ACallableMayEndWithAnObject) {
    std::optional<Object> object(std::in_place);
    signal->connect(&*object, [this] { calls += 'x'; });
    EXPECT_EQ(emit(), "x");
    object.reset();
    EXPECT_EQ(emit(), "");
}

TEST_F(SignalTest, AMemberOfNoObjectIsNeverCalled) {
    signal->connect(static_cast<Letter*>(nullptr), &Letter::slotCalled);
    connect('b');
    EXPECT_EQ(emit(), "b");
}

TEST_F(SignalTest, AListenerMayOutliveTheSignal) {
    Letter listener(calls, 'a');
    signal->connect(&listener, &Letter::slotCalled);
    signal.reset();
    listener.slotCalled();
    EXPECT_EQ(calls, "a");
}

TEST_F(SignalTest, DisconnectRefusesWhatIsNotItsConnection) {
    Signal<void()> other;
    SignalConnection* foreign = other.connect([] {});
    EXPECT_FALSE(signal->disconnect(foreign));
    SignalConnection* own = connect('a');
    EXPECT_FALSE(signal->disconnect(foreign));
    EXPECT_TRUE(signal->disconnect(own));
    EXPECT_FALSE(signal->disconnect(own));
}

} // namespace
} // namespace qel
