// The parts of the screens that draw nothing: the text of a field, the reader's files, and the tables of
// texts, also that of the viewer.
#include <hosts/qelscreens/edit_buffer.h>
#include <hosts/qelscreens/picture_loader.h>
#include <hosts/qelscreens/reader_source.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>
#include <tests/support/system_fixture.h>

#include <qel/system/tasks/task_queue.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include <sys/stat.h>

namespace qelscreens {
namespace {

using namespace testing;
using qel::test::ScratchFolder;

EditBuffer bufferOf(const char* text) {
    EditBuffer buffer;
    buffer.insert(text);
    return buffer;
}

TEST(EditBufferTest, ControlCharactersAndBadBytesAreReplaced) {
    EXPECT_EQ(bufferOf("a\nb\tc\x7f").getText(), "a b c ");
    EXPECT_EQ(bufferOf("\xff").getText(), qel::String("\xff").utf8_fix());
}

TEST(EditBufferTest, TypingReplacesTheSelection) {
    EditBuffer buffer = bufferOf("one two");
    buffer.selectWord(5);
    EXPECT_EQ(buffer.getSelectedText(), "two");
    buffer.insert("2");
    EXPECT_EQ(buffer.getText(), "one 2");
    buffer.selectAll();
    buffer.erase(false);
    EXPECT_EQ(buffer.getText(), "");
}

TEST(EditBufferTest, ErasesOnBothSides) {
    EditBuffer buffer = bufferOf("aöc");
    buffer.moveTo(1, false);
    buffer.erase(true);
    EXPECT_EQ(buffer.getText(), "ac");
    buffer.erase(false);
    EXPECT_EQ(buffer.getText(), "c");
    buffer.erase(false);
    buffer.moveTo(9, false);
    buffer.erase(true);
    EXPECT_EQ(buffer.getText(), "c");
}

TEST(ReaderSourceTest, PreparesTextsFromOutside) {
    const std::pair<std::string, const char*> cases[] = {
        {"a\tb", "a    b"}, {"{color:red}", "{!color:red}"},
        {"a\r\nb", "a\nb"}, {"a\n\nb", "a\n \nb"},
        {"\n", " \n"},      {"a\r\n\r\nb", "a\n \nb"},
        {"", ""},           {std::string("a\0b", 3), "ab"},
    };
    for (const auto& [source, prepared] : cases) EXPECT_EQ(prepareMarkdown(source), prepared) << source;
}

TEST(ReaderSourceTest, ListsThePicturesOfAFolder) {
    const ScratchFolder folder;
    for (const char* const name : {"b10.png", "b9.PNG", "a.webp", "note.txt", ".hidden.png"})
        folder.write(name, "x");
    folder.makeFolder("folder.png");
    const ReaderSource source = ReaderSource::open(folder.path());
    EXPECT_THAT(source.pictures, ElementsAre(EndsWith("/a.webp"), EndsWith("/b9.PNG"), EndsWith("/b10.png")));
    EXPECT_EQ(source.problem, "");
}

TEST(ReaderSourceTest, ReportsWhatItCannotShow) {
    const ScratchFolder folder;
    std::filesystem::create_directory(folder.path("empty"));
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    folder.write("large", "");
    std::filesystem::resize_file(folder.path("large"), kMostTextBytes + 1);
    for (const char* const name : {"missing", "empty", "pipe", "large"})
        EXPECT_NE(ReaderSource::open(folder.path(name)).problem, "") << name;
    std::filesystem::resize_file(folder.path("large"), kMostTextBytes);
    EXPECT_EQ(ReaderSource::open(folder.path("large")).problem, "");
}

class PictureLoaderTest : public qel::test::SystemFixture {};

TEST_F(PictureLoaderTest, DecodesOnlyThePictureRequestedLast) {
    const ScratchFolder folder;
    const std::string animation("RIFF\x16\0\0\0WEBPVP8X\x0a\0\0\0\x02\0\0\0\0\0\0\0\0\0", 30);
    const std::string path = folder.write("animation.webp", animation);
    qel::test::LogCapture log;
    qel::TaskQueue& queue = *system().getGlobalParallelQueue();
    queue.pause();
    PictureLoader loader;
    for (int i = 0; i < 5; ++i) loader.load(path);
    { PictureLoader().load(path); }
    queue.resume();
    queue.wait();
    EXPECT_TRUE(loader.update());
    EXPECT_THAT(loader.getProblem(), StartsWith("cannot decode"));
    log.expect(3, "[WEBP] Not supporting WebP animations"); // only once
}

/// Returns the keys of the texts of a program, without those of the viewer's materials and problems, which
/// English does not need.
std::vector<std::string> keysOf(const std::string& program, const std::string& language) {
    std::vector<std::string> keys;
    std::istringstream lines(
        qel::test::sourceText("resources/res-" + program + "/" + program + "-texts." + language + ".txt"));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("[" + program + "-") && !line.starts_with("[viewer-material-") &&
            !line.starts_with("[viewer-problem-"))
            keys.push_back(line);
    return keys;
}

TEST(TextTableFilesTest, EveryTextExistsInBothLanguages) {
    for (const char* const program : {"screens", "viewer"}) {
        EXPECT_THAT(keysOf(program, "en"), SizeIs(Gt(40u)));
        EXPECT_EQ(keysOf(program, "en"), keysOf(program, "de"));
    }
}

} // namespace
} // namespace qelscreens
