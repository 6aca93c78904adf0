// Fonts with one property each.
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>
#include <tests/text/fonts/ttf_sample.h>

#include <qel/render/sprite.h>
#include <qel/text/fonts/true_type_font.h>

namespace qel {
namespace {

using test::TtfSample;

class FontFileTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        font = new TrueTypeFont;
    }
    void TearDown() override {
        font.reset();
        SystemFixture::TearDown();
        Object::discardSingletons();
    }
    bool load(const std::string& file, int size) {
        return font->loadFromMemory(ConstByteSpan::fromText(file), size);
    }
    /// Returns the pixels of a character as hexadecimal digits, a row per line.
    std::string pixelsOf(uint32 codePoint) {
        const Font::Character* const character = font->getCharacter(codePoint);
        if (character == nullptr) return "no character";
        const Image& page = font->getPage(character->page)->getImage();
        std::string rows;
        for (int y = 0; y < character->height; ++y) {
            const uint8* const row = page.getBytePointer(static_cast<int>(character->vMin * 256) + y);
            for (int x = 0; x < character->width; ++x)
                rows += "0123456789ABCDEF"[row[static_cast<int>(character->uMin * 256) + x] / 16];
            rows += '\n';
        }
        return rows;
    }

    SmartPointer<TrueTypeFont> font;
    test::LogCapture log;
};

TEST_F(FontFileTest, DrawsOutlinesInTheRequestedSize) {
    ASSERT_TRUE(load(TtfSample().bytes(), 20));
    EXPECT_EQ(font->getLineHeight(), 20);
    EXPECT_EQ(font->getAscent(), -16);
    const Font::Character* const a = font->getCharacter('A');
    EXPECT_EQ(a->xOffset, 1);
    EXPECT_EQ(a->yOffset, -14);
    EXPECT_EQ(a->width, 10);
    EXPECT_EQ(a->height, 14);
    EXPECT_EQ(a->xAdvance, 12);
    EXPECT_NEAR(font->getScale(), 0.02, 1e-6);
}

TEST_F(FontFileTest, KerningIsScaledToTheSize) {
    TtfSample sample;
    sample.kernings = {{'A', 'V', -100}};
    ASSERT_TRUE(load(sample.bytes(), 20));
    EXPECT_EQ(font->getKerning('A', 'V'), -2);
    EXPECT_EQ(font->getKerning('V', 'A'), 0);
    EXPECT_EQ(font->getKerning('A', 0x4E00), 0);
}

TEST_F(FontFileTest, RefusesGlyphsWiderOrHigherThanAPage) {
    TtfSample sample;
    sample.glyphs = {{'A', 600, 0, 0, 256, 256},
                     {'B', 600, 0, 0, 257, 10},
                     {'C', 600, 0, 0, 10, 257},
                     {'D', 600, -32000, -32000, 32000, 32000},
                     {Font::kBullet, 5, 0, 0, 5, 5}};
    ASSERT_TRUE(load(sample.bytes(), 1000));
    EXPECT_EQ(font->getCharacter('A')->width, 256);
    const Font::Character* const bullet = font->getCharacter(Font::kBullet);
    EXPECT_EQ(bullet->width, 5);
    for (const uint32 letter : {'B', 'C', 'D'}) EXPECT_EQ(font->getCharacter(letter), bullet);
    log.take();
}

/// Returns a font of which each glyph consists of @p count times the next one; the last one is a box.
TtfSample chainOf(int depth, size_t count) {
    TtfSample sample;
    sample.glyphs.clear();
    for (int i = 0; i < depth; ++i)
        sample.glyphs.push_back(
            {static_cast<uint32>('A' + i), 600, 0, 0, 500, 500, std::vector<int>(count, i + 2)});
    sample.glyphs.push_back({static_cast<uint32>('A' + depth), 600, 0, 0, 500, 500});
    return sample;
}

TEST_F(FontFileTest, LimitsThePartsOfAGlyph) {
    for (const auto& [depth, count] : {std::pair(16, 1), std::pair(6, 2), std::pair(1, 128)}) {
        ASSERT_TRUE(load(chainOf(depth, static_cast<size_t>(count)).bytes(), 20)) << depth;
        EXPECT_EQ(font->getCharacter('A')->width, 10) << depth;
    }
    std::vector<TtfSample> refused;
    for (const auto& [depth, count] :
         {std::pair(17, 1), std::pair(7, 2), std::pair(1, 129), std::pair(40, 2), std::pair(60'000, 1)})
        refused.push_back(chainOf(depth, static_cast<size_t>(count)));
    refused.push_back(chainOf(40, 2));
    refused.back().statedLocaSize = 8; // the glyphs are found after the stated end of their table
    refused.emplace_back();
    refused.back().glyphs[1].parts = {1, 3, 2}; // the glyph contains itself
    for (const TtfSample& sample : refused) {
        EXPECT_FALSE(load(sample.bytes(), 20)) << sample.glyphs.size();
        log.expect(3, "Failed to load truetype font: a glyph has too many components");
    }
}

/// Returns a font whose letters from A to H move each of their points 950,000 times.
TtfSample slowFont(size_t points) {
    TtfSample sample;
    sample.functions = std::string("\xB0\x00\x2C", 3);                 // FDEF of function 0
    for (int i = 0; i < 5000; ++i) sample.functions += "\xB0\x01\x36"; // SHZ of the zone of the glyph
    sample.functions += '\x2D';
    sample.glyphs.clear();
    for (uint32 letter = 'A'; letter <= 'H'; ++letter)
        sample.glyphs.push_back({letter,
                                 600,
                                 0,
                                 0,
                                 500,
                                 500,
                                 {},
                                 points,
                                 std::string("\xB0\xBE\xB0\x00\x2A", 5)}); // calls it 190 times
    return sample;
}

TEST_F(FontFileTest, DrawsNoMoreGlyphsOfASlowFile) {
    ASSERT_TRUE(load(slowFont(600).bytes(), 20));
    EXPECT_EQ(font->getCapitalHeight(), 10);
    for (uint32 letter = 'A'; letter < 'H'; ++letter) font->getCharacter(letter);
    EXPECT_EQ(font->getCharacter('H'), nullptr);
    EXPECT_EQ(font->getCharacter('A')->width, 10);
    log.expect(2, "A truetype font takes too much work; its other glyphs are not drawn");
    log.take();
}

TEST_F(FontFileTest, RunsNoProgramsOnManyPoints) {
    ASSERT_TRUE(load(slowFont(2049).bytes(), 20));
    for (uint32 letter = 'A'; letter <= 'H'; ++letter)
        EXPECT_EQ(font->getCharacter(letter)->width, 10) << letter;
}

TEST_F(FontFileTest, SurvivesAnyDamageOfOneByte) {
    const std::string file = TtfSample().bytes();
    for (size_t i = 0; i < file.size(); ++i) {
        std::string damaged = file;
        damaged[i] ^= '\xFF';
        if (!load(damaged, 20)) continue;
        for (const uint32 letter : {'A', 'V', 'x', 'q'}) font->getCharacter(letter);
        font->getKerning('A', 'V');
    }
    log.take();
}

/// Returns a bitmap font in the format BDF with the letter A of 6 x 3 pixels.
std::string bdfFile(int bitsPerPixel, const std::string& rows) {
    return "STARTFONT 2.1\nFONT -a-b-medium-r-normal--8-80-75-75-c-60-iso10646-1\nSIZE 8 75 75 " +
           std::to_string(bitsPerPixel) +
           "\nFONTBOUNDINGBOX 6 8 0 -2\nSTARTPROPERTIES 4\nFONT_ASCENT 6\nFONT_DESCENT 2\n"
           "CHARSET_REGISTRY \"ISO10646\"\nCHARSET_ENCODING \"1\"\nENDPROPERTIES\nCHARS 1\n"
           "STARTCHAR A\nENCODING 65\nSWIDTH 600 0\nDWIDTH 7 0\nBBX 6 3 1 2\nBITMAP\n" +
           rows + "ENDCHAR\nENDFONT\n";
}

TEST_F(FontFileTest, RefusesManyCharacterMaps) {
    TtfSample sample;
    sample.mapCount = 100;
    EXPECT_TRUE(load(sample.bytes(), 20));
    sample.mapCount = 101;
    EXPECT_FALSE(load(sample.bytes(), 20));
    log.expect(3, "Failed to load truetype font: too many character maps");
}

TEST_F(FontFileTest, LimitsTheMemoryOfAFile) {
    std::string file = bdfFile(1, "84\nFC\n04\n");
    const size_t first = file.find("STARTCHAR");
    std::string letters;
    for (int i = 0; i < 1000; ++i) // each of 63,000 bytes, which the file leaves out
        letters += "STARTCHAR B\nENCODING " + std::to_string(66 + i) +
                   "\nSWIDTH 600 0\nDWIDTH 7 0\nBBX 500 1000 1 2\nBITMAP\nENDCHAR\n";
    file.insert(first, letters);
    EXPECT_FALSE(load(file, 8));
    log.expect(3, "Failed to load truetype font (FT_New_Memory_Face):  Error: 64");
    log.take();
}

TEST_F(FontFileTest, ExpandsBitmapsOfAnyDepth) {
    const struct {
        int bits;
        const char* rows;
        const char* pixels;
    } depths[] = {
        {1, "84\nFC\n04\n", "F0000F\nFFFFFF\n00000F\n"},
        {2, "1B10\nFFF0\n0030\n", "05AF05\nFFFFFF\n00000F\n"},
        {4, "0123AB\nFFFFFF\n00000F\n", "0123AB\nFFFFFF\n00000F\n"},
        {8, "00102030A0B0\nFFFFFFFFFFFF\n0000000000FF\n", "0123AB\nFFFFFF\n00000F\n"},
    };
    for (const auto& [bits, rows, pixels] : depths) {
        ASSERT_TRUE(load(bdfFile(bits, rows), 8)) << bits;
        EXPECT_EQ(pixelsOf('A'), pixels) << bits;
        EXPECT_EQ(font->getCharacter('A')->xAdvance, 7);
        EXPECT_EQ(font->getCharacter('A')->yOffset, -5);
    }
    log.take();
    EXPECT_FALSE(load(bdfFile(1, "84\nFC\n04\n"), 9)) << "bitmaps have their own size only";
    log.expect(3, "Failed to load truetype font (FT_Request_Size)");
}

} // namespace
} // namespace qel
