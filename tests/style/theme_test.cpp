#include "style_fixture.h"

#include <tests/support/late_provider.h>
#include <tests/support/shipped_fonts.h>

#include <qel/plugins/resource_locator.h>
#include <qel/style/theme.h>
#include <qel/text/fonts/true_type_font.h>

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
    EXPECT_EQ(theme->getMinDeviceWidthHeight(), 1080);
    EXPECT_EQ(system().getDeviceType(), DeviceType::Phone);
    EXPECT_EQ(logged(log),
              (std::vector<std::string>{
                  "[THEME] display parameters: dpi=320 size=4.7 phone2tablet=0",
                  "[THEME] theme parameters, dpi=320, scalingFactor=0, width=1920, height=1080"}));
}

TEST_F(ThemeTest, ATabletHasLargeButtonsAndFonts) {
    theme->setDevice(132, 9.7f, 1024, 768, 1);
    EXPECT_EQ(sizes(), (std::vector<int>{40, 12, 36, 10, 6, 52, 1, 4, 10}));
    EXPECT_EQ(lineHeights(FontStyle::Light), (std::vector<int>{20, 23, 26, 29, 32, 48}));
    EXPECT_TRUE(theme->isTablet());
    EXPECT_EQ(theme->getScalingFactor(), 1);
    EXPECT_EQ(system().getDeviceType(), DeviceType::Tablet);
}

TEST_F(ThemeTest, SixteenButtonsFitAcrossASmallDisplay) {
    theme->setDevice(300, 7, 480, 320, 1);
    EXPECT_EQ(logged(log), (std::vector<std::string>{
                               "[THEME] display parameters: dpi=300 size=7 phone2tablet=0.46",
                               "[THEME] device too small, reducing resolution, dpi=168 phone2tablet=0",
                               "[THEME] theme parameters, dpi=168, scalingFactor=0, width=480, height=320"}));
    theme->setDevice(132, 9.7f, 1024, 400, 1);
    log.expect(2, "[THEME] device too small, reducing resolution, dpi=132 phone2tablet=0.9");
    theme->setDevice(200, 4, 5, 5, 1);
    log.expect(2, "[THEME] device too small, reducing resolution, dpi=39 phone2tablet=0");
    theme->setDevice(20, 4, 5, 5, 1);
    log.expect(2, "[THEME] device too small, reducing resolution, dpi=20 phone2tablet=0");
}

TEST_F(ThemeTest, UnusableParametersAreReplaced) {
    theme->setDevice(kNaN, kNaN, 5000, 5000, 1);
    log.expect(1, "[THEME] display parameters: dpi=96 size=0 phone2tablet=0");
    theme->setDevice(1e9f, kInfinity, 10, 10, 1);
    log.expect(1, "[THEME] display parameters: dpi=10000 size=inf phone2tablet=1");
    theme->setDevice(-5, -5, -10, -10, 1);
    log.expect(1, "[THEME] display parameters: dpi=1 size=-5 phone2tablet=0");
    theme->setDeviceForce(kNaN, kNaN, 100, 100, kNaN, kNaN);
    EXPECT_EQ(theme->getDotsPerInch(), 120);
    theme->setDeviceForce(1e9f, 7, 100, 100, 1e9f, 1e9f);
    EXPECT_EQ(theme->getDotsPerInch(), 1.25e8f);
    EXPECT_EQ(theme->getScalingFactor(), 1);
    EXPECT_EQ(theme->mediumFont(), theme->largeFont()) << "fonts have at most 1,000 pixels";
    theme->setDeviceForce(60, -7, 100, 100, -5, -5);
    EXPECT_FLOAT_EQ(theme->getDotsPerInch(), 0.75f);
    EXPECT_EQ(theme->getScalingFactor(), 0);
    EXPECT_EQ(static_cast<TrueTypeFont*>(theme->smallFont()),
              system().getTrueTypeFont("font-roboto-regular.ttf", 1));
    log.take(); // a display of 10 pixels is too small, and so are the pages for fonts of 1,000
}

TEST_F(ThemeTest, TheScalesActBeforeAndAfterTheLimitOfSixtyDots) {
    theme->setDevice(100, 4, 1000, 1000, 1);
    theme->setUserDpiScaling(0.5f);
    EXPECT_EQ(theme->getDotsPerInch(), 75);
    theme->setPostDpiScaling(2);
    EXPECT_EQ(theme->getDotsPerInch(), 150);
    theme->setUserDpiScaling(2);
    EXPECT_EQ(theme->getDotsPerInch(), 500);
    EXPECT_EQ(theme->getPostDpiScaling(), 2);
    theme->setDevice(100, 4, 1000, 1000, 1);
    EXPECT_EQ(theme->getDotsPerInch(), 125);
    EXPECT_EQ(theme->getUserDpiScaling(), 1);
    EXPECT_EQ(theme->getPostDpiScaling(), 1);
}

TEST_F(ThemeTest, TheHostMayDecideWhatIsMobile) {
    bool isMobile = false;
    system().delegateIsMobile.connect([&] { return isMobile; });
    theme->setDeviceForce(100, 0, 100, 100, 1, 1);
    log.expect(1, "[THEME] using isMobile hook, isTablet=1");
    EXPECT_TRUE(theme->isTablet());
    EXPECT_EQ(theme->maxViewCount(), 4);
    isMobile = true;
    theme->setDeviceForce(100, 1, 100, 100, 1, 1);
    log.expect(1, "[THEME] using isMobile hook, isTablet=0");
    EXPECT_TRUE(theme->isPhone());
    EXPECT_EQ(system().getDeviceType(), DeviceType::Phone);
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
    for (const auto style : {static_cast<FontStyle>(-1), static_cast<FontStyle>(1000)}) {
        EXPECT_EQ(theme->largeFont(style), regular);
        EXPECT_EQ(Theme::fontWithStyle(regular, style), regular);
    }
    const auto equal = makeObject<Theme>();
    equal->setDevice(100, 4, 2000, 2000, 1);
    EXPECT_EQ(equal->largeFont(), regular) << "equal displays share their fonts";
}

TEST_F(ThemeTest, FontsThatHaveNotArrivedHaveStylesToo) {
    System::deinitialize();
    System::initialize({});
    Object::discardSingletons();
    const SmartPointer<test::LateProvider> provider = new test::LateProvider;
    system().getResourceLocator()->addResourceProvider(provider.get());
    theme->setDevice(100, 4, 1000, 1000, 1);
    Font* const regular = theme->largeFont();
    Font* const bold = theme->largeFont(FontStyle::Bold);
    EXPECT_EQ(regular->getLineHeight(), 0);
    EXPECT_EQ(Theme::fontWithStyle(regular, FontStyle::Bold), bold);
    EXPECT_EQ(Theme::fontWithStyle(bold, FontStyle::Regular), regular);
    Font* const other = system().getTrueTypeFont("other.ttf", 20);
    EXPECT_EQ(Theme::fontWithStyle(other, FontStyle::Regular), other);
    log.take();
}

TEST_F(ThemeTest, AnEmIsTheLineHeightOfTheMediumFont) {
    const SmartPointer<StyleData> data = parsed("Button{width:1.5em}");
    EXPECT_EQ(length(*data), 0) << "a theme without a display has no fonts";
    system().getTheme()->setDeviceForce(132, 1, 1000, 1000, 1, 1);
    EXPECT_EQ(length(*data), 39);
    system().getTheme()->setUserDpiScaling(2);
    EXPECT_EQ(length(*data), 78);
}

TEST_F(ThemeTest, TheStylesheetIsAResource) {
    StyleData* const empty = theme->getStyleData();
    log.expect(3, "cant fetch resource 'style-default.css'");
    log.expect(2, "Failed to load stylesheet!");
    EXPECT_EQ(theme->getStyleData(), empty);
    EXPECT_EQ(length(*empty), std::nullopt);
    const SmartPointer<StyleData> other = new StyleData;
    theme->setStyleData(other.get());
    EXPECT_EQ(theme->getStyleData(), other.get());
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
    EXPECT_NE(system().getTheme(), theme.get());
    system().popTheme();
    EXPECT_NE(system().getTheme(), nullptr);
    EXPECT_EQ(theme->getReferenceCount(), 1);
}

} // namespace
} // namespace qel
