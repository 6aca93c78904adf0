#include <tests/imaging/pixels/sample_images.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace qel;
using test::GuardedImage;
using test::packedBytes;

namespace {

struct Rgb {
    int r, g, b;
};

uint8 clamp8(int v) {
    return static_cast<uint8>(std::clamp(v, 0, 255));
}

/// The two matrices, from the manual.
uint8 lumaOf(bool full, Rgb c) {
    return static_cast<uint8>(full ? (306 * c.r + 601 * c.g + 116 * c.b + 512) >> 10
                                   : (66 * (c.r + 64) + 129 * c.g + 25 * c.b) >> 8);
}
uint8 uOf(bool full, Rgb c) {
    return static_cast<uint8>(full ? std::min(((c.b + 257) * 512 - 339 * c.g - 173 * c.r) >> 10, 255)
                                   : (112 * c.b - 74 * c.g - 38 * c.r + 32896) >> 8);
}
uint8 vOf(bool full, Rgb c) {
    return static_cast<uint8>(full ? std::min(((c.r + 257) * 512 - 429 * c.g - 83 * c.b) >> 10, 255)
                                   : (112 * c.r - 94 * c.g - 18 * c.b + 32896) >> 8);
}
Rgb coloursOf(bool full, int y, int u, int v) {
    if (full)
        return {y + ((1434 * v - 183040) >> 10), y + ((138624 - 351 * u - 728 * v) >> 10),
                y + ((1807 * u - 230784) >> 10)};
    return {(74 * y + 102 * v - 14240) >> 6, (74 * y - 25 * u - 52 * v + 8672) >> 6,
            (74 * y + 127 * u - 17440) >> 6};
}

Rgb pixelAt(const Image& image, int x, int y) {
    const uint8* p = image.getBytePointer(y) + 4 * x;
    return image.getImageFormat() == RGBA8 ? Rgb{p[0], p[1], p[2]} : Rgb{p[2], p[1], p[0]};
}

/// The colour that decides chroma of a block of two by two pixels.
Rgb blockAt(const Image& image, int x, int y) {
    if (image.getImageFormat() == RGBA8) return pixelAt(image, 2 * x + 1, 2 * y + 1);
    Rgb sum{0, 0, 0};
    for (const int i : {0, 1, 2, 3}) {
        const Rgb c = pixelAt(image, 2 * x + i % 2, 2 * y + i / 2);
        sum = {sum.r + c.r, sum.g + c.g, sum.b + c.b};
    }
    return {sum.r >> 2, sum.g >> 2, sum.b >> 2};
}

/// Writes the planes that @p source becomes; the last row of an odd height stays.
void convertByHand(Image& target, const Image& source) {
    const bool full = source.getImageFormat() == RGBA8;
    for (int y = 0; y < (source.getHeight() & ~1); ++y)
        for (int x = 0; x < source.getWidth(); ++x)
            target.getBytePointer(y)[x] = lumaOf(full, pixelAt(source, x, y));
    for (int y = 0; y < source.getHeight() / 2; ++y) {
        for (int x = 0; x < source.getWidth() / 2; ++x) {
            target.getPlaneBytePointer(1, y)[x] = uOf(full, blockAt(source, x, y));
            target.getPlaneBytePointer(2, y)[x] = vOf(full, blockAt(source, x, y));
        }
    }
}

/// Writes the pixels that planes become; the last row of an odd height stays.
void convertBackByHand(Image& target, const Image& source) {
    const bool full = target.getImageFormat() != BGRA8;
    const int bytes = util::getFormatSizeBits(target.getImageFormat()) / 8, columns = source.getWidth() / 2;
    for (int y = 0; y < (source.getHeight() & ~1); ++y) {
        for (int x = 0; x < source.getWidth(); ++x) {
            const int column = std::min(x / 2, columns - 1);
            const int u = columns > 0 ? source.getPlaneBytePointer(1, y / 2)[column] : 128;
            const int v = columns > 0 ? source.getPlaneBytePointer(2, y / 2)[column] : 128;
            const Rgb c = coloursOf(full, source.getBytePointer(y)[x], u, v);
            uint8* p = target.getBytePointer(y) + bytes * x;
            p[full ? 0 : 2] = clamp8(c.r);
            p[1] = clamp8(c.g);
            p[full ? 2 : 0] = clamp8(c.b);
            if (bytes == 4) p[3] = 255;
        }
    }
}

class Yuv : public test::OnTarget {};

using YuvSystem = test::SystemFixture;

} // namespace

QEL_ON_EVERY_TARGET(Yuv);

TEST_P(Yuv, ColoursBecomePlanesByTheirMatrix) {
    for (const FormatID from : {RGBA8, BGRA8}) {
        for (const int width : test::rowWidths()) {
            GuardedImage source(from, {width, 5}), target(Y1U2V2, {width, 5}), expected(Y1U2V2, {width, 5});
            ASSERT_TRUE(target->convertFrom(*source));
            convertByHand(*expected, *source);
            ASSERT_EQ(packedBytes(*target), packedBytes(*expected)) << from << " width " << width;
            ASSERT_EQ(target.changedGuards(), 0) << from << " width " << width;
        }
    }
}

TEST_P(Yuv, PlanesBecomeColoursByTheirMatrix) {
    for (const FormatID to : {RGB8, RGBA8, BGRA8}) {
        for (const int width : test::rowWidths()) {
            GuardedImage source(Y1U2V2, {width, 5}), target(to, {width, 5}), expected(to, {width, 5});
            ASSERT_TRUE(target->convertFrom(*source));
            convertBackByHand(*expected, *source);
            ASSERT_EQ(packedBytes(*target), packedBytes(*expected)) << to << " width " << width;
            ASSERT_EQ(target.changedGuards(), 0) << to << " width " << width;
        }
    }
}

TEST_P(Yuv, AllChromaAndExtremeLumaAreExact) {
    Image source(Y1U2V2, {512, 512});
    for (int y = 0; y < 512; ++y) {
        for (int x = 0; x < 512; ++x)
            source.getBytePointer(y)[x] = static_cast<uint8>(x % 2 + y % 2 == 2 ? 255 : x % 2 ? 128 : y % 2);
        for (int x = 0; x < 256 && y < 256; ++x) {
            source.getPlaneBytePointer(1, y)[x] = static_cast<uint8>(x);
            source.getPlaneBytePointer(2, y)[x] = static_cast<uint8>(y);
        }
    }
    for (const FormatID to : {RGB8, RGBA8, BGRA8}) {
        Image target(to, source.getSize()), expected(to, source.getSize());
        ASSERT_TRUE(target.convertFrom(source));
        convertBackByHand(expected, source);
        EXPECT_EQ(packedBytes(target), packedBytes(expected)) << to;
    }
}

TEST_P(Yuv, ExtremeColoursAreExact) {
    for (const FormatID from : {RGBA8, BGRA8}) {
        Image source(from, {128, 2}), target(Y1U2V2, {128, 2}), expected(Y1U2V2, {128, 2});
        for (int i = 0; i < 256 * 4; ++i)
            source.getBytePointer()[i] = (i / 8 * 4 + i % 4) >> (i % 4 + 2) & 1 ? 255 : 0;
        ASSERT_TRUE(target.convertFrom(source));
        convertByHand(expected, source);
        EXPECT_EQ(packedBytes(target), packedBytes(expected)) << from;
    }
}

TEST_P(Yuv, EveryOrderOfPlanesHoldsTheSamePicture) {
    const FormatID orders[] = {Y1U2V2, Y1V2U2, Y1UV2, Y1VU2};
    for (const int width : test::rowWidths()) {
        GuardedImage source(Y1U2V2, {width, 4});
        for (const FormatID a : orders) {
            for (const FormatID b : orders) {
                GuardedImage first(a, {width, 4}), second(b, {width, 4});
                Image back(Y1U2V2, {width, 4});
                ASSERT_TRUE(first->convertFrom(*source));
                ASSERT_TRUE(second->convertFrom(*first));
                ASSERT_TRUE(back.convertFrom(*second));
                ASSERT_EQ(packedBytes(back), packedBytes(*source)) << a << " " << b << " width " << width;
                ASSERT_EQ(second.changedGuards(), 0) << a << " " << b << " width " << width;
            }
        }
    }
}

TEST(YuvOrders, ExchangedPlanesLieInTheirPlaces) {
    GuardedImage source(RGBA8, {8, 4});
    Image uv(Y1UV2, {8, 4}), vu(Y1VU2, {8, 4}), planes(Y1U2V2, {8, 4}), exchanged(Y1V2U2, {8, 4});
    for (Image* target : {&uv, &vu, &planes, &exchanged}) ASSERT_TRUE(target->convertFrom(*source));
    EXPECT_EQ(planes.getPlaneBytePointer(1)[1], uv.getPlaneBytePointer(1)[2]);
    EXPECT_EQ(planes.getPlaneBytePointer(2)[1], uv.getPlaneBytePointer(1)[3]);
    EXPECT_EQ(planes.getPlaneBytePointer(1)[1], vu.getPlaneBytePointer(1)[3]);
    EXPECT_EQ(planes.getPlaneBytePointer(2)[1], exchanged.getPlaneBytePointer(1)[1]);
}

TEST(YuvOrders, TwoPlanesBecomeColoursLikeThree) {
    GuardedImage three(Y1U2V2, {9, 6});
    for (const FormatID two : {Y1UV2, Y1VU2}) {
        Image interleaved(two, {9, 6});
        ASSERT_TRUE(interleaved.convertFrom(*three));
        for (const FormatID to : {RGB8, RGBA8, BGRA8}) {
            Image a(to, {9, 6}), b(to, {9, 6});
            ASSERT_TRUE(a.convertFrom(*three));
            ASSERT_TRUE(b.convertFrom(interleaved));
            EXPECT_EQ(packedBytes(a), packedBytes(b)) << two << " to " << to;
        }
    }
}

TEST_F(YuvSystem, LargePicturesAreSharedWithTheSameResult) {
    const Image source = test::noiseImage(RGBA8, {701, 503});
    Image target(Y1U2V2, source.getSize()), expected(Y1U2V2, source.getSize());
    for (Image* image : {&target, &expected})
        std::fill_n(image->getBytePointer(), image->getByteSize(), uint8{0});
    ASSERT_TRUE(target.convertFrom(source));
    convertByHand(expected, source);
    EXPECT_EQ(packedBytes(target), packedBytes(expected));
}
