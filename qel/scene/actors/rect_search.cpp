#include <qel/scene/actors/rect_search.h>

#include <algorithm>

namespace qel {

namespace {

constexpr int kMaxStepsPerSide = 65'536;

bool isInside(const Rect& inner, const Rect& outer) {
    return inner.x0 >= outer.x0 && inner.x1 <= outer.x1 && inner.y0 >= outer.y0 && inner.y1 <= outer.y1;
}

/// Returns true if the rectangles have a point in common, edges included.
bool touches(const Rect& a, const Rect& b) {
    return a.x0 <= b.x1 && a.x1 >= b.x0 && a.y0 <= b.y1 && a.y1 >= b.y0;
}

/// Calls @p visit with the numbers from @p from, @p step apart, until @p isAtEnd or until the step is too
/// small to change the number.
template <typename IsAtEnd, typename Visit>
void walk(float from, float step, const IsAtEnd& isAtEnd, const Visit& visit) {
    for (int i = 0; i < kMaxStepsPerSide && !isAtEnd(from); ++i) {
        visit(from);
        const float next = from + step;
        if (next == from) return;
        from = next;
    }
}

} // namespace

void RectSearch::getEdgePositions() {
    const Rect& b = m_button;
    const float w = m_size.x, h = m_size.y;
    const float left = b.x0 - m_padding - w, top = b.y0 - m_padding - h;
    const float right = b.x1 + m_padding, below = b.y1 + m_padding;
    const float centerX = (m_screenBounds.x0 + m_screenBounds.x1) / 2 - w / 2;
    const float centerY = (m_screenBounds.y0 + m_screenBounds.y1) / 2 - h / 2;
    m_cornerPositions = {{{left, top}, {right, top}, {right, below}, {left, below}}};
    m_middlePositions = {{{(left + right) / 2, top},
                          {right, (top + below) / 2},
                          {(left + right) / 2, below},
                          {left, (top + below) / 2}}};
    m_sidePositions = {{{b.x0, top},
                        {b.x1 - w, top},
                        {right, b.y0},
                        {right, b.y1 - h},
                        {b.x0, below},
                        {b.x1 - w, below},
                        {left, b.y0},
                        {left, b.y1 - h}}};
    m_centeredPositions = {{{centerX, top}, {centerX, below}, {left, centerY}, {right, centerY}}};
}

/// Takes a place if it is free and better than the best so far.
bool RectSearch::evaluatePosition(const IVec2<float>& position, int score) {
    if (score <= m_bestScore) return false;
    const Rect rect(position.x, position.y, position.x + m_size.x, position.y + m_size.y);
    if (!isInside(rect, m_screenBounds)) return false;
    for (const Rect& avoid : m_avoidRects)
        if (touches(rect, avoid)) return false;
    m_bestRect = rect;
    m_bestScore = score;
    return true;
}

bool RectSearch::search(Rect& out) {
    m_bestScore = -1;
    getEdgePositions();
    const bool isWide = m_button.getWidth() > m_button.getHeight();
    const int above = isWide ? 2 : 1, beside = 3 - above;
    for (size_t i = 0; i < m_sidePositions.size(); ++i)
        evaluatePosition(m_sidePositions[i], (i / 2 % 2 == 0 ? above : beside) + 4);
    for (size_t i = 0; i < m_middlePositions.size(); ++i)
        evaluatePosition(m_middlePositions[i], (i % 2 == 0 ? above : beside) + 6);
    if (m_bestScore < 0) walkAround(above + 2, beside + 2);
    if (m_bestScore < 0)
        for (size_t i = 0; i < m_centeredPositions.size(); ++i)
            evaluatePosition(m_centeredPositions[i], i < 2 ? beside : above);
    if (m_bestScore < 0) return false;
    out = m_bestRect;
    return true;
}

/// Tries places all around the button, clockwise from the left top.
void RectSearch::walkAround(int scoreAbove, int scoreBeside) {
    if (!(m_step > 0)) return;
    const IVec2<float> leftTop = m_cornerPositions[0], rightBelow = m_cornerPositions[2];
    walk(
        leftTop.x, m_step, [&](float x) { return !(x < rightBelow.x); },
        [&](float x) {
            evaluatePosition({x, leftTop.y}, scoreAbove);
        });
    walk(
        leftTop.y, m_step, [&](float y) { return !(y < rightBelow.y); },
        [&](float y) {
            evaluatePosition({rightBelow.x, y}, scoreBeside);
        });
    walk(
        rightBelow.x, -m_step, [&](float x) { return !(x > leftTop.x); },
        [&](float x) {
            evaluatePosition({x, rightBelow.y}, scoreAbove);
        });
    walk(
        rightBelow.y, -m_step, [&](float y) { return !(y > leftTop.y); },
        [&](float y) {
            evaluatePosition({leftTop.x, y}, scoreBeside);
        });
}

bool RectSearchDropdown::search(Rect& out, int bias) {
    float left = m_areaOfInterest.x0;
    float right = left + m_size.x;
    if (right > m_screenBounds.x1) {
        left = std::max(left - (right - m_screenBounds.x1), 0.0f);
        right = m_screenBounds.x1;
    }
    const float top = m_areaOfInterest.y1 + m_padding, bottom = m_areaOfInterest.y0 - m_padding;
    const Rect below(left, top, right, std::min(top + m_size.y, m_screenBounds.y1));
    const Rect above(left, std::max(bottom - m_size.y, m_screenBounds.y0), right, bottom);
    m_placedBelow = above.getHeight() <= below.getHeight() + static_cast<float>(bias);
    m_placedAbove = !m_placedBelow;
    out = m_placedBelow ? below : above;
    return true;
}

} // namespace qel
