#include <tests/support/late_provider.h>
#include <tests/support/log_capture.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/system_fixture.h>

#include <qel/plugins/resource_locator.h>
#include <qel/render/sprite.h>
#include <qel/text/fonts/true_type_font.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace qel {
namespace {

constexpr const char* kRegular = "font-roboto-regular.ttf";
constexpr const char* kHebrew = "font-noto-hebrew.ttf";
constexpr uint32 kAlef = 0x5D0;

class TrueTypeFontTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        font = new TrueTypeFont;
    }
    void TearDown() override {
        font.reset();
        SystemFixture::TearDown();
        Object::discardSingletons(); // the files of fonts
    }
    void load(int size = 20) {
        test::addShippedFonts();
        ASSERT_TRUE(font->loadFromResource(kRegular, size));
    }
    /// Returns the pixels of a character, row by row.
    std::vector<uint8> pixelsOf(const Font::Character& character) {
        const Image& page = font->getPage(character.page)->getImage();
        const int left = static_cast<int>(character.uMin * 256);
        const int top = static_cast<int>(character.vMin * 256);
        std::vector<uint8> pixels;
        for (int y = 0; y < character.height; ++y) {
            const uint8* const row = page.getBytePointer(top + y) + left;
            pixels.insert(pixels.end(), row, row + character.width);
        }
        return pixels;
    }
    size_t pageCount() {
        uint32 count = 0;
        while (font->getPage(count) != nullptr) ++count;
        return count;
    }

    SmartPointer<TrueTypeFont> font;
};

TEST_F(TrueTypeFontTest, MeasuresXAndA) {
    load();
    EXPECT_EQ(font->getXHeight(), font->getCharacter('x')->height);
    EXPECT_EQ(font->getFontDescriptor(), IVec2<int>(font->getXHeight(), font->getCharacter('A')->height));
    EXPECT_GT(font->getCapitalHeight(), font->getXHeight());
}

TEST_F(TrueTypeFontTest, DrawsACharacterIntoAPage) {
    load();
    const Font::Character* const letter = font->getCharacter('H');
    ASSERT_NE(letter, nullptr);
    EXPECT_EQ(letter->yOffset, -letter->height);
    EXPECT_FLOAT_EQ(letter->uMax - letter->uMin, static_cast<float>(letter->width) / 256);
    EXPECT_FLOAT_EQ(letter->vMax - letter->vMin, static_cast<float>(letter->height) / 256);
    const std::vector<uint8> pixels = pixelsOf(*letter);
    EXPECT_GT(*std::max_element(pixels.begin(), pixels.end()), 200);
    EXPECT_EQ(font->getPage(0)->getImage().getImageFormat(), A8);
    EXPECT_EQ(font->getPage(0)->getSize(), IVec2<int>(256, 256));
    EXPECT_EQ(font->getCharacter('H'), letter);
    EXPECT_EQ(font->getCharacter(' ')->width, 0);
    EXPECT_GT(font->getCharacter(' ')->xAdvance, 0);
}

TEST_F(TrueTypeFontTest, KeepsTheAddressesOfCharacters) {
    test::LogCapture log;
    load();
    std::vector<const Font::Character*> characters;
    for (uint32 c = 'A'; c < 0x500; ++c) characters.push_back(font->getCharacter(c));
    for (uint32 c = 'A'; c < 0x500; ++c) EXPECT_EQ(font->getCharacter(c), characters[c - 'A']);
    log.take();
}

TEST_F(TrueTypeFontTest, AddsAPageWhenOneIsFull) {
    test::LogCapture log;
    load(100);
    for (uint32 c = 'A'; c <= 'Z'; ++c) ASSERT_NE(font->getCharacter(c), nullptr);
    EXPECT_GT(pageCount(), 1u);
    EXPECT_EQ(log.take().size(), pageCount() - 1);
}

TEST_F(TrueTypeFontTest, TriesAGlyphThatIsTooLargeOnce) {
    test::LogCapture log;
    load(1000);
    log.take();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(font->getCharacter('W'), font->getCharacter(Font::kBullet));
    log.expect(2, "Failed to fit additional glyph into texture atlas! Creating new page");
    log.expect(1, "no glyph available for codepoint: 87");
    EXPECT_TRUE(log.take().empty());
    for (uint32 c = 'A'; c <= 'Z'; ++c) font->getCharacter(c);
    EXPECT_LE(pageCount(), 3u) << "an empty page is used again";
    log.take();
}

TEST_F(TrueTypeFontTest, DrawsItsGlyphsAgainAfterTheyWereFreed) {
    load();
    const std::vector<uint8> before = pixelsOf(*font->getCharacter('H'));
    system().setDeadlineIn(5);
    clock.advanceMs(10);
    font->unload();
    EXPECT_NE(font->getPage(0), nullptr) << "a frame that is late keeps them";
    system().clearDeadline();
    system().signalFreeCaches();
    EXPECT_EQ(font->getPage(0), nullptr);
    EXPECT_EQ(pixelsOf(*font->getCharacter('H')), before);
}

TEST_F(TrueTypeFontTest, AKeptFontListensToTheNextSystem) {
    load();
    System::deinitialize();
    System::initialize({});
    font->getCharacter('H');
    system().signalFreeCaches();
    EXPECT_EQ(font->getPage(0), nullptr);
}

TEST_F(TrueTypeFontTest, StatesTheStyleOfItsFace) {
    test::addShippedFonts();
    const std::pair<const char*, FontStyle> styles[] = {
        {kRegular, FontStyle::Regular},
        {"font-robotomono-regular.ttf", FontStyle::Monospaced},
        {"font-roboto-italic.ttf", FontStyle::Italic},
        {"font-roboto-bold.ttf", FontStyle::Bold},
        {"font-roboto-light.ttf", FontStyle::Regular},
    };
    for (const auto& [name, style] : styles) {
        ASSERT_TRUE(font->loadFromResource(name, 20)) << name;
        EXPECT_EQ(font->getStyle(), style) << name;
        EXPECT_EQ(font->getResourceName(), name);
    }
}

TEST_F(TrueTypeFontTest, RefusesSizesThatCannotBeDrawn) {
    test::LogCapture log;
    test::addShippedFonts();
    for (const int size : {0, -5, 100'000, 2'147'483'647}) {
        EXPECT_FALSE(font->loadFromResource(kRegular, size)) << size;
        log.expect(3, "Failed to load truetype font (FT_Request_Size)");
        EXPECT_FALSE(font->isLoaded());
        EXPECT_EQ(font->getLineHeight(), 0);
        EXPECT_EQ(font->getKerning('A', 'V'), 0);
        EXPECT_EQ(font->getStyle(), FontStyle::Regular);
        EXPECT_TRUE(font->getFileBytes().empty());
    }
}

TEST_F(TrueTypeFontTest, RefusesBytesThatAreNoFont) {
    test::LogCapture log;
    EXPECT_FALSE(font->loadFromMemory(ConstByteSpan::fromText("no font"), 20));
    EXPECT_FALSE(font->loadFromMemory({}, 20));
    const std::vector<test::LogLine> lines = log.take();
    ASSERT_EQ(lines.size(), 2u);
    for (const test::LogLine& line : lines)
        EXPECT_THAT(line.text,
                    ::testing::StartsWith("Failed to load truetype font (FT_New_Memory_Face):  Error: "));
    EXPECT_EQ(font->getCharacter('A'), nullptr);
    log.take();
}

TEST_F(TrueTypeFontTest, AsksItsFallbackFonts) {
    test::LogCapture log;
    load();
    const SmartPointer<TrueTypeFont> hebrew = new TrueTypeFont;
    ASSERT_TRUE(hebrew->loadFromResource(kHebrew, 20));
    const uint32 version = font->getVersion();
    font->setFallbackFonts({nullptr, font, hebrew});
    EXPECT_GT(font->getVersion(), version);
    const Font::Character* const alef = font->getCharacter(kAlef);
    ASSERT_NE(alef, nullptr);
    EXPECT_NE(alef, font->getCharacter(Font::kBullet));
    EXPECT_EQ(alef->width, hebrew->getCharacter(kAlef)->width);
    EXPECT_EQ(pageCount(), 1u);
    font->setFallbackFonts({hebrew});
    EXPECT_EQ(font->getCharacter(kAlef), alef) << "the same fonts change nothing";
    font->setFallbackFonts({});
    EXPECT_EQ(font->getCharacter(kAlef), font->getCharacter(Font::kBullet));
    log.take();
}

TEST_F(TrueTypeFontTest, DrawsGlyphsByTheirNumbers) {
    load();
    EXPECT_EQ(font->getGlyph(0), nullptr);
    EXPECT_EQ(font->getGlyph(0xFFFFFFFF), nullptr);
    const Font::Character* const glyph = font->getGlyph(36);
    ASSERT_NE(glyph, nullptr);
    EXPECT_EQ(font->getGlyph(36), glyph);
}

TEST_F(TrueTypeFontTest, StatesItsScaleAndSharesTheBytesOfItsFile) {
    load();
    const auto other = makeObject<TrueTypeFont>();
    ASSERT_TRUE(other->loadFromResource(kRegular, 31));
    EXPECT_EQ(other->getFileBytes().data, font->getFileBytes().data);
    Buffer file = test::shippedFont(kRegular);
    ASSERT_TRUE(other->loadFromMemory(file, 20));
    file.free(); // the font has copied it
    EXPECT_NE(other->getCharacter('H'), nullptr);
    EXPECT_EQ(font->getUnitsPerEm(), 2048);
    EXPECT_EQ(font->getFaceIndex(), 0);
    EXPECT_NEAR(font->getScale() * 2400, 20, 0.1); // Roboto's ascender minus its descender
    EXPECT_EQ(font->getFileBytes().size, test::shippedFont(kRegular).getSize());
}

// --- the cache and late resources -----------------------------------------------------------------------

TEST_F(TrueTypeFontTest, IsCachedByNameAndSize) {
    test::addShippedFonts();
    TrueTypeFont* const cached = system().getTrueTypeFont(kRegular, 20);
    ASSERT_NE(cached, nullptr);
    EXPECT_EQ(system().getTrueTypeFont(kRegular, 20), cached);
    EXPECT_NE(system().getTrueTypeFont(kRegular, 21), cached);
    EXPECT_EQ(cached->getLineHeight(), 20);
    test::LogCapture log;
    TrueTypeFont* const missing = system().getTrueTypeFont("missing.ttf", 20);
    ASSERT_NE(missing, nullptr);
    EXPECT_EQ(system().getTrueTypeFont("missing.ttf", 20), missing);
    EXPECT_EQ(missing->getCharacter('A'), nullptr);
    log.expect(1, "Fetching resource: missing.ttf");
    log.expect(3, "Failed to load truetype font from resource: missing.ttf");
}

class LateFontTest : public TrueTypeFontTest {
protected:
    void SetUp() override {
        TrueTypeFontTest::SetUp();
        provider = new test::LateProvider;
        system().getResourceLocator()->addResourceProvider(provider.get());
    }
    void TearDown() override {
        provider.reset();
        TrueTypeFontTest::TearDown();
    }

    SmartPointer<test::LateProvider> provider;
    test::LogCapture log;
};

TEST_F(LateFontTest, ReceivesItsFileLater) {
    TrueTypeFont* const late = system().getTrueTypeFont("late.ttf", 20);
    EXPECT_EQ(late->getResourceName(), "late.ttf");
    EXPECT_EQ(late->getLineHeight(), 0);
    EXPECT_EQ(late->getKerning('A', 'V'), 0);
    font->setFallbackFonts({late});
    const uint32 version = font->getVersion();
    provider->answer(test::shippedFont(kRegular));
    EXPECT_EQ(late->getLineHeight(), 20);
    EXPECT_GT(font->getVersion(), version) << "so does the version of fonts that fall back to it";
    log.expect(1, "Fetching resource: late.ttf");
    log.expect(1, "Copying into internal buffer");
    log.expect(1, "Loading font: , id=late.ttf, fontSize=20");
    provider->answer(Buffer());
    EXPECT_NE(late->getCharacter('H'), nullptr) << "the first of two answers counts";
    log.take();
}

TEST_F(LateFontTest, RequestOfAnEarlierSystemIsRepeated) {
    EXPECT_TRUE(font->loadFromResourceAsync("late.ttf", 20));
    provider->answer = nullptr;
    System::deinitialize();
    System::initialize({});
    system().getResourceLocator()->addResourceProvider(provider.get());
    EXPECT_TRUE(font->loadFromResourceAsync("late.ttf", 20));
    ASSERT_TRUE(provider->answer);
    provider->answer(test::shippedFont(kRegular));
    EXPECT_EQ(font->getLineHeight(), 20);
    log.take();
}

TEST_F(LateFontTest, SharesOneRequest) {
    EXPECT_TRUE(font->loadFromResourceAsync("late.ttf", 20));
    const auto answer = provider->answer;
    provider->answer = nullptr;
    const SmartPointer<TrueTypeFont> other = new TrueTypeFont;
    EXPECT_TRUE(other->loadFromResourceAsync("late.ttf", 30));
    EXPECT_FALSE(provider->answer);
    answer(test::shippedFont(kRegular));
    EXPECT_EQ(font->getLineHeight(), 20);
    EXPECT_EQ(other->getLineHeight(), 30);
    log.take();
    EXPECT_TRUE(font->loadFromResourceAsync("late.ttf", 40));
    EXPECT_EQ(font->getLineHeight(), 40);
    EXPECT_TRUE(log.take().empty());
}

TEST_F(LateFontTest, IgnoresAnAnswerAfterItWasLoadedAgain) {
    EXPECT_TRUE(font->loadFromResourceAsync("late.ttf", 20));
    EXPECT_TRUE(font->loadFromMemory(test::shippedFont(kRegular), 30));
    provider->answer(test::shippedFont(kRegular));
    EXPECT_EQ(font->getLineHeight(), 30);
    EXPECT_EQ(font->getResourceName(), "");
    log.take();
}

TEST_F(LateFontTest, CanBeRequestedAgainAfterAFailure) {
    EXPECT_TRUE(font->loadFromResourceAsync("late.ttf", 20));
    provider->answer(Buffer());
    EXPECT_FALSE(font->isLoaded());
    EXPECT_TRUE(font->loadFromResourceAsync("late.ttf", 20));
    provider->answer(test::shippedFont(kRegular));
    EXPECT_TRUE(font->isLoaded());
    EXPECT_TRUE(font->loadFromResourceAsync("other.ttf", 20));
    font.reset(); // before its file arrives
    provider->answer(test::shippedFont(kRegular));
    log.take();
}

} // namespace
} // namespace qel
