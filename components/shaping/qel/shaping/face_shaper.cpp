#include <qel/shaping/face_shaper_p.h>

#include <qel/shaping/seams.h>

#include <algorithm>
#include <cmath>

namespace qel::internal {

namespace {

/// HarfBuzz limits the glyphs and the steps of one call, but a file of 100 KB can make it compare millions of
/// rules for each character, which takes about a microsecond. The factor covers slow processors and
/// sanitizers.
constexpr double kSecondsPerCharacter = 100e-6;

constexpr float kUnitsPerPixel = 64;            // of what HarfBuzz returns
constexpr std::size_t kGlyphsPerCharacter = 20; // a font's longest composition has 18
constexpr std::size_t kFewGlyphs = 32;          // are accepted for every segment

double g_allowance = 1;

float pixels(int64 length) {
    return static_cast<float>(length) / kUnitsPerPixel;
}

} // namespace

FaceShaper::FaceShaper(const TrueTypeFont& font)
    : m_file(font.getFileBytes()), m_version(font.getVersion()), m_buffer(hb_buffer_create()) {
    const bool hasOutlines = font.getScale() > 0 && font.getUnitsPerEm() > 0;
    if (!hasOutlines) return;
    hb_blob_t* const blob =
        hb_blob_create(reinterpret_cast<const char*>(m_file.data), static_cast<unsigned>(m_file.size),
                       HB_MEMORY_MODE_READONLY, nullptr, nullptr);
    hb_face_t* const face = hb_face_create(blob, static_cast<unsigned>(font.getFaceIndex()));
    m_font.reset(hb_font_create(face));
    const double scale = font.getScale() * hb_face_get_upem(face) * kUnitsPerPixel;
    const int rounded = static_cast<int>(std::lround(std::min(scale, 1e9)));
    hb_font_set_scale(m_font.get(), rounded, rounded);
    hb_face_destroy(face); // the font and the face keep what they use
    hb_blob_destroy(blob);
}

bool FaceShaper::isOf(const TrueTypeFont& font) const {
    const ConstByteSpan file = font.getFileBytes();
    return m_version == font.getVersion() && m_file.data == file.data && m_file.size == file.size;
}

uint32 FaceShaper::glyphOf(uint32 codePoint) const {
    hb_codepoint_t glyph = 0;
    if (!isUsable()) return 0;
    return hb_font_get_nominal_glyph(m_font.get(), codePoint, &glyph) != 0 ? glyph : 0;
}

float FaceShaper::advanceOf(uint32 glyph) const {
    return m_font ? pixels(hb_font_get_glyph_h_advance(m_font.get(), glyph)) : 0;
}

bool FaceShaper::shape(const ShapingRun& run, const Segment& segment, ShapedRun& answer) {
    m_workLimit.begin();
    const bool isFilled = fillBuffer(run, segment);
    const double excess = m_workLimit.end(kSecondsPerCharacter * static_cast<double>(segment.count));
    m_isRefused = excess > g_allowance || !isFilled;
    if (m_isRefused) return false;
    if (run.isRightToLeft)
        readRightToLeft(answer);
    else
        readLeftToRight(answer);
    return true;
}

/// Lets HarfBuzz fill its buffer. Of its ways to shape only that by the tables of OpenType is used, and
/// neither the locale nor the environment has a say. @return false if there are too many glyphs.
bool FaceShaper::fillBuffer(const ShapingRun& run, const Segment& segment) {
    constexpr const char* kShapers[] = {"ot", nullptr};
    hb_buffer_t* const buffer = m_buffer.get();
    hb_buffer_clear_contents(buffer);
    hb_buffer_add_codepoints(buffer, run.codePoints.data(), static_cast<int>(run.codePoints.size()),
                             static_cast<unsigned>(segment.first), static_cast<int>(segment.count));
    hb_buffer_set_direction(buffer, run.isRightToLeft ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
    hb_buffer_set_script(buffer, segment.script);
    if (hb_shape_full(m_font.get(), buffer, nullptr, 0, kShapers) == 0) return false;
    if (hb_buffer_allocation_successful(buffer) == 0) return false;
    unsigned count = 0;
    m_glyphs = {hb_buffer_get_glyph_infos(buffer, nullptr), hb_buffer_get_length(buffer)};
    m_positions = {hb_buffer_get_glyph_positions(buffer, &count), m_glyphs.size()};
    return count == m_glyphs.size() && count <= kFewGlyphs + kGlyphsPerCharacter * segment.count;
}

/// Stores the glyphs of a cluster, which begins with the character that they state.
void FaceShaper::readCluster(std::size_t first, std::size_t end, bool isRightToLeft,
                             ShapedRun& answer) const {
    int64 advance = 0;
    for (std::size_t i = first; i < end; ++i) advance += m_positions[i].x_advance;
    int64 pen = isRightToLeft ? -advance : 0;
    const uint32 character = m_glyphs[first].cluster;
    for (std::size_t i = first; i < end; ++i) {
        answer.glyphs.push_back({character, m_glyphs[i].codepoint, pixels(pen + m_positions[i].x_offset),
                                 pixels(m_positions[i].y_offset)});
        pen += m_positions[i].x_advance;
    }
    answer.advances[character] = pixels(advance);
}

void FaceShaper::readLeftToRight(ShapedRun& answer) const {
    for (std::size_t first = 0, end = 0; first < m_glyphs.size(); first = end) {
        while (end < m_glyphs.size() && m_glyphs[end].cluster == m_glyphs[first].cluster) ++end;
        readCluster(first, end, false, answer);
    }
}

/// The glyphs are in the order from left to right, their clusters from last to first.
void FaceShaper::readRightToLeft(ShapedRun& answer) const {
    for (std::size_t first = m_glyphs.size(), end = first; end > 0; end = first) {
        while (first > 0 && m_glyphs[first - 1].cluster == m_glyphs[end - 1].cluster) --first;
        readCluster(first, end, true, answer);
    }
}

} // namespace qel::internal

void qel::seams::setShapingAllowance(double seconds) {
    internal::g_allowance = seconds;
}
