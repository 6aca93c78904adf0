#include <qel/text/fonts/font_face_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/text/fonts/glyph_bitmap_p.h>
#include <qel/text/fonts/glyph_numbers_p.h>
#include <qel/text/fonts/outline_work_p.h>

#include <freetype/ftoutln.h>
#include <freetype/tttables.h>
#include <freetype/tttags.h>

#include <algorithm>
#include <array>

namespace qel::internal {

namespace {

constexpr FT_Pos kMaxPixels = 1 << 20; // limits what a damaged font states
constexpr int kMaxSize = 1 << 20;      // FreeType refuses it; much larger ones overflow there
constexpr int kMaxPoints = 8192;       // FreeType takes seconds for an outline of 32,000 points

// Drawing a glyph takes about 40 microseconds, and looking up a kerning less than one.
constexpr double kSecondsPerStep = 1e-3; // a glyph takes two steps
constexpr double kSecondsPerKerning = 10e-6;
constexpr double kAllowedExcess = 1; // seconds

/// Each one is checked by FreeType, even if they all are the same bytes: a file of 4 MB took minutes. Common
/// fonts have up to ten.
constexpr unsigned kMaxCharacterMaps = 100;

// FreeType keeps what it reads from a file, and bitmaps as large as the file states.
constexpr size_t kMaxOpenBytes = size_t{16} << 20;
constexpr size_t kMaxOpenBytesPerByte = 16;
constexpr size_t kMaxGlyphBytes = size_t{64} << 20;

/// Returns a length in 1/64 pixels in whole pixels, rounded up.
int roundUp(FT_Pos length) {
    return static_cast<int>(std::clamp((length + 63) >> 6, -kMaxPixels, kMaxPixels));
}

/// Returns the size that an outline will have when it is drawn.
IVec2<int> outlineSize(FT_Outline& outline) {
    FT_BBox box{};
    FT_Outline_Get_CBox(&outline, &box);
    return {roundUp(box.xMax - (box.xMin & ~FT_Pos{63})), roundUp(box.yMax - (box.yMin & ~FT_Pos{63}))};
}

/// Returns the number of character maps that a file states. FreeType reads only the list of its tables, also
/// of a compressed file.
unsigned countCharacterMaps(FT_Library library, ConstByteSpan file) {
    FT_Face face = nullptr;
    if (FT_New_Memory_Face(library, file.data, static_cast<FT_Long>(file.size), -1, &face) != 0) return 0;
    std::array<FT_Byte, 4> header{}; // a version and the number
    FT_ULong size = header.size();
    face->face_flags |= FT_FACE_FLAG_SFNT; // lets tables be loaded; other formats refuse it themselves
    const bool isLoaded = FT_Load_Sfnt_Table(face, TTAG_cmap, 0, header.data(), &size) == 0;
    FT_Done_Face(face);
    return isLoaded ? static_cast<unsigned>(header[2] << 8 | header[3]) : 0;
}

} // namespace

std::unique_ptr<FontFace> FontFace::open(FTLibrarySingleton& library, ConstByteSpan file, int size) {
    FT_Face face = nullptr;
    FTLibrarySingleton::allowBytes(kMaxOpenBytes + kMaxOpenBytesPerByte * file.size);
    if (library.handle() != nullptr && countCharacterMaps(library.handle(), file) > kMaxCharacterMaps) {
        logging::error() << "Failed to load truetype font: too many character maps";
        return nullptr;
    }
    const FT_Error error =
        library.handle() == nullptr
            ? FT_Err_Invalid_Library_Handle
            : FT_New_Memory_Face(library.handle(), file.data, static_cast<FT_Long>(file.size), 0, &face);
    if (error != 0) {
        logging::error() << "Failed to load truetype font (FT_New_Memory_Face):  Error: " << error;
        return nullptr;
    }
    std::unique_ptr<FontFace> opened(new FontFace(library, face));
    const OutlineWork work = findOutlineWork(face);
    if (work == OutlineWork::TooMuch) {
        logging::error() << "Failed to load truetype font: a glyph has too many components";
        return nullptr;
    }
    if (work == OutlineWork::TooMuchForPrograms) {
        // Outlines are fitted to the pixels by FreeType instead, unless it insists on the programs.
        opened->m_loadFlags = FT_LOAD_FORCE_AUTOHINT;
        if (FT_IS_TRICKY(face)) {
            logging::error() << "Failed to load truetype font: a glyph has too many points";
            return nullptr;
        }
    }
    if (FT_Select_Charmap(face, FT_ENCODING_UNICODE) != 0) {
        logging::error() << "Failed to load truetype font (FT_Select_Charmap)";
        return nullptr;
    }
    if (!opened->setSize(size)) {
        logging::error() << "Failed to load truetype font (FT_Request_Size)";
        return nullptr;
    }
    return opened;
}

FontFace::~FontFace() {
    FT_Done_Face(m_face);
}

bool FontFace::setSize(int size) {
    FT_Size_RequestRec request{};
    request.type = FT_SIZE_REQUEST_TYPE_REAL_DIM;
    request.height = FT_Long{std::clamp(size, 0, kMaxSize)} * 64;
    return FT_Request_Size(m_face, &request) == 0;
}

FontFace::LineMetrics FontFace::lineMetrics() const {
    const FT_Size_Metrics& metrics = m_face->size->metrics;
    return {roundUp(metrics.height), -roundUp(metrics.ascender)};
}

FontStyle FontFace::style() const {
    if (FT_IS_FIXED_WIDTH(m_face)) return FontStyle::Monospaced;
    if ((m_face->style_flags & FT_STYLE_FLAG_BOLD) != 0) return FontStyle::Bold;
    return (m_face->style_flags & FT_STYLE_FLAG_ITALIC) != 0 ? FontStyle::Italic : FontStyle::Regular;
}

int FontFace::unitsPerEm() const {
    return FT_IS_SCALABLE(m_face) ? m_face->units_per_EM : 0;
}

double FontFace::scale() const {
    if (!FT_IS_SCALABLE(m_face)) return 0;
    return static_cast<double>(m_face->size->metrics.y_scale) / (65536.0 * 64.0);
}

int FontFace::kerning(uint32 first, uint32 second) {
    const uint32 left = glyphIndex(first);
    const uint32 right = glyphIndex(second);
    FT_Vector distance{};
    if (left == 0 || right == 0 || m_isSlow) return 0;
    m_work.begin();
    const FT_Error error = FT_Get_Kerning(m_face, left, right, FT_KERNING_DEFAULT, &distance);
    endWork(kSecondsPerKerning);
    if (error != 0) return 0;
    return toInt16(FT_IS_SCALABLE(m_face) ? distance.x >> 6 : distance.x);
}

uint32 FontFace::glyphIndex(uint32 codePoint) const {
    const FT_UInt index = FT_Get_Char_Index(m_face, codePoint);
    return hasGlyph(index) ? index : 0;
}

std::optional<IVec2<int>> FontFace::loadGlyph(uint32 index) {
    if (m_isSlow) return std::nullopt;
    FTLibrarySingleton::allowBytes(kMaxGlyphBytes);
    m_work.begin();
    const FT_Error error = FT_Load_Glyph(m_face, index, m_loadFlags);
    endWork(kSecondsPerStep);
    FT_GlyphSlot slot = m_face->glyph;
    if (error != 0 || slot->outline.n_points > kMaxPoints) return std::nullopt;
    if (slot->format == FT_GLYPH_FORMAT_OUTLINE) return outlineSize(slot->outline);
    return IVec2<int>(roundUp(FT_Pos{slot->bitmap.width} * 64), roundUp(FT_Pos{slot->bitmap.rows} * 64));
}

bool FontFace::drawGlyph() {
    m_work.begin();
    const FT_Error error = FT_Render_Glyph(m_face->glyph, FT_RENDER_MODE_NORMAL);
    endWork(kSecondsPerStep);
    return error == 0;
}

void FontFace::endWork(double explainedSeconds) {
    const bool wasSlow = m_isSlow;
    if (m_work.end(explainedSeconds) > kAllowedExcess) m_isSlow = true;
    if (m_isSlow && !wasSlow)
        logging::warning() << "A truetype font takes too much work; its other glyphs are not drawn";
}

void FontFace::readMetrics(Font::Character& character) const {
    const FT_GlyphSlotRec& slot = *m_face->glyph;
    character.width = toInt16(slot.bitmap.width);
    character.height = toInt16(slot.bitmap.rows);
    character.xAdvance = toInt16(roundUp(slot.advance.x));
    character.xOffset = toInt16(slot.bitmap_left);
    character.yOffset = toInt16(-int64{slot.bitmap_top});
}

bool FontFace::copyPixels(uint8* target, size_t targetPitch) const {
    return copyGlyphBitmap(m_face->glyph->bitmap, target, targetPitch);
}

} // namespace qel::internal
