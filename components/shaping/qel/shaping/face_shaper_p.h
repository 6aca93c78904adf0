// FaceShaper: shapes segments with the tables of one file.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/shaping/segment_p.h>
#include <qel/system/core/work_limit.h>
#include <qel/text/fonts/shaping.h>
#include <qel/text/fonts/true_type_font.h>

#include <memory>
#include <span>

namespace qel::internal {

/// Releases an object of HarfBuzz by a function.
template <auto Destroy>
struct HarfBuzzRelease {
    template <typename T>
    void operator()(T* object) const {
        Destroy(object);
    }
};

/// The file of a font in one size. It reads the bytes of the font, which must stay until it is destroyed or
/// no longer used.
class FaceShaper {
public:
    explicit FaceShaper(const TrueTypeFont& font);

    /// Returns true if this is the shaper of what @p font has loaded.
    bool isOf(const TrueTypeFont& font) const;
    /// Returns true if the file has outlines and has not needed too much work.
    bool isUsable() const { return m_font && !m_isRefused; }
    /// Returns the number of the glyph for a character; 0 if the file lacks it or is not usable.
    uint32 glyphOf(uint32 codePoint) const;
    /// Returns the advance of a glyph in pixels, without kerning.
    float advanceOf(uint32 glyph) const;
    /// Shapes a segment of a run. Numbers of glyphs are those in the file.
    /// @param answer  receives the advances and glyphs of the segment.
    /// @return false if the file needs too much work; nothing is stored, and it is not usable from then on.
    bool shape(const ShapingRun& run, const Segment& segment, ShapedRun& answer);

private:
    bool fillBuffer(const ShapingRun& run, const Segment& segment);
    void readCluster(std::size_t first, std::size_t end, bool isRightToLeft, ShapedRun& answer) const;
    void readLeftToRight(ShapedRun& answer) const;
    void readRightToLeft(ShapedRun& answer) const;

    ConstByteSpan m_file;
    uint32 m_version;
    std::unique_ptr<hb_font_t, HarfBuzzRelease<&hb_font_destroy>> m_font; ///< null without outlines
    std::unique_ptr<hb_buffer_t, HarfBuzzRelease<&hb_buffer_destroy>> m_buffer;
    std::span<const hb_glyph_info_t> m_glyphs;        ///< of the buffer
    std::span<const hb_glyph_position_t> m_positions; ///< of the buffer
    WorkLimit m_workLimit;
    bool m_isRefused = false;
};

} // namespace qel::internal
