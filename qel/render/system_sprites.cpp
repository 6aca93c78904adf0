#include <qel/render/sprite_cache_p.h>
#include <qel/system/core/system.h>

#include <string>

namespace qel {

namespace {

SpriteCache& cacheIn(SmartPointer<Object>& holder) {
    if (!holder) holder = new SpriteCache;
    return *static_cast<SpriteCache*>(holder.get());
}

/// Returns @p name with "." and @p language inserted in front of its extension, or appended without one.
std::string languageVariant(const std::string& name, const char* language) {
    const size_t dot = name.find_last_of("./");
    const bool hasExtension = dot != std::string::npos && name[dot] == '.';
    std::string variant = name;
    return variant.insert(hasExtension ? dot : name.size(), std::string(".") + language);
}

} // namespace

Sprite* System::getSprite(SmartCStr name) {
    return cacheIn(m_spriteCache).get(name.view());
}

Sprite* System::getSprite(const IVec2<unsigned>& size, unsigned key) {
    return cacheIn(m_spriteCache).get(size, key);
}

Sprite* System::getSpriteByLanguage(SmartCStr name, SmartCStr language) {
    const std::string variant = languageVariant(name.c_str(), language.c_str());
    return hasResource(variant) ? getSprite(variant) : getSprite(name);
}

void System::clearSpriteCache() {
    if (m_spriteCache) cacheIn(m_spriteCache).clear();
}

void System::prefetchSprite(Sprite* sprite, Renderer* renderer, const IVec2<int>& size) {
    if (sprite != nullptr && cacheIn(m_spriteCache).prefetch(*sprite, renderer, size)) noteActivity();
}

bool System::hasPendingPrefetch() const {
    return m_spriteCache && static_cast<SpriteCache*>(m_spriteCache.get())->hasPendingPrefetch();
}

void System::stepPrefetch() {
    cacheIn(m_spriteCache).stepPrefetch();
}

void System::releaseSprites() {
    if (m_spriteCache) cacheIn(m_spriteCache).release();
}

} // namespace qel
