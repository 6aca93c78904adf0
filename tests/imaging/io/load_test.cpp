#include <qel/imaging/pixels/image.h>
#include <qel/plugins/resource_locator.h>
#include <tests/imaging/io/png_maker.h>
#include <tests/imaging/pixels/sample_images.h>
#include <tests/support/late_provider.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <webp/encode.h>

using namespace qel;
using namespace qel::test;
using namespace std::string_literals;

namespace {

bool load(Image& image, const std::string& file) {
    return image.loadFromMemory(reinterpret_cast<const uint8*>(file.data()),
                                static_cast<unsigned>(file.size()));
}

/// Loads a file and returns what is printed on standard output meanwhile; fails the test if it can be loaded.
std::string errorOf(const std::string& file) {
    Image image(L8, {3, 2});
    testing::internal::CaptureStdout();
    const bool isLoaded = load(image, file);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_FALSE(isLoaded);
    EXPECT_EQ(image.getSize(), Size(3, 2)) << "a failed load leaves the image as it was";
    return printed;
}

std::string textOf(const Buffer& buffer) {
    return std::string(buffer.getConstByteSpan().asText());
}

std::string encoded(const Image& image, Image::Encoding encoding) {
    Buffer out;
    EXPECT_TRUE(image.saveToMemory(out, encoding));
    return textOf(out);
}

/// A lossless WebP file.
std::string losslessWebP(const Image& image) {
    uint8* bytes = nullptr;
    const bool hasAlpha = image.getImageFormat() == RGBA8;
    const size_t size = (hasAlpha ? WebPEncodeLosslessRGBA : WebPEncodeLosslessRGB)(
        image.getBytePointer(), image.getWidth(), image.getHeight(), image.getPitch(), &bytes);
    std::string file(reinterpret_cast<char*>(bytes), size);
    WebPFree(bytes);
    return file;
}

using LoadImage = SystemFixture;

} // namespace

TEST_F(LoadImage, EveryKindOfPngBecomesRgba) {
    struct Row {
        int type, depth;
        std::string row; ///< one pixel
        Bytes rgba;
    };
    const std::string palette = pngChunk("PLTE", "\x0A\x14\x1E\x28\x32\x3C"s) + pngChunk("tRNS", "\xFF\x80"s);
    for (const Row& row :
         {Row{0, 1, "\0\x80"s, {255, 255, 255, 255}}, Row{0, 2, "\0\x40"s, {85, 85, 85, 255}},
          Row{0, 4, "\0\x70"s, {119, 119, 119, 255}}, Row{0, 8, "\0\x21"s, {33, 33, 33, 255}},
          Row{0, 16, "\0\x21\xFF"s, {33, 33, 33, 255}}, Row{2, 8, "\0\x01\x02\x03"s, {1, 2, 3, 255}},
          Row{2, 16, "\0\x01\x09\x02\x09\x03\x09"s, {1, 2, 3, 255}}, Row{3, 1, "\0\x80"s, {40, 50, 60, 128}},
          Row{3, 2, "\0\x40"s, {40, 50, 60, 128}}, Row{3, 4, "\0\x10"s, {40, 50, 60, 128}},
          Row{3, 8, "\0\x01"s, {40, 50, 60, 128}}, Row{4, 8, "\0\x05\x06"s, {5, 5, 5, 6}},
          Row{4, 16, "\0\x05\x09\x06\x09"s, {5, 5, 5, 6}}, Row{6, 8, "\0\x01\x02\x03\x04"s, {1, 2, 3, 4}},
          Row{6, 16, "\0\x01\x09\x02\x09\x03\x09\x04\x09"s, {1, 2, 3, 4}}}) {
        for (const bool isInterlaced : {false, true}) {
            Image image;
            ASSERT_TRUE(load(image, pngFile({1, 1, row.depth, row.type, isInterlaced}, row.row,
                                            row.type == 3 ? palette : "")))
                << row.type << " " << row.depth;
            EXPECT_EQ(image.getImageFormat(), RGBA8);
            EXPECT_EQ(packedBytes(image), row.rgba) << row.type << " " << row.depth;
        }
    }
}

TEST_F(LoadImage, InterlacedAndOddSizesAreRead) {
    for (const unsigned width : {1u, 2u, 3u, 5u, 8u, 9u}) {
        for (const unsigned height : {1u, 2u, 4u, 5u, 9u}) {
            std::string rows;
            const unsigned startX[] = {0, 4, 0, 2, 0, 1, 0}, startY[] = {0, 0, 4, 0, 2, 0, 1};
            const unsigned stepX[] = {8, 8, 4, 4, 2, 2, 1}, stepY[] = {8, 8, 8, 4, 4, 2, 2};
            for (int pass = 0; pass < 7; ++pass)
                for (unsigned y = startY[pass]; y < height; y += stepY[pass]) {
                    if (startX[pass] < width) rows += '\0';
                    for (unsigned x = startX[pass]; x < width; x += stepX[pass])
                        rows += static_cast<char>(y * 16 + x);
                }
            Image image;
            ASSERT_TRUE(load(image, pngFile({width, height, 8, 0, true}, rows)));
            for (unsigned y = 0; y < height; ++y)
                for (unsigned x = 0; x < width; ++x)
                    ASSERT_EQ(image.getBytePointer(static_cast<int>(y))[4 * x], y * 16 + x)
                        << width << "x" << height;
        }
    }
}

TEST_F(LoadImage, DamagedFilesPrintTheErrorOfTheDecoder) {
    std::string badCrc = pngFile({1, 1, 8, 0, false}, "\0\x21"s);
    badCrc[badCrc.size() - 13] = static_cast<char>(badCrc[badCrc.size() - 13] ^ 1);
    EXPECT_EQ(errorOf(badCrc), "error 57: invalid CRC encountered (checking CRC can be disabled)\n");
    EXPECT_EQ(errorOf("").substr(0, 10), "error 48: ");
    EXPECT_EQ(errorOf("no picture, but long enough for a header").substr(0, 10), "error 28: ");
}

TEST_F(LoadImage, TextsInPngFilesAreNotRead) {
    const std::string text = pngChunk("zTXt", "a keyword that does not end");
    std::string badCrc = pngFile({1, 1, 8, 0, false}, "\0\x21"s, text);
    badCrc[badCrc.size() - 13] = static_cast<char>(badCrc[badCrc.size() - 13] ^ 1);
    EXPECT_EQ(errorOf(badCrc).substr(0, 10), "error 57: ");
}

TEST_F(LoadImage, TruncatedFilesFailAtEveryByte) {
    const Image sample = noiseImage(RGBA8, {5, 4});
    for (const std::string& file : {encoded(sample, Image::Encoding::Png), losslessWebP(sample)}) {
        for (size_t n = 0; n < file.size(); ++n) {
            Image image;
            testing::internal::CaptureStdout();
            // A buffer of the exact size, so that reading past it is found.
            const Bytes bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(n));
            const bool isLoaded = image.loadFromMemory(bytes.data(), static_cast<unsigned>(n));
            testing::internal::GetCapturedStdout();
            EXPECT_FALSE(isLoaded) << n;
        }
    }
}

TEST_F(LoadImage, FlippedBitsNeverCrash) {
    const Image sample = noiseImage(RGBA8, {3, 3});
    LogCapture log;
    for (const std::string& file : {encoded(sample, Image::Encoding::Png), losslessWebP(sample)}) {
        for (size_t bit = 0; bit < file.size() * 8; ++bit) {
            std::string changed = file;
            changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
            Image image;
            testing::internal::CaptureStdout();
            const bool isLoaded = load(image, changed);
            testing::internal::GetCapturedStdout();
            EXPECT_EQ(isLoaded, image.hasPixels()) << bit;
        }
    }
    log.take();
}

TEST_F(LoadImage, MemoryBombsAreRefusedBeforeTheyAreDecoded) {
    const std::string pixels = pngChunk("IDAT", storedZlib("\0"s)) + pngChunk("IEND", "");
    EXPECT_EQ(errorOf(pngHeader({10000, 10000, 8, 6, false}) + pixels).substr(0, 10), "error 92: ");
    EXPECT_EQ(errorOf(pngHeader({0x7FFFFFFF, 0x7FFFFFFF, 16, 6, false}) + pixels).substr(0, 10),
              "error 92: ");
    Image::setDecodeLimit(15);
    EXPECT_EQ(errorOf(pngFile({4, 4, 8, 0, false}, std::string(20, '\0'))).substr(0, 10), "error 92: ");
    {
        LogCapture log;
        EXPECT_EQ(errorOf(losslessWebP(noiseImage(RGB8, {4, 4}))), "");
        log.expect(3, "[WEBP] Too many pixels, size=4x4");
    }
    Image::setDecodeLimit(16);
    Image image;
    EXPECT_TRUE(load(image, pngFile({4, 4, 8, 0, false}, std::string(20, '\0'))));
    Image::setDecodeLimit(uint64{1} << 28);
}

TEST_F(LoadImage, WebPKeepsWhetherItHasAlpha) {
    for (const FormatID format : {RGB8, RGBA8}) {
        const Image sample = noiseImage(format, {7, 5});
        Image image;
        ASSERT_TRUE(load(image, losslessWebP(sample)));
        EXPECT_EQ(image.getImageFormat(), format);
        // The encoder may change the colours of pixels without alpha only.
        if (format == RGB8) {
            EXPECT_EQ(packedBytes(image), packedBytes(sample));
        }
    }
}

TEST_F(LoadImage, AnimatedWebPIsRefused) {
    const auto little = [](uint32 v) {
        return std::string{static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
                           static_cast<char>(v >> 24)};
    };
    const std::string header = "VP8X" + little(10) + "\x02\0\0\0"s + "\x03\0\0\x03\0\0"s;
    const std::string body = "WEBP" + header + "ANIM" + little(6) + std::string(6, '\0');
    LogCapture log;
    EXPECT_EQ(errorOf("RIFF" + little(static_cast<uint32>(body.size())) + body), "");
    log.expect(3, "[WEBP] Not supporting WebP animations");
}

TEST_F(LoadImage, MissingAndEmptyFilesFail) {
    const ScratchFolder folder;
    folder.write("empty", "");
    for (const char* name : {"empty", "missing", ""}) {
        LogCapture log;
        Image image;
        EXPECT_FALSE(image.loadFromFile(folder.path(name).c_str())) << name;
        EXPECT_EQ(log.take().size(), 1u) << name;
    }
}

TEST_F(LoadImage, AsynchronousLoadsEndOnTheMainQueue) {
    const SmartPointer<LateProvider> provider(new LateProvider);
    system().getResourceLocator()->addResourceProvider(provider.get());
    const std::string file = encoded(noiseImage(RGBA8, {2, 3}), Image::Encoding::Png);
    Image image; // without references
    int done = 0;
    ASSERT_TRUE(image.loadFromResourceAsync("a.png", [&] { ++done; }));
    provider->answer(Buffer(reinterpret_cast<const uint8*>(file.data()), file.size()));
    EXPECT_FALSE(image.isInitialized());
    passAfter(1);
    EXPECT_EQ(done, 1);
    EXPECT_EQ(image.getSize(), Size(2, 3));
    {
        Image dying;
        ASSERT_TRUE(dying.loadFromResourceAsync("b.png", [&] { ++done; }));
    }
    provider->answer(Buffer());
    passAfter(1);
    EXPECT_EQ(done, 1) << "an image that died is left alone";
}

TEST_F(LoadImage, AnAnswerAfterTheEndOfTheSystemIsIgnored) {
    const SmartPointer<LateProvider> provider(new LateProvider);
    system().getResourceLocator()->addResourceProvider(provider.get());
    Image image;
    ASSERT_TRUE(image.loadFromResourceAsync("a.png", {}));
    System::deinitialize();
    provider->answer(Buffer());
    EXPECT_FALSE(image.isInitialized());
}

TEST_F(LoadImage, ASeriesIsConvertedAndEndsAtItsFirstFailure) {
    const ScratchFolder folder;
    Vector<String> paths;
    for (int i = 0; i < 3; ++i)
        paths.push_back(folder.write(std::to_string(i) + ".png",
                                     encoded(noiseImage(RGBA8, {i + 1, 1}), Image::Encoding::Png)));
    Vector<SmartPointer<Image>> images;
    ASSERT_TRUE(Image::loadPngSeries(paths, images, L8));
    ASSERT_EQ(images.size(), 3u);
    EXPECT_EQ(images[2]->getSize(), Size(3, 1));
    EXPECT_EQ(images[0]->getImageFormat(), L8);
    LogCapture log;
    paths[1] = folder.path("missing.png");
    images.clear();
    EXPECT_FALSE(Image::loadPngSeries(paths, images, RGBA8));
    EXPECT_EQ(images.size(), 1u);
    log.expect(3, "cannot load png file " + std::string(paths[1]));
    log.take();
}
