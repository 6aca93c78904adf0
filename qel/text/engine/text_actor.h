// TextActor: a text that is laid out and drawn.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/platform/api.h>
#include <qel/render/texture_part.h>
#include <qel/scene/actors/actor.h>
#include <qel/text/engine/token.h>
#include <qel/text/engine/token_tail.h>
#include <qel/text/fonts/font.h>

#include <memory>
#include <set>
#include <span>
#include <string>

namespace qel {
class TextActor;
}

namespace qel::seams {
/// Reads the text of @p actor; see qel/testing/text_reading.h.
void readTokens(TextActor& actor);
} // namespace qel::seams

namespace qel {

class Alarm;
class AnimColor;
class Renderer;
class Sprite;
class System;

namespace internal {
class TextBusy;
class TextLayout;
class TextReader;
struct TextLine;
struct TextLines;
} // namespace internal

/// How a text is placed in its bounds. The values of FollowCursor and FollowCursorOrEnd are for one line that
/// is wider than its bounds; they act along the horizontal axis, the ink values along the vertical one.
/// Values beyond those named mean End.
enum class TextAlign : int {
    Center = 0,                   ///< in the middle
    Start = 1,                    ///< left or top
    End = 2,                      ///< right or bottom
    CenterInk = 3,                ///< vertically by the glyphs themselves, in the middle
    StartInk = 4,                 ///< vertically by the glyphs themselves, at the top
    EndInk = 5,                   ///< vertically by the glyphs themselves, at the bottom
    FollowCursor = 6,             ///< keeps the cursor in view, otherwise left
    FollowCursorWithRoom = 7,     ///< as FollowCursor, with room after the text
    FollowCursorOrEnd = 8,        ///< keeps the cursor in view, otherwise right
    FollowCursorOrEndLoosely = 9, ///< as FollowCursorOrEnd
};

/// A text: a string that is read into tokens, laid out in lines and drawn.
///
/// Reading happens when the text has changed, layout when the font or the width has; drawing does neither.
/// A text that has not been used for 25 seconds frees its lines.
/// @threads main thread; System must exist.
class QEL_API TextActor : public Actor {
    QEL_CLASS(TextActor, Actor)

public:
    /// How a string is read. A carriage return is dropped by all parsers.
    enum class Parser : int {
        Plain = 0,        ///< a line feed ends a line, all spaces are kept
        Flowing = 1,      ///< a line feed is a space, and spaces are joined
        ControlCodes = 2, ///< as Flowing, and "{...}" are control codes
        Markdown = 3,     ///< util::parseMarkdown(), then as ControlCodes
    };

    /// A place for the cursor, in front of a character.
    struct CursorStop {
        uint32 sourceIndex = 0; ///< of the character, see Token
        Rect rect;              ///< two pixels wide and as high as the font, relative to the line
    };
    /// The line below a character.
    struct Underline {
        Rect rect;        ///< relative to the line
        uint32 color = 0; ///< packed, red in the lowest byte
    };
    /// A rectangle in the background, as wide as the bounds.
    struct Bar {
        int top = 0;      ///< relative to getPosition()
        int bottom = 0;   ///< relative to getPosition()
        uint32 color = 0; ///< packed, red in the lowest byte
    };
    /// The glyphs of a line that are on one page. A view that ends with the next update().
    struct Fragment {
        Sprite* page = nullptr;             ///< holds the glyphs
        std::span<const TexturePart> quads; ///< parts of the page and their places relative to the line
        std::span<const uint32> colors;     ///< packed, one for each quad; red in the lowest byte
        bool isColored = false;             ///< false if all colours are opaque white
    };
    /// A line. Its parts are relative to the point (x, y), which itself is relative to getPosition(). A view
    /// that ends with the next update().
    struct Line {
        float x = 0;                           ///< set by the alignment and by scrolling
        float y = 0;                           ///< 0
        int width = 0;                         ///< in pixels
        int align = -1;                        ///< -1 as the actor, 0 centre, 1 left, 2 right
        std::span<const CursorStop> stops;     ///< in the order of the text
        size_t firstFragment = 0;              ///< the first number for getFragment()
        size_t fragmentCount = 0;              ///< fragments of this line, by the first use of their page
        Rect cursorRect;                       ///< empty if the cursor is elsewhere
        int top = 0;                           ///< upper edge of the characters
        int bottom = 0;                        ///< lower edge of the characters
        bool isVisible = true;                 ///< the last draw found the line in the clip
        bool isRepeated = false;               ///< the line scrolls, and its beginning follows its end
        std::span<const Underline> underlines; ///< to be drawn after the glyphs
    };

    TextActor();
    ~TextActor() override;

    void onRender(Renderer* renderer) override;

    // --- text ---------------------------------------------------------------------------------------

    /// Sets the text, which is UTF-8.
    TextActor& setText(SmartCStr text);
    /// Sets the text, which is UTF-8; null means the empty text.
    TextActor& setText(const char* text) { return setText(SmartCStr(text)); }
    /// Sets the text, which is UTF-8.
    TextActor& setText(const String& text);
    /// Returns the text that was passed to setText().
    const String& getText() const { return m_text; }
    /// Returns the text without control codes, translated into the language of System.
    String getPlainText() const;
    /// Sets how the text is read; Parser::Plain initially.
    TextActor& setParser(Parser parser);
    /// Returns how the text is read.
    Parser getParser() const { return m_parser; }
    /// Ends the text with the ends of its line and paragraph, as "{end_of_text}" does, instead of as
    /// "{multiline_end_of_text}"; true initially.
    TextActor& setTrimEOT(bool trim);
    /// Returns the value passed to setTrimEOT().
    bool getTrimEOT() const { return m_trimEOT; }

    // --- look ---------------------------------------------------------------------------------------

    /// Sets the font, or the font of the style of setFontStyle() that matches it. Null: the theme's medium
    /// font. @owner takes a reference.
    TextActor& setFont(Font* font);
    /// Returns the font in use; null before the first update() of a text without one.
    Font* getFont() const { return m_font.get(); }
    /// Sets the style of the font.
    TextActor& setFontStyle(FontStyle style);
    /// Returns the style of the font.
    FontStyle getFontStyle() const { return m_fontStyle; }
    /// Sets the colour, which multiplies those of the text; white initially.
    TextActor& setColor(const IVec4<float>& color);
    /// Returns the colour.
    const IVec4<float>& getColor() const { return m_color; }
    /// Multiplies the colour by an animated one; null for none. @owner the caller; it must outlive its use.
    TextActor& setAnimColor(AnimColor* color);
    /// Draws a dark shadow below the text.
    TextActor& setShadow(bool shadow);
    /// Returns true if a shadow is drawn.
    bool hasShadow() const { return m_shadow; }

    // --- place --------------------------------------------------------------------------------------

    /// Sets the rectangle in pixels of the target.
    TextActor& setBounds(const Rect& bounds);
    /// Returns the rectangle.
    const Rect& getBounds() const { return m_bounds; }
    /// Sets where the text is placed across; Start initially.
    TextActor& setHorizontalAlign(TextAlign align);
    /// Sets where the text is placed down; Start initially.
    TextActor& setVerticalAlign(TextAlign align);
    /// Returns the horizontal placement.
    TextAlign getHorizontalAlign() const { return m_horizontalAlign; }
    /// Returns the vertical placement.
    TextAlign getVerticalAlign() const { return m_verticalAlign; }
    /// Aligns lines in the width of the bounds instead of that of the longest line.
    TextActor& setAlignToTotalWidth(bool total);
    /// Wraps lines. @param widthPx  in pixels; 0 never wraps, negative means the width of the bounds.
    /// @param breakAtPunctuation  also breaks in front of punctuation, as in long paths.
    TextActor& setWordWrap(int widthPx, bool breakAtPunctuation = false);
    /// Chooses the largest of the theme's fonts with which the text fits its bounds.
    TextActor& setAutoSize(bool autoSize);
    /// Lets setAutoSize() try the large and medium-large fonts too; true initially.
    TextActor& setAutoSizeUseLargeFont(bool useLarge);
    /// Scrolls lines that are wider than the bounds.
    TextActor& setLineScrolling(bool scroll);

    // --- cursor and selection -----------------------------------------------------------------------

    /// Shows a cursor in front of the character @p index, counted in code points of the text; a negative
    /// index hides it. There is no place after the last character: a text field appends a space.
    TextActor& setCursor(int index) { return setCursorSelection(index, index); }
    /// Shows a cursor and the selection between it and @p selection.
    TextActor& setCursorSelection(int cursor, int selection);
    /// Returns the rectangle of the cursor relative to its line; empty without one.
    Rect getCursorRect() const;
    /// Returns the rectangle of the cursor; empty without one.
    Rect getCursorBounds();
    /// Returns the index of the character nearest to @p point, or -1 if none is within 1000 pixels.
    int findCursorPosition(const IVec2<float>& point);
    /// Returns the index of the character nearest to @p point in the line at its height, or -1.
    int findCursorPositionInLine(const IVec2<float>& point);

    // --- size ---------------------------------------------------------------------------------------

    /// Returns the width and height of the text in pixels.
    IVec2<int> getActualSize();
    /// Returns the same without bringing the text up to date.
    IVec2<int> getTextSizeInternal() const;
    /// Returns the line height of the font in pixels; 0 without a font.
    int getLineHeight() const;
    /// Returns true if the text does not fit its bounds.
    bool isTooLarge();
    /// Brings tokens, lines and position up to date. Drawing and the functions above do so themselves.
    void update();
    /// Frees the lines and tokens, which the next update() creates again. Does nothing if the deadline of the
    /// frame is exceeded, or while the actor itself is updated or drawn. Call it after the theme has changed:
    /// tokens keep the fonts of the theme with which they were read.
    void unload();

    // --- lines, for renderers; those of the last update() --------------------------------------------

    /// Returns the number of lines.
    size_t getLineCount() const;
    /// Returns line @p index, which is below getLineCount().
    Line getLine(size_t index) const;
    /// Returns fragment @p index, which is one of those of a line; see Line::firstFragment.
    Fragment getFragment(size_t index) const;
    /// Returns the bars in the background.
    const Vector<Bar>& getBars() const;
    /// Returns the place of the text after alignment.
    const IVec2<float>& getPosition() const { return m_position; }
    /// Returns left, top, right and bottom of all characters with their advances.
    const IVec4<int>& getExtentBounds() const { return m_extentBounds; }
    /// Returns left, top, right and bottom of all glyphs.
    const IVec4<int>& getInkBounds() const { return m_inkBounds; }
    /// Returns true while a draw cuts the text at getSoftClipLeft() and getSoftClipRight().
    bool isSoftClipping() const { return m_softClipping; }
    /// Returns the left edge of the visible part.
    float getSoftClipLeft() const { return m_softClipLeft; }
    /// Returns the right edge of the visible part.
    float getSoftClipRight() const { return m_softClipRight; }
    /// Returns the width in which a renderer may fade the text out beyond those edges.
    float getSoftClipFade() const { return m_softClipFade; }

    // --- tokens -------------------------------------------------------------------------------------

    /// Appends a token with the index of the character that was read last. update() removes all tokens when
    /// it reads the text again, and lays out those in front of the first one of type TextEnd, which it adds
    /// to each text.
    Token& pushToken(Token::Type type);
    /// Reads the control code @p code, the text between the braces.
    /// @param replacement  receives text to be read in front of the rest; may be null.
    /// @param parsedTrs    keys of the translations being read; may be null.
    /// @return false if the code ends the text.
    /// @errors logs a warning for an unknown code.
    bool parseControlCode(SmartCStr code, String* replacement, std::set<std::string>* parsedTrs);
    /// Returns the names of all control codes in order. A name that ends in a colon takes an argument.
    static Vector<String> getControlCodes();
    /// Returns the tokens of the last update().
    const Vector<Token>& getTokens() const { return m_tokens; }

private:
    friend class internal::TextBusy;
    friend class internal::TextLayout;
    friend class internal::TextReader;
    friend void seams::readTokens(TextActor& actor);

    // What update() has to do: bits of m_dirty.
    static constexpr uint32 kDirtyPosition = 2;
    static constexpr uint32 kDirtyGlyphs = 4;
    static constexpr uint32 kDirtyTokens = 16;

    // Reading; defined in text_actor_tokens.cpp and text_actor_bidi.cpp.
    void parseToTokens();
    void reorderTokens();
    void clearTokens();

    // Layout; defined in text_actor.cpp.
    void keepLines();
    void chooseFont();
    void fitFont();
    void layOut();
    void align();
    float horizontalOffset(float free) const;
    float verticalOffset(float free) const;
    float cursorOffset(float free, float otherwise) const;
    float alignedX(const internal::TextLine& line) const;
    bool isTooLargeInternal() const;
    bool isLayoutOutdated() const;
    const IVec4<int>& workingBounds() const;
    IVec2<float> originOf(const internal::TextLine& line) const;
    template <typename Visit>
    void forStops(const Visit& visit) const;

    // Drawing; defined in text_actor_drawing.cpp.
    void drawBars(Renderer* renderer);
    bool placeVisibleLines(const IVec4<int>& clip);
    bool isTooLong(const internal::TextLine& line) const;
    void drawLines(Renderer* renderer, bool isClipped);
    void drawScrollingLines(Renderer* renderer);
    void scrollLines();
    void shiftRepeatedLines(float widths, float distance);
    bool showRepeatedLines();
    void drawWithShadow(Renderer* renderer);
    void drawShadow(Renderer* renderer);
    void drawSelection(Renderer* renderer);
    Rect selectionOf(const internal::TextLine& line) const;
    void drawCursor(Renderer* renderer);

    Vector<Token> m_tokens;
    internal::TokenTail m_tokenTail;
    uint32 m_sourceIndex = 0;
    bool m_mayHoldRightToLeft = false; // false if no token can come out right-to-left
    uint32 m_dirty = kDirtyPosition | kDirtyGlyphs | kDirtyTokens;
    String m_text;
    SmartPointer<Font> m_font;
    FontStyle m_fontStyle = FontStyle::Regular;
    IVec4<float> m_color{1, 1, 1, 1};
    AnimColor* m_animColor = nullptr;
    Rect m_bounds;
    TextAlign m_horizontalAlign = TextAlign::Start;
    TextAlign m_verticalAlign = TextAlign::Start;
    Parser m_parser = Parser::Plain;
    bool m_trimEOT = true;
    bool m_shadow = false;
    bool m_alignToTotalWidth = false;
    bool m_autoSize = false;
    bool m_autoSizeUseLargeFont = true;
    bool m_softClipping = false;
    bool m_breakAtPunctuation = false;
    bool m_lineScrolling = false;
    bool m_cursorEnabled = false;
    bool m_isBusy = false; ///< the lines are being read or written
    int m_wordWrap = 0;
    int m_cursorIndex = 0;
    int m_selectionIndex = 0;
    uint32 m_fontVersion = 0; ///< of the newest font when the lines were made
    float m_layoutWidth = 0;  ///< of the bounds when the lines were made
    IVec4<int> m_extentBounds;
    IVec4<int> m_inkBounds;
    IVec2<float> m_position;
    float m_softClipLeft = 0;
    float m_softClipRight = 0;
    float m_softClipFade = 0;
    std::unique_ptr<internal::TextLines> m_lines;
    SmartPointer<Alarm> m_unloadAlarm;
    WeakPointer<System> m_system; ///< whose caches the lines belong to
};

} // namespace qel
