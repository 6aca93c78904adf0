// SpriteCache: the sprites that System hands out by name and by character, and the one it loads in advance.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/render/renderer.h>
#include <qel/render/sprite.h>

#include <bitset>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <tuple>

namespace qel {

/// Belongs to System. @threads main thread.
class SpriteCache final : public Object {
    QEL_CLASS(SpriteCache, Object)

public:
    /// Returns the sprite of a resource, created on first use.
    Sprite* get(std::string_view name);
    /// Returns the sprite of a character, created on first use. A sprite whose glyph turned out not to exist
    /// is released by the next call, so that texts of unknown characters do not fill the memory.
    Sprite* get(const IVec2<unsigned>& descriptor, unsigned codepoint);
    /// Drops the pixels and textures of all sprites and releases them.
    void clear();
    /// Releases the sprites, those by name first.
    void release();

    /// Stores a request. @return false if loading the sprite has failed or another request is pending.
    bool prefetch(Sprite& sprite, Renderer* renderer, const IVec2<int>& size);
    /// Returns true while a request is pending. A request is forgotten, so that it does not block later
    /// ones, when its sprite has died or its pixels have not arrived within 5 seconds.
    bool hasPendingPrefetch();
    /// Takes the next step of the pending request: loads the pixels, or creates the texture from them.
    void stepPrefetch();

private:
    using GlyphKey = std::tuple<unsigned, unsigned, unsigned>;

    struct Prefetch {
        WeakPointer<Sprite> sprite; ///< null if nothing is pending
        WeakPointer<Renderer> renderer;
        IVec2<int> size;
        uint32 time = 0;
    };

    void endPrefetch() { m_prefetch.sprite = nullptr; }
    SmartPointer<Sprite> releaseMissingGlyph();
    static bool renew(Sprite& sprite);

    std::map<std::string, SmartPointer<Sprite>, std::less<>> m_byName;
    std::map<GlyphKey, SmartPointer<Sprite>> m_byGlyph;
    GlyphKey m_lastGlyph{}; ///< key of the sprite that get() returned last
    /// The glyphs that do not exist, so that each is logged once: 256 code points for each key.
    std::map<GlyphKey, std::bitset<256>> m_missingGlyphs;
    Prefetch m_prefetch;
};

} // namespace qel
