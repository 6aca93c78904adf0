#include <qel/text/fonts/glyph_atlas_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/text/fonts/true_type_font.h>

namespace qel::internal {

namespace {

constexpr int kPageSize = TrueTypeFont::kPageSize;
constexpr float kTexturePerPixel = 1.0f / kPageSize;

} // namespace

std::optional<GlyphAtlas::Place> GlyphAtlas::place(const IVec2<int>& size, Font::Character& character) {
    IVec2<int> position;
    if (m_page == Font::kNoPage) newPage();
    if (!m_packer->pack(size, position)) {
        logging::warning() << "Failed to fit additional glyph into texture atlas! Creating new page";
        newPage();
        if (!m_packer->pack(size, position)) return std::nullopt;
    }
    Image& image = m_pages[m_page]->getImage();
    if (!image.hasPixels()) return std::nullopt; // somebody has invalidated the page
    character.page = m_page;
    character.uMin = static_cast<float>(position.x) * kTexturePerPixel;
    character.vMin = static_cast<float>(position.y) * kTexturePerPixel;
    character.uMax = static_cast<float>(position.x + size.x) * kTexturePerPixel;
    character.vMax = static_cast<float>(position.y + size.y) * kTexturePerPixel;
    return Place{image.getBytePointer(position.y) + position.x, static_cast<size_t>(image.getPitch())};
}

void GlyphAtlas::reset() {
    m_packer.reset();
    m_page = Font::kNoPage;
}

/// Adds a page, unless the last one is still empty.
void GlyphAtlas::newPage() {
    if (m_packer && !m_packer->isUsed()) return;
    m_packer.emplace(kPageSize);
    m_page = static_cast<uint32>(m_pages.size());
    m_pages.push_back(Sprite::createInternal(A8, {kPageSize, kPageSize}));
}

} // namespace qel::internal
