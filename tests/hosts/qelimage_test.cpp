// The picture tool, run as a child process.
#include "qelimage_fixture.h"

#include <algorithm>
#include <utility>

namespace qel::test {
namespace {

using namespace testing;
namespace fs = std::filesystem;
using Words = std::vector<std::string>;

using Qelimage = QelimageFixture;

// --- info ----------------------------------------------------------------------------------------------

TEST_F(Qelimage, InfoShowsWhatAFileIs) {
    save(makePicture(3, 2), "opaque.png");
    save(makePicture(30, 20, 128), "clear.png");
    save(makePicture(30, 20), "opaque.webp");
    folder.write("photo", std::string("\xff\xd8\xff\xe0\0\x10JFIF\0", 11));
    folder.write("text\n", "hello");
    folder.write("empty", "");
    const std::string size = std::to_string(fs::file_size(folder.path("opaque.png")));
    EXPECT_EQ(run({"info", "opaque.png"}).out,
              "opaque.png: PNG, 3 x 2 pixels, RGBA8, opaque, " + size + " bytes\n");
    EXPECT_THAT(run({"info", "clear.png"}).out,
                HasSubstr(": PNG, 30 x 20 pixels, RGBA8, transparent parts, "));
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

TEST_F(Qelimage, ControlCharactersInNamesAreNotPrinted) {
    const std::string name = "a\xC2\x9B\x7F\x1B\xC2\xA0\xC2";
    folder.write(name, "hello");
    EXPECT_EQ(run({"info", name}).out, "a???\xC2\xA0\xC2: unknown type, 5 bytes\n");
    EXPECT_EQ(run({"samples", name + "/x\x1B"}).error,
              "qelimage: [ERROR] failed to create directory 'a???\xC2\xA0\xC2'\n");
}

TEST_F(Qelimage, PipesAreReadToTheirEnd) {
    save(makePicture(3, 2), "a.png");
    const std::string line = ": PNG, 3 x 2 pixels, RGBA8, opaque, ";
    EXPECT_THAT(shell("qelimage info - <a.png").out, StartsWith("-" + line));
    EXPECT_THAT(shell("cat a.png | qelimage info -").out, StartsWith("-" + line));
    EXPECT_THAT(shell("mkfifo pipe; cat a.png >pipe & qelimage info pipe").out, StartsWith("pipe" + line));
}

TEST_F(Qelimage, LostOutputIsReported) {
    folder.write("text", "hello");
    for (const char* redirection : {">&-", ">/dev/full"}) {
        const HostRun result = shell(std::string("qelimage info text ") + redirection);
        EXPECT_THAT(result.error, StartsWith("qelimage: cannot write to standard output: "));
        EXPECT_EQ(result.status, 2);
    }
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
    folder.write("huge.png", hugePng());
    folder.write("text", "hello");
    folder.write("out.png", "old");
    folder.makeFolder("folder.png");
    const size_t count = names().size();
    const std::pair<Words, std::string> cases[] = {
        {{"broken.png", "out.png"}, "cannot decode 'broken.png'"},
        {{"huge.png", "out.png"}, "cannot decode 'huge.png'"},
        {{"text", "out.png"}, "not a PNG or WebP file: 'text'"},
        {{"in.png", "out.png", "--crop", "0,0,21,10"},
         "the part is empty or reaches outside the picture of 20 x 10"},
        {{"in.png", "out.png", "--crop", "5,0,5,10"}, "the part is empty or reaches outside"},
        {{"in.png", "out.png", "--crop=-2147483648,0,2147483647,10"}, "the part is empty or reaches outside"},
        {{"in.png", "out.gif"}, "the output must end in .png, .webp or .bmp: 'out.gif'"},
        {{"in.png", "folder.png"}, "cannot write 'folder.png': Is a directory"},
        {{"in.png", "none/out.png"}, "cannot write 'none/out.png': No such file or directory"},
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
        EXPECT_EQ(names().size(), count);
    }
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
        {{"info"}, "the command is 'qelimage info FILE...'"},
        {{"convert", "a"}, "the command is 'qelimage convert IN OUT'"},
        {{"convert", "a", "b", "c"}, "the command is 'qelimage convert IN OUT'"},
        {{"compare", "a", "b", "--rotate", "1"}, "option '--rotate' is not for 'compare'"},
        {{"convert", "a", "b", "--frob=1"}, "unknown option '--frob'"},
        {{"convert", "a", "b", "--size"}, "option '--size' needs a value"},
        {{"convert", "a", "--size=", "5x5", "b"}, "option '--size' needs a value"},
        {{"convert", "a", "b", "--size", "5x0"}, "not a size such as 640x480: '5x0'"},
        {{"convert", "a", "b", "--size", "5x5x"}, "not a size such as 640x480: '5x5x'"},
        {{"convert", "a", "b", "--size", "65535x65535"}, "more than 268435456 pixels: '65535x65535'"},
        {{"convert", "a", "b", "--crop", "1,2,3"}, "not left, top, right and bottom: '1,2,3'"},
        {{"convert", "a", "b", "--rotate", "90"}, "not a number of quarter turns from -3 to 3: '90'"},
        {{"convert", "a", "b", "--format", "gif"}, "not png, webp or bmp: 'gif'"},
        {{"convert", "a", "b", "--format", "png", "--help=1"}, "option '--help' takes no value"},
    };
    for (const auto& [words, problem] : cases) {
        const HostRun result = run(words);
        EXPECT_EQ(result.error, "qelimage: " + problem + "\nTry 'qelimage --help'.\n");
        EXPECT_EQ(result.status, 2);
    }
}

TEST_F(Qelimage, WordsAfterTwoDashesAreArguments) {
    folder.write("--rotate", "");
    folder.write("-x", "");
    EXPECT_EQ(run({"info", "--", "--rotate", "-x"}).status, 0);
    EXPECT_EQ(run({"--", "info", "--rotate"}).status, 0);
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

TEST_F(Qelimage, CompareWritesThePictureOfTheDifferences) {
    Image image = makePicture(2, 1);
    save(image, "a.png");
    const uint8 changed[] = {10, 0, 255, 255, 1, 0, 200, 245};
    std::copy(std::begin(changed), std::end(changed), image.getBytePointer());
    save(image, "b.png");
    EXPECT_EQ(run({"compare", "a.png", "b.png", "--difference", "c.png"}).status, 1);
    const Image difference = load("c.png");
    EXPECT_THAT(std::vector<int>(difference.getBytePointer(), difference.getBytePointer() + 8),
                ElementsAre(10, 0, 55, 255, 10, 10, 10, 255));
    EXPECT_THAT(shell("qelimage compare a.png b.png --difference - | cut -b 1-9").out,
                StartsWith("different"));
}

TEST_F(Qelimage, CompareTellsDifferentSizesFromTrouble) {
    save(makePicture(20, 10), "a.png");
    save(makePicture(10, 20), "b.png");
    EXPECT_EQ(run({"compare", "a.png", "b.png"}),
              (HostRun{1, "different: 20 x 10 and 10 x 20 pixels\n", ""}));
    EXPECT_EQ(run({"compare", "a.png", "b.png", "--difference", "c.png"}).status, 2);
    EXPECT_EQ(run({"compare", "a.png", "missing"}).status, 2);
    EXPECT_EQ(run({"compare", "a.png", "a.png", "--difference", "/dev/full"}).status, 2);
}

TEST_F(Qelimage, OpaquePicturesOfBothFormatsAreComparable) {
    save(makePicture(20, 10), "a.png");
    ASSERT_EQ(run({"convert", "a.png", "b.webp"}).status, 0);
    ASSERT_EQ(run({"convert", "b.webp", "c.png"}).status, 0);
    EXPECT_EQ(run({"compare", "b.webp", "c.png"}).out, "equal: all 800 bytes\n");
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

TEST_F(Qelimage, QrRefusesTextsThatDoNotFit) {
    EXPECT_THAT(run({"qr", std::string(2332, 'x'), "a.png"}).error,
                HasSubstr("qelimage: the text does not fit into a QR code\n"));
    EXPECT_EQ(shell("printf 'a\\0b' | qelimage qr - a.png").error,
              "qelimage: the text contains a zero byte\n");
    EXPECT_THAT(names(), IsEmpty());
}

} // namespace
} // namespace qel::test
