#include <tests/support/late_provider.h>
#include <tests/support/log_capture.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/system_fixture.h>

#include <qel/plugins/resource_locator.h>
#include <qel/render/sprite.h>
#include <qel/text/fonts/true_type_font.h>

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

TEST_F(TrueTypeFontTest, RefusesSizesThatCannotBeDrawn) {
    test::LogCapture log;
    test::addShippedFonts();
    for (const int size : {0, -5, 100'000, 2'147'483'647}) {
        EXPECT_FALSE(font->loadFromResource(kRegular, size)) << size;
        log.expect(3, "Failed to load truetype font (FT_Request_Size)");
        EXPECT_EQ(font->getKerning('A', 'V'), 0) << size;
    }
}

TEST_F(TrueTypeFontTest, RefusesBytesThatAreNoFont) {
    test::LogCapture log;
    EXPECT_FALSE(font->loadFromMemory(ConstByteSpan::fromText("no font"), 20));
    EXPECT_FALSE(font->loadFromMemory({}, 20));
    EXPECT_EQ(log.take().size(), 2u);
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
    font->setFallbackFonts({});
    EXPECT_EQ(font->getCharacter(kAlef), font->getCharacter(Font::kBullet));
    log.take();
}

TEST_F(TrueTypeFontTest, SharesTheBytesOfItsFile) {
    load();
    const auto other = makeObject<TrueTypeFont>();
    ASSERT_TRUE(other->loadFromResource(kRegular, 31));
    EXPECT_EQ(other->getFileBytes().data, font->getFileBytes().data);
    Buffer file = test::shippedFont(kRegular);
    ASSERT_TRUE(other->loadFromMemory(file, 20));
    file.free(); // the font has copied it
    EXPECT_NE(other->getCharacter('H'), nullptr);
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
    EXPECT_EQ(missing->getCharacter('A'), nullptr);
    log.take();
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
    EXPECT_EQ(late->getLineHeight(), 0);
    font->setFallbackFonts({late});
    const uint32 version = font->getVersion();
    provider->answer(test::shippedFont(kRegular));
    EXPECT_EQ(late->getLineHeight(), 20);
    EXPECT_GT(font->getVersion(), version) << "so does the version of fonts that fall back to it";
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
