#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/text/fonts/font_cache_p.h>
#include <qel/text/fonts/ft_library_singleton_p.h>

namespace qel {

namespace {

FontCache& cacheIn(SmartPointer<Object>& holder) {
    if (!holder) holder = new FontCache;
    return *static_cast<FontCache*>(holder.get());
}

/// Loads a font now or, if no provider has it now, requests it from those that answer later.
void loadOrRequest(TrueTypeFont& font, const std::string& name, int size) {
    if (!FTLibrarySingleton::get()->load(name).empty())
        font.loadFromResource(name, size);
    else if (!font.loadFromResourceAsync(name, size))
        logging::error() << "Failed to load truetype font from resource: " << name;
}

} // namespace

BitmapFont* FontCache::getBitmapFont(std::string_view name) {
    const auto found = m_bitmapFonts.find(name);
    if (found != m_bitmapFonts.end()) return found->second.get();
    const SmartPointer<BitmapFont> font = new BitmapFont;
    m_bitmapFonts.emplace(name, font);
    font->loadFromResources(std::string(name));
    return font.get();
}

TrueTypeFont* FontCache::getTrueTypeFont(std::string_view name, int size) {
    SmartPointer<TrueTypeFont>& entry = m_trueTypeFonts[{std::string(name), size}];
    if (entry) return entry.get();
    const SmartPointer<TrueTypeFont> font = new TrueTypeFont;
    entry = font;
    loadOrRequest(*font, std::string(name), size);
    return font.get();
}

void FontCache::release() {
    m_bitmapFonts.clear();
    m_trueTypeFonts.clear();
}

BitmapFont* System::getBitmapFont(SmartCStr name) {
    return cacheIn(m_fontCache).getBitmapFont(name.view());
}

TrueTypeFont* System::getTrueTypeFont(SmartCStr name, int size) {
    return cacheIn(m_fontCache).getTrueTypeFont(name.view(), size);
}

void System::releaseFonts() {
    if (m_fontCache) cacheIn(m_fontCache).release();
}

} // namespace qel
