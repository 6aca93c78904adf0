#include <qel/scene/actors/touch_state.h>

#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qel {

namespace {

constexpr size_t kMaxTouches = 256; ///< of a list, and of the touches that have ended
constexpr size_t kMaxActive = 512;  ///< reached only without processedTick()
constexpr size_t kMaxWaiting = 4096;
constexpr size_t kMaxSamples = 4096;
constexpr int32 kForgetMs = 1000;
constexpr int32 kNextTapMs = 500;
constexpr double kNextTapPx = 48;
constexpr uint32 kHoverFlags = 0x10600; ///< a touch with no other flag does not touch the display

bool contains(const Rect& rect, const IVec2<float>& p) {
    return p.x >= rect.x0 && p.x <= rect.x1 && p.y >= rect.y0 && p.y <= rect.y1;
}

double distance(const IVec2<float>& a, const IVec2<float>& b) {
    const double x = double{a.x} - double{b.x}, y = double{a.y} - double{b.y};
    return std::sqrt(x * x + y * y);
}

/// Returns the milliseconds from @p earlier to @p later, which may be negative: a touch reads its time on
/// another thread than the frame.
int32 elapsed(uint32 earlier, uint32 later) {
    return static_cast<int32>(later - earlier);
}

/// Returns the touches that are used. A value that is not finite becomes 0.
Vector<RawTouch> usedTouches(const RawTouchList& list) {
    const size_t count = std::min(list.touches.size(), kMaxTouches);
    Vector<RawTouch> touches(list.touches.begin(), list.touches.begin() + static_cast<std::ptrdiff_t>(count));
    for (RawTouch& touch : touches) {
        if (!std::isfinite(touch.value)) touch.value = 0;
        if (touch.samples.size() > kMaxSamples) touch.samples.resize(kMaxSamples);
    }
    return touches;
}

void appendSamples(Vector<TouchSample>& samples, const Vector<TouchSample>& further) {
    const size_t space = kMaxSamples - std::min(samples.size(), kMaxSamples);
    const size_t count = std::min(space, further.size());
    samples.insert(samples.end(), further.begin(), further.begin() + static_cast<std::ptrdiff_t>(count));
}

/// Returns true if @p predicate accepts @p value. An empty predicate accepts nothing.
template <typename Value>
bool holds(const std::function<bool(const Value&)>& predicate, const Value& value) {
    return predicate && predicate(value);
}

/// Adds a later report of the same touch.
void join(RawTouch& touch, const RawTouch& later) {
    touch.position = later.position;
    touch.time = later.time;
    touch.value += later.value;
    appendSamples(touch.samples, later.samples);
}

} // namespace

TouchState::TouchState() = default;
TouchState::~TouchState() = default;

// --- frames -----------------------------------------------------------------------------------------

void TouchState::pushRawTouchList(const RawTouchList* list) {
    if (list == nullptr) return;
    Vector<RawTouch> touches = usedTouches(*list);
    const MutexLock lock(m_mutex);
    const bool isMovement = noteShapeLocked(touches);
    if (isMovement && !m_waiting.empty() && m_waiting.back().isMovement) {
        for (size_t i = 0; i < touches.size(); ++i) join(m_waiting.back().touches[i], touches[i]);
        return;
    }
    if (m_waiting.size() >= kMaxWaiting) m_waiting.pop_back();
    m_waiting.push_back({std::move(touches), isMovement});
}

/// Stores the identities and flags of the list pushed last. @return true if they have not changed.
bool TouchState::noteShapeLocked(const Vector<RawTouch>& touches) {
    Vector<Shape> shape;
    bool startsOver = false;
    for (const RawTouch& touch : touches) {
        shape.push_back({touch.id, touch.flags});
        startsOver |= (touch.flags & TouchButton::kStartsOver) != 0;
    }
    const bool isSame = m_newest == shape && !startsOver;
    m_newest = std::move(shape);
    return isSame;
}

bool TouchState::takeList(Vector<RawTouch>& touches) {
    const MutexLock lock(m_mutex);
    if (m_waiting.empty()) return false;
    touches = std::move(m_waiting.front().touches);
    m_waiting.pop_front();
    return true;
}

bool TouchState::prepareNewTouches() {
    Vector<RawTouch> touches;
    if (!takeList(touches)) return false;
    const uint32 now = system()->getTimeFast();
    for (const SmartPointer<TouchButton>& touch : m_active) touch->end(now);
    forgetOldTouches(now);
    ++m_listNumber;
    for (const RawTouch& raw : touches) process(raw);
    return true;
}

void TouchState::forgetOldTouches(uint32 now) {
    std::erase_if(m_ended, [now](const SmartPointer<TouchButton>& touch) {
        return elapsed(touch->m_endTime, now) > kForgetMs;
    });
}

void TouchState::process(const RawTouch& raw) {
    SmartPointer<TouchButton> touch = findActive(raw.id);
    if (touch) {
        touch->move(raw, touch->m_lastList == m_listNumber);
    } else {
        if (m_active.size() >= kMaxActive) return;
        touch = takeBackEnded(raw);
        if (touch) {
            touch->resume(raw);
        } else {
            touch = new TouchButton;
            touch->begin(raw);
        }
        m_active.push_back(touch);
    }
    touch->m_lastList = m_listNumber;
}

TouchButton* TouchState::findActive(uint64 id) const {
    for (const SmartPointer<TouchButton>& touch : m_active)
        if (touch->m_rawId == id) return touch.get();
    return nullptr;
}

/// Removes the touch whose next tap @p raw is from those that have ended. @return null for a first tap.
SmartPointer<TouchButton> TouchState::takeBackEnded(const RawTouch& raw) {
    if ((raw.flags & TouchButton::kPressed) == 0) return nullptr;
    const auto found =
        std::find_if(m_ended.begin(), m_ended.end(), [&](const SmartPointer<TouchButton>& touch) {
            return elapsed(touch->m_endTime, raw.time) < kNextTapMs &&
                   distance(touch->m_position, raw.position) < kNextTapPx;
        });
    if (found == m_ended.end()) return nullptr;
    SmartPointer<TouchButton> touch = *found;
    m_ended.erase(found);
    return touch;
}

void TouchState::processedTick() {
    std::erase_if(m_active, [this](const SmartPointer<TouchButton>& touch) {
        touch->finishFrame();
        if (touch->isEnd()) m_ended.push_back(touch);
        return touch->isEnd();
    });
    while (m_ended.size() > kMaxTouches) m_ended.pop_front();
}

// --- claiming ---------------------------------------------------------------------------------------

bool TouchState::canBeClaimed(const TouchButton& touch) const {
    if (!touch.isBegin() || touch.getOwner() != nullptr) return false;
    return std::all_of(m_clips.begin(), m_clips.end(),
                       [&](const Rect& clip) { return contains(clip, touch.getPosition()); });
}

/// Returns the first touch that @p accepts. A predicate may call this object, which may end touches.
template <typename Accepts>
SmartPointer<TouchButton> TouchState::find(const Accepts& accepts) const {
    for (size_t i = 0; i < m_active.size(); ++i) {
        const SmartPointer<TouchButton> touch = m_active[i];
        if (touch && accepts(*touch)) return touch;
    }
    return nullptr;
}

template <typename Accepts>
SmartPointer<TouchButton> TouchState::findBegin(const Accepts& accepts) const {
    return find([&](const TouchButton& touch) { return canBeClaimed(touch) && accepts(touch); });
}

template <typename Accepts>
TouchButton* TouchState::claim(Object* owner, const Accepts& accepts) {
    if (owner == nullptr) return nullptr;
    const SmartPointer<TouchButton> touch = findBegin(accepts);
    if (touch) touch->setNewOwner(owner);
    return touch.get();
}

TouchButton* TouchState::acquireBegin(Object* owner, const IVec2<float>& center, float radius, uint32 mask) {
    return claim(owner, [&](const TouchButton& touch) {
        return touch.hasFlag(mask) && distance(touch.getPosition(), center) < double{radius};
    });
}

TouchButton* TouchState::acquireBegin(Object* owner, const Rect& rect1, const Rect& rect2, uint32 mask) {
    return claim(owner, [&](const TouchButton& touch) {
        const IVec2<float>& position = touch.getPosition();
        return touch.hasFlag(mask) && (contains(rect1, position) || contains(rect2, position));
    });
}

TouchButton* TouchState::acquireBegin(Object* owner, const Rect& rect, uint32 mask) {
    return acquireBegin(owner, rect, rect, mask);
}

TouchButton* TouchState::acquireBegin(Object* owner, const TouchPredicate& predicate) {
    return claim(owner, [&](const TouchButton& touch) { return holds(predicate, touch); });
}

TouchButton* TouchState::acquireBegin(Object* owner, uint32 mask) {
    return claim(owner, [mask](const TouchButton& touch) { return touch.hasFlag(mask); });
}

TouchButton* TouchState::checkBegin(const Rect& rect, uint32 mask) {
    return findBegin([&](const TouchButton& touch) {
               return touch.hasFlag(mask) && contains(rect, touch.getPosition());
           })
        .get();
}

TouchButton* TouchState::checkBegin(const PositionPredicate& predicate, uint32 mask) {
    return findBegin([&](const TouchButton& touch) {
               return touch.hasFlag(mask) && holds(predicate, touch.getPosition());
           })
        .get();
}

TouchButton* TouchState::checkBegin(const TouchPredicate& predicate) {
    return findBegin([&](const TouchButton& touch) { return holds(predicate, touch); }).get();
}

TouchButton* TouchState::checkBegin(uint32 mask) {
    return findBegin([mask](const TouchButton& touch) { return touch.hasFlag(mask); }).get();
}

// --- iterating --------------------------------------------------------------------------------------

template <typename Accepts>
TouchButton* TouchState::iterate(const Accepts& accepts) {
    const SmartPointer<TouchButton> touch =
        find([&](const TouchButton& each) { return !each.m_iterated && accepts(each); });
    if (touch) touch->m_iterated = true;
    return touch.get();
}

TouchButton* TouchState::iterateBegin() {
    return iterate([](const TouchButton& touch) { return touch.isBegin(); });
}

TouchButton* TouchState::iterateEnd() {
    return iterate([](const TouchButton& touch) { return touch.isEnd(); });
}

TouchButton* TouchState::iterateOwned(const Object* owner) {
    return iterate([owner](const TouchButton& touch) { return touch.isOwnedBy(owner); });
}

TouchButton* TouchState::iterateOwned(const Object* owner, const Rect& rect) {
    return iterate([&](const TouchButton& touch) {
        return touch.isOwnedBy(owner) && contains(rect, touch.getPosition());
    });
}

TouchButton* TouchState::iterateOwned(const Object* owner, const TouchPredicate& predicate) {
    return iterate(
        [&](const TouchButton& touch) { return touch.isOwnedBy(owner) && holds(predicate, touch); });
}

TouchButton* TouchState::iterateOwnedEnd(const Object* owner) {
    return iterate([owner](const TouchButton& touch) { return touch.isOwnedBy(owner) && touch.isEnd(); });
}

TouchButton* TouchState::iterateOwnedEnd(const Object* owner, const Rect& rect) {
    return iterate([&](const TouchButton& touch) {
        return touch.isOwnedBy(owner) && touch.isEnd() && contains(rect, touch.getPosition());
    });
}

TouchButton* TouchState::iterateOwnedEnd(const Object* owner, const TouchPredicate& predicate) {
    return iterate([&](const TouchButton& touch) {
        return touch.isOwnedBy(owner) && touch.isEnd() && holds(predicate, touch);
    });
}

TouchButton* TouchState::iterateOwnedWithoutEnd(const Object* owner) {
    return iterate([owner](const TouchButton& touch) { return touch.isOwnedBy(owner) && !touch.isEnd(); });
}

void TouchState::clearIterated() {
    for (const SmartPointer<TouchButton>& touch : m_active) touch->m_iterated = false;
}

// --- asking -----------------------------------------------------------------------------------------

TouchButton* TouchState::getFirstOwned(const Object* owner) {
    return find([owner](const TouchButton& touch) { return touch.isOwnedBy(owner); }).get();
}

TouchButton* TouchState::getFirstOwned(const Object* owner, const Rect& rect) {
    return find([&](const TouchButton& touch) {
               return touch.isOwnedBy(owner) && !touch.m_iterated && contains(rect, touch.getPosition());
           })
        .get();
}

void TouchState::transferOwner(const Object* from, Object* to) {
    for (const SmartPointer<TouchButton>& touch : m_active)
        if (touch->isOwnedBy(from)) touch->m_owner = to;
}

void TouchState::clearAllOwners() {
    for (const SmartPointer<TouchButton>& touch : m_active) touch->m_owner = nullptr;
}

unsigned TouchState::getNumTouches(uint32 mask) const {
    return static_cast<unsigned>(
        std::count_if(m_active.begin(), m_active.end(),
                      [mask](const SmartPointer<TouchButton>& touch) { return touch->hasFlag(mask); }));
}

bool TouchState::isTouched() const {
    if (getNumTouches(~kHoverFlags) > 0) return true;
    const MutexLock lock(m_mutex);
    return !m_waiting.empty();
}

void TouchState::popClip() {
    if (!m_clips.empty()) m_clips.pop_back();
}

bool TouchState::popBackPressed() {
    if (m_backPressCount == 0) return false;
    --m_backPressCount;
    return true;
}

} // namespace qel
