// GlyphAtlas: the pages that glyphs are drawn into.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/render/sprite.h>
#include <qel/text/fonts/font.h>
#include <qel/text/fonts/rect_packer_p.h>

#include <optional>

namespace qel::internal {

/// Places glyphs in the last page, and adds a page when a glyph does not fit.
class GlyphAtlas {
public:
    /// The place of a glyph.
    struct Place {
        uint8* pixels = nullptr; ///< the first pixel of the glyph
        size_t pitch = 0;        ///< from one row of the page to the next
    };

    /// Adds pages to @p pages, which belongs to the font and must outlive the atlas.
    explicit GlyphAtlas(Vector<SmartPointer<Sprite>>& pages) : m_pages(pages) {}

    /// Finds a place for a glyph of @p size pixels, and stores its page and texture coordinates in
    /// @p character. @return nothing if the glyph does not fit into an empty page; this is logged.
    std::optional<Place> place(const IVec2<int>& size, Font::Character& character);
    /// Drops the textures of the last page, because its pixels have changed.
    void notifyChange() { m_pages[m_page]->notifyImageChanged(); }
    /// Forgets the pages, which the font has dropped; the next glyph adds one.
    void reset();

private:
    void newPage();

    Vector<SmartPointer<Sprite>>& m_pages;
    std::optional<RectPacker> m_packer; ///< of the last page
    uint32 m_page = Font::kNoPage;
};

} // namespace qel::internal
