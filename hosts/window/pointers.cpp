#include <hosts/window/pointers.h>

#include <algorithm>

namespace qelwindow {

namespace {

// The flags of the mouse are its identities; those of fingers follow them.
constexpr qel::uint64 kFirstFinger = 0x10000;
constexpr qel::uint32 kButtons = kTouchPress & ~kTouchFinger;

bool isFinger(const PointerTouch& touch) {
    return touch.flags == kTouchFinger;
}

} // namespace

void Pointers::moveMouse(const qel::IVec2<float>& position) {
    bool isPressed = false;
    for (PointerTouch& touch : m_touches) {
        if (isFinger(touch)) continue;
        touch.position = position;
        isPressed |= (touch.flags & kButtons) != 0;
    }
    if (!isPressed) hover(position);
}

void Pointers::pressButton(qel::uint32 flag, const qel::IVec2<float>& position) {
    moveMouse(position);
    remove(kTouchHover);
    if (!find(flag)) m_touches.push_back({flag, position, flag, 0});
}

void Pointers::releaseButton(qel::uint32 flag, const qel::IVec2<float>& position) {
    remove(flag);
    moveMouse(position);
}

void Pointers::leaveMouse() {
    remove(kTouchHover);
}

void Pointers::moveFinger(qel::uint64 finger, const qel::IVec2<float>& position) {
    if (PointerTouch* const touch = find(kFirstFinger + finger)) {
        touch->position = position;
        return;
    }
    const auto count = std::count_if(m_touches.begin(), m_touches.end(), isFinger);
    if (static_cast<size_t>(count) < kMostFingers)
        m_touches.push_back({kFirstFinger + finger, position, kTouchFinger, 0});
}

void Pointers::liftFinger(qel::uint64 finger) {
    remove(kFirstFinger + finger);
}

void Pointers::liftAll() {
    m_touches.clear();
}

PointerList Pointers::withWheel(const qel::IVec2<float>& position, float steps) const {
    PointerList touches = m_touches;
    touches.push_back({kTouchWheel, position, kTouchWheel, steps});
    return touches;
}

void Pointers::hover(const qel::IVec2<float>& position) {
    if (!find(kTouchHover)) m_touches.push_back({kTouchHover, position, kTouchHover, 0});
}

void Pointers::remove(qel::uint64 id) {
    std::erase_if(m_touches, [id](const PointerTouch& touch) { return touch.id == id; });
}

PointerTouch* Pointers::find(qel::uint64 id) {
    const auto found = std::find_if(m_touches.begin(), m_touches.end(),
                                    [id](const PointerTouch& touch) { return touch.id == id; });
    return found == m_touches.end() ? nullptr : &*found;
}

} // namespace qelwindow
