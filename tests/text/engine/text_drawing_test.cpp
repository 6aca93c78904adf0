#include <qel/render/renderer_software.h>
#include <tests/render/canvas.h>
#include <tests/support/picture_test.h>
#include <tests/text/engine/noting_renderer.h>
#include <tests/text/engine/text_fixture.h>

#include <gmock/gmock.h>

#include <cmath>
#include <functional>

namespace qel {
namespace {

using test::NotingRenderer;
using testing::ElementsAre;

class TextDrawing : public test::TextFixture {
protected:
    /// Returns the bytes of a target of noise on which @p draw has drawn.
    static std::vector<uint8> drawn(const std::function<void(RendererSoftware&)>& draw, FormatID format) {
        test::Canvas canvas({64, 48}, format);
        std::vector<uint8> noise = test::noise(canvas.image->getByteSize(), 1);
        std::copy(noise.begin(), noise.end(), canvas.image->getBytePointer());
        draw(canvas.renderer);
        return canvas.bytes();
    }
    /// Draws each quad of the text for itself.
    void drawQuads(RendererSoftware& renderer) {
        text->update();
        renderer.pushColor(text->getColor());
        for (size_t i = 0; i < text->getLineCount(); ++i) drawLine(renderer, text->getLine(i));
        renderer.popColor();
    }

private:
    void drawLine(RendererSoftware& renderer, const TextActor::Line& line) {
        const float x = std::round(text->getPosition().x + line.x);
        const float y = std::round(text->getPosition().y);
        for (size_t i = 0; i < line.fragmentCount; ++i) {
            const TextActor::Fragment fragment = text->getFragment(line.firstFragment + i);
            Texture* const texture = fragment.page->getTexture(&renderer, {64, 64});
            for (size_t k = 0; k < fragment.quads.size(); ++k) {
                const uint32 c = fragment.colors[k];
                const auto channel = [c](int shift) { return static_cast<float>(c >> shift & 255) / 255.0f; };
                const Rect& place = fragment.quads[k].target;
                renderer.pushColor({channel(0), channel(8), channel(16), channel(24)});
                renderer.drawTextureInternal(texture, fragment.quads[k].source,
                                             {place.x0 + x, place.y0 + y, place.x1 + x, place.y1 + y}, 0);
                renderer.popColor();
            }
        }
    }
};

TEST_F(TextDrawing, EqualsDrawingEachQuad) {
    const char* const content =
        "Ab\xCC\x81\xE4\xB8\x80{color:red}cd{color:blue}\xE4\xB8\x81 ef gh ij kl{eol}mn{color:white}op";
    text->setWordWrap(40);
    for (const FormatID format : {BGRA8, L8, L16}) {
        for (const IVec4<float>& color : {IVec4<float>(1, 1, 1, 1), IVec4<float>(0.3f, 1, 0.7f, 0.6f)}) {
            for (const float left : {-7.0f, 3.5f, 30.25f}) {
                layOutCodes(content);
                text->setColor(color);
                text->setBounds({left, left - 2, left + 60, 48});
                EXPECT_EQ(drawn([this](RendererSoftware& r) { r.draw(text.get()); }, format),
                          drawn([this](RendererSoftware& r) { drawQuads(r); }, format))
                    << format << " at " << left;
            }
        }
    }
}

TEST_F(TextDrawing, BarsOutsideTheTargetAreNotDrawn) {
    layOutCodes("a{eol}{bar}b{endbar:red}").setBounds({10, 20, 100, 50});
    NotingRenderer renderer;
    renderer.draw(text.get());
    EXPECT_THAT(renderer.rects, ElementsAre(Rect(10, 30, 100, 40)));
    text->setBounds({10, 90, 100, 95});
    NotingRenderer outside;
    outside.draw(text.get());
    EXPECT_TRUE(outside.rects.empty());
}

// --- scrolling ------------------------------------------------------------------------------------------

class TextScrolling : public TextDrawing {
protected:
    void SetUp() override {
        TextDrawing::SetUp();
        layOut("0123456789\nab").setLineScrolling(true); // 60 pixels; a period takes 5250 + 4000 ms
        text->setBounds({0, 0, 40, 40});
        NotingRenderer().draw(text.get());
    }
    void pass(uint32 milliseconds) {
        for (; milliseconds > 50; milliseconds -= 50) passAfter(50);
        passAfter(milliseconds);
    }
    /// Draws at a time of the period. @return the x of the lines drawn.
    std::vector<float> at(uint32 phaseMs) {
        constexpr uint32 kPeriodMs = 9250;
        const uint32 now = (system().getPresentationTime() + 1) % kPeriodMs;
        pass(1 + (kPeriodMs + phaseMs - now) % kPeriodMs);
        NotingRenderer renderer;
        renderer.draw(text.get());
        EXPECT_TRUE(renderer.softClips.front());
        return renderer.lines;
    }
};

TEST_F(TextScrolling, LongLineRestsAndThenMoves) {
    EXPECT_THAT(at(0), ElementsAre(0, 0));
    EXPECT_THAT(at(4000), ElementsAre(0, 0));
    EXPECT_THAT(at(4700), ElementsAre(-10, 0));
    EXPECT_THAT(at(9249), ElementsAre(testing::FloatNear(-75, 0.1f), 0, testing::FloatNear(0, 0.1f)));
}

TEST_F(TextScrolling, BeginningFollowsTheEnd) {
    EXPECT_THAT(at(4000 + 40 * 70), ElementsAre(-40, 0, 35));
    EXPECT_FALSE(text->getLine(1).isVisible); // is not drawn twice
    EXPECT_TRUE(text->getLine(0).isRepeated);
}

TEST_F(TextScrolling, MovingLineKeepsTheHostAwake) {
    at(3000);
    pass(2000); // nothing moves
    at(2999);
    EXPECT_TRUE(system().isLowPowerModeApplicable());
    at(3001);
    EXPECT_FALSE(system().isLowPowerModeApplicable());
}

// --- pictures -------------------------------------------------------------------------------------------

/// Pictures that hold on every machine: the font is not drawn by a library.
class TextPictures : public TextDrawing {
protected:
    void expect(const char* name) {
        test::expectPicture("tests/text/engine/pictures.txt",
                            {name, {160, 100}, BGRA8, [this](RendererSoftware& renderer) {
                                 renderer.clear({0.2f, 0.3f, 0.4f, 1});
                                 renderer.draw(text.get());
                             }});
    }
};

TEST_F(TextPictures, Codes) {
    text->setBounds({8.25f, 4, 150, 96}).setWordWrap(-1);
    layOutCodes("{bar}{color:yellow}Head{endbar:red}{eop}{underline_on}under{underline_off} line and "
                "{color:lime}more{color:white} words{eol}{align:center}mid{eol}{align:right}right{eol}"
                "{align:none}{tab}{push_margin}these words wrap at the margin{pop_margin}");
    expect("codes");
    text->setColor({1, 0.8f, 0.9f, 0.7f}).setShadow(true);
    expect("codes-translucent");
}

TEST_F(TextPictures, HardCases) {
    text->setBounds({8, 4, 150, 96}).setWordWrap(-1);
    layOut("e\xCC\x81 \xE2\x80\x8B"
           "W \xD7\x90\xD7\x91 \xD7\x92 x\xE4\xB8\x80y\xE4\xB8\x81"
           "z\xEE\x80\x81 aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\xEE\x80\x80"
           "b");
    text->setCursorSelection(4, 12);
    expect("hard-cases");
}

} // namespace
} // namespace qel
