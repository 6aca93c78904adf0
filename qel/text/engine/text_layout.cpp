#include <qel/text/engine/text_layout_p.h>

#include <qel/style/theme.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace qel::internal {

namespace {

/// Bounds all coordinates, so that the sum of two of them still is an int.
constexpr int kFarthest = 0x3FFFFFFF;

int limited(int64 coordinate) {
    return static_cast<int>(std::clamp<int64>(coordinate, -kFarthest, kFarthest));
}

int truncated(double coordinate) {
    if (std::isnan(coordinate)) return 0;
    return static_cast<int>(std::clamp<double>(coordinate, -kFarthest, kFarthest));
}

/// Returns the pixels of @p factor line heights; 0 instead of a negative number.
int stepOf(const Font* font, float factor) {
    if (font == nullptr) return 0;
    return std::max(0, truncated(static_cast<double>(static_cast<float>(font->getLineHeight()) * factor)));
}

int ascentOf(const Font* font) {
    return font != nullptr ? font->getAscent() : 0;
}

/// Returns the least coordinate at which a pen must wrap.
int wrapLimit(int wordWrap, float boundsWidth) {
    if (wordWrap > 0) return wordWrap;
    if (wordWrap == 0 || std::isnan(boundsWidth)) return std::numeric_limits<int>::max();
    return truncated(std::ceil(static_cast<double>(boundsWidth)));
}

/// Adds the kerning in front of a character. @return its glyph, or null.
const Font::Character* kern(Pen& pen, uint32 codePoint) {
    const uint32 partner = std::exchange(pen.partner, codePoint);
    if (!pen.font) return nullptr;
    pen.x = limited(int64{pen.x} + pen.font->getKerning(partner, codePoint));
    return pen.font->getCharacter(codePoint);
}

void changeFont(Pen& pen, const Token& token) {
    if (token.type == Token::Type::FontStyle) pen.style = static_cast<FontStyle>(token.asInt());
    Font* const font = token.type == Token::Type::Font ? token.font.get() : pen.font.get();
    pen.setFont(Theme::fontWithStyle(font, pen.style));
}

/// Moves the pen to the next tab stop, over a spacer or past a tab stop at a given position.
void moveOverSpace(Pen& pen, const Token& token) {
    pen.partner = 0;
    const Font* const font = pen.font.get();
    if (token.type == Token::Type::Spacer) {
        pen.x = limited(int64{pen.x} + stepOf(font, token.asFloat()));
    } else if (token.type == Token::Type::Tab) {
        const int step = stepOf(font, token.asFloat());
        if (step > 0) pen.x = limited(int64{pen.x} + step - pen.x % step);
    } else {
        const double quarter = font != nullptr ? std::max(0.0, font->getLineHeight() * 0.25) : 0.0;
        const double stop = std::fmax(pen.x, static_cast<double>(token.asFloat())); // ignores NaN
        pen.x = truncated(stop + quarter);
    }
}

/// Moves the pen over a token with its usual glyph.
void moveUnshaped(Pen& pen, const Token& token) {
    switch (token.type) {
    case Token::Type::Character:
    case Token::Type::Space:
        if (const Font::Character* const glyph = kern(pen, token.value))
            pen.x = limited(int64{pen.x} + glyph->xAdvance);
        break;
    case Token::Type::Tab:
    case Token::Type::Spacer:
    case Token::Type::TabStop:
        moveOverSpace(pen, token);
        break;
    case Token::Type::Font:
    case Token::Type::FontStyle:
        changeFont(pen, token);
        break;
    default:
        break;
    }
}

bool endsLine(Token::Type type) {
    return type == Token::Type::LineEnd || type == Token::Type::ParagraphEnd || type == Token::Type::TextEnd;
}

bool isPunctuation(uint32 codePoint) {
    constexpr std::string_view kMarks = "./\\-_;:,^&=+@|";
    return codePoint < 128 && kMarks.find(static_cast<char>(codePoint)) != std::string_view::npos;
}

} // namespace

// --- helpers
// ----------------------------------------------------------------------------------------------

uint32 PageNumbers::numberOf(Sprite* page) {
    if (m_last < m_pages.size() && m_pages[m_last] == page) return m_last;
    const auto count = static_cast<uint32>(m_pages.size());
    if (count <= kFewPages) {
        const auto found = std::find(m_pages.begin(), m_pages.end(), page);
        m_last = static_cast<uint32>(found - m_pages.begin());
    } else {
        if (m_numbers.empty())
            for (uint32 i = 0; i < count; ++i) m_numbers.emplace(m_pages[i].get(), i);
        m_last = m_numbers.emplace(page, count).first->second;
    }
    if (m_last == count) m_pages.emplace_back(page);
    return m_last;
}

void Pen::setFont(const SmartPointer<Font>& next) {
    font = next;
    isShaping = font && font->delegateShapeRun.isConnected();
}

void Extent::takeInX(int from, int to) {
    left = std::min(left, from);
    right = std::max(right, to);
}

void Extent::takeInY(int from, int to) {
    top = std::min(top, from);
    bottom = std::max(bottom, to);
}

IVec4<int> Extent::bounds() const {
    if (left > right || top > bottom) return {};
    return {left, top, right, bottom};
}

TextLayout::TextLayout(TextActor& actor)
    : m_actor(actor),
      m_tokens(actor.m_tokens),
      m_lines(*actor.m_lines),
      m_scratch(m_lines.scratch),
      m_runs(&m_scratch.measuredRuns),
      m_pages(m_lines.pages),
      m_limit(wrapLimit(actor.m_wordWrap, actor.m_bounds.getWidth())) {
    m_pen.setFont(actor.m_font);
    m_pen.style = actor.m_fontStyle;
}

void TextLayout::run() {
    m_lines.clear();
    m_scratch.margins.clear();
    m_scratch.fragmentOfPage.clear();
    for (size_t i = 0; i < m_tokens.size(); ++i) {
        if (m_isLineOpen && m_lineEnd.isWrapped && i == m_lineEnd.token) {
            closeLine();
            m_isWrappedStart = true;
        }
        if (!place(i)) break;
    }
    closeOpenLine();
    m_actor.m_extentBounds = m_extent.bounds();
    m_actor.m_inkBounds = m_ink.bounds();
}

// --- measuring
// --------------------------------------------------------------------------------------------

/// Finds the end of the line whose first token is @p first. A line may end in front of a space, after a tab
/// or a spacer, in front of punctuation if this is asked for, and, without such a place, inside a word. It
/// takes at least one character, so that each token is walked over at most twice.
TextLayout::LineEnd TextLayout::determineLineSize(size_t first) const {
    constexpr size_t kNone = std::numeric_limits<size_t>::max();
    Pen pen = m_pen;
    size_t lastBreak = kNone;
    bool hasCharacter = false;
    bool isAfterTab = false;
    size_t i = first;
    for (; i < m_tokens.size() && !endsLine(m_tokens[i].type); ++i) {
        const Token& token = m_tokens[i];
        if (token.type == Token::Type::Character) {
            const bool isBreakable = m_actor.m_breakAtPunctuation && isPunctuation(token.value);
            if (hasCharacter && (isAfterTab || isBreakable)) lastBreak = i;
            move(pen, i, m_scratch.measuredRuns);
            if (hasCharacter && pen.x >= m_limit) return {lastBreak != kNone ? lastBreak : i, true};
            hasCharacter = true;
            isAfterTab = false;
            continue;
        }
        if (token.type == Token::Type::Space && hasCharacter) lastBreak = i;
        const bool isTab = token.type == Token::Type::Tab || token.type == Token::Type::Spacer ||
                           token.type == Token::Type::TabStop;
        isAfterTab = isTab || (isAfterTab && token.type != Token::Type::Space);
        move(pen, i, m_scratch.measuredRuns);
    }
    return {i, false};
}

/// Finds the part of a run from right to left that begins at @p first and lies on the current line.
void TextLayout::mirrorRun(size_t first) {
    Pen pen = m_pen;
    const size_t end = m_lineEnd.isWrapped ? m_lineEnd.token : m_tokens.size();
    size_t last = first;
    for (; last < end && m_tokens[last].rightToLeft && !endsLine(m_tokens[last].type); ++last)
        move(pen, last, *m_runs);
    for (size_t i = first; i < last; ++i) m_tokens[i].mirrorSum = m_pen.x + pen.x;
}

/// Returns what the hook of the font chose for a token of a run; null if it has not chosen anything.
const ShapedToken* TextLayout::shapeOf(size_t index, const Pen& pen, RunShaper& runs) const {
    if (!pen.isShaping) return nullptr;
    return runs.find(*pen.font, m_tokens, index);
}

/// Moves the pen over a token.
void TextLayout::move(Pen& pen, size_t index, RunShaper& runs) const {
    const Token& token = m_tokens[index];
    if (!pen.isShaping) return moveUnshaped(pen, token);
    const ShapedToken* const shaped = isCharacterOrSpace(token.type) ? shapeOf(index, pen, runs) : nullptr;
    if (shaped == nullptr) return moveUnshaped(pen, token);
    pen.partner = token.value;
    pen.x = limited(int64{pen.x} + shaped->advance);
}

int TextLayout::top() const {
    return limited(int64{m_baseline} + ascentOf(font()));
}

int TextLayout::bottom() const {
    return limited(int64{m_baseline} + (font() != nullptr ? font()->getDescent() : 0));
}

// --- placing
// ----------------------------------------------------------------------------------------------

/// @return false at the end of the text.
bool TextLayout::place(size_t index) {
    Token& token = m_tokens[index];
    switch (token.type) {
    case Token::Type::Space:
        if (!m_isLineOpen && m_isWrappedStart) return true;
        [[fallthrough]];
    case Token::Type::Character:
    case Token::Type::Tab:
    case Token::Type::Spacer:
    case Token::Type::TabStop:
    case Token::Type::PushMargin:
        placeVisible(index);
        return true;
    case Token::Type::LineEnd:
        if (!m_isLineOpen) openLine(index);
        closeLine();
        return true;
    case Token::Type::ParagraphEnd:
        closeOpenLine();
        openParagraph();
        m_isParagraphPending = true;
        return true;
    case Token::Type::TextEnd:
        return false;
    default:
        changeState(token);
        return true;
    }
}

void TextLayout::placeVisible(size_t index) {
    if (!m_isLineOpen) openLine(index);
    const Token& token = m_tokens[index];
    if (token.rightToLeft && !m_isInRun) mirrorRun(index);
    m_isInRun = token.rightToLeft;
    addStop(token);
    if (isCharacterOrSpace(token.type)) {
        if (m_isBarOpen) m_bar.takeInY(top(), bottom());
        if (const ShapedToken* const shaped = shapeOf(index, m_pen, *m_runs))
            placeShaped(*shaped, token);
        else
            placeCharacter(token);
    } else if (token.type == Token::Type::PushMargin) {
        m_scratch.margins.push_back(std::exchange(m_margin, m_pen.x));
    } else {
        moveOverSpace(m_pen, token);
    }
    m_lineLeft = std::min(m_lineLeft, m_pen.x);
    m_lineRight = std::max(m_lineRight, m_pen.x);
}

void TextLayout::placeCharacter(const Token& token) {
    const Font::Character* const glyph = kern(m_pen, token.value);
    if (glyph == nullptr) return;
    const int advance = glyph->xAdvance;
    if (m_isUnderlined) addUnderline(token, advance);
    int left = limited(int64{m_pen.x} + glyph->xOffset);
    if (token.rightToLeft) left = limited(int64{token.mirrorSum} - left - glyph->width);
    addQuad(*glyph, left, limited(int64{m_baseline} + glyph->yOffset));
    m_pen.x = limited(int64{m_pen.x} + advance);
}

/// Places the glyphs that a hook chose. They are not mirrored; the pen of a run from right to left is.
void TextLayout::placeShaped(const ShapedToken& shaped, const Token& token) {
    m_pen.partner = token.value;
    if (m_isUnderlined) addUnderline(token, shaped.advance);
    const int64 pen = token.rightToLeft ? int64{token.mirrorSum} - m_pen.x : m_pen.x;
    for (const PlacedGlyph& placed : m_runs->glyphsOf(shaped)) {
        const Font::Character* glyph = placed.index != 0 ? font()->getGlyph(placed.index) : nullptr;
        if (glyph == nullptr) glyph = font()->getCharacter(token.value);
        if (glyph == nullptr) continue;
        addQuad(*glyph, limited(pen + placed.x + glyph->xOffset),
                limited(int64{m_baseline} - placed.y + glyph->yOffset));
    }
    m_pen.x = limited(int64{m_pen.x} + shaped.advance);
}

void TextLayout::changeState(const Token& token) {
    switch (token.type) {
    case Token::Type::Font:
    case Token::Type::FontStyle:
        changeFont(m_pen, token);
        noteFont();
        break;
    case Token::Type::Color:
        m_color = token.value;
        break;
    case Token::Type::Underline:
        m_isUnderlined = token.value != 0;
        break;
    case Token::Type::PopMargin:
        popMargin();
        break;
    case Token::Type::LineAlignment:
        m_align = token.asInt();
        break;
    case Token::Type::BarBegin:
        m_isBarOpen = true;
        m_bar.top = kFarthest; // it may be further down than an Extent begins
        m_bar.bottom = -kFarthest;
        break;
    case Token::Type::BarEnd:
        closeBar(token.value);
        break;
    default: // bold
        break;
    }
}

/// Remembers the font, which may be loaded after the layout.
void TextLayout::noteFont() {
    Vector<SmartPointer<Font>>& fonts = m_lines.fonts;
    if (!m_pen.font || m_pen.font == m_actor.m_font) return;
    if (std::find(fonts.rbegin(), fonts.rend(), m_pen.font) == fonts.rend()) fonts.push_back(m_pen.font);
}

void TextLayout::popMargin() {
    if (m_scratch.margins.empty()) return;
    m_margin = m_scratch.margins.back();
    m_scratch.margins.pop_back();
}

void TextLayout::addStop(const Token& token) {
    const int stop = token.rightToLeft ? limited(int64{token.mirrorSum} - m_pen.x) : m_pen.x;
    const bool hasCursor =
        m_actor.m_cursorEnabled && token.sourceIndex == static_cast<uint32>(m_actor.m_cursorIndex);
    if (hasCursor) m_line.cursorStop = static_cast<uint32>(m_lines.stops.size());
    m_lines.stops.push_back({token.sourceIndex,
                             {static_cast<float>(stop - 1), static_cast<float>(top()),
                              static_cast<float>(stop + 1), static_cast<float>(bottom())}});
}

/// Adds a glyph, unless it is empty.
void TextLayout::addQuad(const Font::Character& glyph, int left, int upper) {
    Sprite* const page = font()->getPage(glyph.page);
    if (page == nullptr || glyph.width <= 0 || glyph.height <= 0) return;
    const int right = left + glyph.width;
    const int lower = upper + glyph.height;
    m_lines.quads.push_back({{glyph.uMin, glyph.vMin, glyph.uMax, glyph.vMax},
                             {static_cast<float>(left), static_cast<float>(upper), static_cast<float>(right),
                              static_cast<float>(lower)}});
    m_lines.colors.push_back(m_color);
    countQuad(m_pages.numberOf(page));
    m_ink.takeInX(left, right);
    m_ink.takeInY(upper, lower);
    m_line.top = std::min(m_line.top, top());
    m_line.bottom = std::max(m_line.bottom, bottom());
}

/// Counts the last quad for the fragment of its page, which is created if it does not exist.
void TextLayout::countQuad(uint32 page) {
    Vector<TextFragment>& fragments = m_lines.fragments;
    if (m_scratch.fragmentOfPage.size() <= page) m_scratch.fragmentOfPage.resize(size_t{page} + 1);
    uint32 number = m_scratch.fragmentOfPage[page];
    const bool isKnown =
        number >= m_line.firstFragment && number < fragments.size() && fragments[number].page == page;
    if (!isKnown) {
        number = m_scratch.fragmentOfPage[page] = static_cast<uint32>(fragments.size());
        fragments.push_back({page, 0, 0, false});
    }
    ++fragments[number].quadCount;
    fragments[number].isColored |= m_color != 0xFFFFFFFF;
    m_scratch.quadFragments.push_back(number);
}

void TextLayout::addUnderline(const Token& token, int advance) {
    const int thickness = font()->getCapitalHeight() / 16 + 1;
    int left = m_pen.x;
    if (token.rightToLeft) left = limited(int64{token.mirrorSum} - left - advance);
    m_lines.underlines.push_back(
        {{static_cast<float>(left), static_cast<float>(limited(int64{m_baseline} + thickness)),
          static_cast<float>(limited(int64{left} + advance)),
          static_cast<float>(limited(int64{m_baseline} + 2 * thickness))},
         m_color});
}

void TextLayout::closeBar(uint32 color) {
    if (std::exchange(m_isBarOpen, false) && m_bar.top <= m_bar.bottom)
        m_lines.bars.push_back({m_bar.top, m_bar.bottom, color});
}

// --- lines
// ------------------------------------------------------------------------------------------------

void TextLayout::openParagraph() {
    if (!std::exchange(m_isParagraphPending, false)) return;
    const bool isFirst = std::exchange(m_isFirstParagraph, false);
    if (!isFirst && font() != nullptr) m_baseline = limited(int64{m_baseline} + font()->getLineHeight() / 2);
}

void TextLayout::openLine(size_t index) {
    openParagraph();
    m_isLineOpen = true;
    m_isInRun = false;
    m_baseline = limited(int64{m_baseline} - ascentOf(font()));
    m_pen.x = m_lineLeft = m_lineRight = m_margin;
    m_pen.partner = 0;
    m_line = {};
    m_line.top = top();
    m_line.bottom = bottom();
    m_line.firstStop = static_cast<uint32>(m_lines.stops.size());
    m_line.firstFragment = static_cast<uint32>(m_lines.fragments.size());
    m_line.firstUnderline = static_cast<uint32>(m_lines.underlines.size());
    m_lineQuad = m_lines.quads.size();
    m_scratch.quadFragments.clear();
    findLineEnd(index);
}

/// Finds the end of the line whose first token is @p first, and the answers of hooks that hold for the line.
void TextLayout::findLineEnd(size_t first) {
    const bool isPart = std::exchange(m_isWrappedStart, false);
    if (!isPart) m_scratch.measuredRuns.start(m_tokens.size());
    m_lineEnd = {};
    if (m_limit <= kFarthest) m_lineEnd = determineLineSize(first);
    m_runs = &m_scratch.measuredRuns;
    if (!isPart && !m_lineEnd.isWrapped) return;
    m_runs = &m_scratch.wrappedRuns;
    m_runs->start(m_lineEnd.isWrapped ? m_lineEnd.token : m_tokens.size());
}

void TextLayout::closeOpenLine() {
    if (m_isLineOpen) closeLine();
}

void TextLayout::closeLine() {
    m_isLineOpen = false;
    m_line.width = m_lineRight - m_lineLeft;
    m_line.align = m_align;
    m_line.stopCount = static_cast<uint32>(m_lines.stops.size()) - m_line.firstStop;
    m_line.fragmentCount = static_cast<uint32>(m_lines.fragments.size()) - m_line.firstFragment;
    m_line.underlineCount = static_cast<uint32>(m_lines.underlines.size()) - m_line.firstUnderline;
    gatherFragments();
    m_extent.takeInX(m_lineLeft, m_lineRight);
    m_extent.takeInY(m_line.top, m_line.bottom);
    m_lines.lines.push_back(m_line);
    m_baseline = bottom();
}

/// Brings the quads of the line into the order of its fragments.
void TextLayout::gatherFragments() {
    auto place = static_cast<uint32>(m_lineQuad);
    for (uint32 i = 0; i < m_line.fragmentCount; ++i) {
        TextFragment& fragment = m_lines.fragments[m_line.firstFragment + i];
        fragment.firstQuad = place;
        place += fragment.quadCount;
    }
    if (m_line.fragmentCount < 2) return;
    const auto first = static_cast<std::ptrdiff_t>(m_lineQuad);
    m_scratch.quads.assign(m_lines.quads.begin() + first, m_lines.quads.end());
    m_scratch.colors.assign(m_lines.colors.begin() + first, m_lines.colors.end());
    for (uint32 i = 0; i < m_line.fragmentCount; ++i)
        m_lines.fragments[m_line.firstFragment + i].quadCount = 0;
    for (size_t i = 0; i < m_scratch.quads.size(); ++i) {
        TextFragment& fragment = m_lines.fragments[m_scratch.quadFragments[i]];
        const uint32 to = fragment.firstQuad + fragment.quadCount++;
        m_lines.quads[to] = m_scratch.quads[i];
        m_lines.colors[to] = m_scratch.colors[i];
    }
}

} // namespace qel::internal
