// Touches: random lists, claims, iterations and dying owners. Each touch has at most one owner, begins before
// it ends, and is returned once by an iteration; what is kept is bounded.
#include <fuzz/drawn_bytes.h>
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <set>

namespace {

using namespace qel;

class Widget : public Object {
    QEL_CLASS(Widget, Object)
};

bool contains(const Rect& rect, const IVec2<float>& p) {
    return p.x >= rect.x0 && p.x <= rect.x1 && p.y >= rect.y0 && p.y <= rect.y1;
}

/// Applies operations to a TouchState and checks it after each.
class TouchRun {
public:
    TouchRun(DrawnBytes bytes, ManualClock& clock, System& system)
        : m_bytes(bytes), m_clock(clock), m_system(system) {}

    void run() {
        while (!m_bytes.isAtEnd()) {
            step();
            check();
        }
    }

private:
    void step() {
        switch (m_bytes.draw(12)) {
        case 0:
        case 1:
        case 2:
            return push();
        case 3:
        case 4:
            return prepare();
        case 5:
            return m_state->processedTick();
        case 6:
        case 7:
            return claim();
        case 8:
            return iterate();
        case 9:
            return changeOwners();
        case 10:
            return changeClips();
        default:
            m_clock.advanceMs(kTimes[m_bytes.draw(std::size(kTimes))]);
            m_system.getTime();
        }
    }

    void push() {
        const SmartPointer<RawTouchList> list = new RawTouchList;
        const unsigned count = m_bytes.draw(8) == 7 ? 300 : m_bytes.draw(4);
        for (unsigned i = 0; i < count; ++i) {
            RawTouch touch;
            touch.id = count > 4 ? i : m_bytes.draw(5);
            touch.position = {number(), number()};
            touch.time = m_system.getTimeFast() - m_bytes.draw(3) * 400;
            touch.flags = kFlags[m_bytes.draw(std::size(kFlags))];
            touch.value = number();
            touch.samples.resize(m_bytes.draw(16) == 15 ? 3000 : m_bytes.draw(3));
            list->touches.push_back(touch);
        }
        m_state->pushRawTouchList(list.get());
    }

    void prepare() {
        const bool waited = m_state->isTouched();
        require(!m_state->prepareNewTouches() || waited);
        for (const SmartPointer<TouchButton>& touch : m_state->getAllTouches()) {
            if (touch->isBegin() && m_begun.insert(touch.get()).second) m_kept.push_back(touch);
            require(m_begun.count(touch.get()) == 1);
        }
    }

    void claim() {
        Widget* const owner = widget();
        const uint32 mask = kFlags[m_bytes.draw(std::size(kFlags))];
        const TouchButton* const possible = m_state->checkBegin(mask);
        require(possible == nullptr || possible->getOwner() == nullptr);
        const TouchButton* const touch = acquire(owner, mask);
        if (touch == nullptr) return;
        require(owner != nullptr && touch->getOwner() == owner && touch->isBegin());
        for (const Rect& clip : m_clips) require(contains(clip, touch->getPosition()));
    }

    TouchButton* acquire(Widget* owner, uint32 mask) {
        const auto accepts = [this](const auto&) { return m_bytes.draw(2) == 1; };
        switch (m_bytes.draw(8)) {
        case 0:
            return m_state->acquireBegin(owner, {number(), number()}, number(), mask);
        case 1:
            return m_state->acquireBegin(owner, rect(), rect(), mask);
        case 2:
            return m_state->acquireBegin(owner, rect(), mask);
        case 3:
            return m_state->acquireBegin(owner, TouchState::TouchPredicate(accepts));
        case 4:
            m_state->checkBegin(TouchState::PositionPredicate(accepts), mask);
            m_state->checkBegin(TouchState::TouchPredicate(accepts));
            m_state->checkBegin(rect(), mask);
            return nullptr;
        default:
            return m_state->acquireBegin(owner, mask);
        }
    }

    void iterate() {
        m_state->clearIterated();
        Widget* const owner = widget();
        const unsigned form = m_bytes.draw(4);
        std::set<TouchButton*> seen;
        const auto next = [&] {
            switch (form) {
            case 0:
                return m_state->iterateBegin();
            case 1:
                return m_state->iterateEnd();
            case 2:
                return m_state->iterateOwned(owner);
            default:
                return m_state->iterateOwnedWithoutEnd(owner);
            }
        };
        while (TouchButton* const touch = next()) {
            require(seen.insert(touch).second);
            require(form < 2 || touch->getOwner() == owner);
        }
    }

    void changeOwners() {
        switch (m_bytes.draw(4)) {
        case 0:
            return m_state->clearAllOwners();
        case 1:
            return m_state->transferOwner(widget(), widget());
        default:
            m_widgets[m_bytes.draw(m_widgets.size())] = std::make_unique<Widget>();
        }
    }

    void changeClips() {
        if (m_bytes.draw(2) == 0) {
            m_clips.push_back(rect());
            return m_state->pushClip(m_clips.back());
        }
        if (!m_clips.empty()) m_clips.pop_back();
        m_state->popClip();
    }

    void check() {
        std::set<uint64> ids;
        for (const SmartPointer<TouchButton>& touch : m_state->getAllTouches()) {
            require(ids.insert(touch->getRawId()).second);
            require(std::isfinite(touch->getValue()) && touch->getTapCount() > 0);
            require(touch->getSamples().size() <= 4096);
            const Object* const owner = touch->getOwner();
            bool isAlive = owner == nullptr;
            for (const auto& each : m_widgets) isAlive |= each.get() == owner;
            require(isAlive);
        }
        require(ids.size() <= 512);
    }

    /// Returns null at times.
    Widget* widget() {
        const unsigned index = m_bytes.draw(5);
        return index < m_widgets.size() ? m_widgets[index].get() : nullptr;
    }
    float number() { return kNumbers[m_bytes.draw(std::size(kNumbers))]; }
    Rect rect() { return {number(), number(), number(), number()}; }

    static constexpr float kInfinity = std::numeric_limits<float>::infinity();
    static constexpr float kNumbers[] = {
        0,    0,     1,  10,   40,        50,         -1e9f,
        1e9f, 3e38f, -5, 0.5f, kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN()};
    static constexpr uint32 kFlags[] = {1, 1, 1, 2, 0, 0x200, 0x10001, 0xFFFFFFFF};
    static constexpr int64 kTimes[] = {
        0, 1, 16, 200, 251, 499, 501, 1001, int64{1} << 31, (int64{1} << 32) - 5};

    DrawnBytes m_bytes;
    ManualClock& m_clock;
    System& m_system;
    SmartPointer<TouchState> m_state{new TouchState};
    std::array<std::unique_ptr<Widget>, 4> m_widgets;
    std::vector<Rect> m_clips;
    std::set<const TouchButton*> m_begun;
    Vector<SmartPointer<TouchButton>> m_kept; ///< so that no address in m_begun is used again
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static ManualClock clock;
    static System* const system = [] {
        static const auto quiet = logging::setConsoleWriter([](const logging::ConsoleLine&) {});
        (void)quiet;
        Clock::install(&clock);
        System::initialize(nullptr);
        return internal::g_system;
    }();
    TouchRun(DrawnBytes(data, std::min<size_t>(size, 2048)), clock, *system).run();
    return 0;
}
