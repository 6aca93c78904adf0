#include <tests/imaging/pixels/sample_images.h>
#include <tests/support/log_capture.h>

#include <qel/imaging/pixels/image_conversion.h>

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

/// The error lines of one conversion.
std::string errorOf(Image& target, const Image& source) {
    LogCapture log;
    EXPECT_FALSE(target.convertFrom(source));
    const auto lines = log.take();
    EXPECT_EQ(lines.size(), 1u);
    return lines.empty() ? "" : lines[0].text;
}

constexpr FormatID kAllFormats[] = {
    Int8,  UInt8,   Int16,       UInt16,    Int32,         UInt32,   Int64,   UInt64, Flt32,
    Flt64, UInt8x2, UInt16x2,    UInt8x3,   UInt16x3,      UInt8x4,  Flt32x4, L8,     LA8,
    RGB8,  RGBA8,   A8,          RGB565,    RGBA4,         RGBA5551, BGRA8,   BGR8,   L16,
    X16,   RGB8O16, MP_RGB8_O16, UInt16O16, MP_UInt16_O16, Y1UV2,    Y1U2V2,  Y1V2U2, Y1VU2,
};

bool isYuv(FormatID f) {
    return f == Y1UV2 || f == Y1U2V2 || f == Y1V2U2 || f == Y1VU2;
}

/// Returns true if images of one format can become another, according to the tables of the manual.
bool isSupported(FormatID from, FormatID to) {
    for (const FormatPair& pair : pairs())
        if (pair.from == from && pair.to == to) return true;
    if (isYuv(from)) return isYuv(to) || to == RGB8 || to == RGBA8 || to == BGRA8;
    if (from == RGBA8) return isYuv(to);
    if (from == BGRA8) return isYuv(to) && to != Y1VU2;
    if (from == MP_RGB8_O16 || from == MP_UInt16_O16) return from == to;
    return (from == RGB8O16 && to == MP_RGB8_O16) || (from == UInt16O16 && to == MP_UInt16_O16);
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

TEST_P(Conversion, RowsCanBeExchangedInTheirOwnMemory) {
    const auto check = [](util::ConvertPlane* convert, FormatID format, const Oracle& oracle) {
        for (const int width : test::rowWidths()) {
            GuardedImage image(format, {width, 3});
            const Bytes expected = expectedOf({format, format, oracle}, *image, {width, 3});
            const auto columns = static_cast<uint32>(width);
            convert(columns, 3, image->getBytePointer(), image->getPitch(), image->getBytePointer(),
                    image->getPitch());
            ASSERT_EQ(packedBytes(*image), expected) << format << " width " << width;
            ASSERT_EQ(image.changedGuards(), 0) << format << " width " << width;
        }
    };
    check(util::copyImage_AXB_BXA, RGB8, take({2, 1, 0}));
    check(util::copyImage_AXBX_BXAX, RGBA8, take({2, 1, 0, 3}));
}

TEST_P(Conversion, AllValuesOfAChannelAreDithered) {
    for (const FormatPair& pair : pairs()) {
        if (pair.to != RGB565 && pair.to != RGBA4 && pair.to != RGBA5551) continue;
        Image source(pair.from, {256, 8}), target(pair.to, {256, 8});
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < source.getPitch(); ++x)
                source.getBytePointer(y)[x] = static_cast<uint8>(x * 256 / source.getPitch());
        ASSERT_TRUE(target.convertFrom(source));
        ASSERT_EQ(packedBytes(target), expectedOf(pair, source, {256, 8})) << pair.from << " to " << pair.to;
    }
}

TEST_P(Conversion, AllWordsBecomeFloatsAndNineBits) {
    Image words(UInt16, {256, 256});
    for (int i = 0; i < 65536; ++i) {
        words.getBytePointer()[2 * i] = static_cast<uint8>(i);
        words.getBytePointer()[2 * i + 1] = static_cast<uint8>(i >> 8);
    }
    for (const FormatPair& pair : pairs()) {
        if (pair.from != UInt16) continue;
        Image target(pair.to, words.getSize());
        ASSERT_TRUE(target.convertFrom(words));
        ASSERT_EQ(packedBytes(target), expectedOf(pair, words, words.getSize())) << pair.to;
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

TEST(ConversionTable, EveryPairOfFormatsWorksOrFails) {
    for (const FormatID from : kAllFormats) {
        for (const FormatID to : kAllFormats) {
            LogCapture log;
            Image source(from, {6, 4}), target(to, {6, 4});
            std::memset(source.getBytePointer(), 0, source.getByteSize());
            EXPECT_EQ(target.convertFrom(source), isSupported(from, to)) << from << " to " << to;
            EXPECT_EQ(log.take().size(), isSupported(from, to) ? 0u : 1u) << from << " to " << to;
        }
    }
}

TEST(ConversionTable, EachSourceReportsItsText) {
    struct Row {
        FormatID from, to;
        const char* text;
    };
    for (const Row& row :
         {Row{RGBA8, A8, "unsupported converting format from RGBA8 to 205"},
          Row{BGRA8, Y1VU2, "unsupported converting format from BGRA8 to 503"},
          Row{RGB8, RGBA8, "unsupported converting format from RGB8 to 204"},
          Row{BGR8, RGBA8, "unsupported converting format from BGR8 to 204"},
          Row{UInt16, RGBA8, "unsupported converting format from UINT16 to 204"},
          Row{Flt32, L8, "unsupported converting format from UINT8 to 201"},
          Row{UInt16O16, RGB8, "unsupported converting format from UInt16O16 to 203"},
          Row{X16, RGB8, "unsupported incoming single-planar format"},
          Row{Y1UV2, L8, "unsupported outgoing format"}, Row{Y1U2V2, L8, "unsupported outgoing format"}}) {
        const Image source(row.from, {2, 2});
        Image target(row.to, {2, 2});
        EXPECT_EQ(errorOf(target, source), row.text);
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
    GuardedImage rgb(RGB8, {4, 4}), yuv(Y1U2V2, {4, 4}), nv(Y1UV2, {4, 4});
    const Image noRgb(*rgb), noYuv(*yuv), noNv(*nv);
    Image target(RGB8, {4, 4});
    EXPECT_EQ(errorOf(target, noRgb), "unsupported incoming single-planar format");
    EXPECT_EQ(errorOf(target, noNv), "unsupported incoming double-planar format");
    EXPECT_EQ(errorOf(target, noYuv), "unsupported incoming triple-planar format");
    Image empty(*rgb);
    EXPECT_EQ(errorOf(empty, *rgb), "unsupported converting format from RGB8 to 203");
    target.clear();
    EXPECT_EQ(errorOf(target, *rgb), "unsupported converting format from RGB8 to 203");
    EXPECT_FALSE(target.convertFrom(Image())) << "without planes it fails silently";
    std::vector<uint8> memory(100);
    Image foreign;
    foreign.initializeFromExtern(MP_RGB8_O16, {4, 4}, {{memory.data(), memory.size()}}, {20}, {});
    EXPECT_EQ(errorOf(foreign, Image(RGB8O16, {4, 4})), "unsupported converting format from RGB8O16 to 421")
        << "foreign overlays have one plane";
}

TEST(ConversionTable, EmptySourcesNeedNoMemory) {
    for (const IVec2<int> size : {IVec2<int>(10, 0), IVec2<int>(0, 10)}) {
        for (const FormatID format : {RGBA8, Y1UV2, Y1U2V2}) {
            Image empty(format, {0, 0}), equal(format, size);
            EXPECT_TRUE(empty.convertFrom(Image(format, size))) << format;
            EXPECT_TRUE(equal.convertFrom(Image(format, size))) << format;
        }
        Image target(BGRA8, size), smaller(BGRA8, {0, 0});
        EXPECT_TRUE(target.convertFrom(size.x, size.y, RGBA8, nullptr, 40)) << size.x;
        EXPECT_TRUE(smaller.convertFrom(size.x, size.y, RGBA8, nullptr, 40)) << size.x;
    }
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

TEST(ConversionCentre, SomeFormatsMoveByBytesInsteadOfPixels) {
    GuardedImage source(RGB8O16, {12, 1});
    Image target(RGB8O16, {8, 1});
    ASSERT_TRUE(target.convertFrom(*source));
    const uint8* from = source->getBytePointer() + 2;
    EXPECT_EQ(packedBytes(target), Bytes(from, from + 40));
}

TEST(ConversionCopy, OverlayPlanesAreCopiedAtEqualSizes) {
    for (const FormatID format : {MP_RGB8_O16, MP_UInt16_O16}) {
        const Image source = test::noiseImage(format, {5, 3});
        Image target(format, {5, 3}), smaller(format, {4, 3});
        EXPECT_TRUE(target.convertFrom(source));
        EXPECT_EQ(packedBytes(target), packedBytes(source));
        EXPECT_EQ(errorOf(smaller, source), "unsupported incoming double-planar format");
    }
    Image same(A8, {2, 2});
    EXPECT_TRUE(same.convertFrom(same)) << "even where nothing converts to its format";
}
