// Texts in the outline fonts that hosts ship. Their pictures hold for the FreeType of Debian 12.
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/style/theme.h>
#include <qel/text/engine/text_actor.h>
#include <qel/text/fonts/true_type_font.h>
#include <tests/support/log_capture.h>
#include <tests/support/picture_test.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/system_fixture.h>

#include <gmock/gmock.h>

#include <string>

namespace qel {
namespace {

constexpr const char* kAtlasIsFull = "Failed to fit additional glyph into texture atlas! Creating new page";

class OutlineText : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        test::addShippedFonts();
        theme = makeObject<Theme>();
        theme->setDeviceForce(160, 1, 800, 600, 1, 1);
        system().setTheme(theme.get());
        text = makeObject<TextActor>();
    }
    void TearDown() override {
        text = nullptr;
        theme = nullptr;
        SystemFixture::TearDown();
        Object::discardSingletons(); // the files of fonts
    }
    SmartPointer<TrueTypeFont> loadFont(int size, const char* resource = "font-roboto-regular.ttf") {
        const auto font = makeObject<TrueTypeFont>();
        EXPECT_TRUE(font->loadFromResource(resource, size));
        return font;
    }
    /// Returns a font whose fallback fonts have Hebrew, Arabic and Devanagari.
    SmartPointer<TrueTypeFont> loadWideFont(int size) {
        const auto font = loadFont(size);
        font->setFallbackFonts({loadFont(size, "font-noto-hebrew.ttf"),
                                loadFont(size, "font-noto-arabic.ttf"),
                                loadFont(size, "font-noto-devanagari.ttf")});
        return font;
    }

    SmartPointer<Theme> theme;
    SmartPointer<TextActor> text;
};

TEST_F(OutlineText, AutoSizeTakesTheLargestFontThatFits) {
    text->setText("Some words").setAutoSize(true);
    const auto fontIn = [this](float width, float height) {
        text->setBounds({0, 0, width, height});
        text->update();
        return text->getFont();
    };
    EXPECT_EQ(fontIn(1000, 1000), theme->largeFont());
    const auto fits = [](const Font* font) { return static_cast<float>(font->getLineHeight()) * 1.1f; };
    EXPECT_EQ(fontIn(1000, fits(theme->mediumFont())), theme->mediumFont());
    EXPECT_EQ(fontIn(1000, fits(theme->smallFont())), theme->smallFont());
    EXPECT_EQ(fontIn(1, 1), theme->smallFont());
    EXPECT_TRUE(text->isTooLarge());
    EXPECT_EQ(text->getLineCount(), 1u);
    text->setAutoSizeUseLargeFont(false);
    EXPECT_EQ(fontIn(1000, 1000), theme->mediumFont());
}

TEST_F(OutlineText, SizesFrom1To400AreDrawn) {
    RendererSoftware renderer;
    const auto image = makeObject<Image>(BGRA8, IVec2<int>(900, 450));
    renderer.setRenderTarget(image.get());
    text->setText("Wg.\xD7\x90").setBounds({0, 0, 900, 450});
    test::LogCapture log;
    for (const int size : {1, 2, 3, 4, 5, 8, 14, 30, 64, 120, 250, 300, 400}) {
        text->setFont(loadWideFont(size).get());
        EXPECT_EQ(text->getActualSize().y, size);
        renderer.start();
        renderer.draw(text.get());
        renderer.stop();
    }
    for (const test::LogLine& line : log.take())
        if (line.level > 1) {
            EXPECT_EQ(line.text, kAtlasIsFull);
        }
}

using OutlineTextPictures = OutlineText;

TEST_F(OutlineTextPictures, Scripts) {
    const SmartPointer<TrueTypeFont> font = loadWideFont(24);
    text->setFont(font.get()).setBounds({8, 8, 312, 192}).setWordWrap(-1);
    text->setText("\xC3\x84\xC3\xB6\xC3\xBC e\xCC\x81 \xE2\x80\xA6 fi\xE2\x80\x8B"
                  "fi\n"
                  "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D 123 \xD7\xA2\xD7\x95\xD7\x9C\xD7\x9D\n"
                  "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7 abc\n"
                  "\xE0\xA4\xA8\xE0\xA4\xAE\xE0\xA4\xB8\xE0\xA5\x8D\xE0\xA4\xA4\xE0\xA5\x87\n"
                  "\xE2\x80\xAE"
                  "overridden\xE2\x80\xAC \xF0\x9F\x98\x80 missing");
    test::LogCapture log;
    test::expectPicture("tests/text/engine/pictures.txt",
                        {"outline-scripts", {320, 200}, BGRA8, [this](RendererSoftware& renderer) {
                             renderer.clear({0.2f, 0.3f, 0.4f, 1});
                             renderer.draw(text.get());
                         }});
    for (const test::LogLine& line : log.take())
        EXPECT_THAT(line.text, testing::StartsWith("no glyph available for codepoint: "));
}

} // namespace
} // namespace qel
