#include <qel/text/fonts/outline_work_p.h>

#include <qel/foundation/base/buffer.h>

#include <freetype/tttables.h>
#include <freetype/tttags.h>

#include <algorithm>
#include <vector>

namespace qel::internal {

namespace {

constexpr int kMaxParts = 128; // common fonts have up to 30 in 5 levels
constexpr int kMaxLevels = 16;
constexpr int kMaxPoints = 2048; // common fonts have up to 1300

// The flags of a part of a composite glyph, from the OpenType specification, table "glyf".
constexpr unsigned kArgumentsAreWords = 0x01;
constexpr unsigned kHasScale = 0x08;
constexpr unsigned kHasMoreParts = 0x20;
constexpr unsigned kHasTwoScales = 0x40;
constexpr unsigned kHasMatrix = 0x80;

/// Reads a table of the font's file. @return false if its bytes are not in the file.
bool readTable(FT_Face face, FT_ULong tag, FT_ULong size, Buffer& table) {
    if (size == 0 || size > face->stream->size) return false;
    table.resize(size);
    if (FT_Load_Sfnt_Table(face, tag, 0, table.getBytePointer(), &size) == 0) return true;
    table.clear();
    return false;
}

/// Returns a table of the font's file; empty if it does not exist.
/// @param neededSize  bytes that are returned even if the table states a smaller size, as FreeType uses them.
Buffer loadTable(FT_Face face, FT_ULong tag, FT_ULong neededSize) {
    FT_ULong size = 0;
    Buffer table;
    if (FT_Load_Sfnt_Table(face, tag, 0, nullptr, &size) != 0) return table;
    if (neededSize <= size || !readTable(face, tag, neededSize, table)) readTable(face, tag, size, table);
    return table;
}

/// The table of the outlines, with the place of each glyph in it.
class Outlines {
public:
    Outlines(FT_Face face, bool hasWideOffsets)
        : m_offsetSize(hasWideOffsets ? 4 : 2),
          m_outlines(loadTable(face, TTAG_glyf, 0)),
          m_offsets(loadTable(face, TTAG_loca, (static_cast<FT_ULong>(face->num_glyphs) + 1) * m_offsetSize)),
          m_sizes(std::min<size_t>(m_offsets.getSize() / m_offsetSize, 0x10000)) {}

    /// Returns true if no glyph exceeds the limits of parts.
    bool areSmall() {
        for (unsigned glyph = 0; glyph < m_sizes.size(); ++glyph)
            if (!isSmall(glyph, 0)) return false;
        return true;
    }
    /// Returns the points of the largest glyph. Call areSmall() before.
    int maxPoints() const {
        int points = 0;
        for (const Size& size : m_sizes) points = std::max(points, size.points);
        return points;
    }

private:
    /// A glyph with all its parts. Glyphs that are simple or not known yet have no parts.
    struct Size {
        int parts = 0;
        int levels = 0;
        int points = 0;
    };

    unsigned wordAt(size_t place) const {
        if (place + 2 > m_outlines.getSize()) return 0;
        return static_cast<unsigned>(m_outlines[place] << 8 | m_outlines[place + 1]);
    }
    /// Returns where the outline of a glyph begins.
    size_t placeOf(unsigned glyph) const {
        size_t offset = 0;
        for (size_t i = 0; i < m_offsetSize; ++i) offset = offset << 8 | m_offsets[glyph * m_offsetSize + i];
        return m_offsetSize == 2 ? 2 * offset : offset;
    }
    /// Adds up the parts of a glyph. @return false if they exceed the limits.
    bool isSmall(unsigned glyph, int level) {
        if (level > kMaxLevels) return false;
        if (glyph >= m_sizes.size() || m_sizes[glyph].parts > 0) return true;
        size_t place = placeOf(glyph);
        const unsigned contours = wordAt(place);
        const bool isComposite = contours >= 0x8000; // a negative number
        Size size;
        if (contours > 0 && !isComposite)
            size.points = static_cast<int>(wordAt(place + 10 + size_t{2} * (contours - 1))) + 1;
        unsigned flags = isComposite ? kHasMoreParts : 0;
        for (place += 10; (flags & kHasMoreParts) != 0; place += sizeOfPart(flags)) {
            flags = wordAt(place);
            const unsigned part = wordAt(place + 2);
            if (!isSmall(part, level + 1)) return false;
            const Size inner = part < m_sizes.size() ? m_sizes[part] : Size();
            size.parts += inner.parts + 1;
            size.levels = std::max(size.levels, inner.levels + 1);
            size.points += inner.points;
            if (size.parts > kMaxParts || size.levels > kMaxLevels) return false;
        }
        m_sizes[glyph] = size;
        return true;
    }
    static size_t sizeOfPart(unsigned flags) {
        const size_t size = (flags & kArgumentsAreWords) != 0 ? 8 : 6;
        if ((flags & kHasScale) != 0) return size + 2;
        if ((flags & kHasTwoScales) != 0) return size + 4;
        return (flags & kHasMatrix) != 0 ? size + 8 : size;
    }

    const size_t m_offsetSize;
    const Buffer m_outlines;
    const Buffer m_offsets;
    std::vector<Size> m_sizes; ///< by glyph
};

} // namespace

OutlineWork findOutlineWork(FT_Face face) {
    const auto* const head = static_cast<const TT_Header*>(FT_Get_Sfnt_Table(face, FT_SFNT_HEAD));
    const auto* const limits = static_cast<const TT_MaxProfile*>(FT_Get_Sfnt_Table(face, FT_SFNT_MAXP));
    if (head == nullptr || limits == nullptr) return OutlineWork::Small;
    Outlines outlines(face, head->Index_To_Loc_Format != 0);
    if (!outlines.areSmall()) return OutlineWork::TooMuch;
    const int points = std::max<int>(outlines.maxPoints(), limits->maxTwilightPoints);
    return points > kMaxPoints ? OutlineWork::TooMuchForPrograms : OutlineWork::Small;
}

} // namespace qel::internal
