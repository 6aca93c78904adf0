#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
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
    EXPECT_EQ(font->getInfo().fontSize, 20);
    EXPECT_EQ(font->getInfo().name, "Sample");
    EXPECT_EQ(font->getLineHeight(), 16);
    EXPECT_EQ(font->getDescent(), 4);
    EXPECT_EQ(font->getFontDescriptor(), IVec2<int>(7, 9));
    EXPECT_EQ(font->getKerning('A', 'x'), -2);
    EXPECT_EQ(font->getKerning('x', 'A'), 0);
    const Font::Character* const x = font->getCharacter('x');
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(x->x, 8);
    EXPECT_EQ(x->xOffset, 1);
    EXPECT_EQ(x->yOffset, 5 - 12);
    EXPECT_EQ(x->xAdvance, 8);
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
    sample.kernings = {{0x80, 0x95, 3}};
    ASSERT_TRUE(load(sample));
    EXPECT_EQ(font->getCharacter(0x20AC)->xAdvance, 5);
    EXPECT_EQ(font->getKerning(0x20AC, 0x2022), 3);
    log.expect(2, "invalid codepoint in bitmapfont");
    EXPECT_EQ(font->getCharacter(0xFFFFFFFF)->xAdvance, 6);
}

TEST_F(BitmapFontTest, ShowsABulletForUnknownCharacters) {
    test::LogCapture log;
    BmfSample sample;
    sample.glyphs = {{0x2022, {0, 0, 1, 1, 0, 0, 7}}};
    ASSERT_TRUE(load(sample));
    const Font::Character* const bullet = font->getCharacter(0x2022);
    EXPECT_EQ(font->getCharacter('A'), bullet);
    EXPECT_EQ(font->getCharacter('A'), bullet);
    EXPECT_EQ(log.take().size(), 1u);
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
    EXPECT_EQ(picture->yOffset, -12);
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

} // namespace
} // namespace qel
