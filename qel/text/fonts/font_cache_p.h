// FontCache: the fonts that System hands out.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/text/fonts/bitmap_font.h>
#include <qel/text/fonts/true_type_font.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace qel {

/// Belongs to System. @threads main thread.
class FontCache final : public Object {
    QEL_CLASS(FontCache, Object)

public:
    /// Returns a bitmap font, loaded on first use.
    BitmapFont* getBitmapFont(std::string_view name);
    /// Returns an outline font, loaded or requested on first use.
    TrueTypeFont* getTrueTypeFont(std::string_view name, int size);
    /// Releases the fonts, bitmap fonts first.
    void release();

private:
    std::map<std::string, SmartPointer<BitmapFont>, std::less<>> m_bitmapFonts;
    std::map<std::pair<std::string, int>, SmartPointer<TrueTypeFont>> m_trueTypeFonts;
};

} // namespace qel
