#include <qel/text/fonts/true_type_font.h>

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/text/fonts/font_face_p.h>
#include <qel/text/fonts/glyph_atlas_p.h>
#include <qel/text/fonts/glyph_numbers_p.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace qel {

using internal::FontFace;

namespace {

/// More pairs than a text of any language has; a text of random characters must not fill the memory.
constexpr size_t kMaxKernings = 1 << 18;

} // namespace

struct TrueTypeFont::Private {
    explicit Private(Vector<SmartPointer<Sprite>>& pages) : atlas(pages) {}

    /// Returns the face of the fallback font @p number, counted from 1, or that of this font for 0; null if
    /// it does not exist.
    FontFace* faceOf(uint32 number);
    /// Draws a glyph of @p source into the pages. @return false if that fails.
    bool draw(FontFace& source, uint32 index, Character& character);
    /// As draw(), but tries it only once until refused is cleared. @param number  identifies the face.
    bool drawOnce(FontFace& source, uint32 number, uint32 index, Character& character);

    Buffer ownFile;     ///< of a font that was loaded from memory
    ConstByteSpan file; ///< what the face reads
    std::unique_ptr<FontFace> face;
    internal::GlyphAtlas atlas;
    Vector<SmartPointer<TrueTypeFont>> fallbackFonts;
    std::unordered_map<uint32, Character> glyphs; ///< by number in the file; the addresses are stable
    std::unordered_set<uint64> refused;           ///< glyphs that could not be drawn
    std::unordered_map<uint64, int16> kernings;   ///< those that FreeType was asked for
    uint32 loads = 0;                             ///< how many times loading has begun
    WeakPointer<System> system;                   ///< whose signal the font listens to
};

FontFace* TrueTypeFont::Private::faceOf(uint32 number) {
    if (number == 0) return face.get();
    return number <= fallbackFonts.size() ? fallbackFonts[number - 1]->m_private->face.get() : nullptr;
}

bool TrueTypeFont::Private::draw(FontFace& source, uint32 index, Character& character) {
    // The size is known before a glyph is drawn, so that an enormous one costs nothing.
    const std::optional<IVec2<int>> size = source.loadGlyph(index);
    if (!size) return false;
    const auto place = atlas.place(*size, character);
    if (!place || !source.drawGlyph()) return false;
    source.readMetrics(character);
    if (character.width != size->x || character.height != size->y) return false;
    if (!source.copyPixels(place->pixels, place->pitch)) return false;
    atlas.notifyChange();
    return true;
}

bool TrueTypeFont::Private::drawOnce(FontFace& source, uint32 number, uint32 index, Character& character) {
    const uint64 key = uint64{number} << 32 | index;
    if (index == 0 || refused.contains(key)) return false;
    if (draw(source, index, character)) return true;
    refused.insert(key);
    character = {};
    return false;
}

TrueTypeFont::TrueTypeFont() : m_private(std::make_unique<Private>(m_pages)) {
    listen();
}

void TrueTypeFont::listen() {
    if (m_private->system.get() == system()) return;
    m_private->system = system();
    system()->signalFreeCaches.connect(this, &TrueTypeFont::unload);
}

TrueTypeFont::~TrueTypeFont() {
    removeWeakPointers();
}

// --- loading --------------------------------------------------------------------------------------------

bool TrueTypeFont::loadFromMemory(ConstByteSpan file, int size) {
    Buffer copy(file.data, file.size);
    reset(size);
    m_resourceName.clear();
    m_private->ownFile.swap(copy);
    if (open(m_private->ownFile, size)) return true;
    m_private->ownFile.free();
    return false;
}

bool TrueTypeFont::loadFromResource(SmartCStr name, int size) {
    reset(size);
    m_resourceName = name;
    const ConstByteSpan file = FTLibrarySingleton::get()->load(m_resourceName);
    if (!file.empty()) return open(file, size);
    logging::error() << "Failed to load truetype font from resource: " << m_resourceName;
    return false;
}

bool TrueTypeFont::loadFromResourceAsync(SmartCStr name, int size) {
    reset(size);
    m_resourceName = name;
    const SmartPointer<FTLibrarySingleton> library = FTLibrarySingleton::get();
    const ConstByteSpan file = library->find(m_resourceName);
    if (!file.empty()) return open(file, size);
    const WeakPointer<TrueTypeFont> self(this);
    return library->request(m_resourceName, [self, size, load = m_private->loads](ConstByteSpan arrived) {
        const SmartPointer<TrueTypeFont> font = self.lock();
        if (!font || font->m_private->loads != load) return; // another file has been loaded since
        logging::info() << "Loading font: , id=" << font->m_resourceName << ", fontSize=" << size;
        font->open(arrived, size);
    });
}

/// Returns to the state of a new font, except for the fallback fonts.
void TrueTypeFont::reset(int size) {
    m_size = size;
    dropGlyphs();
    ++m_private->loads;
    m_private->face.reset();
    m_private->kernings.clear();
    m_private->file = {};
    m_private->ownFile.free();
    m_lineHeight = 0;
    m_ascent = 0;
    m_descent = 0;
}

bool TrueTypeFont::open(ConstByteSpan file, int size) {
    m_private->face = FontFace::open(*FTLibrarySingleton::get(), file, size);
    if (!m_private->face) return false;
    m_private->file = file;
    finishLoading();
    return true;
}

void TrueTypeFont::finishLoading() {
    const FontFace::LineMetrics metrics = m_private->face->lineMetrics();
    m_lineHeight = metrics.lineHeight;
    m_ascent = metrics.ascent;
    m_descent = m_ascent + m_lineHeight;
    measureCharacters();
}

bool TrueTypeFont::isLoaded() const {
    return m_private->face != nullptr;
}

// --- glyphs ---------------------------------------------------------------------------------------------

void TrueTypeFont::setFallbackFonts(const Vector<SmartPointer<TrueTypeFont>>& fonts) {
    Vector<SmartPointer<TrueTypeFont>> used;
    for (const SmartPointer<TrueTypeFont>& font : fonts)
        if (font && font.get() != this) used.push_back(font);
    if (used == m_private->fallbackFonts) return;
    m_private->fallbackFonts.swap(used);
    dropGlyphs();
    noteChange();
}

const Vector<SmartPointer<TrueTypeFont>>& TrueTypeFont::getFallbackFonts() const {
    return m_private->fallbackFonts;
}

// A fallback font may be loaded long after it was set.
uint32 TrueTypeFont::getVersion() const {
    uint32 version = Font::getVersion();
    for (const SmartPointer<TrueTypeFont>& font : m_private->fallbackFonts)
        version = std::max(version, font->Font::getVersion());
    return version;
}

void TrueTypeFont::unload() {
    if (system() == nullptr || !system()->isDeadlineExceededIn(0)) dropGlyphs();
}

void TrueTypeFont::dropGlyphs() {
    dropCharacters();
    m_private->glyphs.clear();
    m_private->refused.clear();
    m_private->atlas.reset();
}

bool TrueTypeFont::fetchGlyph(uint32 codePoint, Character& character) {
    if (!isLoaded()) return false;
    listen();
    for (uint32 number = 0; number <= m_private->fallbackFonts.size(); ++number) {
        FontFace* const face = m_private->faceOf(number);
        if (face != nullptr && m_private->drawOnce(*face, number, face->glyphIndex(codePoint), character))
            return true;
    }
    return false;
}

const Font::Character* TrueTypeFont::getGlyph(uint32 index) {
    const auto found = m_private->glyphs.find(index);
    if (found != m_private->glyphs.end()) return &found->second;
    listen();
    Character character;
    const uint32 number = index / kFallbackGlyph;
    const uint32 indexInFile = index % kFallbackGlyph;
    FontFace* const face = m_private->faceOf(number);
    const bool isGlyph = face != nullptr && face->hasGlyph(indexInFile);
    if (!isGlyph || !m_private->drawOnce(*face, number, indexInFile, character)) return nullptr;
    return &m_private->glyphs.emplace(index, character).first->second;
}

int TrueTypeFont::getKerning(uint32 first, uint32 second) {
    FontFace* const face = m_private->face.get();
    if (face == nullptr || !face->hasKerning()) return 0;
    auto& kernings = m_private->kernings;
    const uint64 key = internal::kerningKey(first, second);
    const auto found = kernings.find(key);
    if (found != kernings.end()) return found->second;
    if (kernings.size() >= kMaxKernings) kernings.clear();
    return kernings[key] = static_cast<int16>(face->kerning(first, second));
}

// --- the face -------------------------------------------------------------------------------------------

FontStyle TrueTypeFont::getStyle() const {
    return m_private->face ? m_private->face->style() : FontStyle::Regular;
}

ConstByteSpan TrueTypeFont::getFileBytes() const {
    return m_private->file;
}

int TrueTypeFont::getUnitsPerEm() const {
    return m_private->face ? m_private->face->unitsPerEm() : 0;
}

double TrueTypeFont::getScale() const {
    return m_private->face ? m_private->face->scale() : 0;
}

} // namespace qel
