// TextLines: the lines of a text, as ranges of vectors that all lines share.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/render/sprite.h>
#include <qel/text/engine/run_shaper_p.h>
#include <qel/text/engine/text_actor.h>

#include <algorithm>
#include <limits>

namespace qel::internal {

inline constexpr uint32 kNoStop = std::numeric_limits<uint32>::max();

/// A line; see TextActor::Line for the meaning of the members.
struct TextLine {
    float x = 0;
    int width = 0;
    int align = -1;
    int top = 0;
    int bottom = 0;
    uint32 firstStop = 0;
    uint32 stopCount = 0;
    uint32 firstFragment = 0;
    uint32 fragmentCount = 0;
    uint32 firstUnderline = 0;
    uint32 underlineCount = 0;
    uint32 cursorStop = kNoStop;
    bool isVisible = true;
    bool isRepeated = false;
};

/// The glyphs of a line that are on one page.
struct TextFragment {
    uint32 page = 0;
    uint32 firstQuad = 0;
    uint32 quadCount = 0;
    bool isColored = false;
};

/// All lines of a text. The vectors keep their memory when the text is laid out again.
struct TextLines {
    Vector<TextLine> lines;
    Vector<TextActor::CursorStop> stops;
    Vector<TextFragment> fragments;
    Vector<TexturePart> quads;
    Vector<uint32> colors; ///< of the quads
    Vector<TextActor::Underline> underlines;
    Vector<TextActor::Bar> bars;
    Vector<SmartPointer<Sprite>> pages; ///< a font may drop its pages at any time
    Vector<SmartPointer<Font>> fonts;   ///< those that tokens chose

    /// Returns the newest version of @p font, which may be null, and of all fonts that tokens chose.
    uint32 versionOf(const Font* font) const {
        uint32 version = font != nullptr ? font->getVersion() : 0;
        for (const SmartPointer<Font>& other : fonts) version = std::max(version, other->getVersion());
        return version;
    }

    /// Memory that the layout uses.
    struct Scratch {
        Vector<int> margins;
        Vector<uint32> fragmentOfPage; ///< the last fragment of each page
        Vector<uint32> quadFragments;  ///< of the quads of a line
        Vector<TexturePart> quads;     ///< of a line, before they are put in order
        Vector<uint32> colors;
        RunShaper measuredRuns; ///< runs as if no line wrapped
        RunShaper wrappedRuns;  ///< runs of a part of a line
    };
    Scratch scratch;

    void clear() {
        lines.clear();
        stops.clear();
        fragments.clear();
        quads.clear();
        colors.clear();
        underlines.clear();
        bars.clear();
        pages.clear();
        fonts.clear();
    }

    /// Returns the stops of @p line.
    std::span<const TextActor::CursorStop> stopsOf(const TextLine& line) const {
        return std::span(stops).subspan(line.firstStop, line.stopCount);
    }
    /// Returns the rectangle of the cursor in @p line; empty if it is elsewhere.
    Rect cursorRectOf(const TextLine& line) const {
        return line.cursorStop == kNoStop ? Rect() : stops[line.cursorStop].rect;
    }
};

} // namespace qel::internal
