#include <qel/style/theme.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/text/fonts/true_type_font.h>

#include <algorithm>
#include <cmath>

namespace qel {

namespace {

constexpr const char* kDefaultStylesheet = "style-default.css";
/// The resources of the fonts by FontStyle.
constexpr const char* kFontResources[] = {"font-roboto-regular.ttf", "font-robotomono-regular.ttf",
                                          "font-roboto-italic.ttf", "font-roboto-bold.ttf",
                                          "font-roboto-light.ttf"};

/// A length in inches on a tablet and on a phone.
struct Inches {
    float tablet;
    float phone;
};
constexpr Inches kButton = {0.3030303f, 0.19631901f};
constexpr Inches kButtonSpacing = {0.09090909f, 0.049079753f};
constexpr Inches kSmallButton = {0.27272728f, 0.17177914f};
constexpr Inches kSmallButtonSpacing = {0.07575758f, 0.036809817f};
/// The sizes of the fonts from small to extra-large.
constexpr Inches kFonts[] = {{0.15151516f, 0.08588957f}, {0.17424242f, 0.09815951f},
                             {0.1969697f, 0.116564415f}, {0.21969697f, 0.12883435f},
                             {0.24242425f, 0.14723927f}, {0.36363637f, 0.2208589f}};

constexpr float kMaxDpi = 10'000;
constexpr float kMinFontPixels = 1;
constexpr float kMaxFontPixels = 1'000;

/// Limits @p value; NaN becomes @p replacement. The limits keep all sizes within the range of int.
float limited(float value, float low, float high, float replacement) {
    return std::isnan(value) ? replacement : std::clamp(value, low, high);
}

float limitedDpi(float dpi) {
    return limited(dpi, 1, kMaxDpi, 96);
}

float limitedScale(float scale) {
    return limited(scale, 0.01f, 100, 1);
}

/// Rounds a length to an even number of pixels.
int evenPixels(float pixels) {
    return 2 * static_cast<int>(std::round(pixels * 0.5f));
}

/// Returns the pixels of sixteen buttons with their spaces.
float sixteenButtons(float f, float d) {
    const float button = std::round((f * kButton.tablet + (1 - f) * kButton.phone) * d * 0.5f);
    const float spacing = std::round(((1 - f) * kButtonSpacing.phone + f * kButtonSpacing.tablet) * d * 0.5f);
    return 16 * (button + spacing);
}

/// Makes the display less of a tablet, then coarser, until sixteen buttons fit into @p limit pixels.
/// @return true if they did not fit.
bool fitButtons(float& f, float& d, int limit) {
    if (sixteenButtons(f, d) <= static_cast<float>(limit)) return false;
    do {
        if (f == 0) {
            if (d < 40) break;
            d -= 1;
        } else {
            f = std::max(f - 0.05f, 0.0f);
        }
    } while (sixteenButtons(f, d) > static_cast<float>(limit));
    return true;
}

/// Returns the row of a style; that of the regular font for an unknown one.
size_t rowOf(FontStyle style) {
    const auto row = static_cast<size_t>(style);
    return row < std::size(kFontResources) ? row : 0;
}

bool isOfTheme(const TrueTypeFont& font) {
    return std::ranges::any_of(kFontResources,
                               [&](const char* resource) { return font.getResourceName() == resource; });
}

} // namespace

Theme::Theme() = default;
Theme::~Theme() = default;

void Theme::setDevice(float dpi, float sizeInches, int width, int height, float retinaScaleFactor) {
    float d = limitedDpi(dpi);
    const float size = std::isnan(sizeInches) ? 0.0f : sizeInches;
    m_retinaScaleFactor = retinaScaleFactor;
    float f = std::clamp((size - 4.7f) / 5, 0.0f, 1.0f);
    logging::info() << "[THEME] display parameters: dpi=" << d << " size=" << size << " phone2tablet=" << f;
    if (fitButtons(f, d, std::min(width, height)))
        logging::warning() << "[THEME] device too small, reducing resolution, dpi=" << d
                           << " phone2tablet=" << f;
    logging::info() << "[THEME] theme parameters, dpi=" << d << ", scalingFactor=" << f << ", width=" << width
                    << ", height=" << height;
    setDeviceForce(d, f, width, height, 1, 1);
}

void Theme::setDeviceForce(float dpi, float scalingFactor, int width, int height, float userScale,
                           float postScale) {
    m_deviceWidth = width;
    m_deviceHeight = height;
    m_minDeviceWidthHeight = std::min(width, height);
    m_rawDpi = limitedDpi(dpi);
    m_userDpiScaling = limitedScale(userScale);
    m_postDpiScaling = limitedScale(postScale);
    m_scalingFactor = limited(scalingFactor, 0, 1, 0);
    const float d = std::max(m_rawDpi * m_userDpiScaling, 60.0f) * m_postDpiScaling;
    m_dotsPerInch = d * DESKTOP_SCALE;
    determineFormFactor();
    computeSizes(d);
    loadFonts(d);
}

void Theme::setUserDpiScaling(float scale) {
    setDeviceForce(m_rawDpi, m_scalingFactor, m_deviceWidth, m_deviceHeight, scale, m_postDpiScaling);
}

void Theme::setPostDpiScaling(float scale) {
    setDeviceForce(m_rawDpi, m_scalingFactor, m_deviceWidth, m_deviceHeight, m_userDpiScaling, scale);
}

void Theme::determineFormFactor() {
    m_isTablet = m_scalingFactor > 0.5f;
    if (system()->delegateIsMobile) {
        m_isTablet = !system()->delegateIsMobile();
        logging::info() << "[THEME] using isMobile hook, isTablet=" << m_isTablet;
    }
    system()->setDeviceType(m_isTablet ? DeviceType::Tablet : DeviceType::Phone);
}

float Theme::pixels(float tabletInches, float phoneInches, float dpi) const {
    return (tabletInches * m_scalingFactor + phoneInches * (1 - m_scalingFactor)) * dpi;
}

void Theme::computeSizes(float dpi) {
    const auto even = [&](const Inches& inches) {
        return evenPixels(pixels(inches.tablet, inches.phone, dpi));
    };
    m_buttonSize = even(kButton);
    m_buttonSpacing = even(kButtonSpacing);
    m_smallButtonSize = even(kSmallButton);
    m_smallButtonSpacing = even(kSmallButtonSpacing);
    m_dotSize = dpi > 221.25f ? 2 : 1;
    m_toolbarSize = m_buttonSize + m_buttonSpacing;
    m_scrollbarHandleSize = evenPixels(static_cast<float>(m_buttonSize) * 0.25f);
    m_touchExpand = m_buttonSpacing / 2;
    m_maxViewCount = m_isTablet ? 4 : 2;
}

void Theme::loadFonts(float dpi) {
    for (size_t size = 0; size < kSizes; ++size) {
        const float wanted = std::round(pixels(kFonts[size].tablet, kFonts[size].phone, dpi));
        const int height = static_cast<int>(std::clamp(wanted, kMinFontPixels, kMaxFontPixels));
        for (size_t style = 0; style < kStyles; ++style)
            m_fonts[style][size] = system()->getTrueTypeFont(kFontResources[style], height);
    }
}

Font* Theme::fontAt(FontStyle style, size_t size) const {
    return m_fonts[rowOf(style)][size].get();
}

// No face reports that it is light, and a font that has not arrived reports nothing, so that fonts of the
// theme are recognised by their resources.
Font* Theme::fontWithStyle(Font* font, FontStyle style) {
    if (font == nullptr) return nullptr;
    const bool statesStyle = font->getStyle() == style;
    if (statesStyle && font->getLineHeight() > 0) return font;
    const char* const resource = kFontResources[rowOf(style)];
    const auto* const outline = dynamic_cast<const TrueTypeFont*>(font);
    if (outline != nullptr && outline->getResourceName() == resource) return font;
    const bool isWaiting = outline != nullptr && !outline->isLoaded();
    if (statesStyle && !(isWaiting && isOfTheme(*outline))) return font;
    return system()->getTrueTypeFont(resource, isWaiting ? outline->getSize() : font->getLineHeight());
}

StyleData* Theme::getStyleData() {
    if (!m_styleData) {
        m_styleData = new StyleData;
        if (!m_styleData->loadFromResource(kDefaultStylesheet))
            logging::warning() << "Failed to load stylesheet!";
    }
    return m_styleData.get();
}

} // namespace qel
