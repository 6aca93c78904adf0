#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/system_fixture.h>
#include <tests/text/fonts/bmf_sample.h>

#include <qel/plugins/resource_locator.h>
#include <qel/render/sprite.h>
#include <qel/text/fonts/bitmap_font.h>

namespace qel {
namespace {

using test::BmfSample;

class BitmapFontTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        font = new BitmapFont;
    }
    void TearDown() override {
        font.reset();
        SystemFixture::TearDown();
    }
    bool load(const BmfSample& sample) {
        return font->loadFromMemory(ConstByteSpan::fromText(sample.bytes()));
    }

    SmartPointer<BitmapFont> font;
};

TEST_F(BitmapFontTest, ReadsTheBlocksOfAFile) {
    ASSERT_TRUE(load({}));
    const auto& info = font->getInfo();
    EXPECT_EQ(info.fontSize, 20);
    EXPECT_FALSE(info.isSmooth);
    EXPECT_TRUE(info.isUnicode);
    EXPECT_EQ(info.stretchHeight, 100);
    EXPECT_EQ(info.antiAlias, 1);
    EXPECT_EQ(info.padding, (std::array<uint8, 4>{2, 3, 4, 5}));
    EXPECT_EQ(info.spacing, (std::array<uint8, 2>{6, 7}));
    EXPECT_EQ(info.outline, 8);
    EXPECT_EQ(info.name, "Sample");
    EXPECT_EQ(font->getCommon().pageCount, 1);
    EXPECT_EQ(font->getLineHeight(), 16);
    EXPECT_EQ(font->getDescent(), 4);
    EXPECT_EQ(font->getFontDescriptor(), IVec2<int>(7, 9));
    EXPECT_EQ(font->getKerning('A', 'x'), -2);
    EXPECT_EQ(font->getKerning('x', 'A'), 0);
}

TEST_F(BitmapFontTest, ReadsACharacter) {
    ASSERT_TRUE(load({}));
    const Font::Character* const x = font->getCharacter('x');
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(x->x, 8);
    EXPECT_EQ(x->xOffset, 1);
    EXPECT_EQ(x->yOffset, 5 - 12);
    EXPECT_EQ(x->xAdvance, 8);
    EXPECT_EQ(x->channel, 15);
    EXPECT_EQ(Rect(x->uMin, x->vMin, x->uMax, x->vMax), Rect(8 / 128.0f, 0, 14 / 128.0f, 7 / 64.0f));
}

TEST_F(BitmapFontTest, RefusesLaterVersionsAndPagesWithoutASize) {
    BmfSample older, newer, narrow, flat;
    older.version = 2;
    newer.version = 4;
    narrow.pageWidth = 0;
    flat.pageHeight = 0;
    EXPECT_TRUE(load(older));
    EXPECT_FALSE(load(newer));
    EXPECT_FALSE(load(narrow));
    EXPECT_FALSE(load(flat));
}

TEST_F(BitmapFontTest, IsEmptyAfterAnIncompleteFile) {
    test::LogCapture log;
    const std::string file = BmfSample().bytes();
    const std::string withoutKernings = [] {
        BmfSample sample;
        sample.hasKernings = false;
        return sample.bytes();
    }();
    for (size_t size = 0; size < file.size(); ++size) {
        if (size == withoutKernings.size()) continue; // a whole file
        ASSERT_TRUE(load({}));
        EXPECT_FALSE(font->loadFromMemory({reinterpret_cast<const uint8*>(file.data()), size})) << size;
        EXPECT_EQ(font->getCharacter('A'), nullptr) << size;
        EXPECT_EQ(font->getKerning('A', 'x'), 0) << size;
        EXPECT_EQ(font->getLineHeight(), 0) << size;
        EXPECT_EQ(font->getPage(0), nullptr) << size;
    }
    log.take();
}

TEST_F(BitmapFontTest, RefusesBlocksThatStateAnotherSize) {
    const struct {
        std::string block;
        size_t offset;
        char wrong;
    } kCases[] = {
        {{"\4\x28\0\0\0", 5}, 4, '\x7F'}, // the block of characters
        {{"\3\x0A\0\0\0", 5}, 1, '\x09'}, // the block of pages, which its names do not fill
        {{"\3\x0A\0\0\0", 5}, 1, '\x0B'},
    };
    for (const auto& c : kCases) {
        std::string file = BmfSample().bytes();
        const size_t begin = file.find(c.block);
        ASSERT_NE(begin, file.npos);
        file[begin + c.offset] = c.wrong;
        EXPECT_FALSE(font->loadFromMemory(ConstByteSpan::fromText(file))) << int{c.wrong};
    }
}

TEST_F(BitmapFontTest, EmptiesCharactersOnPagesThatDoNotExist) {
    BmfSample sample;
    sample.glyphs = {{'A', {0, 0, 1, 1, 0, 0, 1}}, {'A', {0, 0, 8, 9, 0, 3, 9}, 1}};
    ASSERT_TRUE(load(sample));
    const Font::Character* const a = font->getCharacter('A');
    EXPECT_EQ(a->width, 0);
    EXPECT_EQ(a->height, 0);
    EXPECT_EQ(a->xAdvance, 9) << "the last record of a character counts";
}

TEST_F(BitmapFontTest, ConvertsCodesOfCodePage1252) {
    test::LogCapture log;
    BmfSample sample;
    sample.flags = 0;
    sample.glyphs = {{0x80, {0, 0, 1, 1, 0, 0, 5}}, {0x81, {0, 0, 1, 1, 0, 0, 6}}};
    sample.kernings = {{0x80, 0x95, 3}, {0x81, 'a', 4}};
    ASSERT_TRUE(load(sample));
    EXPECT_EQ(font->getCharacter(0x20AC)->xAdvance, 5);
    EXPECT_EQ(font->getKerning(0x20AC, 0x2022), 3);
    log.expect(2, "invalid codepoint in bitmapfont");
    log.expect(2, "invalid codepoint in bitmapfont kerning");
    EXPECT_EQ(font->getCharacter(0xFFFFFFFF)->xAdvance, 6);
    EXPECT_EQ(font->getKerning(0xFFFFFFFF, 'a'), 4);
}

TEST_F(BitmapFontTest, LimitsTheWarningsOfAFile) {
    test::LogCapture log;
    BmfSample sample;
    sample.glyphs.assign(1000, {0xFFFFFFFE, {0, 0, 1, 1, 0, 0, 5}});
    ASSERT_TRUE(load(sample));
    EXPECT_EQ(log.take().size(), 100u);
}

TEST_F(BitmapFontTest, LimitsLengthsTo16Bits) {
    BmfSample sample;
    sample.base = 65535;
    sample.glyphs = {{'A', {1, 0, 65535, 40000, 0, -32768, 0}}};
    ASSERT_TRUE(load(sample));
    const Font::Character* const a = font->getCharacter('A');
    EXPECT_EQ(a->width, 32767);
    EXPECT_EQ(a->height, 32767);
    EXPECT_EQ(a->yOffset, -32768);
    EXPECT_EQ(font->getAscent(), -65535);
    EXPECT_EQ(font->getDescent(), 16 - 65535);
}

TEST_F(BitmapFontTest, ShowsABulletForUnknownCharacters) {
    test::LogCapture log;
    BmfSample sample;
    sample.glyphs = {{0x2022, {0, 0, 1, 1, 0, 0, 7}}};
    ASSERT_TRUE(load(sample));
    const Font::Character* const bullet = font->getCharacter(0x2022);
    EXPECT_EQ(font->getCharacter('A'), bullet);
    EXPECT_EQ(font->getCharacter('A'), bullet);
    EXPECT_EQ(font->getCharacter(0x1F600), bullet);
    log.expect(1, "no glyph available for codepoint: 65");
    log.expect(1, "no glyph available for codepoint: 128512");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(BitmapFontTest, ShowsThePictureOfTheHost) {
    system().delegateGlyphMetric.connect([](const IVec2<unsigned>& descriptor) {
        EXPECT_EQ(descriptor, IVec2<unsigned>(7, 9));
        return 11.6f;
    });
    system().delegateRenderGlyph.connect([](const IVec2<unsigned>&, unsigned codePoint, Image& image) {
        image.initialize(RGBA8, {20, 30});
        return codePoint == 0x1F600;
    });
    ASSERT_TRUE(load({}));
    const Font::Character* const picture = font->getCharacter(0x1F600);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(font->getPage(picture->page)->getSize(), IVec2<int>(20, 30));
    EXPECT_EQ(picture->xAdvance, 20);
    EXPECT_EQ(picture->xOffset, 0);
    EXPECT_EQ(picture->yOffset, -12);
    EXPECT_EQ(picture->channel, 0);
    EXPECT_EQ(picture->uMax, 1);
    EXPECT_EQ(picture->vMax, 1);
    EXPECT_EQ(font->getCharacter(0x1F600), picture);
}

TEST_F(BitmapFontTest, SurvivesAHookThatAsksForTheSameCharacter) {
    test::LogCapture log;
    system().delegateRenderGlyph.connect([this](const IVec2<unsigned>&, unsigned codePoint, Image& image) {
        font->getCharacter(codePoint);
        image.initialize(RGBA8, {2, 2});
        return codePoint == 'Q';
    });
    ASSERT_TRUE(load({}));
    EXPECT_EQ(font->getCharacter('Q')->width, 2);
    log.take();
}

TEST_F(BitmapFontTest, AsksTheHostAgainForAMissingPicture) {
    int calls = 0;
    system().delegateRenderGlyph.connect([&](const IVec2<unsigned>&, unsigned codePoint, Image&) {
        calls += codePoint == 'Q' ? 1 : 0;
        return false;
    });
    test::LogCapture log;
    ASSERT_TRUE(load({}));
    EXPECT_EQ(font->getCharacter('Q'), nullptr);
    EXPECT_EQ(font->getCharacter('Q'), nullptr);
    EXPECT_EQ(calls, 2);
    log.expect(1, "no glyph available for codepoint: 81");
    log.expect(1, "no glyph available for codepoint: 8226");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(BitmapFontTest, LoadsItsPagesFromResources) {
    test::ScratchFolder folder;
    BmfSample sample;
    sample.pages = {"ignored", "as well"};
    folder.write("small.fnt", sample.bytes());
    system().getResourceLocator()->addResourceDirectory(folder.path());
    BitmapFont* const cached = system().getBitmapFont("small");
    EXPECT_EQ(cached->getPage(0), system().getSprite("small-0.webp"));
    EXPECT_EQ(cached->getPage(1), system().getSprite("small-1.webp"));
    EXPECT_EQ(cached->getPage(2), nullptr);
    EXPECT_EQ(system().getBitmapFont("small"), cached);
}

TEST_F(BitmapFontTest, ShippedOneHasAsciiAndLatin1) {
    test::addShippedFonts();
    BitmapFont* const pixel = system().getBitmapFont("font-pixel");
    EXPECT_EQ(pixel->getLineHeight(), 13);
    const Font::Character* const bullet = pixel->getCharacter(Font::kBullet);
    ASSERT_NE(bullet, nullptr);
    EXPECT_EQ(pixel->getPage(bullet->page)->getImage().getImageFormat(), A8) << "the sprite drops the white";
    for (uint32 codePoint = 0x20; codePoint < 0x100; ++codePoint) {
        if (codePoint == 0x7F) codePoint = 0xA0;
        EXPECT_NE(pixel->getCharacter(codePoint), bullet) << codePoint;
    }
}

TEST_F(BitmapFontTest, IsEmptyWithoutItsResource) {
    test::LogCapture log;
    BitmapFont* const missing = system().getBitmapFont("missing");
    ASSERT_NE(missing, nullptr);
    EXPECT_EQ(system().getBitmapFont("missing"), missing);
    EXPECT_EQ(missing->getLineHeight(), 0);
    log.expect(3, "cant fetch resource 'missing.fnt'");
    EXPECT_TRUE(log.take().empty());
}

} // namespace
} // namespace qel
