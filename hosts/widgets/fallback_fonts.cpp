#include <hosts/widgets/fallback_fonts.h>

#include <qel/plugins/resource_locator.h>
#include <qel/shaping/shaper.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>
#include <qel/text/fonts/true_type_font.h>

#include <filesystem>

namespace qelwidgets {

namespace {

constexpr const char* kSystemFontFolder = "/usr/share/fonts/truetype/droid";
/// A font and its size by that of the font that asks it, so that their letters seem equally large.
struct Fallback {
    const char* name;
    float size;
};

constexpr Fallback kFallbacks[] = {{"font-noto-arabic.ttf", 1.5f},
                                   {"font-noto-hebrew.ttf", 1.1f},
                                   {"font-noto-devanagari.ttf", 1.3f},
                                   {"DroidSansFallbackFull.ttf", 1.0f}};

void setFallbackFonts(qel::Font* font) {
    qel::System& system = *qel::Object::system();
    auto* const outlines = dynamic_cast<qel::TrueTypeFont*>(font);
    if (!outlines || !outlines->isLoaded()) return;
    qel::Vector<qel::SmartPointer<qel::TrueTypeFont>> fallbacks;
    for (const Fallback& fallback : kFallbacks) {
        const float size = static_cast<float>(outlines->getLineHeight()) * fallback.size;
        if (system.hasResource(fallback.name))
            fallbacks.push_back(system.getTrueTypeFont(fallback.name, static_cast<int>(size)));
    }
    outlines->setFallbackFonts(fallbacks);
    if (!outlines->delegateShapeRun) qel::connectShaper(*outlines);
}

} // namespace

void addSystemFonts() {
    std::error_code error;
    if (std::filesystem::is_directory(kSystemFontFolder, error))
        qel::Object::system()->getResourceLocator()->addResourceDirectory(kSystemFontFolder);
}

void setFallbackFonts(qel::FontStyle style) {
    const qel::Theme& theme = *qel::Object::system()->getTheme();
    for (qel::Font* const font :
         {theme.smallFont(style), theme.smallMediumFont(style), theme.mediumFont(style),
          theme.mediumLargeFont(style), theme.largeFont(style)})
        setFallbackFonts(font);
}

} // namespace qelwidgets
