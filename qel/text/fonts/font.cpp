#include <qel/text/fonts/font.h>

#include <qel/render/sprite.h>
#include <qel/system/core/system.h>
#include <qel/text/fonts/glyph_numbers_p.h>

#include <algorithm>

namespace qel {

namespace {

/// Returns the descriptor in the type of the sprite cache and of the hooks.
IVec2<unsigned> unsignedDescriptor(const IVec2<int>& descriptor) {
    return IVec2<unsigned>(IVec2<int>(std::max(descriptor.x, 0), std::max(descriptor.y, 0)));
}

} // namespace

Font::Font() = default;
Font::~Font() = default;

const Font::Character* Font::getGlyph(uint32) {
    return nullptr;
}

Sprite* Font::getPage(uint32 index) const {
    return index < m_pages.size() ? m_pages[index].get() : nullptr;
}

bool Font::fetchGlyph(uint32, Character&) {
    return false;
}

const Font::Character* Font::findCharacter(uint32 codePoint) const {
    if (codePoint < kTableSize) return m_table[codePoint];
    const auto found = m_characters.find(codePoint);
    return found != m_characters.end() ? &found->second : nullptr;
}

const Font::Character* Font::getCharacter(uint32 codePoint) {
    if (const Character* const known = findCharacter(codePoint)) return known;
    Character character;
    if (fetchGlyph(codePoint, character) || fetchPicture(codePoint, character))
        return keepCharacter(codePoint, character);
    return codePoint != kBullet ? getCharacter(kBullet) : nullptr;
}

const Font::Character* Font::keepCharacter(uint32 codePoint, const Character& character) {
    const Character* const kept = &m_characters.try_emplace(codePoint, character).first->second;
    if (codePoint < kTableSize) m_table[codePoint] = kept;
    return kept;
}

void Font::dropCharacters() {
    m_table.fill(nullptr);
    m_characters.clear();
    m_pages.clear();
}

void Font::noteChange() {
    static uint32 newest = 0;
    m_version = ++newest;
}

bool Font::fetchPicture(uint32 codePoint, Character& character) {
    if (system() == nullptr) return false;
    const SmartPointer<Sprite> picture = system()->getSprite(unsignedDescriptor(m_descriptor), codePoint);
    picture->preloadData();
    if (!picture->isValid() || !picture->hasImageData()) return false;
    character.page = static_cast<uint32>(m_pages.size());
    m_pages.push_back(picture);
    character.uMax = 1;
    character.vMax = 1;
    character.width = internal::toInt16(picture->getSize().x);
    character.height = internal::toInt16(picture->getSize().y);
    character.yOffset = internal::toInt16(-int64{m_pictureOffset});
    character.xAdvance = character.width;
    return true;
}

/// Returns the height of a glyph of the font; a picture or the bullet does not count.
int16 Font::heightOf(uint32 codePoint) {
    if (const Character* const known = findCharacter(codePoint)) return known->height;
    Character character;
    return fetchGlyph(codePoint, character) ? keepCharacter(codePoint, character)->height : int16{0};
}

void Font::measureCharacters() {
    m_xHeight = heightOf('x');
    m_capitalHeight = heightOf('A');
    m_descriptor = {m_xHeight, m_capitalHeight};
    m_pictureOffset = 0;
    if (system() != nullptr && system()->delegateGlyphMetric.isConnected())
        m_pictureOffset =
            internal::roundToInt16(system()->delegateGlyphMetric(unsignedDescriptor(m_descriptor)));
    noteChange();
}

} // namespace qel
