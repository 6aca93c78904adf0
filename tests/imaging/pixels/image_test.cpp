#include <qel/imaging/pixels/image.h>

#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <utility>

using namespace qel;

namespace {

using Size = IVec2<int>;

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

TEST(ImageStorage, OddSizesDropTheLastChromaColumnAndRow) {
    const Image image(Y1U2V2, {5, 3});
    ASSERT_EQ(image.getNumberOfPlanes(), 3u);
    EXPECT_EQ(image.getPlaneSize(1), Size(2, 1));
    EXPECT_EQ(image.getPlaneBytePointer(1) - image.getBytePointer(), 15);
    EXPECT_EQ(image.getPlaneBytePointer(2) - image.getBytePointer(), 17);
    EXPECT_EQ(image.getByteSize(), 19u);
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

TEST(ImageStorage, ABufferHoldsThePixels) {
    Image image;
    image.initialize(L8, {3, 2}, Buffer(reinterpret_cast<const uint8*>("abcdef"), 6));
    EXPECT_EQ(std::memcmp(image.getBytePointer(1), "def", 3), 0);
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
    planes.add(0, 100, 10).add(100, 100, 10);
    for (const FormatID format : {Y1U2V2, Y1V2U2}) {
        ForeignPlanes full = planes;
        full.add(200, 100, 10);
        test::LogCapture log;
        Image image;
        image.initializeFromExtern(format, {4, 4}, planes.spans, full.pitches, {});
        EXPECT_FALSE(image) << format;
        image.initializeFromExtern(format, {4, 4}, full.spans, planes.pitches, {});
        EXPECT_FALSE(image) << format;
        EXPECT_EQ(log.take().size(), 2u) << format;
    }
}

TEST(ImageExtern, Y1V2U2KeepsThePitchesOfBefore) {
    ForeignPlanes planes;
    planes.add(0, 64, 99).add(0, 64, 99).add(0, 64, 99);
    Image image(Y1V2U2, {8, 4}), wide(Y1V2U2, {100, 4});
    image.initializeFromExtern(Y1V2U2, {8, 4}, planes.spans, planes.pitches, {});
    EXPECT_EQ(image.getPlanePitch(0), 8);
    EXPECT_EQ(image.getPlanePitch(2), 4);
    test::LogCapture log;
    wide.initializeFromExtern(Y1V2U2, {8, 4}, planes.spans, planes.pitches, {});
    EXPECT_FALSE(wide) << "the pitches that it keeps are checked";
    EXPECT_EQ(log.take().size(), 1u);
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
}
