#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/signal.h>

#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <sstream>
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
    /// Connects a listener that writes its letter and on each call performs the actions in its next brackets:
    /// "+x" connects x, "-x" disconnects x, "!" emits, "0" disconnects all, "~" destroys the signal, "@"
    /// destroys the object that capital letters are connected to, "^" throws.
    void connect(const std::string& word) {
        const std::function<void()> listener = [this, word, next = size_t{1}, held = m_held]() mutable {
            m_calls += word[0];
            if (next == word.size()) return;
            m_calls += '(';
            const size_t begin = next + 1;
            next = word.find(')', begin) + 1;
            for (size_t at = begin; word[at] != ')'; ++at) act(word[at], word[at + 1]);
            m_calls += word.back(); // the captured state must still be valid
        };
        m_connections[word[0]] =
            word[0] < 'a' ? m_signal->connect(m_object.get(), listener) : m_signal->connect(listener);
    }
    void act(char what, char whom) {
        if (what == '+') connect(std::string(1, whom));
        if (what == '-') m_signal->disconnect(m_connections[whom]);
        if (what == '!') (*m_signal)();
        if (what == '0') m_signal->disconnectAll();
        if (what == '~') m_signal.reset();
        if (what == '@') m_object.reset();
        if (what == '^') throw what;
    }
    /// Emits twice to these listeners. @return what they write, and the number that is left.
    std::string emitTwice(const std::string& listeners) {
        m_calls.clear();
        m_signal = std::make_unique<Signal<void()>>();
        m_object = std::make_unique<Object>();
        std::istringstream words(listeners);
        for (std::string word; words >> word;) connect(word);
        for (int i = 0; i < 2 && m_signal; ++i) {
            try {
                (*m_signal)();
            } catch (char thrown) {
                m_calls += thrown;
            }
            m_calls += ' ';
        }
        return m_calls + std::to_string(m_held.use_count() - 1);
    }

private:
    std::unique_ptr<Signal<void()>> m_signal;
    std::unique_ptr<Object> m_object;
    std::map<char, SignalConnection*> m_connections;
    std::string m_calls;
    const std::shared_ptr<int> m_held = std::make_shared<int>();
};

TEST_F(SignalTest, ListenersMayChangeTheSignalDuringAnEmission) {
    const struct {
        const char *listeners, *result, *rule;
    } cases[] = {
        {"a b c", "abc abc 3", "listeners are called in the order of connection"},
        {"a(-c) b c", "a()b ab 2", "a removed listener is not called"},
        {"a b(0) c", "ab()  0", "nor is any after all were removed"},
        {"a b(-b) c", "ab()c ac 2", "a listener may remove itself"},
        {"a b(-b^) c", "ab(^ ca 2", "and throw: the next emission begins after it"},
        {"a B(@) C d", "aB()d ad 2", "the listeners of an object end with it"},
        {"a(+x) b(+y) c", "a()b()c axbyc 5", "an added listener follows the one that added it"},
        {"a(!)", "a(a) a 1", "a nested emission of the only listener calls nothing"},
        {"a b(!) c", "ab(c)abc abc 3", "a nested emission calls the rest, then the outer one starts over"},
        {"a(!)(-a)", "a(a())  0", "a removed listener stays alive until its outermost call returns"},
        {"a(~) b", "a() 0", "a listener may destroy the signal"},
        {"a(!) b(~) c", "a(b()) 0", "also in a nested emission"},
    };
    for (const auto& [listeners, result, rule] : cases) EXPECT_EQ(emitTwice(listeners), result) << rule;
}

TEST(Signal, SignalsAndListenersMayOutliveEachOther) {
    Counter late;
    Signal<void()> signal;
    EXPECT_STREQ(signal.getDynamicClassName(), "_Signal");
    {
        Counter member;
        for (Counter* counter : {&member, &late, static_cast<Counter*>(nullptr)})
            signal.connect(counter, &Counter::count);
        signal();
        EXPECT_EQ(member.calls, 1);
    }
    signal();
    EXPECT_EQ(late.calls, 2);
}

TEST(Signal, EveryListenerReceivesTheWholeArgument) {
    std::string calls;
    Signal<void(std::string)> signal;
    const auto note = [&calls](const std::string& text) { calls += text; };
    signal.connect(note);
    signal.connect(note);
    signal("xy");
    EXPECT_EQ(calls, "xyxy");
}

TEST(DelegateTest, UnconnectedReturnsAnEmptyValueAndLogsOnce) {
    test::LogCapture log;
    Delegate<void()>()();
    Delegate<int()> number;
    for (int call = 0; call < 2; ++call) EXPECT_EQ(number(), 0);
    log.expect(3, "delegate called without a listener"); // once
    EXPECT_TRUE(Delegate<const std::vector<int>&()>()().empty());
    log.expect(3, "delegate called without a listener");
}

TEST(DelegateTest, TheLastListenerReplacesTheFirst) {
    Delegate<int()> delegate;
    auto first = std::make_unique<Object>();
    delegate.connect(first.get(), [] { return 1; });
    delegate.connect([] { return 2; });
    first.reset(); // its death must not end the second connection
    EXPECT_EQ(delegate(), 2);
}

TEST(DelegateTest, AListenerKeepsItsStateWhenReplaced) {
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

} // namespace
} // namespace qel
