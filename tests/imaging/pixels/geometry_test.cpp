#include <tests/imaging/pixels/sample_images.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <qel/system/tasks/task_queue.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>

using namespace qel;
using test::Bytes;
using test::GuardedImage;
using test::LogCapture;
using test::packedBytes;
using test::Size;

namespace {

constexpr FormatID kNumeric[] = {Int8,     UInt8,   Int16,   UInt16,  Int32,   UInt32,
                                 Int64,    UInt64,  Flt32,   Flt64,   UInt8x2, Int16x3,
                                 UInt16x4, UInt8x3, UInt8x4, Flt32x2, Int32x3, UInt32x4};

/// Sizes from which and to which images are resized: both axes grow, both shrink, one of each.
constexpr int kSizes[][4] = {{7, 5, 13, 9}, {13, 9, 7, 5}, {10, 10, 20, 5}, {7, 5, 7, 5}};

/// Returns a channel of a pixel of numbers up to 32 bits or of bytes.
double componentAt(const Image& image, int x, int y, int channel = 0) {
    const FormatID format = image.getImageFormat();
    const uint8* p = image.getBytePointer(y) + x * (util::getFormatSizeBits(format) / 8) + channel;
    const auto as = [p]<typename T>(T value) {
        std::memcpy(&value, p, sizeof value);
        return static_cast<double>(value);
    };
    switch (format) {
    case Int8:
        return as(int8{});
    case Int16:
        return as(int16{});
    case UInt16:
        return as(uint16{});
    case Int32:
        return as(int32{});
    default:
        return *p;
    }
}

/// The bilinear formula for one pixel, in single precision.
double bilinear(const Image& source, Size target, int x, int y, int channel) {
    const auto place = [](int i, int from, int to, int& first, int& second) {
        const float f = static_cast<float>(from) / static_cast<float>(to);
        const float c =
            std::clamp(static_cast<float>(i) * f + (f * 0.5f - 0.5f), 0.0f, static_cast<float>(from - 1));
        first = static_cast<int>(c);
        second = std::min(first + 1, from - 1);
        return c - static_cast<float>(first);
    };
    int left = 0, right = 0, top = 0, bottom = 0;
    const float fx = place(x, source.getWidth(), target.x, left, right);
    const float fy = place(y, source.getHeight(), target.y, top, bottom);
    const auto row = [&](int at) {
        const auto a = static_cast<float>(componentAt(source, left, at, channel));
        const auto b = static_cast<float>(componentAt(source, right, at, channel));
        return a + (b - a) * fx;
    };
    const float upper = row(top), lower = row(bottom);
    return upper + (lower - upper) * fy;
}

/// The mean of the covered area, by a grid so fine that every pixel of both images is a whole number of
/// cells.
double mean(const Image& source, Size target, int x, int y, int channel) {
    const int sw = source.getWidth(), sh = source.getHeight();
    long double sum = 0;
    for (int j = y * sh; j < (y + 1) * sh; ++j)
        for (int i = x * sw; i < (x + 1) * sw; ++i)
            sum += static_cast<long double>(componentAt(source, i / target.x, j / target.y, channel));
    return static_cast<double>(sum / (static_cast<long double>(sw) * sh));
}

constexpr FormatID kChannels[] = {UInt8, UInt8x2, UInt8x3, UInt8x4};

/// Expects that every channel of an image of noise is resized by @p formula.
template <typename Formula>
void expectResized(const Formula& formula, FormatID format, Size from, Size to) {
    GuardedImage source(format, from), target(format, to);
    ASSERT_TRUE(target->resizeFrom(*source));
    for (int y = 0; y < to.y; ++y)
        for (int x = 0; x < to.x; ++x)
            for (int c = 0; c < util::getFormatChannels(format); ++c)
                ASSERT_EQ(componentAt(*target, x, y, c), std::round(formula(*source, to, x, y, c)))
                    << format << " width " << from.x << " to " << to.x << " at " << x << "," << y;
    ASSERT_EQ(target.changedGuards(), 0);
}

/// Returns the pixels of an image after quarter turns.
Bytes turnedByTable(const Image& source, int turns) {
    const int w = source.getWidth(), h = source.getHeight();
    const auto bytes = static_cast<size_t>(util::getFormatSizeBits(source.getImageFormat()) / 8);
    Bytes turned;
    for (int y = 0; y < (turns & 1 ? w : h); ++y) {
        for (int x = 0; x < (turns & 1 ? h : w); ++x) {
            const Size from[] = {{x, y}, {y, h - 1 - x}, {w - 1 - x, h - 1 - y}, {w - 1 - y, x}};
            const uint8* p =
                source.getBytePointer(from[turns].y) + static_cast<size_t>(from[turns].x) * bytes;
            turned.insert(turned.end(), p, p + bytes);
        }
    }
    return turned;
}

class Resize : public test::OnTarget {};
class TurnTiles : public test::OnTarget {};
using ImageTasks = test::SystemFixture;

} // namespace

QEL_ON_EVERY_TARGET(Resize);
QEL_ON_EVERY_TARGET(TurnTiles);

TEST_P(Resize, GrowingInterpolatesBetweenNeighbours) {
    for (const FormatID format : {Int8, UInt8, Int16, UInt16})
        for (int width = 1; width <= 67; width += 3)
            expectResized(bilinear, format, {std::max(1, width / 2), 3}, {width, 7});
}

TEST_P(Resize, ShrinkingTakesTheMeanOfTheArea) {
    for (const FormatID format : {Int8, UInt8, Int16, UInt16, Int32})
        for (int width = 1; width <= 67; width += 3) expectResized(mean, format, {67, 5}, {width, 3});
}

TEST_P(Resize, HalfAndTwiceTheSizeFollowTheFormulas) {
    for (const FormatID format : kChannels) {
        for (const int width : test::rowWidths()) {
            if (width == 0) continue;
            expectResized(mean, format, {2 * width, 6}, {width, 3});
            expectResized(bilinear, format, {width, 3}, {2 * width, 6});
        }
    }
}

TEST_P(Resize, ChannelsAreResizedAloneAtAllWidths) {
    for (const FormatID format : kChannels) {
        for (int width = 1; width <= 67; width += 2) {
            expectResized(mean, format, {67, 23}, {width, 2});
            expectResized(bilinear, format, {20, 3}, {20 + width, 7});
        }
    }
}

TEST(ResizeFormats, FlatPicturesStayFlat) {
    for (const FormatID format : kNumeric) {
        for (const auto& s : kSizes) {
            Image source(format, {s[0], s[1]}), target(format, {s[2], s[3]});
            const size_t bytes = static_cast<size_t>(util::getFormatSizeBits(format)) / 8;
            for (size_t i = 0; i < source.getByteSize(); ++i)
                source.getBytePointer()[i] = static_cast<uint8>(test::noise(i % bytes) & 0x7F);
            ASSERT_TRUE(target.resizeFrom(source));
            const Bytes pixels = packedBytes(target);
            const bool exceedsDouble = format == Int64 || format == UInt64 || format == Flt64;
            for (size_t i = exceedsDouble ? 7 : 0; i < pixels.size(); i += exceedsDouble ? 8 : 1)
                ASSERT_EQ(pixels[i], source.getBytePointer()[i % bytes]) << format << " " << s[0];
        }
    }
}

TEST(ResizeFormats, EqualSizesCopyEveryBit) {
    for (const FormatID format : {Flt32, Flt64, Int64, UInt64, Int32}) {
        GuardedImage source(format, {5, 3});
        Image target(format, {5, 3});
        ASSERT_TRUE(target.resizeFrom(*source));
        EXPECT_EQ(packedBytes(target), packedBytes(*source)) << format;
    }
}

TEST(ResizeFormats, PlanesAreResizedOneByOne) {
    for (const FormatID format : {Y1U2V2, Y1UV2, MP_RGB8_O16, MP_UInt16_O16}) {
        const Image source = test::noiseImage(format, {16, 12});
        Image target(format, {8, 6});
        ASSERT_TRUE(target.resizeFrom(source));
        for (unsigned i = 0; i < source.getNumberOfPlanes(); ++i) {
            Image plane(source.getPlaneFormat(i), source.getPlaneSize(i));
            for (int y = 0; y < plane.getHeight(); ++y)
                std::memcpy(plane.getBytePointer(y), source.getPlaneBytePointer(i, y), plane.getPitch());
            Image expected(plane.getImageFormat(), target.getPlaneSize(i));
            ASSERT_TRUE(expected.resizeFrom(plane));
            EXPECT_EQ(
                std::memcmp(expected.getBytePointer(), target.getPlaneBytePointer(i), expected.getByteSize()),
                0);
        }
    }
}

TEST(ResizeFormats, DifferentPixelTypesAreRefused) {
    for (const auto& [from, to] :
         {std::pair{RGB8, RGBA8}, {UInt8, UInt16}, {Y1U2V2, Y1UV2}, {Flt32, Int32}}) {
        LogCapture log;
        const Image source(from, {4, 4});
        Image target(to, {2, 2});
        EXPECT_FALSE(target.resizeFrom(source)) << from << " to " << to;
        EXPECT_EQ(log.take().size(), 1u);
    }
    GuardedImage external(L8, {4, 4});
    Image target(L8, {2, 2});
    LogCapture log;
    EXPECT_FALSE(target.resizeFrom(Image(*external))) << "without pixels";
    EXPECT_EQ(log.take().size(), 1u);
}

TEST(ResizeFormats, EmptySourcesBecomeBlack) {
    const Image empty(Y1U2V2, {1, 1});
    Image target(Y1U2V2, {4, 4});
    ASSERT_TRUE(target.resizeFrom(empty));
    EXPECT_EQ(target.getPlaneBytePointer(1)[0], 128);
    Image black = test::noiseImage(RGB8, {2, 2});
    ASSERT_TRUE(black.resizeFrom(Image(RGB8, {0, 5})));
    EXPECT_EQ(packedBytes(black), Bytes(12, 0));
}

TEST(Crop, CopiesTheBounds) {
    for (const FormatID format : {L8, RGB8, RGB8O16, RGB565, MP_RGB8_O16, MP_UInt16_O16, Flt64x4}) {
        const Image source = test::noiseImage(format, {6, 5});
        Image target;
        ASSERT_TRUE(target.cropFrom(source, {2, 1, 6, 4}));
        ASSERT_EQ(target.getSize(), Size(4, 3));
        for (unsigned i = 0; i < target.getNumberOfPlanes(); ++i) {
            const auto bytes = static_cast<size_t>(util::getFormatSizeBits(target.getPlaneFormat(i)) / 8);
            for (int y = 0; y < 3; ++y)
                EXPECT_EQ(std::memcmp(target.getPlaneBytePointer(i, y),
                                      source.getPlaneBytePointer(i, y + 1) + 2 * bytes, 4 * bytes),
                          0);
        }
    }
    GuardedImage upsideDown(RGB8, {6, 5}, 7, true);
    Image target;
    ASSERT_TRUE(target.cropFrom(*upsideDown, {1, 1, 6, 5}));
    EXPECT_EQ(std::memcmp(target.getBytePointer(3), upsideDown->getBytePointer(4) + 3, 15), 0);
    const uint8 expected = target.getBytePointer(3)[6];
    ASSERT_TRUE(target.cropFrom(target, {2, 3, 4, 4})) << "an image is cut to a part of itself";
    EXPECT_EQ(target.getSize(), Size(2, 1));
    EXPECT_EQ(target.getBytePointer()[0], expected);
}

TEST(Crop, InvalidBoundsAreRefused) {
    const int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
    const Image source(L8, {4, 4});
    for (const IVec4<int>& bounds : {IVec4<int>(2, 0, 2, 4),
                                     {-1, 0, 2, 2},
                                     {0, -1, 2, 2},
                                     {0, 0, 5, 4},
                                     {0, 0, 4, 5},
                                     {3, 0, 1, 4},
                                     {least, 0, most, 4},
                                     {0, least, 4, least}}) {
        LogCapture log;
        Image target(L8, {1, 1});
        EXPECT_FALSE(target.cropFrom(source, bounds));
        EXPECT_EQ(target.getSize(), Size(1, 1)) << "stays as it was";
        EXPECT_EQ(log.take().size(), 1u);
    }
}

TEST_P(TurnTiles, FollowsTheTableForAllPixelSizes) {
    // For the larger target, eight bands of a tile of bytes and some rows.
    for (const Size& size : {Size(37, 35), Size(530, 131)}) {
        for (const FormatID format :
             {L8, LA8, RGB8, RGBA8, RGB8O16, UInt16x3, UInt16x4, Flt32x3, Flt32x4, Flt64x3, Flt64x4}) {
            GuardedImage source(format, size);
            for (int turns = -1; turns <= (size.x > 37 ? 1 : 5); ++turns) {
                Image target;
                target.rotateFrom(*source, turns);
                ASSERT_EQ(target.getSize(), turns & 1 ? Size(size.y, size.x) : size);
                EXPECT_TRUE(packedBytes(target) == turnedByTable(*source, turns & 3))
                    << format << " turns " << turns << " width " << size.x;
            }
        }
    }
}

TEST(Rotate, AnImageCanBeTurnedInPlace) {
    Image image = test::noiseImage(RGB8, {5, 3});
    const Bytes before = packedBytes(image);
    for (int i = 0; i < 4; ++i) image.rotateFrom(image, 1);
    EXPECT_EQ(packedBytes(image), before);
}

TEST(MeanSquaredError, SeesTheBeginningOfEachRowAlone) {
    Image a(RGB8, {6, 2}), b(RGB8, {6, 2});
    for (Image* image : {&a, &b}) std::memset(image->getBytePointer(), 0, image->getByteSize());
    float result = -1;
    b.getBytePointer(1)[6] = 200; // the seventh byte is not compared
    b.getBytePointer(1)[5] = 10;
    ASSERT_TRUE(a.computeMeanSquaredError(b, result));
    EXPECT_EQ(result, 100.0f / 36);
    EXPECT_FALSE(a.computeMeanSquaredError(Image(RGB8, {2, 3}), result));
}

// Each task asks for workers while all workers are inside such tasks.
TEST_F(ImageTasks, OperationsOfManyTasksDoNotWaitForEachOther) {
    const unsigned tasks = 2 * system().getProcessorCount() + 2;
    std::atomic<unsigned> done{0};
    TaskQueue queue(TaskQueue::kParallel);
    const auto work = [&done] {
        Image image = test::noiseImage(RGBA8, {512, 512}), turned;
        image.approxGammaCorrectAlpha();
        turned.rotateFrom(image, 1);
        done += turned.getWidth() == 512 ? 1 : 0;
    };
    queue.pushTaskN(tasks, new TaskQueue::LambdaNoContextTask(work), 0);
    queue.wait();
    EXPECT_EQ(done, tasks);
}
