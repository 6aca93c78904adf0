#include <qel/render/sprite_cache_p.h>

#include <qel/system/core/system.h>

namespace qel {

namespace {

constexpr uint32 kPrefetchTimeoutMs = 5000;

} // namespace

Sprite* SpriteCache::get(std::string_view name) {
    const auto found = m_byName.find(name);
    if (found != m_byName.end()) return found->second.get();
    const auto added = m_byName.emplace(name, nullptr).first;
    added->second = Sprite::createFromResource(added->first.c_str());
    return added->second.get();
}

Sprite* SpriteCache::get(const IVec2<unsigned>& descriptor, unsigned codepoint) {
    forgetMissingGlyph();
    m_lastGlyph = {descriptor.x, descriptor.y, codepoint};
    SmartPointer<Sprite>& sprite = m_byGlyph[m_lastGlyph];
    if (sprite) return sprite.get();
    sprite = Sprite::createFromGlyph(descriptor, codepoint);
    const auto missing = m_missingGlyphs.find({descriptor.x, descriptor.y, codepoint >> 8});
    sprite->m_isReported = missing != m_missingGlyphs.end() && missing->second[codepoint & 0xFF];
    return sprite.get();
}

/// Releases the sprite that was returned last if its glyph does not exist.
void SpriteCache::forgetMissingGlyph() {
    const auto last = m_byGlyph.find(m_lastGlyph);
    if (last == m_byGlyph.end() || last->second->isSourceValid()) return;
    const auto [width, height, codepoint] = m_lastGlyph;
    m_missingGlyphs[{width, height, codepoint >> 8}].set(codepoint & 0xFF);
    m_byGlyph.erase(last);
}

void SpriteCache::clear() {
    for (const auto& [name, sprite] : m_byName) sprite->clearTextureCache();
    for (const auto& [key, sprite] : m_byGlyph) sprite->clearTextureCache();
    release();
}

void SpriteCache::release() {
    m_byName.clear();
    m_byGlyph.clear();
    m_missingGlyphs.clear();
}

bool SpriteCache::prefetch(Sprite& sprite, Renderer* renderer, const IVec2<int>& size) {
    if (!sprite.isSourceValid() || hasPendingPrefetch()) return false;
    m_prefetch.sprite = &sprite;
    m_prefetch.renderer = renderer;
    m_prefetch.size = size;
    m_prefetch.time = system()->getTimeFast();
    return true;
}

bool SpriteCache::hasPendingPrefetch() {
    const Sprite* const sprite = m_prefetch.sprite.get();
    if (sprite == nullptr) return false;
    const uint32 age = system()->getTimeFast() - m_prefetch.time;
    if (!sprite->hasImageData() && age >= kPrefetchTimeoutMs) endPrefetch();
    return static_cast<bool>(m_prefetch.sprite);
}

void SpriteCache::stepPrefetch() {
    const SmartPointer<Sprite> sprite = m_prefetch.sprite.lock();
    if (!sprite->isSourceValid()) return endPrefetch();
    const bool makesTexture = static_cast<bool>(m_prefetch.renderer);
    if (!makesTexture || sprite->hasImageData()) endPrefetch();
    if (!makesTexture || !sprite->hasImageData()) return sprite->preloadData();
    if (system()->delegateBeforeSpriteUpload.isConnected()) system()->delegateBeforeSpriteUpload();
    sprite->getTexture(m_prefetch.renderer.get(), m_prefetch.size); // the delegate may destroy the renderer
}

} // namespace qel
