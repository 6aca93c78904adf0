#include "style_fixture.h"

#include <tests/support/shipped_fonts.h>

#include <qel/style/theme.h>

#include <limits>

namespace qel {
namespace {

using test::LogCapture;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class ThemeTest : public test::WithShippedFonts<test::StyleFixture> {
protected:
    void SetUp() override {
        WithShippedFonts::SetUp();
        theme = new Theme;
    }
    void TearDown() override {
        theme.reset();
        WithShippedFonts::TearDown();
    }
    /// Returns all sizes in pixels.
    std::vector<int> sizes() const {
        return {theme->buttonSize(),
                theme->buttonSpacing(),
                theme->smallButtonSize(),
                theme->smallButtonSpacing(),
                theme->touchExpand(),
                theme->toolbarSize(),
                theme->dotSize(),
                theme->maxViewCount(),
                theme->scrollbarHandleSize()};
    }
    /// Returns the line heights of the fonts of a style by size.
    std::vector<int> lineHeights(FontStyle style) const {
        std::vector<int> heights;
        for (const Font* font :
             {theme->smallFont(style), theme->smallMediumFont(style), theme->mediumFont(style),
              theme->mediumLargeFont(style), theme->largeFont(style), theme->extraLargeFont(style)})
            heights.push_back(font->getLineHeight());
        return heights;
    }

    LogCapture log;
    SmartPointer<Theme> theme;
};

TEST_F(ThemeTest, APhoneHasSmallButtonsAndFonts) {
    EXPECT_EQ(sizes(), std::vector<int>(9, 0));
    EXPECT_EQ(theme->defaultFont(), nullptr);
    theme->setDevice(320, 4.7f, 1920, 1080, 2);
    EXPECT_EQ(sizes(), (std::vector<int>{62, 16, 54, 12, 8, 78, 2, 2, 16}));
    EXPECT_EQ(lineHeights(FontStyle::Bold), (std::vector<int>{27, 31, 37, 41, 47, 71}));
    EXPECT_TRUE(theme->isPhone());
    EXPECT_EQ(theme->getDotsPerInch(), 400);
    EXPECT_EQ(system().getDeviceType(), DeviceType::Phone);
}

TEST_F(ThemeTest, ATabletHasLargeButtonsAndFonts) {
    theme->setDevice(132, 9.7f, 1024, 768, 1);
    EXPECT_EQ(sizes(), (std::vector<int>{40, 12, 36, 10, 6, 52, 1, 4, 10}));
    EXPECT_EQ(lineHeights(FontStyle::Light), (std::vector<int>{20, 23, 26, 29, 32, 48}));
    EXPECT_TRUE(theme->isTablet());
    EXPECT_EQ(system().getDeviceType(), DeviceType::Tablet);
}

TEST_F(ThemeTest, TheScalesMultiplyTheDots) {
    theme->setDevice(100, 4, 1000, 1000, 1);
    theme->setUserDpiScaling(0.5f);
    EXPECT_EQ(theme->getDotsPerInch(), 75);
    theme->setPostDpiScaling(2);
    EXPECT_EQ(theme->getDotsPerInch(), 150);
}

TEST_F(ThemeTest, UnusableParametersAreReplaced) {
    theme->setDevice(1e9f, kInfinity, 10, 10, 1);
    log.expect(1, "[THEME] display parameters: dpi=10000 size=inf phone2tablet=1");
    theme->setDevice(-5, -5, -10, -10, 1);
    log.expect(1, "[THEME] display parameters: dpi=1 size=-5 phone2tablet=0");
    theme->setDeviceForce(kNaN, kNaN, 100, 100, kNaN, kNaN);
    EXPECT_EQ(theme->getDotsPerInch(), 120);
    theme->setDeviceForce(1e9f, 7, 100, 100, 1e9f, 1e9f);
    EXPECT_EQ(theme->getDotsPerInch(), 1.25e8f);
    EXPECT_EQ(theme->mediumFont(), theme->largeFont()) << "fonts have at most 1,000 pixels";
    theme->setDeviceForce(60, -7, 100, 100, -5, -5);
    EXPECT_FLOAT_EQ(theme->getDotsPerInch(), 0.75f);
    log.take(); // a display of 10 pixels is too small, and so are the pages for fonts of 1,000
}

TEST_F(ThemeTest, TheHostMayDecideWhatIsMobile) {
    bool isMobile = false;
    system().delegateIsMobile.connect([&] { return isMobile; });
    theme->setDeviceForce(100, 0, 100, 100, 1, 1);
    EXPECT_TRUE(theme->isTablet());
    isMobile = true;
    theme->setDeviceForce(100, 1, 100, 100, 1, 1);
    EXPECT_TRUE(theme->isPhone());
}

TEST_F(ThemeTest, FontsAreFoundInOtherStyles) {
    theme->setDevice(100, 4, 1000, 1000, 1);
    Font* const regular = theme->largeFont();
    for (const FontStyle style : {FontStyle::Bold, FontStyle::Light, FontStyle::Italic}) {
        Font* const other = Theme::fontWithStyle(regular, style);
        EXPECT_EQ(other, theme->largeFont(style)) << static_cast<int>(style);
        EXPECT_NE(other, regular) << static_cast<int>(style);
        EXPECT_EQ(Theme::fontWithStyle(other, style), other) << static_cast<int>(style);
    }
    EXPECT_EQ(Theme::fontWithStyle(theme->largeFont(FontStyle::Bold), FontStyle::Regular), regular);
    EXPECT_EQ(Theme::fontWithStyle(nullptr, FontStyle::Bold), nullptr);
    for (const auto style : {static_cast<FontStyle>(-1), static_cast<FontStyle>(1000)})
        EXPECT_EQ(theme->largeFont(style), regular);
}

TEST_F(ThemeTest, ThemesAreStacked) {
    Theme* const first = system().getTheme();
    EXPECT_EQ(system().getTheme(), first);
    system().pushTheme(theme.get());
    system().pushTheme(nullptr);
    EXPECT_EQ(system().getTheme(), theme.get());
    system().popTheme();
    EXPECT_EQ(system().getTheme(), first);
    system().pushTheme(theme.get());
    system().setTheme(nullptr);
    EXPECT_EQ(system().getTheme(), theme.get());
    system().setTheme(system().getTheme()); // which is then the only one
    EXPECT_EQ(system().getTheme(), theme.get());
    system().popTheme();
    system().popTheme();
    EXPECT_NE(system().getTheme(), nullptr);
    EXPECT_EQ(theme->getReferenceCount(), 1);
}

} // namespace
} // namespace qel
