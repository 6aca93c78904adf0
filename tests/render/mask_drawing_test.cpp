// Textures of alpha bytes with any tint: the vector kernels equal the plain functions in every bit.
#include <tests/render/canvas.h>
#include <tests/render/random_drawing.h>
#include <tests/support/simd_target.h>

namespace qel {
namespace {

using test::DrawnFrame;
using Mode = seams::DrawingMode;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr IVec4<float> kTints[] = {
    {0.3f, 0.2f, 0.1f, 0.8f},  {0.1f, 0.2f, 0.3f, 1},       {1, 1, 1, 0.998f},   {0, 1, 0.5f, 0.5f},
    {0.7f, 0.3f, 1, 0.00197f}, {1.5f, -2, 0.999f, 1.2f},    {1, 0.004f, 0, 100}, {kNan, 0.5f, 1, 0.6f},
    {kInfinity, 0.5f, 0, 1},   {0.5f, 0.25f, 1, kInfinity}, {1, 0, 0.2f, 1},
};

class MaskDrawing : public test::OnTarget {
protected:
    void TearDown() override {
        seams::setDrawingMode(Mode::Default);
        OnTarget::TearDown();
    }

    /// Draws a mask on a target in the middle of other memory.
    static DrawnFrame drawn(Mode mode, const IVec2<int>& size, const std::vector<uint8>& alphas,
                            const IVec4<float>& tint) {
        seams::setDrawingMode(mode);
        DrawnFrame frame{BGRA8, {size.x + 3, size.y}, {2, 0, 2 + size.x, size.y}, {}};
        frame.allocate();
        const SmartPointer<Image> image = frame.target();
        RendererSoftware renderer;
        renderer.setRenderTarget(image.get());
        const SmartPointer<Texture> texture = test::makeTexture(renderer, A8, size, alphas);
        renderer.start();
        renderer.pushColor(tint);
        const IVec2<float> end(static_cast<float>(2 + size.x), static_cast<float>(size.y));
        renderer.drawTextureInternal(texture.get(), {0, 0, 1, 1}, {2, 0, end.x, end.y}, 0);
        renderer.stop();
        return frame;
    }
};

// The bytes of the target step by 37 within a row, so that each alpha meets each byte.
TEST_P(MaskDrawing, MixesEveryAlphaWithEveryByte) {
    constexpr int kBytes = 256;
    std::vector<uint8> alphas(kBytes * kBytes);
    for (size_t i = 0; i < alphas.size(); ++i) alphas[i] = static_cast<uint8>(i / kBytes);
    for (const IVec4<float>& tint : kTints) {
        const DrawnFrame plain = drawn(Mode::Plain, {kBytes, kBytes}, alphas, tint);
        EXPECT_EQ(plain.strayBytes(), 0u);
        EXPECT_EQ(drawn(Mode::Inline, {kBytes, kBytes}, alphas, tint).memory, plain.memory)
            << "tint " << &tint - kTints;
    }
}

QEL_ON_EVERY_TARGET(MaskDrawing);

} // namespace
} // namespace qel
