// The contact sheets of the picture tool, and the pictures that it draws itself.
#include "qelimage_fixture.h"

#include <algorithm>

namespace qel::test {
namespace {

using namespace testing;

constexpr int kTileWidth = 192, kMargin = 16;

class QelimageSheet : public QelimageFixture {
protected:
    /// Draws the sheet of the folder "in". @return its picture.
    Image drawSheet() {
        EXPECT_EQ(run({"sheet", "in", "sheet.png"}), (HostRun{0, "", "reading 1 file\n"}));
        return load("sheet.png");
    }
    /// Returns the colour at a place of the only tile's stage, from its left top corner.
    static std::vector<int> colorAt(const Image& sheet, int x, int y) {
        const uint8* pixel = sheet.getBytePointer(50 + 8 + y) + 4 * (kMargin + 8 + x);
        return {pixel[0], pixel[1], pixel[2], pixel[3]};
    }
};

TEST_F(QelimageSheet, ShowsEveryFileOfAFolder) {
    save(makePicture(30, 20), "in/picture.png");
    save(makePicture(30, 20), "in/picture.webp");
    folder.write("in/text", "hello");
    folder.write("in/.hidden", "hello");
    folder.makeFolder("in/folder");
    EXPECT_EQ(run({"sheet", "in", "sheet.png"}), (HostRun{0, "", "reading 3 files\n"}));
    const Image sheet = load("sheet.png");
    EXPECT_EQ(sheet.getWidth(), kMargin + 2 * (kTileWidth + kMargin));
    EXPECT_EQ(sheet.getHeight(), 50 + 2 * (222 + kMargin));
}

TEST_F(QelimageSheet, LargePicturesAreReducedToFit) {
    Image image(RGB8, {704, 352});
    for (int y = 0; y < 352; ++y) std::fill_n(image.getBytePointer(y), 3 * 704, uint8(y % 2 == 0 ? 10 : 30));
    save(image, "in/wide.png");
    const Image sheet = drawSheet();
    EXPECT_THAT(colorAt(sheet, 0, 44), ElementsAre(20, 20, 20, 255)) << "the mean of the rows";
    EXPECT_THAT(colorAt(sheet, 175, 131), ElementsAre(20, 20, 20, 255));
    EXPECT_THAT(colorAt(sheet, 0, 43), Not(ElementsAre(20, 20, 20, 255))) << "above the picture";
    EXPECT_THAT(colorAt(sheet, 0, 132), Not(ElementsAre(20, 20, 20, 255))) << "below the picture";
}

TEST_F(QelimageSheet, ExtremeProportionsKeepOnePixel) {
    Image image(RGB8, {16'000, 1});
    std::fill_n(image.getBytePointer(), image.getByteSize(), uint8(90));
    save(image, "in/line.png");
    EXPECT_THAT(colorAt(drawSheet(), 175, 87), ElementsAre(90, 90, 90, 255));
}

TEST_F(QelimageSheet, TransparentPicturesAreOnAChessboard) {
    save(makePicture(176, 176, 0), "in/clear.png");
    const Image sheet = drawSheet();
    EXPECT_EQ(colorAt(sheet, 0, 0), colorAt(sheet, 8, 8));
    EXPECT_NE(colorAt(sheet, 0, 0), colorAt(sheet, 8, 0));
}

TEST_F(QelimageSheet, ReportsFilesItCannotShowAndDrawsTheOthers) {
    folder.write("in/broken.png", brokenPng());
    folder.write("in/huge.png", hugePng());
    folder.write("in/text", "hello");
    std::filesystem::create_symlink("nowhere", folder.path("in/lost"));
    const HostRun result = run({"sheet", "in/", "sheet.png"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, HasSubstr("qelimage: cannot decode 'in/broken.png'\n"
                                        "qelimage: cannot decode 'in/huge.png'\n"
                                        "qelimage: cannot read 'in/lost': No such file or directory\n"));
    EXPECT_GT(load("sheet.png").getHeight(), 400);
}

TEST_F(QelimageSheet, PipesAndDevicesAreLeftOut) {
    folder.write("in/text", "hello");
    std::filesystem::create_symlink("/dev/zero", folder.path("in/zero"));
    EXPECT_EQ(shell("mkfifo in/pipe && ln -s pipe in/link && qelimage sheet in sheet.png"),
              (HostRun{0, "", "reading 1 file\n"}));
}

TEST_F(QelimageSheet, TheSheetsOwnPagesAreLeftOut) {
    folder.write("in/text", "hello");
    folder.write("in/sheet-x.png", "hello");
    folder.write("in/sheet-2.png", "an earlier page");
    for (int repetition = 0; repetition < 2; ++repetition)
        EXPECT_EQ(run({"sheet", "in", "in/sheet.png"}).error, "reading 2 files\n");
    EXPECT_EQ(run({"sheet", "in", "sheet.png"}).error, "reading 4 files\n")
        << "they are not the pages of this one";
}

TEST_F(QelimageSheet, NumbersThatPagesDoNotHaveAreShown) {
    for (const char* name : {"in/sheet-0.png", "in/sheet-1.png", "in/sheet-002.png", "in/sheet-.png"})
        folder.write(name, "hello");
    EXPECT_EQ(run({"sheet", "in", "in/sheet.png"}).error, "reading 4 files\n");
}

TEST_F(QelimageSheet, ManyFilesFillSeveralPages) {
    for (int i = 0; i < 97; ++i) folder.write("in/" + std::to_string(i), "hello");
    EXPECT_EQ(run({"sheet", "in", "sheet.webp"}), (HostRun{0, "", "reading 97 files\n"}));
    EXPECT_EQ(load("sheet.webp").getWidth(), kMargin + 8 * (kTileWidth + kMargin));
    EXPECT_EQ(load("sheet-2.webp").getWidth(), kMargin + 2 * (kTileWidth + kMargin));
    for (const char* stream : {"-", "/dev/null"}) {
        const HostRun result = shell("qelimage sheet in " + std::string(stream) + " | cat");
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(QelimageSheet, ATornSheetIsNeverLeft) {
    save(makePicture(30, 20), "in/picture.png");
    folder.write("sheet.png", "old");
    EXPECT_EQ(run({"sheet", "in", "none/sheet.png"}).status, 2);
    EXPECT_EQ(run({"sheet", "missing", "sheet.png"}).error,
              "qelimage: cannot read 'missing': No such file or directory\n");
    EXPECT_EQ(run({"sheet", "in", "sheet.txt"}).status, 2);
    folder.makeFolder("empty");
    EXPECT_EQ(run({"sheet", "empty", "sheet.png"}), (HostRun{2, "", "qelimage: no files in 'empty'\n"}));
    EXPECT_EQ(folder.read("sheet.png"), "old");
    EXPECT_EQ(names().size(), 3u);
}

TEST_F(QelimageSheet, ASheetCanBePiped) {
    folder.write("in/broken.png", brokenPng()); // what the library prints about it stays away
    folder.write("in/text", "hello");
    EXPECT_THAT(shell("qelimage sheet in - | qelimage info -").out, StartsWith("-: PNG, 432 x "));
}

TEST_F(QelimageSheet, NamesOfAnyBytesCanBeDrawn) {
    folder.write("in/\xff\xfe\x1b[31m\n\xc3\xa4", "hello");
    folder.write("in/" + std::string(255, 'x'), "hello");
    EXPECT_EQ(run({"sheet", "in", "sheet.png"}).status, 0);
}

TEST_F(QelimageSheet, SamplesAreWrittenAndShown) {
    EXPECT_EQ(run({"samples", "deep/in"}), (HostRun{0, "", ""}));
    EXPECT_EQ(run({"sheet", "deep/in", "sheet.png"}), (HostRun{0, "", "reading 12 files\n"}));
    EXPECT_THAT(shell("qelimage info deep/in/*.png").error, "");
}

TEST_F(QelimageSheet, TheRayTracerDrawsTheSamePictureEachTime) {
    EXPECT_EQ(run({"raytrace", "a.png"}), (HostRun{0, "", ""}));
    EXPECT_EQ(load("a.png").getWidth(), 120);
    EXPECT_EQ(load("a.png").getHeight(), 70);
    EXPECT_EQ(shell("qelimage raytrace - | qelimage compare - a.png").status, 0);
}

} // namespace
} // namespace qel::test
