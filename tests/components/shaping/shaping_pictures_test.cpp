// Pictures of shaped texts. They hold for the fonts, the FreeType and the HarfBuzz of Debian 12.
#include <qel/imaging/pixels/image.h>
#include <qel/text/engine/text_actor.h>
#include <tests/components/shaping/shaping_fixture.h>
#include <tests/support/document_picture.h>
#include <tests/support/picture_test.h>

namespace qel {
namespace {

constexpr IVec2<int> kSize(640, 260);

class ShapingPictures : public test::ShapingFixture {
protected:
    /// Draws @p content in two columns: without a shaper, and with one.
    static void drawColumns(RendererSoftware& renderer, const char* content) {
        constexpr float kMiddle = kSize.x / 2;
        renderer.clear({0.15f, 0.2f, 0.22f, 1});
        const SmartPointer<TrueTypeFont> fonts[] = {loadWide(28), loadWide(28)};
        connectShaper(*fonts[1]);
        for (int column = 0; column < 2; ++column) {
            const float left = column == 0 ? 12 : kMiddle + 12;
            TextActor text;
            text.setFont(fonts[column].get()).setWordWrap(-1);
            text.setParser(TextActor::Parser::ControlCodes).setText(content);
            text.setBounds({left, 8, left + kMiddle - 24, kSize.y - 8});
            renderer.draw(&text);
        }
    }
    static void expectFrame(const char* name, const char* content) {
        test::expectPicture("tests/components/shaping/pictures.txt",
                            {name, kSize, BGRA8, [&](RendererSoftware& r) { drawColumns(r, content); }});
    }
};

constexpr const char* kScripts =
    "السلام عليكم {eop}مُحَمَّد لا إله إلا الله{eop}हिन्दी में क्षेत्र, श्री कृष्ण{eop}AVATAR To. office{eop}"
    "بسم {color:gold}الله{color:white} الرحمن الرحيم والحمد لله رب العالمين";

TEST_F(ShapingPictures, Scripts) {
    expectFrame("scripts", kScripts);
}

TEST_F(ShapingPictures, UnderlinesAndAlignment) {
    expectFrame("underlines",
                "{underline_on}مرحبا{underline_off} abc {underline_on}नमस्ते दुनिया{eol}{align:right}"
                "مرحبا بالعالم{eol}{align:center}(ab مرحبا (1) cd)");
}

TEST_F(ShapingPictures, PageShowsTextsWithAndWithoutAShaper) {
    const auto image = makeObject<Image>(BGRA8, kSize);
    RendererSoftware renderer;
    renderer.setRenderTarget(image.get());
    renderer.start();
    drawColumns(renderer, kScripts);
    renderer.stop();
    test::expectDocumentPicture("shaping", *image);
}

} // namespace
} // namespace qel
