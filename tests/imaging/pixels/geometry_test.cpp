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
constexpr FormatID kPacked[] = {RGB565, RGBA4, RGBA5551, RGB8O16, UInt16O16};

/// Sizes from which and to which images are resized: both axes grow, both shrink, one of each.
constexpr int kSizes[][4] = {{7, 5, 13, 9}, {1, 1, 6, 3},    {13, 9, 7, 5},   {12, 8, 6, 4}, {9, 7, 1, 1},
                             {7, 5, 7, 5},  {10, 10, 20, 5}, {10, 10, 5, 20}, {3, 9, 9, 3},  {67, 3, 66, 3}};

double componentAt(const Image& image, int x, int y) {
    const FormatID format = image.getImageFormat();
    const uint8* p = image.getBytePointer(y) + x * (util::getFormatSizeBits(format) / 8);
    const auto as = [p]<typename T>(T value) {
        std::memcpy(&value, p, sizeof value);
        return static_cast<double>(value);
    };
    switch (format) {
    case Int8:
        return as(int8{});
    case UInt8:
    case L8:
        return as(uint8{});
    case Int16:
        return as(int16{});
    case UInt16:
        return as(uint16{});
    case Int32:
        return as(int32{});
    case Flt32:
        return as(float{});
    default:
        ADD_FAILURE() << "no component for " << format;
        return 0;
    }
}

/// The bilinear formula for one pixel, in single precision.
double bilinear(const Image& source, Size target, int x, int y) {
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
        const auto a = static_cast<float>(componentAt(source, left, at));
        const auto b = static_cast<float>(componentAt(source, right, at));
        return a + (b - a) * fx;
    };
    const float upper = row(top), lower = row(bottom);
    return upper + (lower - upper) * fy;
}

/// The mean of the covered area, by a grid so fine that every pixel of both images is a whole number of
/// cells.
double mean(const Image& source, Size target, int x, int y) {
    const int sw = source.getWidth(), sh = source.getHeight();
    long double sum = 0;
    for (int j = y * sh; j < (y + 1) * sh; ++j)
        for (int i = x * sw; i < (x + 1) * sw; ++i)
            sum += static_cast<long double>(componentAt(source, i / target.x, j / target.y));
    return static_cast<double>(sum / (static_cast<long double>(sw) * sh));
}

/// Returns one channel of an image of bytes.
Bytes channelOf(const Image& image, int channel) {
    const Bytes all = packedBytes(image);
    const auto step = static_cast<size_t>(util::getFormatSizeBits(image.getImageFormat()) / 8);
    Bytes values;
    for (size_t i = static_cast<size_t>(channel); i < all.size(); i += step) values.push_back(all[i]);
    return values;
}

Image channelImage(const Image& image, int channel) {
    Image result(UInt8, image.getSize());
    const Bytes values = channelOf(image, channel);
    std::memcpy(result.getBytePointer(), values.data(), values.size());
    return result;
}

/// Returns the pixels of an image of bytes that is resized by @p formula.
template <typename Formula>
Bytes resizedBy(const Formula& formula, const Image& source, Size size) {
    Bytes values;
    for (int y = 0; y < size.y; ++y)
        for (int x = 0; x < size.x; ++x)
            values.push_back(static_cast<uint8>(std::round(formula(source, size, x, y))));
    return values;
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

double rounded(FormatID format, double value) {
    return format == Flt32 ? static_cast<double>(static_cast<float>(value)) : std::round(value);
}

class Resize : public test::OnTarget {};
class TurnTiles : public test::OnTarget {};
using ImageTasks = test::SystemFixture;

std::vector<std::string> textsOf(LogCapture& log) {
    std::vector<std::string> texts;
    for (const auto& line : log.take()) texts.push_back(line.text);
    return texts;
}

} // namespace

QEL_ON_EVERY_TARGET(Resize);
QEL_ON_EVERY_TARGET(TurnTiles);

TEST_P(Resize, GrowingInterpolatesBetweenNeighbours) {
    for (const FormatID format : {Int8, UInt8, Int16, UInt16}) {
        for (int width = 1; width <= 67; width += 3) {
            GuardedImage source(format, {std::max(1, width / 2), 3}), target(format, {width, 7});
            ASSERT_TRUE(target->resizeFrom(*source));
            for (int y = 0; y < 7; ++y)
                for (int x = 0; x < width; ++x)
                    ASSERT_EQ(componentAt(*target, x, y),
                              rounded(format, bilinear(*source, {width, 7}, x, y)))
                        << format << " width " << width << " at " << x << "," << y;
            ASSERT_EQ(target.changedGuards(), 0);
        }
    }
}

TEST_P(Resize, ShrinkingTakesTheMeanOfTheArea) {
    for (const FormatID format : {Int8, UInt8, Int16, UInt16, Int32}) {
        for (int width = 1; width <= 67; width += 3) {
            GuardedImage source(format, {67, 5}), target(format, {width, 3});
            ASSERT_TRUE(target->resizeFrom(*source));
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < width; ++x)
                    ASSERT_EQ(componentAt(*target, x, y), rounded(format, mean(*source, {width, 3}, x, y)))
                        << format << " width " << width << " at " << x << "," << y;
            ASSERT_EQ(target.changedGuards(), 0);
        }
    }
}

TEST_P(Resize, HalfAndTwiceTheSizeFollowTheFormulas) {
    constexpr FormatID kChannels[] = {UInt8, UInt8x2, UInt8x3, UInt8x4};
    for (int channels = 1; channels <= 4; ++channels) {
        const FormatID format = kChannels[channels - 1];
        for (const int width : test::rowWidths()) {
            if (width == 0) continue;
            GuardedImage small(format, {width, 3}), large(format, {2 * width, 6});
            GuardedImage half(format, {width, 3}), twice(format, {2 * width, 6});
            ASSERT_TRUE(half->resizeFrom(*large));
            ASSERT_TRUE(twice->resizeFrom(*small));
            for (int c = 0; c < channels; ++c) {
                EXPECT_EQ(channelOf(*half, c), resizedBy(mean, channelImage(*large, c), half->getSize()))
                    << "half, channel " << c << " of " << channels << ", width " << width;
                EXPECT_EQ(channelOf(*twice, c),
                          resizedBy(bilinear, channelImage(*small, c), twice->getSize()))
                    << "twice, channel " << c << " of " << channels << ", width " << width;
            }
            ASSERT_EQ(half.changedGuards(), 0);
            ASSERT_EQ(twice.changedGuards(), 0);
        }
    }
}

TEST_P(Resize, ChannelsAreResizedAloneAtAllWidths) {
    constexpr FormatID kChannels[] = {UInt8, UInt8x2, UInt8x3, UInt8x4};
    for (int channels = 1; channels <= 4; ++channels) {
        const FormatID format = kChannels[channels - 1];
        for (int width = 1; width <= 67; width += 2) {
            GuardedImage source(format, {67, 23}), target(format, {width, 2});
            GuardedImage small(format, {20, 3}), grown(format, {20 + width, 7});
            ASSERT_TRUE(target->resizeFrom(*source));
            ASSERT_TRUE(grown->resizeFrom(*small));
            for (int c = 0; c < channels; ++c) {
                EXPECT_EQ(channelOf(*target, c), resizedBy(mean, channelImage(*source, c), target->getSize()))
                    << "channel " << c << " of " << channels << ", width " << width;
                EXPECT_EQ(channelOf(*grown, c),
                          resizedBy(bilinear, channelImage(*small, c), grown->getSize()))
                    << "channel " << c << " of " << channels << ", grown to " << 20 + width;
            }
            ASSERT_EQ(target.changedGuards(), 0);
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
            if (format != UInt8 && format != UInt16 && format != UInt32 && format != UInt64) continue;
            std::memset(source.getBytePointer(), 255, source.getByteSize());
            ASSERT_TRUE(target.resizeFrom(source));
            EXPECT_EQ(packedBytes(target), Bytes(target.getByteSize(), 255)) << format << " " << s[0];
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
    Image image = test::noiseImage(RGB8, {3, 3});
    const Bytes before = packedBytes(image);
    EXPECT_TRUE(image.resizeFrom(image));
    EXPECT_EQ(packedBytes(image), before);
    Image halves(Flt32, {2, 1}), mean(Flt32, {1, 1});
    const float values[] = {0.25f, 0.5f};
    std::memcpy(halves.getBytePointer(), values, 8);
    ASSERT_TRUE(mean.resizeFrom(halves));
    EXPECT_EQ(componentAt(mean, 0, 0), 0.375) << "floats are not rounded";
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

TEST(ResizeFormats, PackedPixelsAreSkippedSilently) {
    for (const FormatID format : kPacked) {
        Image source(format, {4, 4});
        Image target = test::noiseImage(format, {2, 2});
        const Bytes before = packedBytes(target);
        EXPECT_TRUE(target.resizeFrom(source));
        EXPECT_EQ(packedBytes(target), before);
    }
}

TEST(ResizeFormats, DifferentPixelTypesAreRefused) {
    for (const auto& [from, to] : {std::pair{RGB8, RGBA8},
                                   {UInt8, UInt16},
                                   {UInt8, Int8},
                                   {Y1U2V2, Y1UV2},
                                   {RGB565, RGBA4},
                                   {RGB565, UInt16},
                                   {Flt32, Int32}}) {
        LogCapture log;
        const Image source(from, {4, 4});
        Image target(to, {2, 2});
        EXPECT_FALSE(target.resizeFrom(source)) << from << " to " << to;
        EXPECT_EQ(log.take().size(), 1u);
    }
    GuardedImage external(L8, {4, 4});
    const Image noPixels(*external);
    Image target(L8, {2, 2}), uninitialised;
    LogCapture log;
    EXPECT_FALSE(target.resizeFrom(noPixels));
    EXPECT_FALSE(target.resizeFrom(uninitialised));
    EXPECT_FALSE(uninitialised.resizeFrom(*external));
    EXPECT_EQ(log.take().size(), 3u);
}

TEST(ResizeFormats, EmptySourcesBecomeBlack) {
    const Image empty(Y1U2V2, {1, 1});
    Image target(Y1U2V2, {4, 4});
    ASSERT_TRUE(target.resizeFrom(empty));
    EXPECT_EQ(target.getPlaneBytePointer(1)[0], 128);
    EXPECT_EQ(target.getPlaneBytePointer(2, 1)[1], 128);
    const Image nothing(RGB8, {0, 5});
    Image black = test::noiseImage(RGB8, {2, 2});
    ASSERT_TRUE(black.resizeFrom(nothing));
    EXPECT_EQ(packedBytes(black), Bytes(12, 0));
    Image none(RGB8, {0, 4});
    EXPECT_TRUE(none.resizeFrom(black)) << "an empty target needs nothing";
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
                                     {0, 2, 4, 2},
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
    LogCapture log;
    Image target;
    EXPECT_FALSE(target.cropFrom(source, {1, 2, 3, 9}));
    EXPECT_EQ(textsOf(log), std::vector<std::string>{"Image::cropFrom : invalid bounds, bounds=(1,2,3,9)"});
}

TEST(Crop, HalvedPlanesFailAfterTheFirst) {
    const Image source = test::noiseImage(Y1U2V2, {8, 8});
    Image target;
    LogCapture log;
    EXPECT_FALSE(target.cropFrom(source, {0, 0, 4, 4}));
    EXPECT_EQ(textsOf(log),
              std::vector<std::string>{"Image::cropFrom : different sized planes not supported"});
    EXPECT_EQ(target.getBytePointer(3)[3], source.getBytePointer(3)[3]);
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
    const Image planes = test::noiseImage(Y1U2V2, {6, 4});
    image.rotateFrom(planes, 1);
    EXPECT_EQ(image.getPlaneSize(1), Size(2, 3));
    EXPECT_EQ(image.getPlaneBytePointer(1)[0], planes.getPlaneBytePointer(1, 1)[0]);
}

TEST(Rotate, ImagesWithoutPixelsAreReported) {
    LogCapture log;
    Image target(L8, {1, 1});
    target.rotateFrom(Image(), 1);
    GuardedImage external(RGB8, {2, 2});
    target.rotateFrom(Image(*external), 1);
    EXPECT_EQ(textsOf(log), (std::vector<std::string>{"unsupported image format for rotation: 0",
                                                      "unsupported image format for rotation: 203"}));
    EXPECT_EQ(target.getSize(), Size(1, 1));
}

TEST(MeanSquaredError, SeesTheBeginningOfEachRowAlone) {
    for (const FormatID format : {RGB8, RGBA8}) {
        Image a(format, {6, 2}), b(format, {6, 2});
        for (Image* image : {&a, &b}) std::memset(image->getBytePointer(), 0, image->getByteSize());
        float result = -1;
        b.getBytePointer(1)[6] = 200;
        ASSERT_TRUE(a.computeMeanSquaredError(b, result));
        EXPECT_EQ(result, 0.0f) << "the seventh byte is not compared";
        b.getBytePointer(1)[5] = 10;
        ASSERT_TRUE(a.computeMeanSquaredError(b, result));
        EXPECT_EQ(result, 100.0f / static_cast<float>(format == RGB8 ? 36 : 48));
    }
}

TEST(MeanSquaredError, NeedsEqualSizesAndFormats) {
    const Image rgb(RGB8, {2, 2}), rgba(RGBA8, {2, 2}), other(RGB8, {2, 3}), grey(L8, {2, 2});
    float result = 7;
    EXPECT_FALSE(rgb.computeMeanSquaredError(rgba, result));
    EXPECT_FALSE(rgb.computeMeanSquaredError(other, result));
    EXPECT_FALSE(grey.computeMeanSquaredError(grey, result));
    EXPECT_FALSE(Image().computeMeanSquaredError(Image(), result));
    EXPECT_EQ(result, 7.0f);
    for (const Size size : {Size(0, 3), Size(3, 0)}) {
        EXPECT_TRUE(Image(RGB8, size).computeMeanSquaredError(Image(RGB8, size), result));
        EXPECT_EQ(result, 0.0f);
    }
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
