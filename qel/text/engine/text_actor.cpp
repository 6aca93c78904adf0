#include <qel/text/engine/text_actor.h>

#include <qel/style/theme.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/alarm.h>
#include <qel/text/engine/text_drawing_p.h>
#include <qel/text/engine/text_layout_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace qel {

using internal::TextLine;

namespace {

/// Seconds of an Alarm after which an unused text frees its lines.
constexpr int kUnloadSeconds = 25;

template <typename T>
bool assign(T& member, const T& value) {
    if (member == value) return false;
    member = value;
    return true;
}

} // namespace

TextActor::TextActor() : m_lines(std::make_unique<internal::TextLines>()) {}

// The scheduler would keep the alarm until it fires.
TextActor::~TextActor() {
    if (m_unloadAlarm) m_unloadAlarm->cancel();
}

// --- setters --------------------------------------------------------------------------------------------

TextActor& TextActor::setFont(Font* font) {
    const SmartPointer<Font> styled = Theme::fontWithStyle(font, m_fontStyle);
    if (assign(m_font, styled)) m_dirty |= kDirtyGlyphs;
    return *this;
}

TextActor& TextActor::setFontStyle(FontStyle style) {
    if (!assign(m_fontStyle, style)) return *this;
    m_dirty |= kDirtyGlyphs;
    return setFont(m_font.get());
}

TextActor& TextActor::setColor(const IVec4<float>& color) {
    m_color = color;
    return *this;
}

TextActor& TextActor::setAnimColor(AnimColor* color) {
    m_animColor = color;
    return *this;
}

TextActor& TextActor::setShadow(bool shadow) {
    m_shadow = shadow;
    return *this;
}

TextActor& TextActor::setBounds(const Rect& bounds) {
    if (assign(m_bounds, bounds)) m_dirty |= kDirtyPosition;
    return *this;
}

TextActor& TextActor::setHorizontalAlign(TextAlign align) {
    if (assign(m_horizontalAlign, align)) m_dirty |= kDirtyPosition;
    return *this;
}

TextActor& TextActor::setVerticalAlign(TextAlign align) {
    if (assign(m_verticalAlign, align)) m_dirty |= kDirtyPosition;
    return *this;
}

TextActor& TextActor::setAlignToTotalWidth(bool total) {
    if (assign(m_alignToTotalWidth, total)) m_dirty |= kDirtyPosition;
    return *this;
}

// Spaces at the ends of lines count differently in wrapped texts.
TextActor& TextActor::setWordWrap(int widthPx, bool breakAtPunctuation) {
    const bool wrapped = m_wordWrap != 0;
    const bool changed = assign(m_wordWrap, widthPx);
    if (assign(m_breakAtPunctuation, breakAtPunctuation) || changed) m_dirty |= kDirtyGlyphs;
    if (wrapped != (widthPx != 0)) m_dirty |= kDirtyTokens;
    return *this;
}

TextActor& TextActor::setAutoSize(bool autoSize) {
    if (assign(m_autoSize, autoSize)) m_dirty |= kDirtyGlyphs;
    return *this;
}

TextActor& TextActor::setAutoSizeUseLargeFont(bool useLarge) {
    if (assign(m_autoSizeUseLargeFont, useLarge)) m_dirty |= kDirtyGlyphs;
    return *this;
}

TextActor& TextActor::setLineScrolling(bool scroll) {
    m_lineScrolling = scroll;
    return *this;
}

TextActor& TextActor::setCursorSelection(int cursor, int selection) {
    if (assign(m_cursorEnabled, cursor >= 0)) m_dirty |= kDirtyGlyphs;
    if (cursor < 0) return *this;
    if (assign(m_cursorIndex, cursor)) m_dirty |= kDirtyGlyphs;
    if (assign(m_selectionIndex, selection)) m_dirty |= kDirtyGlyphs;
    return *this;
}

// --- update ---------------------------------------------------------------------------------------------

void TextActor::update() {
    if (m_isBusy) return;
    keepLines();
    chooseFont();
    if (isLayoutOutdated()) m_dirty |= kDirtyGlyphs;
    if (m_dirty == 0) return;
    const internal::TextBusy busy(*this);
    if ((m_dirty & kDirtyTokens) != 0) {
        m_dirty = (m_dirty & ~kDirtyTokens) | kDirtyGlyphs;
        parseToTokens();
        reorderTokens();
    }
    if (m_autoSize && (m_dirty & (kDirtyGlyphs | kDirtyPosition)) != 0)
        fitFont();
    else if ((m_dirty & kDirtyGlyphs) != 0)
        layOut();
    if ((m_dirty & kDirtyPosition) != 0) align();
}

/// Postpones the time at which the lines are freed.
void TextActor::keepLines() {
    if (!m_unloadAlarm) {
        m_unloadAlarm = new Alarm;
        m_unloadAlarm->trigger.connect(this, &TextActor::unload);
    }
    // It is not scheduled in a new System.
    if (!m_unloadAlarm->isScheduled() && m_system.get() != system()) {
        m_system = system();
        system()->signalFreeCaches.connect(this, &TextActor::unload);
    }
    m_unloadAlarm->scheduleInSeconds(kUnloadSeconds);
}

void TextActor::chooseFont() {
    if (!m_font) setFont(system()->getTheme()->mediumFont());
}

/// Returns true if the width in which the lines wrap has changed, or a font, which may load after a while.
bool TextActor::isLayoutOutdated() const {
    if (m_lines->versionOf(m_font.get()) != m_fontVersion) return true;
    if (m_wordWrap >= 0 || (m_dirty & kDirtyPosition) == 0) return false;
    return !(m_bounds.getWidth() == m_layoutWidth);
}

/// Lays the text out with the largest font with which it fits; with the small one if it fits with none.
void TextActor::fitFont() {
    const Theme* const theme = system()->getTheme();
    const std::array<SmartPointer<Font>, 5> fonts{theme->largeFont(), theme->mediumLargeFont(),
                                                  theme->mediumFont(), theme->smallMediumFont(),
                                                  theme->smallFont()};
    for (size_t i = m_autoSizeUseLargeFont ? 0 : 2; i < fonts.size(); ++i) {
        if (!fonts[i]) continue;
        setFont(fonts[i].get());
        layOut();
        if (!isTooLargeInternal()) return;
    }
    if ((m_dirty & kDirtyGlyphs) != 0) layOut(); // without a theme
}

void TextActor::layOut() {
    m_dirty = (m_dirty & ~kDirtyGlyphs) | kDirtyPosition;
    m_layoutWidth = m_bounds.getWidth();
    internal::TextLayout(*this).run();
    m_fontVersion = m_lines->versionOf(m_font.get());
}

void TextActor::unload() {
    if (m_isBusy || system()->isDeadlineExceededIn(0)) return;
    m_dirty |= kDirtyTokens | kDirtyGlyphs;
    *m_lines = {};
    clearTokens();
    if (m_unloadAlarm) m_unloadAlarm->cancel();
}

// --- alignment ------------------------------------------------------------------------------------------

void TextActor::align() {
    m_dirty &= ~kDirtyPosition;
    const IVec4<int>& working = workingBounds();
    const IVec2<int> size = getTextSizeInternal();
    const float freeWidth = m_bounds.getWidth() - static_cast<float>(size.x);
    const float freeHeight = m_bounds.getHeight() - static_cast<float>(size.y);
    m_position.x = m_bounds.x0 + horizontalOffset(freeWidth) - static_cast<float>(working.x);
    m_position.y = m_bounds.y0 + verticalOffset(freeHeight) - static_cast<float>(working.y);
    for (TextLine& line : m_lines->lines) line.x = alignedX(line);
    m_softClipLeft = m_bounds.x0;
    m_softClipRight = m_bounds.x1;
    m_softClipFade = static_cast<float>(system()->getTheme()->smallButtonSpacing() - 1);
}

const IVec4<int>& TextActor::workingBounds() const {
    const bool isInk = m_verticalAlign >= TextAlign::CenterInk && m_verticalAlign <= TextAlign::EndInk;
    return isInk ? m_inkBounds : m_extentBounds;
}

float TextActor::horizontalOffset(float free) const {
    switch (m_horizontalAlign) {
    case TextAlign::Center:
        return free / 2;
    case TextAlign::Start:
        return 0;
    case TextAlign::FollowCursor:
    case TextAlign::FollowCursorWithRoom:
        return cursorOffset(free, 0);
    case TextAlign::FollowCursorOrEnd:
    case TextAlign::FollowCursorOrEndLoosely:
        return cursorOffset(free, free);
    default:
        return free;
    }
}

float TextActor::verticalOffset(float free) const {
    switch (m_verticalAlign) {
    case TextAlign::Center:
    case TextAlign::CenterInk:
        return free / 2;
    case TextAlign::Start:
    case TextAlign::StartInk:
        return 0;
    default:
        return free;
    }
}

/// Returns the offset that brings the cursor to the middle of the bounds, as far as there is text on both
/// sides. The room after the text is half the height of the bounds, not half the width.
/// @param otherwise  the result without a cursor, or if the text fits.
float TextActor::cursorOffset(float free, float otherwise) const {
    const Rect cursor = getCursorRect();
    if (cursor.isEmpty() || !(free < 0)) return otherwise;
    float least = free;
    if (m_horizontalAlign == TextAlign::FollowCursorWithRoom) least -= m_bounds.getHeight() / 2;
    const float centred = m_bounds.getWidth() / 2 - (cursor.x0 + cursor.x1) / 2;
    return std::min(std::max(centred, least), 0.0f);
}

/// Returns the place of a line among the lines.
float TextActor::alignedX(const TextLine& line) const {
    const float total =
        m_alignToTotalWidth ? m_bounds.getWidth() : static_cast<float>(m_extentBounds.z - m_extentBounds.x);
    const float free = total - static_cast<float>(line.width);
    switch (line.align == -1 ? static_cast<int>(m_horizontalAlign) : line.align) {
    case 0:
        return free / 2;
    case 2:
        return free;
    default:
        return 0;
    }
}

// --- size -----------------------------------------------------------------------------------------------

IVec2<int> TextActor::getActualSize() {
    update();
    return getTextSizeInternal();
}

IVec2<int> TextActor::getTextSizeInternal() const {
    const IVec4<int>& working = workingBounds();
    return {working.z - working.x, working.w - working.y};
}

int TextActor::getLineHeight() const {
    return m_font ? m_font->getLineHeight() : 0;
}

bool TextActor::isTooLarge() {
    update();
    return isTooLargeInternal();
}

/// The factor is a margin for descenders.
bool TextActor::isTooLargeInternal() const {
    const auto width = static_cast<float>(m_extentBounds.z - m_extentBounds.x);
    const auto height = static_cast<float>(m_extentBounds.w - m_extentBounds.y);
    return width > m_bounds.getWidth() || height * 1.1f > m_bounds.getHeight();
}

// --- lines ----------------------------------------------------------------------------------------------

size_t TextActor::getLineCount() const {
    return m_lines->lines.size();
}

TextActor::Line TextActor::getLine(size_t index) const {
    const TextLine& line = m_lines->lines[index];
    Line view;
    view.x = line.x;
    view.width = line.width;
    view.align = line.align;
    view.stops = m_lines->stopsOf(line);
    view.firstFragment = line.firstFragment;
    view.fragmentCount = line.fragmentCount;
    view.cursorRect = m_lines->cursorRectOf(line);
    view.top = line.top;
    view.bottom = line.bottom;
    view.isVisible = line.isVisible;
    view.isRepeated = line.isRepeated;
    view.underlines = std::span(m_lines->underlines).subspan(line.firstUnderline, line.underlineCount);
    return view;
}

TextActor::Fragment TextActor::getFragment(size_t index) const {
    const internal::TextFragment& fragment = m_lines->fragments[index];
    return {m_lines->pages[fragment.page].get(),
            std::span(m_lines->quads).subspan(fragment.firstQuad, fragment.quadCount),
            std::span(m_lines->colors).subspan(fragment.firstQuad, fragment.quadCount), fragment.isColored};
}

const Vector<TextActor::Bar>& TextActor::getBars() const {
    return m_lines->bars;
}

// --- cursor ---------------------------------------------------------------------------------------------

/// Returns the place of the origin of a line on the target.
IVec2<float> TextActor::originOf(const TextLine& line) const {
    return {m_position.x + line.x, m_position.y};
}

Rect TextActor::getCursorRect() const {
    if (!m_cursorEnabled) return {};
    for (const TextLine& line : m_lines->lines)
        if (line.cursorStop != internal::kNoStop) return m_lines->cursorRectOf(line);
    return {};
}

Rect TextActor::getCursorBounds() {
    update();
    if (!m_cursorEnabled) return {};
    for (const TextLine& line : m_lines->lines)
        if (line.cursorStop != internal::kNoStop)
            return internal::moved(m_lines->cursorRectOf(line), originOf(line));
    return {};
}

/// Calls `visit(stop, rect)` for all places of the cursor, with their rectangles on the target.
template <typename Visit>
void TextActor::forStops(const Visit& visit) const {
    for (const TextLine& line : m_lines->lines)
        for (const CursorStop& stop : m_lines->stopsOf(line))
            visit(stop, internal::moved(stop.rect, originOf(line)));
}

int TextActor::findCursorPosition(const IVec2<float>& point) {
    update();
    int nearest = -1;
    float least = 1e6f;
    forStops([&](const CursorStop& stop, const Rect& rect) {
        const float dx = (rect.x0 + rect.x1) / 2 - point.x;
        const float dy = (rect.y0 + rect.y1) / 2 - point.y;
        const float distance = dx * dx + dy * dy;
        if (!(distance < least)) return;
        least = distance;
        nearest = static_cast<int>(stop.sourceIndex);
    });
    return nearest;
}

int TextActor::findCursorPositionInLine(const IVec2<float>& point) {
    update();
    int nearest = -1;
    float least = std::numeric_limits<float>::infinity();
    forStops([&](const CursorStop& stop, const Rect& rect) {
        if (!(point.y >= rect.y0 && point.y < rect.y1)) return;
        const float distance = std::fabs((rect.x0 + rect.x1) / 2 - point.x);
        if (!(distance < least)) return;
        least = distance;
        nearest = static_cast<int>(stop.sourceIndex);
    });
    return nearest;
}

} // namespace qel
