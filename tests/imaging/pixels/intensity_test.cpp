#include <tests/imaging/pixels/sample_images.h>

#include <qel/imaging/pixels/renderer_query.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

using namespace qel;
using test::Bytes;
using test::GuardedImage;
using test::packedBytes;

namespace {

/// An image of @p count equal pixels.
Image flatImage(FormatID format, Bytes pixel, int count = 5) {
    Image image(format, {count, 1});
    for (size_t i = 0; i < image.getByteSize(); ++i) image.getBytePointer()[i] = pixel[i % pixel.size()];
    return image;
}

/// Two pixels one after the other.
Image pairImage(FormatID format, Bytes pixels) {
    Image image(format, {2, 1});
    std::copy(pixels.begin(), pixels.end(), image.getBytePointer());
    return image;
}

struct Reduced {
    FormatID from;
    Bytes pixels;
    FormatID to;
    Bytes expected;
};

void expectReductions(const std::vector<Reduced>& table, bool (Image::*optimize)(const Image&)) {
    for (const Reduced& row : table) {
        const Image source = pairImage(row.from, row.pixels);
        Image target(A8, {1, 1});
        EXPECT_EQ((target.*optimize)(source), row.to != UnknownFormat) << row.from;
        EXPECT_EQ(target.getImageFormat(), row.to == UnknownFormat ? A8 : row.to) << row.from;
        if (row.to != UnknownFormat) {
            EXPECT_EQ(packedBytes(target), row.expected) << row.from;
        }
    }
}

} // namespace

TEST(IntensityToAlpha, IsTheMeanOfThreeColours) {
    for (const FormatID format : {RGB8, BGR8, RGBA8, L8}) {
        GuardedImage source(format, {23, 5}, 3, true);
        Image target;
        ASSERT_TRUE(target.convertIntensityToAlphaFrom(*source));
        ASSERT_EQ(target.getImageFormat(), A8);
        const int bytes = util::getFormatSizeBits(format) / 8;
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 23; ++x) {
                const uint8* p = source->getBytePointer(y) + x * bytes;
                EXPECT_EQ(target.getBytePointer(y)[x], bytes == 1 ? p[0] : (p[0] + p[1] + p[2] + 1) / 3);
            }
        }
    }
}

TEST(GammaCorrection, FollowsTheCurve) {
    Image image(A8, {256, 1});
    for (int i = 0; i < 256; ++i) image.getBytePointer()[i] = static_cast<uint8>(i);
    ASSERT_TRUE(image.approxGammaCorrectAlpha());
    for (int i = 0; i < 256; ++i) {
        const double s = i / 255.0;
        const double linear = 1 - (s < 0.04045 ? s / 12.92 : std::pow((s + 0.055) / 1.055, 2.4));
        const double encoded =
            linear < 0.0031308 ? linear * 12.92 : std::pow(linear, 0.41666666) * 1.055 - 0.055;
        EXPECT_EQ(image.getBytePointer()[i], std::clamp(std::lround((1 - encoded + s) * 0.5 * 255), 0L, 255L))
            << i;
    }
}

TEST(GammaCorrection, ChangesAlphaAlone) {
    for (const auto& [format, channels] : {std::pair{A8, 1}, {LA8, 2}, {RGBA8, 4}}) {
        GuardedImage image(format, {13, 3}), before(format, {13, 3});
        ASSERT_TRUE(image->approxGammaCorrectAlpha());
        int changedColours = 0;
        for (int y = 0; y < 3; ++y)
            for (int i = 0; i < 13 * channels; ++i)
                changedColours += i % channels != channels - 1 &&
                                  image->getBytePointer(y)[i] != before->getBytePointer(y)[i];
        EXPECT_EQ(changedColours, 0) << format;
        EXPECT_EQ(image.changedGuards(), 0) << format;
    }
}

TEST(MultiplyAdd, RoundsWithTwoRoundingsAndLimits) {
    const float infinity = std::numeric_limits<float>::infinity();
    Image bytes(RGB8, {86, 1}), words = test::noiseImage(UInt16, {1000, 1});
    for (int i = 0; i < 258; ++i) bytes.getBytePointer()[i] = static_cast<uint8>(i);
    for (const IVec2<float>& f : {IVec2<float>(1, 0),
                                  {0.5f, 0},
                                  {-1, 255},
                                  {0.1f, 0.05f},
                                  {1e30f, 0},
                                  {infinity, 0},
                                  {0.00390625f, 0.49999997f},
                                  {0, std::nanf("")}}) {
        for (const Image* source : {&bytes, &words}) {
            Image target;
            target.multiplyAddReduceTo8BitFrom(*source, f);
            ASSERT_EQ(target.getImageFormat(), source == &bytes ? RGB8 : L8);
            for (size_t i = 0; i < target.getByteSize(); ++i) {
                uint16 word = 0;
                std::memcpy(&word, words.getBytePointer() + 2 * std::min<size_t>(i, 999), 2);
                const float c = source == &bytes ? bytes.getBytePointer()[i] : word;
                volatile float product = c * f.x;
                const float v = product + f.y;
                const long expected = std::isnan(v) ? 0 : std::lroundf(std::fmin(std::fmax(v, 0.0f), 255.0f));
                ASSERT_EQ(target.getBytePointer()[i], expected) << c << " * " << f.x << " + " << f.y;
            }
        }
    }
}

TEST(OptimizeLossless, TakesTheSmallestExactFormat) {
    expectReductions({{RGBA8, {1, 2, 3, 255, 4, 4, 4, 255}, RGB8, {1, 2, 3, 4, 4, 4}},
                      {BGRA8, {1, 2, 3, 255, 4, 4, 4, 255}, RGB8, {3, 2, 1, 4, 4, 4}},
                      {RGBA8, {1, 2, 3, 255, 4, 4, 4, 254}, UnknownFormat, {}},
                      {RGBA8, {9, 9, 9, 255, 4, 4, 4, 255}, L8, {9, 4}},
                      {BGRA8, {255, 255, 255, 255, 255, 255, 255, 255}, L8, {255, 255}},
                      {RGBA8, {255, 255, 255, 7, 255, 255, 255, 255}, A8, {7, 255}},
                      {BGRA8, {9, 9, 9, 7, 255, 255, 255, 255}, LA8, {9, 7, 255, 255}},
                      {RGB8, {9, 9, 9, 4, 4, 4}, L8, {9, 4}},
                      {BGR8, {9, 9, 8, 4, 4, 4}, UnknownFormat, {}},
                      {L8, {1, 2}, UnknownFormat, {}}},
                     &Image::optimizeLosslessForTextureFrom);
}

TEST(OptimizeLossy, AllowsSmallDeviations) {
    expectReductions({{RGBA8, {10, 18, 14, 247, 4, 4, 4, 255}, L8, {14, 4}},
                      {BGRA8, {247, 255, 255, 9, 250, 250, 250, 1}, A8, {9, 1}},
                      {RGBA8, {246, 250, 250, 9, 250, 250, 250, 1}, LA8, {249, 9, 250, 1}},
                      {RGB8, {10, 18, 14, 4, 4, 4}, L8, {14, 4}},
                      {BGR8, {0, 0, 0, 255, 255, 255}, L8, {0, 255}}},
                     &Image::optimizeLossyForTextureFrom);
}

TEST(OptimizeLossy, ColoursAreReducedForOtherRenderers) {
    for (const auto& [from, to] : {std::pair{RGBA8, RGBA4}, {BGRA8, RGBA4}, {RGB8, RGB565}, {BGR8, RGB565}}) {
        const Image source =
            flatImage(from, from == RGB8 || from == BGR8 ? Bytes{1, 100, 200} : Bytes{1, 100, 200, 9});
        Image target, expected(to, source.getSize());
        ASSERT_TRUE(target.optimizeLossyForTextureFrom(source));
        ASSERT_TRUE(expected.convertFrom(source));
        EXPECT_EQ(packedBytes(target), packedBytes(expected)) << from;
        internal::setSoftwareRendererQuery([] { return true; });
        EXPECT_FALSE(target.optimizeLossyForTextureFrom(source)) << from;
        internal::setSoftwareRendererQuery(nullptr);
    }
}

TEST(Optimize, AnImageCanReplaceItself) {
    Image image = flatImage(RGBA8, {7, 7, 7, 255});
    ASSERT_TRUE(image.optimizeLosslessForTextureFrom(image));
    EXPECT_EQ(packedBytes(image), Bytes(5, 7));
    image = flatImage(RGB8, {10, 20, 31});
    ASSERT_TRUE(image.convertIntensityToAlphaFrom(image));
    EXPECT_EQ(packedBytes(image), Bytes(5, 20));
}
