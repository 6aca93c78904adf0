#include <tests/render/canvas.h>
#include <tests/render/random_drawing.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

using test::SeededNumbers;

/// Returns parts of a texture: mostly whole texels at whole pixels, as glyphs are, and some of any kind.
std::vector<TexturePart> makeParts(SeededNumbers& numbers, const IVec2<int>& size) {
    std::vector<TexturePart> parts;
    const IVec2<float> texels(size);
    for (int i = 0; i < 150; ++i) {
        const auto u = static_cast<float>(numbers.draw(static_cast<unsigned>(size.x)));
        const auto v = static_cast<float>(numbers.draw(static_cast<unsigned>(size.y)));
        const auto width = static_cast<float>(numbers.draw(9));
        const auto height = static_cast<float>(numbers.draw(12));
        const auto x = static_cast<float>(numbers.draw(80)) - 10;
        const auto y = static_cast<float>(numbers.draw(60)) - 10;
        const auto stretch = static_cast<float>(numbers.draw(8) == 0 ? numbers.draw(3) : 0);
        const float shift = numbers.draw(8) == 0 ? 0.3f : 0;
        parts.push_back(
            {{(u + shift) / texels.x, v / texels.y, (u + shift + width) / texels.x, (v + height) / texels.y},
             {x, y, x + width + stretch, y + height}});
    }
    return parts;
}

struct PartsCase {
    FormatID texture;
    FormatID target;
    IVec2<int> size;
    Filter filter;
    IVec4<float> color;
};

/// Draws the parts at once, or one by one. @return the bytes of the target.
std::vector<uint8> drawn(const PartsCase& c, bool isTogether) {
    test::Canvas canvas({64, 48}, c.target);
    const std::vector<uint8> noise = test::noise(canvas.image->getByteSize(), 3);
    std::copy(noise.begin(), noise.end(), canvas.image->getBytePointer());
    const SmartPointer<Texture> texture = test::makeNoise(canvas.renderer, c.texture, c.size, 5);
    texture->setFilter(c.filter);
    canvas.renderer.pushClip({3, 2, 61, 47});
    canvas.renderer.pushColor(c.color);
    SeededNumbers numbers(11, 1 << 20);
    const std::vector<TexturePart> parts = makeParts(numbers, c.size);
    if (isTogether) {
        canvas.renderer.drawTextureParts(texture.get(), parts, {2, -1});
    } else {
        for (const TexturePart& part : parts)
            canvas.renderer.drawTextureInternal(
                texture.get(), part.source,
                {part.target.x0 + 2, part.target.y0 - 1, part.target.x1 + 2, part.target.y1 - 1}, 0);
    }
    texture->setFilter(Filter::Undefined); // of later draws
    return canvas.bytes();
}

TEST(TextureParts, EqualDrawingEachPart) {
    constexpr IVec4<float> kRed(1, 0, 0, 1), kTranslucent(0.3f, 0.7f, 0.2f, 0.6f), kBright(1.5f, 0, 2, 1.2f);
    const PartsCase kCases[] = {
        {A8, BGRA8, {64, 64}, Filter::Bilinear, kRed},
        {A8, BGRA8, {64, 64}, Filter::Nearest, kTranslucent},
        {A8, BGRA8, {128, 16}, Filter::Bilinear, kBright},
        {A8, BGRA8, {100, 37}, Filter::Nearest, kTranslucent},
        {A8, L8, {64, 64}, Filter::Bilinear, kTranslucent},
        {A8, L16, {64, 64}, Filter::Bilinear, kRed},
        {LA8, BGRA8, {64, 64}, Filter::Bilinear, kTranslucent},
        {BGRA8, BGRA8, {100, 37}, Filter::Nearest, kRed},
    };
    for (const PartsCase& c : kCases)
        EXPECT_EQ(drawn(c, true), drawn(c, false))
            << c.texture << " on " << c.target << " of width " << c.size.x;
}

TEST(TextureParts, PartsMayBeLargerThanAnyTarget) {
    test::Canvas canvas({2, 1});
    const SmartPointer<Texture> texture = test::makeTexture(canvas.renderer, A8, {1, 1}, {255});
    const TexturePart part{{0, 0, 1, 1}, {-1e30f, -1e30f, 1e30f, 1e30f}};
    canvas.renderer.drawTextureParts(texture.get(), {&part, 1}, {});
    EXPECT_EQ(canvas.shape(), "##/");
}

TEST(TextureParts, PartsThatAreNotFiniteAreLeftOut) {
    test::Canvas canvas({8, 8});
    const SmartPointer<Texture> texture =
        test::makeTexture(canvas.renderer, A8, {2, 2}, {255, 255, 255, 255});
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<TexturePart> parts{{{0, 0, 1, 1}, {nan, 0, 2, 2}},
                                         {{nan, 0, 1, 1}, {2, 2, 4, 4}},
                                         {{0, 0, 1, 1}, {1e30f, 1e30f, 2e30f, 2e30f}},
                                         {{0, 0, 1, 1}, {4, 4, 6, 6}}};
    canvas.renderer.drawTextureParts(texture.get(), parts, {});
    canvas.renderer.drawTextureParts(nullptr, parts, {});
    canvas.renderer.drawTextureParts(texture.get(), parts, {nan, 0});
    EXPECT_EQ(canvas.shape(), "......../......../......../......../....##../....##../......../......../");
}

} // namespace
} // namespace qel
