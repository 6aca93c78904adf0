#include <tests/scene/actors/touch_list.h>
#include <tests/support/system_fixture.h>
#include <tests/support/threads.h>

#include <cmath>
#include <limits>

namespace qel {
namespace {

using test::rawTouch;
using test::rawTouches;

constexpr uint32 kAll = 0xFFFFFFFF;
constexpr Rect kEverywhere(-1e9f, -1e9f, 1e9f, 1e9f);

class Widget : public Object {
    QEL_CLASS(Widget, Object)
};

class TouchTest : public test::SystemFixture {
protected:
    void wait(int64 milliseconds) {
        clock.advanceMs(milliseconds);
        system().getTime();
    }
    uint32 now() { return system().getTimeFast(); }
    /// Runs the first half of a frame in which the display reports @p touches.
    void report(std::initializer_list<RawTouch> touches) {
        state().pushRawTouchList(rawTouches(touches).get());
        EXPECT_TRUE(state().prepareNewTouches());
    }
    /// As above, as a whole frame of 16 ms.
    void frame(std::initializer_list<RawTouch> touches) {
        report(touches);
        state().processedTick();
        wait(16);
    }
    RawTouch at(float x, float y, uint64 id = 1, uint32 flags = 1) {
        return rawTouch(id, {x, y}, now(), flags);
    }
    TouchState& state() { return *system().getTouchState(); }
    TouchButton& only() {
        EXPECT_EQ(state().getAllTouches().size(), 1u);
        return *state().getAllTouches().front();
    }

    Widget widget;
    Widget other;
};

// --- frames -----------------------------------------------------------------------------------------

TEST_F(TouchTest, APredicateMayEndTheTouchThatItAccepts) {
    report({at(10, 20)});
    state().acquireBegin(&widget, [this](const TouchButton&) {
        frame({});
        wait(2000);
        frame({});
        return true;
    });
    EXPECT_TRUE(state().getAllTouches().empty());
}

TEST_F(TouchTest, ATouchBeginsMovesAndEnds) {
    EXPECT_FALSE(state().prepareNewTouches());
    EXPECT_FALSE(state().isTouched());
    report({at(10, 20)});
    EXPECT_TRUE(only().isBegin());
    EXPECT_EQ(only().getPreviousPosition(), IVec2<float>(10, 20));
    EXPECT_EQ(only().getTapCount(), 1u);
    state().processedTick();
    EXPECT_FALSE(only().isBegin());
    wait(16);
    report({at(15, 25)});
    EXPECT_FALSE(only().isBegin());
    EXPECT_EQ(only().getPosition(), IVec2<float>(15, 25));
    EXPECT_EQ(only().getPreviousPosition(), IVec2<float>(10, 20));
    EXPECT_EQ(only().getBeginPosition(), IVec2<float>(10, 20));
    EXPECT_EQ(only().touchTime(), 16u);
    state().processedTick();
    wait(16);
    report({});
    EXPECT_TRUE(only().isEnd());
    EXPECT_EQ(only().getEndTime(), now());
    state().processedTick();
    EXPECT_TRUE(state().getAllTouches().empty());
}

TEST_F(TouchTest, AQuickTapIsSeenToBeginAndToEnd) {
    state().pushRawTouchList(rawTouches({at(1, 1)}).get());
    state().pushRawTouchList(rawTouches({}).get());
    EXPECT_TRUE(state().isTouched());
    EXPECT_TRUE(state().prepareNewTouches());
    EXPECT_TRUE(only().isBegin());
    state().processedTick();
    EXPECT_TRUE(state().prepareNewTouches());
    EXPECT_TRUE(only().isEnd());
    state().processedTick();
    EXPECT_FALSE(state().prepareNewTouches());
}

TEST_F(TouchTest, ValuesAreAddedAndSamplesReplaced) {
    RawTouch wheel = at(1, 1);
    wheel.value = 2;
    wheel.samples = {{{1, 1}, 5}, {{2, 2}, 6}};
    frame({wheel});
    EXPECT_TRUE(only().getSamples().empty()) << "the frame is over";
    for (const float value : {3.0f, std::numeric_limits<float>::quiet_NaN(), INFINITY, -INFINITY}) {
        wheel.value = value;
        report({wheel});
        EXPECT_EQ(only().getValue(), 5) << value;
        EXPECT_EQ(only().getSamples().size(), 2u);
    }
    EXPECT_EQ(only().takeValue(), 5);
    EXPECT_EQ(only().getValue(), 0);
}

// --- claiming ---------------------------------------------------------------------------------------

TEST_F(TouchTest, ATouchIsClaimedOnceWhenItBegins) {
    report({at(10, 10)});
    EXPECT_EQ(state().acquireBegin(nullptr, kAll), nullptr);
    EXPECT_EQ(state().acquireBegin(&widget, kAll), &only());
    EXPECT_EQ(only().getOwner(), &widget);
    EXPECT_EQ(state().acquireBegin(&other, kAll), nullptr);
    EXPECT_EQ(state().checkBegin(kAll), nullptr);
    state().transferOwner(&widget, &other);
    EXPECT_EQ(state().getFirstOwned(&other), &only());
    state().transferOwner(&other, nullptr);
    EXPECT_EQ(only().getOwner(), nullptr);
    state().processedTick();
    report({at(10, 10)});
    EXPECT_EQ(state().acquireBegin(&widget, kAll), nullptr);
}

TEST_F(TouchTest, EachFormAcceptsItsTouches) {
    report({at(10, 10, 1, 1), at(50, 50, 2, 2)});
    const auto position = [](const IVec2<float>& p) { return p.x > 20; };
    const auto second = [](const TouchButton& touch) { return touch.getRawId() == 2; };
    EXPECT_EQ(state().checkBegin(TouchState::TouchPredicate()), nullptr);
    EXPECT_EQ(state().checkBegin(2)->getRawId(), 2u);
    EXPECT_EQ(state().checkBegin(position, 1), nullptr);
    EXPECT_EQ(state().checkBegin(position, kAll)->getRawId(), 2u);
    EXPECT_EQ(state().checkBegin(second)->getRawId(), 2u);
    EXPECT_EQ(state().checkBegin(Rect(40, 40, 60, 60), 1), nullptr);
    EXPECT_EQ(state().acquireBegin(&widget, {13, 14}, 5, kAll), nullptr) << "the distance is 5";
    EXPECT_EQ(state().acquireBegin(&widget, {13, 14}, 5.1f, 1)->getRawId(), 1u);
    EXPECT_EQ(state().acquireBegin(&widget, {0, 0, 1, 1}, {49, 49, 51, 51}, kAll)->getRawId(), 2u);
}

TEST_F(TouchTest, AllClipsMustContainTheTouch) {
    report({at(10, 10)});
    state().popClip();
    state().pushClip({0, 0, 20, 20});
    EXPECT_NE(state().checkBegin(kAll), nullptr);
    state().pushClip({15, 0, 20, 20});
    state().pushClip(kEverywhere);
    EXPECT_EQ(state().acquireBegin(&widget, kEverywhere, kAll), nullptr);
    state().popClip();
    state().popClip();
    EXPECT_NE(state().acquireBegin(&widget, kEverywhere, kAll), nullptr);
}

TEST_F(TouchTest, ATouchThatStartsOverCanBeClaimedByAnother) {
    frame({at(10, 10)});
    frame({});
    report({at(10, 10)});
    state().acquireBegin(&widget, kAll);
    state().processedTick();
    report({at(30, 10, 1, 1 | TouchButton::kStartsOver)});
    EXPECT_EQ(state().iterateOwnedEnd(&widget), nullptr) << "the old owner sees no end";
    EXPECT_EQ(only().getBeginPosition(), IVec2<float>(30, 10));
    EXPECT_EQ(state().acquireBegin(&other, kAll), &only());
}

TEST_F(TouchTest, TheDeathOfAnOwnerLeavesTheTouchWithoutOne) {
    report({at(10, 10)});
    {
        Widget dying;
        state().acquireBegin(&dying, kAll);
        EXPECT_EQ(only().getOwner(), &dying);
    }
    EXPECT_EQ(only().getOwner(), nullptr);
    EXPECT_EQ(state().acquireBegin(&widget, kAll), &only());
}

TEST_F(TouchTest, APredicateMayChangeTheTouches) {
    report({at(1, 1, 1), at(2, 2, 2)});
    int calls = 0;
    EXPECT_EQ(state().acquireBegin(&widget,
                                   [&](const TouchButton&) {
                                       ++calls;
                                       state().pushRawTouchList(rawTouches({}).get());
                                       state().prepareNewTouches();
                                       state().processedTick();
                                       return false;
                                   }),
              nullptr);
    EXPECT_EQ(calls, 1);
}

// --- iterating --------------------------------------------------------------------------------------

TEST_F(TouchTest, AnIterationReturnsEachTouchOnce) {
    report({at(1, 1, 1), at(2, 2, 2), at(30, 30, 3)});
    state().acquireBegin(&other, Rect(2, 2, 2, 2), kAll);
    while (state().acquireBegin(&widget, kAll) != nullptr) {
    }
    EXPECT_EQ(state().iterateOwned(&widget, Rect(30, 30, 31, 31))->getRawId(), 3u);
    EXPECT_EQ(state().getFirstOwned(&widget)->getRawId(), 1u);
    EXPECT_EQ(state().getFirstOwned(&widget, Rect(30, 30, 31, 31)), nullptr) << "it has been iterated";
    EXPECT_EQ(state().iterateOwned(&widget)->getRawId(), 1u);
    EXPECT_EQ(state().iterateOwned(&widget), nullptr);
    EXPECT_EQ(state().iterateBegin()->getRawId(), 2u);
    EXPECT_EQ(state().iterateBegin(), nullptr);
    state().clearIterated();
    EXPECT_EQ(state().iterateBegin()->getRawId(), 1u);
}

TEST_F(TouchTest, EndsAreIteratedSeparately) {
    report({at(1, 1, 1), at(30, 30, 2)});
    while (state().acquireBegin(&widget, kAll) != nullptr) {
    }
    state().processedTick();
    report({at(30, 30, 2)});
    EXPECT_EQ(state().iterateOwnedEnd(&widget, Rect(20, 20, 40, 40)), nullptr);
    EXPECT_EQ(state().iterateOwnedWithoutEnd(&widget)->getRawId(), 2u);
    EXPECT_EQ(state().iterateOwnedWithoutEnd(&widget), nullptr);
    EXPECT_EQ(state().iterateOwnedEnd(&widget)->getRawId(), 1u);
}

// --- taps -------------------------------------------------------------------------------------------

class TapTest : public TouchTest {
protected:
    /// Taps for 16 ms; the touch has ended.
    void tap(float x, float y, uint64 id = 1) {
        report({at(x, y, id)});
        state().acquireBegin(&widget, kAll);
        state().processedTick();
        wait(16);
        report({});
        state().processedTick();
    }
};

TEST_F(TapTest, ASecondTapIsADoubleTapAtItsBeginAndItsEnd) {
    tap(10, 10);
    wait(100);
    report({at(20, 20, 7)});
    EXPECT_EQ(state().acquireBegin(&widget, kAll)->getTapCount(), 2u);
    EXPECT_EQ(only().getBeginPosition(), IVec2<float>(20, 20));
    EXPECT_TRUE(only().isDoubleTapBegin());
    EXPECT_FALSE(only().isDoubleTapEnd());
    state().processedTick();
    EXPECT_FALSE(only().isDoubleTapBegin());
    wait(250);
    report({});
    EXPECT_TRUE(only().isDoubleTapEnd());
}

TEST_F(TapTest, OnlyNearAndQuickTapsFollow) {
    struct Case {
        float x;
        uint32 pauseMs;
        uint32 flags;
        uint32 tapCount;
    };
    const Case cases[] = {{57, 0, 1, 2},   {58, 0, 1, 1},
                          {10, 499, 2, 2}, {10, 500, 1, 1},
                          {10, 100, 4, 1}, {std::numeric_limits<float>::quiet_NaN(), 0, 1, 1}};
    for (const Case& c : cases) {
        tap(10, 10);
        wait(c.pauseMs);
        report({at(c.x, 10, 1, c.flags)});
        EXPECT_EQ(only().getTapCount(), c.tapCount) << c.x << " after " << c.pauseMs;
        state().processedTick();
        wait(5000);
        frame({});
    }
}

TEST_F(TapTest, ASecondTapMayBeginBeforeTheFirstWasSeenToEnd) {
    for (const int64 toWrap : {int64{0}, int64{10}}) {
        if (toWrap > 0) clock.advanceMs((int64{1} << 32) - now() - toWrap);
        wait(0);
        tap(10, 10);
        state().pushRawTouchList(rawTouches({rawTouch(2, {10, 10}, now() - 5)}).get());
        state().prepareNewTouches();
        EXPECT_EQ(state().acquireBegin(&widget, kAll)->getTapCount(), 2u);
        EXPECT_TRUE(only().isDoubleTapBegin());
        state().processedTick();
        wait(20);
        report({});
        EXPECT_TRUE(only().isDoubleTapEnd());
        state().processedTick();
        wait(2000);
        frame({});
    }
}

TEST_F(TapTest, TapsCountOnOneWidgetOnly) {
    for (uint32 i = 1; i < 5; ++i) tap(10, 10, i);
    report({at(10, 10)});
    EXPECT_EQ(only().getTapCount(), 5u);
    EXPECT_EQ(only().getLastOwner(), &widget);
    EXPECT_EQ(state().acquireBegin(&other, kAll)->getTapCount(), 1u);
    EXPECT_FALSE(only().isDoubleTapBegin());
}

TEST_F(TapTest, NoMoreThan256EndedTouchesAreKept) {
    for (int part = 0; part < 2; ++part) {
        SmartPointer<RawTouchList> list = new RawTouchList;
        for (int i = 0; i < 200; ++i)
            list->touches.push_back(at(static_cast<float>(part * 200 + i) * 100, 0, static_cast<uint64>(i)));
        state().pushRawTouchList(list.get());
        state().prepareNewTouches();
        state().processedTick();
        frame({});
    }
    report({at(14'300, 0, 1), at(14'400, 0, 2)});
    EXPECT_EQ(state().getAllTouches()[0]->getTapCount(), 1u) << "the oldest are forgotten";
    EXPECT_EQ(state().getAllTouches()[1]->getTapCount(), 2u);
}

// --- waiting lists ----------------------------------------------------------------------------------

class TouchQueueTest : public TouchTest {
protected:
    void push(std::initializer_list<RawTouch> touches) {
        state().pushRawTouchList(rawTouches(touches).get());
    }
    /// Returns the number of frames until no list waits.
    int drain() {
        int frames = 0;
        for (; state().prepareNewTouches(); ++frames) state().processedTick();
        return frames;
    }
};

TEST_F(TouchQueueTest, OnlyMovementsAreJoined) {
    push({at(1, 1)});
    push({at(2, 2)});
    push({at(3, 3)});
    push({at(4, 4)});
    EXPECT_EQ(drain(), 2) << "the begin has its own list";
    EXPECT_EQ(only().getPosition(), IVec2<float>(4, 4));
    EXPECT_EQ(only().getBeginPosition(), IVec2<float>(1, 1));
    push({at(7, 7)});
    push({at(7, 7), at(9, 9, 2)});
    push({at(8, 8), at(9, 9, 2)});
    push({at(8, 8, 1, 2), at(9, 9, 2)});
    push({at(8, 8, 1, 2), at(9, 9, 2)});
    push({at(9, 9, 2)});
    push({});
    push({});
    EXPECT_EQ(drain(), 8);
    push({at(1, 1, 1, 1 | TouchButton::kStartsOver)});
    push({at(2, 2, 1, 1 | TouchButton::kStartsOver)});
    EXPECT_EQ(drain(), 2) << "each starts over";
}

TEST_F(TouchQueueTest, JoinedListsKeepValuesAndSamples) {
    push({at(1, 1)});
    RawTouch wheel = at(2, 2);
    wheel.value = 1;
    wheel.samples.assign(3000, {});
    for (int i = 0; i < 3; ++i) push({wheel});
    EXPECT_TRUE(state().prepareNewTouches());
    EXPECT_TRUE(state().prepareNewTouches());
    EXPECT_EQ(only().getValue(), 3);
    EXPECT_EQ(only().getSamples().size(), 4096u);
}

TEST_F(TouchQueueTest, TheCallerMayReuseItsList) {
    const SmartPointer<RawTouchList> list = rawTouches({at(1, 1)});
    state().pushRawTouchList(list.get());
    list->touches[0].position = {2, 2};
    for (int i = 0; i < 3; ++i) state().pushRawTouchList(list.get());
    list->touches.clear();
    state().pushRawTouchList(nullptr);
    EXPECT_EQ(drain(), 2);
    EXPECT_EQ(only().getBeginPosition(), IVec2<float>(1, 1));
}

TEST_F(TouchQueueTest, FloodsAreBounded) {
    for (uint64 i = 0; i < 5000; ++i) push({at(1, 1, i)});
    EXPECT_EQ(drain(), 4096);
    EXPECT_EQ(only().getRawId(), 4999u) << "the newest state is kept";
    SmartPointer<RawTouchList> list = new RawTouchList;
    for (uint64 i = 0; i < 1000; ++i) list->touches.push_back(at(1, 1, i));
    state().pushRawTouchList(list.get());
    EXPECT_TRUE(state().prepareNewTouches());
    EXPECT_LE(state().getAllTouches().size(), 257u);
}

TEST_F(TouchQueueTest, WithoutTheEndOfAFrameTouchesAreBounded) {
    for (uint64 i = 0; i < 1000; ++i) {
        push({at(1, 1, i)});
        state().prepareNewTouches();
    }
    EXPECT_EQ(state().getAllTouches().size(), 512u);
}

TEST_F(TouchQueueTest, AnyThreadMayPush) {
    constexpr int kThreads = 4, kPerThread = 200;
    int frames = 0;
    test::onThreads(kThreads + 1, [&](int thread) {
        if (thread == kThreads) { // this one pretends to be the main thread, which only waits
            while (frames < 100)
                if (state().isTouched() && state().prepareNewTouches()) {
                    state().processedTick();
                    ++frames;
                }
            return;
        }
        for (int i = 0; i < kPerThread; ++i)
            push({rawTouch(static_cast<uint64>(thread * kPerThread + i), {1, 1}, 1)});
    });
    EXPECT_EQ(frames + drain(), kThreads * kPerThread);
}

} // namespace
} // namespace qel
