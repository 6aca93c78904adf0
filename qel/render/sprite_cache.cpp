#include <qel/render/sprite_cache_p.h>

#include <qel/system/core/system.h>

#include <utility>

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
    SmartPointer<Sprite> unused = releaseMissingGlyph();
    m_lastGlyph = {descriptor.x, descriptor.y, codepoint};
    SmartPointer<Sprite>& sprite = m_byGlyph[m_lastGlyph];
    if (sprite) return sprite.get();
    sprite = unused ? std::move(unused) : Sprite::createFromGlyph(descriptor, codepoint);
    sprite->m_descriptor = descriptor;
    sprite->m_codepoint = codepoint;
    const auto missing = m_missingGlyphs.find({descriptor.x, descriptor.y, codepoint >> 8});
    sprite->m_isReported = missing != m_missingGlyphs.end() && missing->second[codepoint & 0xFF];
    return sprite.get();
}

/// Releases the sprite that was returned last if its glyph does not exist. Texts may have many such glyphs,
/// and creating a sprite takes longer than asking the host for one.
/// @return the sprite if it is as good as a new one; otherwise null.
SmartPointer<Sprite> SpriteCache::releaseMissingGlyph() {
    const auto last = m_byGlyph.find(m_lastGlyph);
    if (last == m_byGlyph.end() || last->second->isSourceValid()) return nullptr;
    const auto [width, height, codepoint] = m_lastGlyph;
    m_missingGlyphs[{width, height, codepoint >> 8}].set(codepoint & 0xFF);
    const SmartPointer<Sprite> sprite = std::move(last->second);
    m_byGlyph.erase(last);
    return renew(*sprite) ? sprite : nullptr;
}

/// Returns a glyph's sprite, which has never had pixels, to the state of a new one. Weak pointers to it are
/// cleared.
/// @return false if the sprite must not be used again, as somebody else holds it.
bool SpriteCache::renew(Sprite& sprite) {
    sprite.removeWeakPointers();
    const bool isUnused = sprite.m_kind == Sprite::Kind::Glyph && !sprite.m_hasMeta &&
                          sprite.m_textures.empty() && sprite.getReferenceCount() == 1;
    if (!isUnused) return false;
    sprite.m_sourceInvalid = false;
    sprite.m_convertToFormat = UnknownFormat;
    sprite.m_allowLossyConversion = true;
    sprite.m_convertIntensityToAlpha = false;
    sprite.m_approxGammaCorrectAlpha = false;
    return true;
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
