#include <qel/text/fonts/bitmap_font.h>

#include <qel/foundation/base/buffer.h>
#include <qel/render/sprite.h>
#include <qel/system/core/system.h>
#include <qel/text/fonts/bmf_file_p.h>
#include <qel/text/fonts/glyph_numbers_p.h>

#include <string>

namespace qel {

BitmapFont::BitmapFont() = default;
BitmapFont::~BitmapFont() = default;

bool BitmapFont::loadFromResources(SmartCStr name) {
    const std::string prefix(name.view());
    Buffer file;
    if (!file.loadFromResource((prefix + ".fnt").c_str(), false) || !loadFromMemory(file)) return false;
    for (int i = 0; i < m_common.pageCount; ++i)
        m_pages.emplace_back(system()->getSprite(prefix + "-" + std::to_string(i) + ".webp"));
    return true;
}

bool BitmapFont::loadFromMemory(ConstByteSpan file) {
    std::optional<internal::BmfFile> content = internal::readBmfFile(file);
    const bool isRead = content.has_value();
    if (!isRead) content.emplace();
    dropCharacters();
    m_info = content->info;
    m_common = content->common;
    m_kernings.swap(content->kernings);
    // Of several records for a code point, the last one counts; keepCharacter() keeps the first one.
    const auto& records = content->characters;
    for (auto record = records.rbegin(); record != records.rend(); ++record)
        keepCharacter(record->first, record->second);
    measureCharacters();
    m_ascent = -int{m_common.base};
    m_descent = int{m_common.lineHeight} - m_common.base;
    return isRead;
}

int BitmapFont::getKerning(uint32 first, uint32 second) {
    if (m_kernings.empty()) return 0;
    const auto found = m_kernings.find(internal::kerningKey(first, second));
    return found != m_kernings.end() ? found->second : 0;
}

} // namespace qel
