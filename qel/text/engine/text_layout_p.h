// TextLayout: makes lines of glyphs from the tokens of a text.
#pragma once

#include <qel/text/engine/text_lines_p.h>

#include <cstddef>
#include <unordered_map>

namespace qel::internal {

/// The pages of a layout and their numbers.
class PageNumbers {
public:
    explicit PageNumbers(Vector<SmartPointer<Sprite>>& pages) : m_pages(pages) {}

    /// Returns the number of a page, which is added if it is new.
    uint32 numberOf(Sprite* page);

private:
    static constexpr size_t kFewPages = 8; // are searched one by one

    Vector<SmartPointer<Sprite>>& m_pages;
    std::unordered_map<const Sprite*, uint32> m_numbers; // of all pages, if they are many
    uint32 m_last = 0;
};

/// The pen, which moves over the tokens of a line.
struct Pen {
    int x = 0;
    uint32 partner = 0; ///< the previous code point, for kerning
    SmartPointer<Font> font;
    FontStyle style = FontStyle::Regular;
    bool isShaping = false; ///< the font has a hook that chooses glyphs

    /// Continues with another font.
    void setFont(const SmartPointer<Font>& next);
};

/// A rectangle of whole numbers that grows with what it takes in.
struct Extent {
    int left = 32768;
    int top = 32768;
    int right = -32768;
    int bottom = -32768;

    void takeInX(int from, int to);
    void takeInY(int from, int to);
    /// Returns the rectangle; all zero if nothing was taken in.
    IVec4<int> bounds() const;
};

/// One layout of a text.
///
/// A line takes the tokens from its first visible one to the token in front of which it ends. That end is
/// found first, without placing anything, and the tokens are placed after that. A run from right to left is
/// mirrored within its part of the line: the coordinates of its tokens are subtracted from the sum of the
/// part's two ends.
///
/// If the hook of a font chooses glyphs, the end of a line is found with the advances that the text has on
/// one line. The hook is asked again for a line that wraps, as the letters at its ends may join in another
/// way.
class TextLayout {
public:
    explicit TextLayout(TextActor& actor);

    /// Replaces the lines of the actor.
    void run();

private:
    /// Where a line ends.
    struct LineEnd {
        size_t token;   ///< the line ends in front of it
        bool isWrapped; ///< false if the token ends lines by itself
    };

    LineEnd determineLineSize(size_t first) const;
    void mirrorRun(size_t first);
    const ShapedToken* shapeOf(size_t index, const Pen& pen, RunShaper& runs) const;
    void move(Pen& pen, size_t index, RunShaper& runs) const;

    bool place(size_t index);
    void placeVisible(size_t index);
    void placeCharacter(const Token& token);
    void placeShaped(const ShapedToken& shaped, const Token& token);
    void changeState(const Token& token);
    void noteFont();
    void popMargin();
    void addStop(const Token& token);
    void addQuad(const Font::Character& glyph, int left, int upper);
    void countQuad(uint32 page);
    void addUnderline(const Token& token, int advance);
    void closeBar(uint32 color);

    void openParagraph();
    void openLine(size_t index);
    void findLineEnd(size_t first);
    void closeLine();
    void closeOpenLine();
    void gatherFragments();

    Font* font() const { return m_pen.font.get(); }
    /// Returns the upper edge of the characters of the current font around the baseline.
    int top() const;
    /// Returns the lower edge.
    int bottom() const;

    TextActor& m_actor;
    Vector<Token>& m_tokens;
    TextLines& m_lines;
    TextLines::Scratch& m_scratch;
    RunShaper* m_runs; ///< those of the line
    PageNumbers m_pages;
    int m_limit; ///< a pen that reaches it must wrap

    Pen m_pen;
    int m_baseline = 0;
    int m_margin = 0;
    uint32 m_color = 0xFFFFFFFF;
    int m_align = -1;
    bool m_isUnderlined = false;
    bool m_isBarOpen = false;
    Extent m_bar;
    Extent m_extent;
    Extent m_ink;

    bool m_isLineOpen = false;
    bool m_isWrappedStart = false; ///< spaces at the start of a wrapped line are dropped
    bool m_isParagraphPending = true;
    bool m_isFirstParagraph = true;
    bool m_isInRun = false; ///< the previous token of the line runs from right to left
    LineEnd m_lineEnd{};
    TextLine m_line;
    int m_lineLeft = 0;
    int m_lineRight = 0;
    size_t m_lineQuad = 0; ///< the first quad of the line
};

} // namespace qel::internal
