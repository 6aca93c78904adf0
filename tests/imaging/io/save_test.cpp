#include <qel/foundation/base/string.h>
#include <qel/imaging/pixels/image.h>
#include <tests/imaging/pixels/sample_images.h>
#include <tests/support/fault_plan.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

using namespace qel;
using namespace qel::test;

namespace {

uint32 numberAt(const std::string& file, size_t at, size_t bytes) {
    uint32 value = 0;
    for (size_t i = 0; i < bytes; ++i) value |= uint32{static_cast<uint8>(file[at + i])} << 8 * i;
    return value;
}

class SaveImage : public SystemFixture {
protected:
    void TearDown() override {
        Image::setImageMagick(nullptr, nullptr);
        SystemFixture::TearDown();
    }

    /// Installs a converter: a script that runs @p commands on "$1" and "$2".
    void setConverter(const std::string& commands, const std::string& name = "convert") {
        const std::string path = folder.write(name, "#!/bin/sh\n" + commands + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        folder.makeFolder("temporary");
        Image::setImageMagick(path.c_str(), folder.path("temporary").c_str());
    }

    ScratchFolder folder;
};

} // namespace

TEST_F(SaveImage, PngKeepsEveryPixel) {
    for (const FormatID format : {RGB8, RGBA8, BGR8, BGRA8}) {
        for (int width = 1; width <= 67; width += 11) {
            GuardedImage source(format, {width, 5}, 3, true);
            const std::string path = folder.path("a.png");
            ASSERT_TRUE(source->saveTo(path.c_str()));
            const std::string file = folder.read("a.png");
            EXPECT_EQ(file[24], 8);
            EXPECT_EQ(file[25], format == RGB8 || format == BGR8 ? 2 : 6) << "colour type";
            Image loaded, expected(RGBA8, source->getSize());
            ASSERT_TRUE(loaded.loadFromFile(path.c_str()));
            const bool hasAlpha = format == RGBA8 || format == BGRA8,
                       isRed = format == RGB8 || format == RGBA8;
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < width; ++x) {
                    const uint8* p = source->getBytePointer(y) + x * (hasAlpha ? 4 : 3);
                    const uint8 rgba[] = {p[isRed ? 0 : 2], p[1], p[isRed ? 2 : 0],
                                          hasAlpha ? p[3] : static_cast<uint8>(255)};
                    std::memcpy(expected.getBytePointer(y) + 4 * x, rgba, 4);
                }
            EXPECT_EQ(packedBytes(loaded), packedBytes(expected)) << format << " width " << width;
        }
    }
}

TEST_F(SaveImage, BmpHasItsHeaderAndRowsFromTheBottom) {
    for (const FormatID format : {RGB8, RGBA8, BGR8, BGRA8}) {
        const bool hasAlpha = format == RGBA8 || format == BGRA8, isRed = format == RGB8 || format == RGBA8;
        GuardedImage source(format, {3, 2}, 1);
        ASSERT_TRUE(source->saveTo(folder.path("a.bmp").c_str()));
        const std::string file = folder.read("a.bmp");
        ASSERT_EQ(file.size(), 54u + 2 * 12u);
        EXPECT_EQ(file.substr(0, 2), "BM");
        const struct {
            size_t at, bytes;
            uint32 value;
        } fields[] = {{2, 4, 78}, {6, 4, 0},  {10, 4, 54},   {14, 4, 40},
                      {18, 4, 3}, {22, 4, 2}, {26, 2, 1},    {28, 2, hasAlpha ? 32u : 24u},
                      {30, 4, 0}, {34, 4, 0}, {38, 4, 3800}, {42, 4, 3800},
                      {46, 4, 0}, {50, 4, 0}};
        for (const auto& field : fields)
            EXPECT_EQ(numberAt(file, field.at, field.bytes), field.value) << field.at;
        const uint8* last = source->getBytePointer(1);
        EXPECT_EQ(static_cast<uint8>(file[54]), last[isRed ? 2 : 0]) << format;
        EXPECT_EQ(static_cast<uint8>(file[56]), last[isRed ? 0 : 2]) << format;
    }
    ASSERT_TRUE(noiseImage(RGB8, {1, 1}).saveTo(folder.path("x.jpg").c_str(), true));
    const std::string padded = folder.read("x.jpg");
    EXPECT_EQ(padded.size(), 58u) << "BMP whatever the path";
    EXPECT_EQ(padded[57], 0);
}

TEST_F(SaveImage, WebPIsLossy) {
    for (const FormatID format : {RGBA8, BGRA8}) {
        Image flat(format, {20, 20}), loaded;
        for (size_t i = 0; i < flat.getByteSize(); ++i)
            flat.getBytePointer()[i] = static_cast<uint8>(i % 4 * 50);
        ASSERT_TRUE(flat.saveTo(folder.path("a.webp").c_str()));
        ASSERT_TRUE(loaded.loadFromFile(folder.path("a.webp").c_str()));
        EXPECT_NEAR(loaded.getBytePointer()[0], format == BGRA8 ? 100 : 0, 8) << format;
    }
}

TEST_F(SaveImage, WrongFormatsAreReportedWithTheirNumber) {
    LogCapture log;
    EXPECT_FALSE(Image(A8, {2, 2}).saveTo(folder.path("a.png").c_str()));
    log.expect(3, "unsupported input format for saving png, getImageFormat()=205");
    EXPECT_FALSE(Image(L8, {2, 2}).saveTo(folder.path("a.webp").c_str()));
    log.expect(3, "unsupported input format for saving webp, getImageFormat()=201");
    EXPECT_FALSE(noiseImage(RGB8, {2, 2}).saveTo("x.PNG"));
    log.expect(3, "unsupported save format, filePath=x.PNG");
    EXPECT_EQ(folder.countEntries(), 0);
    EXPECT_EQ(noiseImage(RGBA8, {3, 2}).asWebpBase64EncodedString().substr(0, 4), "UklG") << "RIFF";
}

TEST_F(SaveImage, TooLargeAndEmptyPicturesCannotBeEncoded) {
    LogCapture log;
    Buffer out(reinterpret_cast<const uint8*>("x"), 1);
    EXPECT_FALSE(noiseImage(RGB8, {16384, 1}).saveToMemory(out, Image::Encoding::WebP));
    EXPECT_FALSE(Image(RGB8, {0, 3}).saveToMemory(out, Image::Encoding::WebP));
    EXPECT_FALSE(Image(RGB8, {0, 3}).saveToMemory(out, Image::Encoding::Png));
    EXPECT_EQ(out.getSize(), 1u);
    EXPECT_EQ(log.take().size(), 3u);
}

TEST_F(SaveImage, AFailureLeavesTheFileAsItWas) {
    const Image image = noiseImage(RGB8, {64, 64});
    for (const bool exists : {false, true}) {
        for (int k = 0; k < 16; ++k) {
            std::filesystem::remove(folder.path("a.png"));
            if (exists) folder.write("a.png", "old");
            LogCapture log;
            FaultPlan plan(k, Lasting::SameKind);
            const bool isSaved = image.saveTo(folder.path("a.png").c_str());
            const bool hasFailed = plan.failed().has_value();
            plan.stop();
            if (isSaved) {
                Image loaded;
                EXPECT_TRUE(loaded.loadFromFile(folder.path("a.png").c_str())) << k;
                log.take();
                continue;
            }
            EXPECT_TRUE(hasFailed) << k;
            EXPECT_EQ(folder.has("a.png"), exists) << k;
            if (exists) {
                EXPECT_EQ(folder.read("a.png"), "old") << k;
            }
            EXPECT_FALSE(log.take().empty()) << k;
        }
    }
}

TEST_F(SaveImage, AnExistingFileKeepsItsPermissionsAndLinks) {
    const std::filesystem::perms mine =
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    const std::string path = folder.write("a.png", "old");
    std::filesystem::permissions(path, mine);
    std::filesystem::create_symlink("a.png", folder.path("link.png"));
    EXPECT_TRUE(noiseImage(RGB8, {2, 2}).saveTo(folder.path("link.png").c_str()));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link.png")));
    EXPECT_NE(folder.read("a.png"), "old");
    EXPECT_EQ(std::filesystem::status(path).permissions(), mine);
}

TEST_F(SaveImage, OtherFilesAreWrittenByTheConverter) {
    setConverter("cp \"$1\" \"$2\"");
    ASSERT_TRUE(noiseImage(RGB8, {2, 2}).saveTo(folder.path("a.tif").c_str()));
    EXPECT_EQ(folder.read("a.tif").substr(0, 2), "BM");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path("temporary")));
}

TEST_F(SaveImage, AFailedConversionLeavesNoTemporaryFile) {
    setConverter("exit 3");
    LogCapture log;
    EXPECT_FALSE(noiseImage(RGB8, {2, 2}).saveTo(folder.path("a.tif").c_str()));
    const auto lines = log.take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back().text.find("converting image to output failed, commandline: \""), 0u);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path("temporary")));
}

TEST_F(SaveImage, HostileNamesReachTheConverterUnchanged) {
    setConverter("cp \"$1\" \"$2\"", "con\"vert $(x)");
    for (const char* name :
         {"a\".tif", "b\\.tif", "$(touch x).tif", "`touch x`.tif", "c d;e.tif", "f\ng.tif"}) {
        ASSERT_TRUE(noiseImage(RGB8, {1, 1}).saveTo(folder.path(name).c_str())) << name;
        EXPECT_TRUE(folder.has(name)) << name;
    }
    EXPECT_FALSE(folder.has("x"));
}
