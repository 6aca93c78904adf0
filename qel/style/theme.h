// Theme: the sizes and fonts of the user interface for one display.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/style/style_data.h>
#include <qel/text/fonts/font.h>

#include <array>

namespace qel {

class TrueTypeFont;

/// Turns the description of a display into the sizes and fonts of the user interface, so that a program looks
/// right from a phone to a desktop. A new theme has neither sizes nor fonts until setDevice().
/// @threads main thread; System must exist.
class QEL_API Theme : public Object {
    QEL_CLASS(Theme, Object)

public:
    /// By how much a desktop's display counts as finer than it is.
    static constexpr float DESKTOP_SCALE = 1.25f;

    Theme();
    ~Theme() override;

    /// Adapts the theme to a display and resets both scales of setUserDpiScaling() and setPostDpiScaling().
    /// Logs what it does. A display too small for sixteen buttons across its short side gets smaller ones.
    /// @param dpi                pixels per inch, limited to 1 to 10,000; NaN counts as 96.
    /// @param sizeInches         diagonal: 4.7 or less is a phone, 9.7 or more a tablet.
    /// @param width, height      in pixels.
    /// @param retinaScaleFactor  pixels per unit of the window system; stored for the host.
    void setDevice(float dpi, float sizeInches, int width, int height, float retinaScaleFactor);
    /// Computes all sizes and fonts.
    /// @param scalingFactor         0 for a phone to 1 for a tablet.
    /// @param userScale, postScale  limited to 0.01 to 100; NaN counts as 1. The first acts before the limit
    ///                              of 60 dpi, the second after it.
    void setDeviceForce(float dpi, float scalingFactor, int width, int height, float userScale,
                        float postScale);
    /// Computes everything again with another scale of the user's choice.
    void setUserDpiScaling(float scale);
    /// Computes everything again with another scale that acts after the limit of 60 dpi.
    void setPostDpiScaling(float scale);

    /// Returns the width of the display in pixels.
    int getDeviceWidth() const { return m_deviceWidth; }
    /// Returns the height of the display in pixels.
    int getDeviceHeight() const { return m_deviceHeight; }
    /// Returns the smaller of width and height in pixels.
    int getMinDeviceWidthHeight() const { return m_minDeviceWidthHeight; }
    /// Returns the scaled pixels per inch.
    float getDotsPerInch() const { return m_dotsPerInch; }
    /// Returns the value that was passed to setDevice().
    float getRetinaScaleFactor() const { return m_retinaScaleFactor; }
    /// Returns the scale of setUserDpiScaling().
    float getUserDpiScaling() const { return m_userDpiScaling; }
    /// Returns the scale of setPostDpiScaling().
    float getPostDpiScaling() const { return m_postDpiScaling; }
    /// Returns 0 for a phone to 1 for a tablet.
    float getScalingFactor() const { return m_scalingFactor; }
    /// Returns true for a small display.
    bool isPhone() const { return !m_isTablet; }
    /// Returns true for a large display.
    bool isTablet() const { return m_isTablet; }

    // --- sizes in pixels ----------------------------------------------------------------------------

    /// Returns the width and height of a button.
    int buttonSize() const { return m_buttonSize; }
    /// Returns the space between buttons.
    int buttonSpacing() const { return m_buttonSpacing; }
    /// Returns the width and height of a small button.
    int smallButtonSize() const { return m_smallButtonSize; }
    /// Returns the space between small buttons.
    int smallButtonSpacing() const { return m_smallButtonSpacing; }
    /// Returns by how much the area that a touch hits is larger than the button.
    int touchExpand() const { return m_touchExpand; }
    /// Returns the height of a toolbar.
    int toolbarSize() const { return m_toolbarSize; }
    /// Returns the width of the thinnest line and the offset of shadows.
    int dotSize() const { return m_dotSize; }
    /// Returns the width of a scrollbar's handle.
    int scrollbarHandleSize() const { return m_scrollbarHandleSize; }
    /// Returns how many views fit next to each other.
    int maxViewCount() const { return m_maxViewCount; }

    // --- fonts; null before setDevice() -------------------------------------------------------------

    /// Returns the small font of a style.
    Font* smallFont(FontStyle style = FontStyle::Regular) const { return fontAt(style, 0); }
    /// Returns the font between small and medium.
    Font* smallMediumFont(FontStyle style = FontStyle::Regular) const { return fontAt(style, 1); }
    /// Returns the medium font.
    Font* mediumFont(FontStyle style = FontStyle::Regular) const { return fontAt(style, 2); }
    /// Returns the font between medium and large.
    Font* mediumLargeFont(FontStyle style = FontStyle::Regular) const { return fontAt(style, 3); }
    /// Returns the large font.
    Font* largeFont(FontStyle style = FontStyle::Regular) const { return fontAt(style, 4); }
    /// Returns the extra-large font.
    Font* extraLargeFont(FontStyle style = FontStyle::Regular) const { return fontAt(style, 5); }
    /// Returns the medium font.
    Font* defaultFont(FontStyle style = FontStyle::Regular) const { return mediumFont(style); }
    /// Returns the font of another style with the same line height: @p font itself if it has that style. For
    /// a font that has not arrived yet, its size is used instead.
    /// @return null if @p font is null. @owner the cache of System.
    static Font* fontWithStyle(Font* font, FontStyle style);

    /// Returns the stylesheet, loaded from the resource "style-default.css" on first use.
    /// @errors logs a warning and returns an empty stylesheet if that fails.
    StyleData* getStyleData();
    /// Replaces the stylesheet.
    void setStyleData(StyleData* data) { m_styleData = data; }

private:
    static constexpr size_t kStyles = 5;
    static constexpr size_t kSizes = 6;

    Font* fontAt(FontStyle style, size_t size) const;
    void determineFormFactor();
    float pixels(float tabletInches, float phoneInches, float dpi) const;
    void computeSizes(float dpi);
    void loadFonts(float dpi);

    int m_deviceWidth = 0;
    int m_deviceHeight = 0;
    int m_minDeviceWidthHeight = 0;
    float m_retinaScaleFactor = 1;
    int m_buttonSize = 0;
    int m_buttonSpacing = 0;
    int m_smallButtonSize = 0;
    int m_smallButtonSpacing = 0;
    int m_touchExpand = 0;
    int m_toolbarSize = 0;
    int m_dotSize = 0;
    int m_maxViewCount = 0;
    int m_scrollbarHandleSize = 0;
    bool m_isTablet = false;
    std::array<std::array<SmartPointer<Font>, kSizes>, kStyles> m_fonts;
    float m_dotsPerInch = 0;
    float m_rawDpi = 0;
    float m_userDpiScaling = 1;
    float m_postDpiScaling = 1;
    float m_scalingFactor = 0;
    SmartPointer<StyleData> m_styleData;
};

} // namespace qel
