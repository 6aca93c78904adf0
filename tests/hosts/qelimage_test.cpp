// The picture tool, run as a child process.
#include <qel/foundation/base/buffer.h>
#include <qel/imaging/pixels/image.h>
#include <tests/hosts/host_run.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace qel::test {
namespace {

using namespace testing;
namespace fs = std::filesystem;
using Words = std::vector<std::string>;

/// A picture whose pixels differ: red is the column and green the row.
Image makePicture(int width, int height) {
    Image image(RGBA8, {width, height});
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8* pixel = image.getBytePointer(y) + 4 * x;
            pixel[0] = static_cast<uint8>(x);
            pixel[1] = static_cast<uint8>(y);
            pixel[2] = 200;
            pixel[3] = 255;
        }
    }
    return image;
}

/// The program, its folder, and the pictures in it.
class Qelimage : public testing::Test {
protected:
    HostRun run(const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{QELIMAGE_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runProgram(folder, command);
    }
    /// Runs a command line of the shell, in which `qelimage` is the program.
    HostRun shell(const std::string& line) const {
        return runProgram(folder,
                          {"/bin/sh", "-c", "qelimage() { \"$0\" \"$@\"; }\n" + line, QELIMAGE_PROGRAM});
    }
    void save(const Image& image, const std::string& name) const {
        const std::filesystem::path path = folder.path(name);
        std::filesystem::create_directories(path.parent_path());
        ASSERT_TRUE(image.saveTo(path.c_str()));
    }
    Image load(const std::string& name) const {
        Image image;
        EXPECT_TRUE(image.loadFromFile(folder.path(name).c_str())) << name;
        return image;
    }

    ScratchFolder folder;
};

/// Returns the bytes of a PNG file whose checksum is wrong.
std::string brokenPng() {
    Buffer bytes;
    EXPECT_TRUE(makePicture(3, 2).saveToMemory(bytes, Image::Encoding::Png));
    bytes[bytes.getSize() - 20] ^= 1;
    return std::string(bytes.getConstByteSpan().asText());
}

/// Returns the header of a PNG file with 100,000 by 100,000 pixels.
std::string hugePng() {
    const std::string_view header(
        "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\1\x86\xa0\0\1\x86\xa0\x08\6\0\0\0\xbf\x81\x19\xb3", 33);
    return std::string(header) + std::string(100, 'x');
}

// --- info ----------------------------------------------------------------------------------------------

TEST_F(Qelimage, InfoShowsWhatAFileIs) {
    save(makePicture(3, 2), "opaque.png");
    save(makePicture(30, 20), "opaque.webp");
    folder.write("photo", std::string("\xff\xd8\xff\xe0\0\x10JFIF\0", 11));
    folder.write("text\n", "hello");
    folder.write("empty", "");
    const std::string size = std::to_string(fs::file_size(folder.path("opaque.png")));
    EXPECT_EQ(run({"info", "opaque.png"}).out,
              "opaque.png: PNG, 3 x 2 pixels, RGBA8, opaque, " + size + " bytes\n");
    EXPECT_THAT(run({"info", "opaque.webp"}).out, HasSubstr(": WebP, 30 x 20 pixels, RGB8, opaque, "));
    const HostRun others = run({"info", "photo", "text\n", "empty"});
    EXPECT_EQ(others.out,
              "photo: JPEG, 11 bytes\ntext?: unknown type, 5 bytes\nempty: unknown type, 0 bytes\n");
    EXPECT_EQ(others.error, "");
    EXPECT_EQ(others.status, 0);
}

TEST_F(Qelimage, InfoContinuesAfterAFileItCannotRead) {
    folder.write("broken.png", brokenPng());
    folder.write("huge.png", hugePng());
    folder.write("text", "hello");
    const HostRun result = run({"info", "missing\x1b", "broken.png", "huge.png", ".", "text"});
    EXPECT_EQ(result.out, "text: unknown type, 5 bytes\n");
    EXPECT_EQ(result.status, 2);
    for (const char* problem :
         {"qelimage: cannot read 'missing?': No such file or directory\n",
          "qelimage: cannot decode 'broken.png'\n", "qelimage: cannot decode 'huge.png'\n",
          "qelimage: cannot read '.': Is a directory\n"})
        EXPECT_THAT(result.error, HasSubstr(problem));
}

// --- convert -------------------------------------------------------------------------------------------

TEST_F(Qelimage, ConvertCropsThenRotatesThenResizes) {
    save(makePicture(20, 10), "in.png");
    const HostRun result =
        run({"convert", "in.png", "--size", "8x12", "out.png", "--crop=4,2,10,6", "--rotate", "1"});
    ASSERT_EQ(result, (HostRun{0, "", ""}));
    const Image image = load("out.png");
    EXPECT_EQ(image.getWidth(), 8);
    EXPECT_EQ(image.getHeight(), 12);
    EXPECT_EQ(image.getBytePointer()[0], 4) << "the left top was the left bottom of the part";
    EXPECT_EQ(image.getBytePointer()[1], 5);
    EXPECT_EQ(image.getBytePointer(11)[7 * 4], 9) << "the right bottom was the right top of the part";
    EXPECT_EQ(image.getBytePointer(11)[7 * 4 + 1], 2);
}

TEST_F(Qelimage, ResizingDoesNotMixInHiddenColours) {
    Image image = makePicture(2, 1);
    const uint8 pixels[] = {255, 0, 0, 255, 0, 250, 0, 0}; // the second one is invisible
    std::copy(std::begin(pixels), std::end(pixels), image.getBytePointer());
    save(image, "in.png");
    ASSERT_EQ(run({"convert", "in.png", "out.png", "--size", "1x1"}).status, 0);
    const Image mean = load("out.png");
    EXPECT_THAT(std::vector<int>(mean.getBytePointer(), mean.getBytePointer() + 4),
                ElementsAre(255, 0, 0, 128));
}

TEST_F(Qelimage, ConvertWritesTheFormatThatIsAskedFor) {
    save(makePicture(20, 10), "in.png");
    const std::pair<Words, std::string> cases[] = {
        {{"out.webp"}, "RIFF"},
        {{"out.BMP"}, "BM"},
        {{"out.txt", "--format", "png"}, "\x89PNG"},
        {{"out.png", "--format=webp"}, "RIFF"},
    };
    for (const auto& [words, start] : cases) {
        Words arguments{"convert", "in.png"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        EXPECT_EQ(run(arguments), (HostRun{0, "", ""}));
        EXPECT_THAT(folder.read(words.front()), StartsWith(start));
    }
}

TEST_F(Qelimage, ConvertReadsAndWritesStandardStreams) {
    save(makePicture(20, 10), "in.png");
    EXPECT_EQ(shell("qelimage convert - - --crop 1,2,3,4 <in.png | qelimage convert - out.png").status, 0);
    EXPECT_EQ(load("out.png").getBytePointer()[0], 1);
}

TEST_F(Qelimage, AFailedConvertLeavesTheOutputAsItWas) {
    save(makePicture(20, 10), "in.png");
    folder.write("broken.png", brokenPng());
    folder.write("text", "hello");
    folder.write("out.png", "old");
    folder.makeFolder("folder.png");
    const int count = folder.countEntries() + 2; // with what the program prints
    const std::pair<Words, std::string> cases[] = {
        {{"broken.png", "out.png"}, "cannot decode 'broken.png'"},
        {{"text", "out.png"}, "not a PNG or WebP file: 'text'"},
        {{"in.png", "out.png", "--crop", "0,0,21,10"},
         "the part is empty or reaches outside the picture of 20 x 10"},
        {{"in.png", "out.png", "--crop=-2147483648,0,2147483647,10"}, "the part is empty or reaches outside"},
        {{"in.png", "out.gif"}, "the output must end in .png, .webp or .bmp: 'out.gif'"},
        {{"in.png", "folder.png"}, "cannot write 'folder.png': Is a directory"},
        {{"in.png", "out.webp", "--size", "16384x1"}, "cannot encode 'out.webp'"},
        {{"in.png", "/dev/full", "--format", "png"}, "cannot write '/dev/full': No space left on device"},
    };
    for (const auto& [words, problem] : cases) {
        Words arguments{"convert"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const HostRun result = run(arguments);
        EXPECT_THAT(result.error, HasSubstr("qelimage: " + problem));
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(folder.read("out.png"), "old");
        EXPECT_EQ(folder.countEntries(), count);
    }
}

TEST_F(Qelimage, AnOutputBeyondTheLimitOfTheProcessIsReported) {
    save(makePicture(100, 100), "in.png");
    folder.write("out.bmp", "old");
    const int count = folder.countEntries() + 2; // with what the program prints
    EXPECT_EQ(shell("ulimit -f 8; qelimage convert in.png out.bmp"),
              (HostRun{2, "", "qelimage: cannot write 'out.bmp': File too large\n"}));
    EXPECT_EQ(folder.read("out.bmp"), "old");
    EXPECT_EQ(folder.countEntries(), count);
}

TEST_F(Qelimage, AnOutputKeepsItsLinkAndItsPermissions) {
    save(makePicture(20, 10), "in.png");
    const fs::path target = folder.write("elsewhere/target.png", "old");
    fs::permissions(target, fs::perms(0640));
    fs::create_symlink("elsewhere/target.png", folder.path("out.png"));
    EXPECT_EQ(run({"convert", "in.png", "out.png"}), (HostRun{0, "", ""}));
    EXPECT_TRUE(fs::is_symlink(folder.path("out.png")));
    EXPECT_EQ(load("elsewhere/target.png").getWidth(), 20);
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
    fs::create_symlink("nowhere", folder.path("lost.png"));
    EXPECT_EQ(run({"convert", "in.png", "lost.png"}).status, 2);
    EXPECT_FALSE(folder.has("nowhere"));
}

TEST_F(Qelimage, AWrongCommandLineIsRefused) {
    const std::pair<Words, std::string> cases[] = {
        {{}, "no command given"},
        {{"show"}, "unknown command 'show'"},
        {{"convert", "a", "b", "c"}, "the command is 'qelimage convert IN OUT'"},
        {{"compare", "a", "b", "--rotate", "1"}, "option '--rotate' is not for 'compare'"},
        {{"convert", "a", "b", "--size", "5x0"}, "not a size such as 640x480: '5x0'"},
        {{"convert", "a", "b", "--size", "65535x65535"}, "more than 268435456 pixels: '65535x65535'"},
        {{"convert", "a", "b", "--crop", "1,2,3"}, "not left, top, right and bottom: '1,2,3'"},
        {{"convert", "a", "b", "--rotate", "90"}, "not a number of quarter turns from -3 to 3: '90'"},
    };
    for (const auto& [words, problem] : cases) {
        const HostRun result = run(words);
        EXPECT_EQ(result.error, "qelimage: " + problem + "\nTry 'qelimage --help'.\n");
        EXPECT_EQ(result.status, 2);
    }
}

// --- compare -------------------------------------------------------------------------------------------

TEST_F(Qelimage, CompareSeesEveryByte) {
    Image image = makePicture(20, 10);
    save(image, "a.png");
    save(image, "b.png");
    EXPECT_EQ(run({"compare", "a.png", "b.png"}), (HostRun{0, "equal: all 800 bytes\n", ""}));
    image.getBytePointer(9)[79] = 245; // the alpha of the last pixel
    save(image, "b.png");
    const std::string out = "different: 1 of 200 pixels, at most by 10\n"
                            "mean squared error of all bytes: 0.125\n"
                            "computeMeanSquaredError, of the first 1/4 of each row: 0\n";
    EXPECT_EQ(run({"compare", "a.png", "b.png"}), (HostRun{1, out, ""}));
    EXPECT_EQ(shell("LC_ALL=de_DE.UTF-8 qelimage compare a.png b.png").out, out);
}

TEST_F(Qelimage, CompareTellsDifferentSizesFromTrouble) {
    save(makePicture(20, 10), "a.png");
    save(makePicture(10, 20), "b.png");
    EXPECT_EQ(run({"compare", "a.png", "b.png"}),
              (HostRun{1, "different: 20 x 10 and 10 x 20 pixels\n", ""}));
    EXPECT_EQ(run({"compare", "a.png", "missing"}).status, 2);
}

// --- qr ------------------------------------------------------------------------------------------------

TEST_F(Qelimage, QrWritesTheCodeOfATextWithItsBorder) {
    EXPECT_EQ(run({"qr", "hello", "a.png"}), (HostRun{0, "", ""}));
    EXPECT_EQ(shell("echo hello | qelimage qr - b.png").status, 0);
    EXPECT_EQ(run({"compare", "a.png", "b.png"}).status, 0);
    const Image code = load("a.png");
    EXPECT_EQ(code.getWidth(), (21 + 2 * 4) * 8);
    EXPECT_EQ(code.getBytePointer(4 * 8 - 1)[4 * 8 * 4], 255) << "border";
    EXPECT_EQ(code.getBytePointer(4 * 8)[4 * 8 * 4], 0) << "the corner of a finder";
}

// --- sheet, samples and raytrace -----------------------------------------------------------------------

constexpr int kTileWidth = 192, kMargin = 16;

TEST_F(Qelimage, SheetShowsEveryFileOfAFolder) {
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

TEST_F(Qelimage, SheetReportsFilesItCannotShowAndDrawsTheOthers) {
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

TEST_F(Qelimage, SheetLeavesOutPipesAndDevices) {
    folder.write("in/text", "hello");
    std::filesystem::create_symlink("/dev/zero", folder.path("in/zero"));
    EXPECT_EQ(shell("mkfifo in/pipe && ln -s pipe in/link && qelimage sheet in sheet.png"),
              (HostRun{0, "", "reading 1 file\n"}));
}

TEST_F(Qelimage, SheetLeavesOutItsOwnPages) {
    folder.write("in/text", "hello");
    folder.write("in/sheet-x.png", "hello");
    folder.write("in/sheet-2.png", "an earlier page");
    for (int repetition = 0; repetition < 2; ++repetition)
        EXPECT_EQ(run({"sheet", "in", "in/sheet.png"}).error, "reading 2 files\n");
    EXPECT_EQ(run({"sheet", "in", "sheet.png"}).error, "reading 4 files\n")
        << "they are not the pages of this one";
}

TEST_F(Qelimage, SheetOfManyFilesFillsSeveralPages) {
    for (int i = 0; i < 97; ++i) folder.write("in/" + std::to_string(i), "hello");
    EXPECT_EQ(run({"sheet", "in", "sheet.webp"}), (HostRun{0, "", "reading 97 files\n"}));
    EXPECT_EQ(load("sheet.webp").getWidth(), kMargin + 8 * (kTileWidth + kMargin));
    EXPECT_EQ(load("sheet-2.webp").getWidth(), kMargin + 2 * (kTileWidth + kMargin));
}

TEST_F(Qelimage, ATornSheetIsNeverLeft) {
    save(makePicture(30, 20), "in/picture.png");
    folder.write("sheet.png", "old");
    EXPECT_EQ(run({"sheet", "in", "none/sheet.png"}).status, 2);
    EXPECT_EQ(run({"sheet", "missing", "sheet.png"}).error,
              "qelimage: cannot read 'missing': No such file or directory\n");
    EXPECT_EQ(run({"sheet", "in", "sheet.txt"}).status, 2);
    folder.makeFolder("empty");
    EXPECT_EQ(run({"sheet", "empty", "sheet.png"}), (HostRun{2, "", "qelimage: no files in 'empty'\n"}));
    EXPECT_EQ(folder.read("sheet.png"), "old");
    EXPECT_EQ(folder.countEntries(), 5) << "two of them are what the program printed";
}

TEST_F(Qelimage, SheetDrawsNamesOfAnyBytes) {
    folder.write("in/\xff\xfe\x1b[31m\n\xc3\xa4", "hello");
    folder.write("in/" + std::string(255, 'x'), "hello");
    EXPECT_EQ(run({"sheet", "in", "sheet.png"}).status, 0);
}

TEST_F(Qelimage, SamplesAreWrittenAndShown) {
    EXPECT_EQ(run({"samples", "deep/in"}), (HostRun{0, "", ""}));
    EXPECT_EQ(run({"sheet", "deep/in", "sheet.png"}), (HostRun{0, "", "reading 12 files\n"}));
    EXPECT_THAT(shell("qelimage info deep/in/*.png").error, "");
}

TEST_F(Qelimage, TheRayTracerDrawsTheSamePictureEachTime) {
    EXPECT_EQ(run({"raytrace", "a.png"}), (HostRun{0, "", ""}));
    EXPECT_EQ(load("a.png").getWidth(), 120);
    EXPECT_EQ(load("a.png").getHeight(), 70);
    EXPECT_EQ(shell("qelimage raytrace - | qelimage compare - a.png").status, 0);
}

} // namespace
} // namespace qel::test
