#include <qel/imaging/pixels/image.h>

#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <utility>

using namespace qel;
using namespace qel::util;

namespace {

using Size = IVec2<int>;

struct FormatRow {
    int format, bits, channels, planes;
};

const FormatRow kFormats[] = {
    {101, 8, 1, 1},  {104, 16, 1, 1}, {105, 32, 1, 1},  {108, 64, 1, 1}, {109, 32, 1, 1}, {110, 64, 1, 1},
    {121, 16, 2, 1}, {124, 32, 2, 1}, {130, 128, 2, 1}, {141, 24, 3, 1}, {149, 96, 3, 1}, {150, 192, 3, 1},
    {161, 32, 4, 1}, {164, 64, 4, 1}, {170, 256, 4, 1}, {201, 8, 1, 1},  {202, 16, 1, 1}, {203, 24, 3, 1},
    {204, 32, 4, 1}, {205, 8, 1, 1},  {206, 16, 3, 1},  {207, 16, 4, 1}, {208, 16, 4, 1}, {209, 32, 1, 1},
    {210, 24, 1, 1}, {212, 16, 1, 1}, {213, 16, 1, 1},  {420, 40, 1, 1}, {421, 40, 1, 2}, {422, 32, 1, 1},
    {423, 32, 1, 2}, {500, 12, 1, 2}, {501, 12, 1, 3},  {502, 12, 1, 3}, {503, 12, 1, 2}, {211, -1, 1, 1},
    {0, -1, 1, 1},   {100, -1, 1, 1}, {111, -1, 1, 1},  {120, -1, 1, 1}, {131, -1, 1, 1}, {171, -1, 1, 1},
    {405, -1, 1, 1}, {504, -1, 1, 1}, {-1, -1, 1, 1},
};

/// Pixels of a caller's, with the spans and pitches that describe them.
struct ForeignPlanes {
    std::vector<uint8> memory = std::vector<uint8>(4096);
    Vector<ByteSpan> spans;
    Vector<int> pitches;

    ForeignPlanes& add(size_t offset, size_t size, int pitch) {
        spans.emplace_back(memory.data() + offset, size);
        pitches.push_back(pitch);
        return *this;
    }
};

} // namespace

TEST(ImageFormat, NumbersHaveTheirSizesChannelsAndPlanes) {
    for (const FormatRow& row : kFormats) {
        const auto format = static_cast<FormatID>(row.format);
        EXPECT_EQ(getFormatSizeBits(format), row.bits) << row.format;
        EXPECT_EQ(getFormatChannels(format), row.channels) << row.format;
        EXPECT_EQ(getFormatPlanes(format), row.planes) << row.format;
    }
    EXPECT_EQ(selectJPEGCompressionFormat(UInt16), 406);
    EXPECT_EQ(selectJPEGCompressionFormat(RGB8), 405);
    for (const FormatID other : {L16, RGBA8, BGR8, UInt8}) EXPECT_EQ(selectJPEGCompressionFormat(other), 0);
}

TEST(ImageStorage, OddSizesDropTheLastChromaColumnAndRow) {
    const Image image(Y1U2V2, {5, 3});
    ASSERT_EQ(image.getNumberOfPlanes(), 3u);
    EXPECT_EQ(image.getPlaneSize(1), Size(2, 1));
    EXPECT_EQ(image.getPlaneBytePointer(1) - image.getBytePointer(), 15);
    EXPECT_EQ(image.getPlaneBytePointer(2) - image.getBytePointer(), 17);
    EXPECT_EQ(image.getByteSize(), 19u);
}

TEST(ImageStorage, PlanesFollowOneAnother) {
    struct Row {
        FormatID format, first, second;
        int offset, pitch;
    };
    for (const Row& row :
         {Row{MP_RGB8_O16, RGB8, UInt16, 105, 14}, Row{MP_UInt16_O16, UInt16, UInt16, 70, 14},
          Row{Y1UV2, UInt8, UInt8x2, 35, 6}, Row{Y1VU2, UInt8, UInt8x2, 35, 6}}) {
        const Image image(row.format, {7, 5});
        ASSERT_EQ(image.getNumberOfPlanes(), 2u);
        EXPECT_EQ(image.getPlaneFormat(0), row.first) << row.format;
        EXPECT_EQ(image.getPlaneFormat(1), row.second) << row.format;
        EXPECT_EQ(image.getPlaneBytePointer(1) - image.getBytePointer(), row.offset) << row.format;
        EXPECT_EQ(image.getPlanePitch(1), row.pitch) << row.format;
    }
}

TEST(ImageStorage, InvalidSizesAndFormatsAreRefusedWithOneError) {
    struct Row {
        FormatID format;
        Size size;
    };
    const int most = std::numeric_limits<int>::max();
    for (const Row& row :
         {Row{FormatID(211), {1, 1}}, Row{UnknownFormat, {1, 1}}, Row{L8, {-1, 1}}, Row{L8, {1, -1}},
          Row{UInt16, {1 << 30, 1}}, Row{L8, {1 << 16, (1 << 16) + 1}}, Row{Flt64x4, {most, most}}}) {
        test::LogCapture log;
        const Image image(row.format, row.size);
        EXPECT_FALSE(image) << row.format;
        const auto lines = log.take();
        ASSERT_EQ(lines.size(), 1u) << row.format;
        EXPECT_EQ(lines[0].level, 3);
    }
}

TEST(ImageStorage, EmptyImagesAreInitialised) {
    for (const Size size : {Size(0, 0), Size(0, 7), Size(7, 0)}) {
        const Image image(Y1U2V2, size);
        EXPECT_TRUE(image.isInitialized());
        EXPECT_TRUE(image.hasPixels());
        EXPECT_EQ(image.getByteSize(), 0u);
    }
}

TEST(ImageStorage, ClearKeepsTheMemoryForTheNextInitialise) {
    Image image(RGBA8, {16, 16});
    const uint8* memory = image.getBytePointer();
    image.clear();
    EXPECT_FALSE(image);
    EXPECT_EQ(image.getByteSize(), 0u);
    image.initialize(RGBA8, {16, 16});
    EXPECT_EQ(image.getBytePointer(), memory);
    image.free();
    EXPECT_FALSE(image.isInitialized());
    image.initialize(L8, {3, 2}, Buffer(reinterpret_cast<const uint8*>("abcdef"), 6));
    EXPECT_EQ(std::memcmp(image.getBytePointer(1), "def", 3), 0) << "in the memory of a buffer";
    EXPECT_FALSE(image.isExternal());
}

TEST(ImageStorage, CopiesClonePixelsAndMovesTakeThem) {
    Image image(L8, {2, 1});
    std::memcpy(image.getBytePointer(), "ab", 2);
    Image copy(image);
    EXPECT_NE(copy.getBytePointer(), image.getBytePointer());
    EXPECT_EQ(std::memcmp(copy.getBytePointer(), "ab", 2), 0);
    const uint8* memory = image.getBytePointer();
    const Image moved(std::move(image));
    EXPECT_EQ(moved.getBytePointer(), memory);
    EXPECT_TRUE(image.isInitialized()) << "keeps its plane table";
    copy = Image();
    EXPECT_FALSE(copy);
}

TEST(ImageExtern, AdoptsTheMemoryOfTheCaller) {
    ForeignPlanes planes;
    planes.add(0, 4 * 10, 10).add(100, 2 * 8, 8);
    Image image;
    image.initializeFromExtern(Y1VU2, {7, 4}, planes.spans, planes.pitches, {});
    ASSERT_TRUE(image);
    EXPECT_TRUE(image.isExternal());
    EXPECT_EQ(image.getBytePointer(3), planes.memory.data() + 30);
    EXPECT_EQ(image.getPlaneByteSize(0), 40u);
    EXPECT_EQ(image.getPlaneFormat(1), UInt8x2);
    EXPECT_EQ(image.getPlaneSize(1), Size(3, 2));
    image.initializeFromExtern(MP_RGB8_O16, {5, 4}, {{planes.memory.data(), 100}}, {25}, {});
    EXPECT_EQ(image.getNumberOfPlanes(), 1u) << "overlay formats have one plane";
}

TEST(ImageExtern, TheLastRowNeedsNoPadding) {
    for (const size_t missing : {0, 1}) {
        ForeignPlanes planes;
        planes.add(0, 3 * 10 + 7 - missing, 10);
        test::LogCapture log;
        Image image;
        image.initializeFromExtern(L8, {7, 4}, planes.spans, planes.pitches, {});
        EXPECT_EQ(image.isInitialized(), missing == 0);
        EXPECT_EQ(log.take().size(), missing);
    }
}

TEST(ImageExtern, MissingPlanesAndPitchesAreRefused) {
    ForeignPlanes planes;
    planes.add(0, 100, 10).add(100, 100, 10).add(200, 100, 10);
    for (const FormatID format : {Y1UV2, Y1U2V2, Y1V2U2, L8}) {
        const size_t count = format == L8 ? 1 : format == Y1UV2 ? 2 : 3;
        Vector<ByteSpan> spans = planes.spans;
        Vector<int> pitches = planes.pitches;
        spans.resize(count - 1);
        test::LogCapture log;
        Image image;
        image.initializeFromExtern(format, {4, 4}, spans, planes.pitches, {});
        EXPECT_FALSE(image) << format;
        pitches.resize(count - 1);
        image.initializeFromExtern(format, {4, 4}, planes.spans, pitches, {});
        EXPECT_FALSE(image) << format;
        EXPECT_EQ(log.take().size(), 2u) << format;
    }
}

TEST(ImageExtern, Y1V2U2KeepsThePitchesOfBefore) {
    ForeignPlanes planes;
    planes.add(0, 1000, 99).add(1000, 1000, 99).add(2000, 1000, 99);
    Image image(Y1V2U2, {8, 4});
    image.initializeFromExtern(Y1V2U2, {8, 4}, planes.spans, planes.pitches, {});
    EXPECT_EQ(image.getPlanePitch(0), 8);
    EXPECT_EQ(image.getPlanePitch(2), 4);
    EXPECT_EQ(image.getPlaneBytePointer(1), planes.memory.data() + 1000);
    planes.spans = {ByteSpan(planes.memory.data(), 64), ByteSpan(planes.memory.data(), 64),
                    ByteSpan(planes.memory.data(), 64)};
    Image wide(Y1V2U2, {100, 4});
    test::LogCapture log;
    wide.initializeFromExtern(Y1V2U2, {8, 4}, planes.spans, planes.pitches, {});
    EXPECT_FALSE(wide) << "the pitches that it keeps are checked";
    EXPECT_EQ(log.take().size(), 1u);
}

TEST(ImageExtern, NegativePitchesCountByTheirAbsoluteValue) {
    ForeignPlanes planes;
    planes.add(30, 10, -10);
    Image image;
    image.initializeFromExtern(L8, {10, 4}, planes.spans, planes.pitches, {});
    ASSERT_TRUE(image);
    EXPECT_EQ(image.getPlaneByteSize(0), 40u);
    EXPECT_EQ(image.getBytePointer(3), planes.memory.data());
}

TEST(ImageExtern, EachReleaseHookRunsOnce) {
    ForeignPlanes planes;
    planes.add(0, 4, 2);
    int first = 0, second = 0;
    test::LogCapture log;
    {
        Image image;
        image.initializeFromExtern(L8, {2, 2}, planes.spans, planes.pitches, [&] { ++first; });
        const Image copy(image);
        image.initialize(L8, {1, 1});
        EXPECT_EQ(first, 0);
        image.initializeFromExtern(L8, {2, 2}, {}, {}, [&] { ++second; });
        EXPECT_EQ(first, 1);
        EXPECT_EQ(second, 0) << "a refused image keeps its hook";
        EXPECT_EQ(log.take().size(), 1u);
    }
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST(ImageExtern, CopiesHaveNoPixels) {
    ForeignPlanes planes;
    planes.add(0, 100, 50);
    Image image(L8, {64, 64});
    image.initializeFromExtern(L8, {2, 2}, planes.spans, planes.pitches, {});
    Image copy(L8, {9, 9});
    copy = image;
    EXPECT_TRUE(copy.isInitialized());
    EXPECT_FALSE(copy.hasPixels());
    EXPECT_FALSE(copy.isExternal());
    EXPECT_EQ(copy.getBytePointer(1), nullptr);
    EXPECT_EQ(copy.getPitch(), 2);
}

TEST(ImageSwap, ExchangesTheRecordsOfAllPlanes) {
    Image three(Y1U2V2, {4, 4}), one(L8, {3, 3});
    const uint8* v = three.getPlaneBytePointer(2);
    const uint8* l = one.getBytePointer();
    three.swap(one);
    EXPECT_EQ(one.getNumberOfPlanes(), 3u);
    EXPECT_EQ(one.getPlaneBytePointer(2), v);
    EXPECT_EQ(three.getBytePointer(), l);
    EXPECT_EQ(three.getImageFormat(), L8);
}

TEST(ImageSwap, LeavesTheReleaseHookWithItsObject) {
    int released = 0;
    ForeignPlanes planes;
    planes.add(0, 1, 1);
    Image other;
    {
        Image image;
        image.initializeFromExtern(L8, {1, 1}, planes.spans, planes.pitches, [&] { ++released; });
        image.swap(other);
    }
    EXPECT_EQ(released, 1);
    EXPECT_TRUE(other.isExternal());
}
