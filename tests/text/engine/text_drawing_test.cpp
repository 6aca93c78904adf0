#include <qel/render/renderer_software.h>
#include <qel/scene/actors/anim_color.h>
#include <qel/style/theme.h>
#include <tests/render/canvas.h>
#include <tests/support/picture_test.h>
#include <tests/text/engine/text_fixture.h>

#include <gmock/gmock.h>

#include <cmath>
#include <functional>

namespace qel {
namespace {

class TextDrawing : public test::TextFixture {
protected:
    /// Returns the bytes of a target on which the text is drawn.
    std::vector<uint8> drawn(FormatID format = BGRA8) {
        return drawn([this](RendererSoftware& renderer) { renderer.draw(text.get()); }, format);
    }
    std::vector<uint8> drawn(const std::function<void(RendererSoftware&)>& draw, FormatID format = BGRA8) {
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
                EXPECT_EQ(drawn(format), drawn([this](RendererSoftware& r) { drawQuads(r); }, format))
                    << format << " at " << left;
            }
        }
    }
}

TEST_F(TextDrawing, NothingIsDrawnWithAnInvisibleColor) {
    layOut("abc");
    const std::vector<uint8> empty = drawn([](RendererSoftware&) {});
    text->setColor({1, 1, 1, 0.003f});
    EXPECT_EQ(drawn(), empty);
    text->setColor({1, 1, 1, 0.004f});
    EXPECT_NE(drawn(), empty);
    text->deactivate();
    EXPECT_EQ(drawn(), empty);
}

} // namespace
} // namespace qel
