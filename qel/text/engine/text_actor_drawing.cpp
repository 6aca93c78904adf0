#include <qel/text/engine/text_actor.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/color_scope.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>
#include <qel/text/engine/text_drawing_p.h>
#include <qel/text/engine/text_lines_p.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qel {

using internal::TextLine;

namespace {

constexpr IVec4<float> kSelectionColor(0.19215687f, 0.43137255f, 0.6392157f, 1);

/// The times and distances of scrolling. A line rests at its start, then moves by a line height in kStepMs.
constexpr double kRestMs = 4000;
constexpr double kWakeMs = 3000; ///< of the rest, after which frames are needed
constexpr double kStepMs = 700;
constexpr float kGapLines = 1.5f; ///< between the end of a line and its repetition, in line heights

/// Returns true if the rows from @p top to before @p bottom meet those of a clip rectangle.
bool meets(const IVec4<int>& clip, float top, float bottom) {
    return top < static_cast<float>(clip.w) && bottom > static_cast<float>(clip.y);
}

} // namespace

void TextActor::onRender(Renderer* renderer) {
    update();
    const ColorScope scope(*renderer, m_color, m_animColor);
    if (!scope.isVisible()) return;
    drawBars(renderer);
    const bool hasLongLine = placeVisibleLines(renderer->getClip());
    const bool isScrolling = m_lineScrolling && getLineHeight() >= 1;
    if (hasLongLine && isScrolling)
        drawScrollingLines(renderer);
    else
        drawLines(renderer, hasLongLine && m_horizontalAlign >= TextAlign::FollowCursor &&
                                m_horizontalAlign <= TextAlign::FollowCursorOrEndLoosely);
}

// --- parts of a draw --------------------------------------------------------------------------------------

void TextActor::drawBars(Renderer* renderer) {
    const internal::TextBusy busy(*this);
    for (const Bar& bar : m_lines->bars) {
        const float top = static_cast<float>(bar.top) + m_position.y;
        const float bottom = static_cast<float>(bar.bottom) + m_position.y;
        const Rect rect(m_bounds.x0, top, m_bounds.x1, bottom);
        if (!meets(renderer->getClip(), top, bottom) || rect.isEmpty()) continue;
        const ColorScope scope(*renderer, internal::unpackedColor(bar.color));
        if (scope.isVisible()) renderer->drawRectInternal(rect);
    }
}

/// Finds the lines in the clip and aligns them. @return true if any line is wider than the bounds.
bool TextActor::placeVisibleLines(const IVec4<int>& clip) {
    bool hasLongLine = false;
    for (TextLine& line : m_lines->lines) {
        hasLongLine |= isTooLong(line);
        line.isRepeated = false;
        line.isVisible = meets(clip, static_cast<float>(line.top) + m_position.y,
                               static_cast<float>(line.bottom) + m_position.y);
        if (line.isVisible) line.x = alignedX(line);
    }
    return hasLongLine;
}

bool TextActor::isTooLong(const TextLine& line) const {
    return static_cast<float>(line.width) > m_bounds.getWidth();
}

void TextActor::drawLines(Renderer* renderer, bool isClipped) {
    const bool before = std::exchange(m_softClipping, m_softClipping || isClipped);
    drawWithShadow(renderer);
    m_softClipping = before;
}

void TextActor::drawScrollingLines(Renderer* renderer) {
    scrollLines();
    drawLines(renderer, true);
    const float gap = kGapLines * static_cast<float>(getLineHeight());
    shiftRepeatedLines(1, gap);
    if (showRepeatedLines()) drawLines(renderer, true);
    shiftRepeatedLines(-1, -gap);
}

/// Moves the visible long lines to where they are at this time.
void TextActor::scrollLines() {
    const auto height = static_cast<float>(getLineHeight());
    for (TextLine& line : m_lines->lines) {
        if (!line.isVisible || !isTooLong(line)) continue;
        const double distance = static_cast<float>(line.width) + kGapLines * height;
        const double phase =
            std::fmod(system()->getPresentationTime(), distance * kStepMs / height + kRestMs);
        line.x = phase > kRestMs ? static_cast<float>((phase - kRestMs) * (-height / kStepMs)) : 0;
        line.isRepeated = true;
        if (phase > kWakeMs) system()->disableLowPowerModeShortly();
    }
}

/// Moves the lines that scroll by a part of their widths and a distance: to the place after their own
/// ends, and back.
void TextActor::shiftRepeatedLines(float widths, float distance) {
    for (TextLine& line : m_lines->lines)
        if (line.isRepeated) line.x += widths * static_cast<float>(line.width) + distance;
}

/// Hides all lines but those that scroll and begin in the bounds. @return true if there is one.
bool TextActor::showRepeatedLines() {
    bool isAnyVisible = false;
    for (TextLine& line : m_lines->lines) {
        line.isVisible = line.isRepeated && m_position.x + line.x < m_softClipRight + m_softClipFade;
        isAnyVisible |= line.isVisible;
    }
    return isAnyVisible;
}

// --- text, shadow, selection and cursor -------------------------------------------------------------------

void TextActor::drawWithShadow(Renderer* renderer) {
    drawSelection(renderer);
    if (m_shadow) drawShadow(renderer);
    renderer->drawTextActorInternal(this);
    drawCursor(renderer);
}

/// Draws the text once more, a little to the right and down.
void TextActor::drawShadow(Renderer* renderer) {
    const ColorScope scope(*renderer, ColorScope::shadow());
    const Rect bounds = m_bounds;
    const IVec2<float> position = m_position;
    const auto shift = static_cast<float>(system()->getTheme()->dotSize());
    const auto setClip = [this] {
        m_softClipLeft = m_bounds.x0;
        m_softClipRight = m_bounds.x1;
    };
    m_bounds = internal::moved(bounds, {shift, shift});
    m_position = {position.x + shift, position.y + shift};
    setClip();
    renderer->drawTextActorInternal(this);
    m_bounds = bounds;
    m_position = position;
    setClip();
}

void TextActor::drawSelection(Renderer* renderer) {
    if (!m_cursorEnabled || m_cursorIndex == m_selectionIndex) return;
    const internal::TextBusy busy(*this);
    const ColorScope scope(*renderer, kSelectionColor);
    if (m_softClipping) {
        const IVec4<int> clip = renderer->getClip();
        renderer->pushClip(
            internal::columns(clip, m_softClipLeft - m_softClipFade, m_softClipRight + m_softClipFade));
    }
    for (const TextLine& line : m_lines->lines) {
        const Rect rect = line.isVisible ? selectionOf(line) : Rect();
        if (!rect.isEmpty()) renderer->drawRectInternal(internal::moved(rect, originOf(line)));
    }
    if (m_softClipping) renderer->popClip();
}

/// Returns the rectangle from the first to the last selected character of a line.
Rect TextActor::selectionOf(const TextLine& line) const {
    const auto [first, last] = std::minmax(m_cursorIndex, m_selectionIndex);
    const auto isSelected = [&, from = first, to = last](const CursorStop& stop) {
        const auto index = static_cast<int64>(stop.sourceIndex);
        return index >= from && index <= to;
    };
    const std::span<const CursorStop> stops = m_lines->stopsOf(line);
    const auto begin = std::find_if(stops.begin(), stops.end(), isSelected);
    if (begin == stops.end()) return {};
    const auto end = std::find_if(stops.rbegin(), stops.rend(), isSelected);
    return {std::min(begin->rect.x0, end->rect.x0), begin->rect.y0, std::max(begin->rect.x1, end->rect.x1),
            begin->rect.y1};
}

void TextActor::drawCursor(Renderer* renderer) {
    if (!m_cursorEnabled) return;
    const internal::TextBusy busy(*this);
    for (const TextLine& line : m_lines->lines) {
        const Rect cursor = m_lines->cursorRectOf(line);
        if (line.isVisible && !cursor.isEmpty())
            renderer->drawRectInternal(internal::moved(cursor, originOf(line)));
    }
}

} // namespace qel
