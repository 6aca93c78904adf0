#include <tests/imaging/pixels/sample_images.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

using namespace qel;
using test::Bytes;
using test::GuardedImage;
using test::LogCapture;
using test::packedBytes;
using test::Size;

namespace {

/// Appends the target's bytes of the source pixel at x, y.
using Oracle = std::function<void(Bytes& out, const uint8* p, int x, int y)>;

void append16(Bytes& out, int value) {
    out.push_back(static_cast<uint8>(value & 255));
    out.push_back(static_cast<uint8>(value >> 8));
}

Oracle take(std::vector<int> bytes) {
    return [bytes](Bytes& out, const uint8* p, int, int) {
        for (const int b : bytes) out.push_back(p[b]);
    };
}

const Oracle kMean = [](Bytes& out, const uint8* p, int, int) {
    out.push_back(static_cast<uint8>((p[0] + p[1] + p[2] + 1) / 3));
};
const Oracle kMean16 = [](Bytes& out, const uint8* p, int, int) {
    append16(out, (((p[0] + p[1] + p[2]) << 8) | 192) / 3);
};

/// The threshold of the Bayer matrix, from its recursive definition.
int bayer(int x, int y) {
    int value = 0;
    for (int bit = 0; bit < 3; ++bit) {
        const int a = x >> bit & 1, b = y >> bit & 1;
        value |= ((a ^ b) << 1 | b) << (2 * (2 - bit));
    }
    return value;
}

/// Dithers the channels R, G, B, A of a pixel, given as byte places.
Oracle dither(FormatID format, std::vector<int> rgba) {
    return [=](Bytes& out, const uint8* p, int x, int y) {
        x &= 7;
        y &= 7;
        const int m[] = {bayer(x, y), bayer(x, 7 - y), bayer(7 - x, y), bayer(7 - x, 7 - y)};
        const auto level = [&](int channel, int lane, int shift, int most) {
            return std::min((p[rgba[static_cast<size_t>(channel)]] + lane) >> shift, most);
        };
        if (format == RGB565)
            append16(out, level(0, m[0] >> 3, 3, 31) << 11 | level(1, m[1] >> 4, 2, 63) << 5 |
                              level(2, m[2] >> 3, 3, 31));
        if (format == RGBA4)
            append16(out, level(0, m[0] >> 2, 4, 15) << 12 | level(1, m[1] >> 2, 4, 15) << 8 |
                              level(2, m[2] >> 2, 4, 15) << 4 | level(3, m[3] >> 2, 4, 15));
        if (format == RGBA5551)
            append16(out, level(0, m[0] >> 3, 3, 31) << 11 | level(1, m[1] >> 3, 3, 31) << 6 |
                              level(2, m[2] >> 3, 3, 31) << 1 | (p[rgba[3]] + (m[3] << 2) >= 128 ? 1 : 0));
    };
}

const Oracle kNineBits = [](Bytes& out, const uint8* p, int, int) {
    const int value = (p[0] | p[1] << 8) / 2;
    out.insert(out.end(), 3, static_cast<uint8>(value > 255 ? 255 : value));
};
const Oracle kWordToFloat = [](Bytes& out, const uint8* p, int, int) {
    const float value = static_cast<float>(p[0] | p[1] << 8) * 1.5259022e-5f;
    uint8 bytes[4];
    std::memcpy(bytes, &value, 4);
    out.insert(out.end(), bytes, bytes + 4);
};
const Oracle kFloatToRgb = [](Bytes& out, const uint8* p, int, int) {
    float value;
    std::memcpy(&value, p, 4);
    const float limited = std::isnan(value) ? 0 : std::fmin(std::fmax(value, 0.0f), 1.0f);
    out.insert(out.end(), 3, static_cast<uint8>(lroundf(limited * 255)));
};

struct FormatPair {
    FormatID from, to;
    Oracle oracle;
};

std::vector<FormatPair> allPairs() {
    std::vector<FormatPair> all = {
        {RGBA8, RGB8, take({0, 1, 2})},
        {RGBA8, RGBA8, take({0, 1, 2, 3})},
        {RGBA8, RGB565, dither(RGB565, {0, 1, 2, 3})},
        {RGBA8, RGBA4, dither(RGBA4, {0, 1, 2, 3})},
        {RGBA8, RGBA5551, dither(RGBA5551, {0, 1, 2, 3})},
        {RGBA8, BGRA8, take({2, 1, 0, 3})},
        {BGRA8, RGB8, take({2, 1, 0})},
        {BGRA8, RGBA8, take({2, 1, 0, 3})},
        {BGRA8, RGB565, dither(RGB565, {2, 1, 0, 3})},
        {BGRA8, RGBA4, dither(RGBA4, {2, 1, 0, 3})},
        {BGRA8, RGBA5551, dither(RGBA5551, {2, 1, 0, 3})},
        {BGRA8, BGRA8, take({0, 1, 2, 3})},
        {RGB8, RGB8, take({0, 1, 2})},
        {RGB8, RGB565, dither(RGB565, {0, 1, 2})},
        {RGB8, BGR8, take({2, 1, 0})},
        {BGR8, RGB8, take({2, 1, 0})},
        {BGR8, RGB565, dither(RGB565, {2, 1, 0})},
        {BGR8, BGR8, take({0, 1, 2})},
        {UInt8, RGB8, take({0, 0, 0})},
        {Flt32, RGB8, kFloatToRgb},
        {UInt16O16, UInt16O16, take({0, 1, 2, 3})},
        {RGB8O16, RGB8O16, take({0, 1, 2, 3, 4})},
    };
    for (const FormatID from : {RGBA8, BGRA8, RGB8, BGR8})
        for (const FormatID to : {UInt8, L8}) all.push_back({from, to, kMean});
    for (const FormatID from : {RGBA8, BGRA8})
        for (const FormatID to : {UInt16, L16}) all.push_back({from, to, kMean16});
    for (const FormatID from : {UInt16, L16}) {
        all.push_back({from, UInt16, take({0, 1})});
        all.push_back({from, L16, take({0, 1})});
        all.push_back({from, Flt32, kWordToFloat});
        all.push_back({from, RGB8, kNineBits});
    }
    return all;
}

const std::vector<FormatPair>& pairs() {
    static const std::vector<FormatPair> all = allPairs();
    return all;
}

/// The bytes that @p pair makes of the part of @p source that begins at a column and a row.
Bytes expectedOf(const FormatPair& pair, const Image& source, Size size, int left = 0, int top = 0) {
    const int bytes = util::getFormatSizeBits(pair.from) / 8;
    Bytes expected;
    for (int y = 0; y < size.y; ++y)
        for (int x = 0; x < size.x; ++x)
            pair.oracle(expected, source.getBytePointer(top + y) + (left + x) * bytes, x, y);
    return expected;
}

class Conversion : public test::OnTarget {};
using ConversionSystem = test::SystemFixture;

/// The error lines of one conversion.
std::string errorOf(Image& target, const Image& source) {
    LogCapture log;
    EXPECT_FALSE(target.convertFrom(source));
    const auto lines = log.take();
    EXPECT_EQ(lines.size(), 1u);
    return lines.empty() ? "" : lines[0].text;
}

} // namespace

QEL_ON_EVERY_TARGET(Conversion);

TEST_P(Conversion, EveryPairFollowsItsFormulaAtAllWidths) {
    for (const FormatPair& pair : pairs()) {
        for (const int width : test::rowWidths()) {
            const Size size(width, 3);
            GuardedImage source(pair.from, size), target(pair.to, size, 3, true);
            ASSERT_TRUE(target->convertFrom(*source)) << pair.from << " to " << pair.to;
            ASSERT_EQ(packedBytes(*target), expectedOf(pair, *source, size))
                << pair.from << " to " << pair.to << " width " << width;
            ASSERT_EQ(target.changedGuards(), 0) << pair.from << " to " << pair.to << " width " << width;
        }
    }
}

TEST_P(Conversion, FloatsRoundHalvesAwayFromZero) {
    const float infinity = std::numeric_limits<float>::infinity();
    std::vector<float> values = {0.0f,     -0.0f,     1.0f,          2.0f,           -1.0f,
                                 infinity, -infinity, std::nanf(""), -std::nanf(""), 0.49999997f / 255,
                                 1e-40f,   3e38f};
    for (int i = 0; i < 255; ++i)
        for (const float v :
             {(static_cast<float>(i) + 0.5f) / 255, std::nextafterf((static_cast<float>(i) + 0.5f) / 255, 0)})
            values.push_back(v);
    const Size size(static_cast<int>(values.size()), 1);
    Image source(Flt32, size), target(RGB8, size);
    std::memcpy(source.getBytePointer(), values.data(), values.size() * 4);
    ASSERT_TRUE(target.convertFrom(source));
    EXPECT_EQ(packedBytes(target), expectedOf({Flt32, RGB8, kFloatToRgb}, source, size));
}

TEST_P(Conversion, PackedOverlaysAreSplitIntoPlanes) {
    struct Row {
        FormatID from, to;
        std::vector<int> value, overlay;
    };
    for (const Row& row :
         {Row{RGB8O16, MP_RGB8_O16, {0, 1, 2}, {3, 4}}, Row{UInt16O16, MP_UInt16_O16, {0, 1}, {2, 3}}}) {
        for (const int width : test::rowWidths()) {
            const Size size(width, 3);
            GuardedImage source(row.from, size);
            Image target(row.to, size);
            ASSERT_TRUE(target.convertFrom(*source));
            Bytes expected = expectedOf({row.from, row.to, take(row.value)}, *source, size);
            const Bytes overlay = expectedOf({row.from, row.to, take(row.overlay)}, *source, size);
            expected.insert(expected.end(), overlay.begin(), overlay.end());
            ASSERT_EQ(packedBytes(target), expected) << row.from << " width " << width;
        }
    }
}

TEST_F(ConversionSystem, LargePicturesAreSharedWithTheSameResult) {
    for (const FormatPair& pair : pairs()) {
        if (pair.from != RGBA8) continue;
        const Image source = test::noiseImage(pair.from, {701, 503});
        Image target(pair.to, source.getSize());
        ASSERT_TRUE(target.convertFrom(source));
        EXPECT_TRUE(packedBytes(target) == expectedOf(pair, source, source.getSize())) << pair.to;
    }
}

TEST(ConversionTable, ATargetLargerThanTheSourceFails) {
    for (const FormatID from : {RGB8, Y1UV2, Y1U2V2, L8}) {
        const Image source(from, {4, 4});
        Image wider(RGB8, {5, 4}), higher(RGB8, {4, 5});
        EXPECT_EQ(errorOf(wider, source), "incoming size smaller than outgoing size") << from;
        EXPECT_EQ(errorOf(higher, source), "incoming size smaller than outgoing size") << from;
    }
}

TEST(ConversionTable, ImagesWithoutPixelsAreUnsupported) {
    Image target(RGB8, {4, 4});
    for (const FormatID format : {RGB8, Y1U2V2, Y1UV2}) {
        GuardedImage external(format, {4, 4});
        EXPECT_NE(errorOf(target, Image(*external)), "") << format;
        Image empty(*external);
        EXPECT_NE(errorOf(empty, Image(format, {4, 4})), "") << format;
    }
    EXPECT_FALSE(target.convertFrom(Image())) << "without planes it fails silently";
}

TEST(ConversionTable, AMissingOverlayPlaneIsUnsupported) {
    Image target(MP_RGB8_O16, {1, 1});
    const uint8 rgb[3] = {};
    LogCapture log;
    EXPECT_FALSE(target.convertFrom(1, 1, MP_RGB8_O16, rgb, 3, nullptr, 2));
    log.expect(3, "unsupported incoming double-planar format");
}

TEST(ConversionCentre, TakesTheMiddleOfALargerSource) {
    for (const FormatPair& pair : pairs()) {
        const bool movesByBytes = pair.from == Flt32 || pair.from == UInt16O16 || pair.from == RGB8O16;
        if (movesByBytes) continue;
        GuardedImage source(pair.from, {11, 9});
        Image target(pair.to, {4, 4});
        ASSERT_TRUE(target.convertFrom(*source));
        EXPECT_EQ(packedBytes(target), expectedOf(pair, *source, {4, 4}, 3, 2))
            << pair.from << " to " << pair.to;
    }
}
