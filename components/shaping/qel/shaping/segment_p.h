// Segments: the parts of a run that HarfBuzz shapes by itself.
#pragma once

#include <qel/foundation/base/types.h>

#include <hb.h>

#include <cstddef>
#include <functional>
#include <span>

namespace qel::internal {

/// Adjacent characters of one script that one file has glyphs for.
struct Segment {
    std::size_t first = 0;
    std::size_t count = 0;
    uint32 face = 0; ///< number of the file, as for the faces of a SegmentReader
    hb_script_t script = HB_SCRIPT_COMMON;
};

/// Returns true for scripts whose letters do not touch each other.
bool hasSeparateLetters(hb_script_t script);

/// Divides a run into segments. A segment has at most 128 characters, and ends at a space if it is long, so
/// that the work for one segment is limited.
class SegmentReader {
public:
    /// Answers whether the file @p face has a glyph for a character.
    using HasGlyph = std::function<bool(uint32 face, uint32 codePoint)>;

    /// @param faceCount  number of files; the first one with a glyph is taken. @p hasGlyph and @p text must
    ///                   outlive the reader.
    SegmentReader(std::span<const uint32> text, uint32 faceCount, const HasGlyph& hasGlyph)
        : m_text(text), m_faceCount(faceCount), m_hasGlyph(hasGlyph) {}

    /// Reads the next segment. Its face is the number of files if none has a glyph. @return false at the end.
    bool read(Segment& segment);

private:
    uint32 firstFaceWith(uint32 codePoint) const;
    bool takes(Segment& segment, uint32 codePoint) const;

    std::span<const uint32> m_text;
    uint32 m_faceCount;
    const HasGlyph& m_hasGlyph;
    std::size_t m_next = 0;
};

} // namespace qel::internal
