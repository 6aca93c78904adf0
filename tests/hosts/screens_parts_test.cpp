// The parts of the screens that draw nothing: the text of a field, the reader's files, and the table of
// texts.
#include <hosts/qelscreens/edit_buffer.h>
#include <hosts/qelscreens/picture_loader.h>
#include <hosts/qelscreens/reader_source.h>
#include <hosts/widgets/text_table.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>
#include <tests/support/system_fixture.h>

#include <qel/plugins/resource_locator.h>
#include <qel/system/tasks/task_queue.h>
#include <qel/text/engine/text_actor.h>

#include <gmock/gmock.h>

#include <filesystem>

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

TEST(EditBufferTest, InsertsAtTheCursor) {
    EditBuffer buffer = bufferOf("hö");
    buffer.step(false, false, false);
    buffer.insert("äß");
    EXPECT_EQ(buffer.getText(), "häßö");
    EXPECT_EQ(buffer.getCursor(), 3u);
}

TEST(EditBufferTest, ControlCharactersAndBadBytesAreReplaced) {
    EXPECT_EQ(bufferOf("a\nb\tc\x7f").getText(), "a b c ");
    EXPECT_EQ(bufferOf("\xff").getText(), qel::String("\xff").utf8_fix());
}

TEST(EditBufferTest, TheTextIsLimited) {
    EditBuffer buffer = bufferOf(std::string(EditBuffer::kLongestText, 'x').c_str());
    buffer.insert("y");
    EXPECT_EQ(buffer.getText().utf8_size(), EditBuffer::kLongestText);
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
    EditBuffer buffer = bufferOf("abc");
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

TEST(EditBufferTest, StepsByCharactersAndWords) {
    EditBuffer buffer = bufferOf("one  two three");
    const auto step = [&](bool forward, bool byWord, bool selecting) {
        buffer.step(forward, byWord, selecting);
        return buffer.getCursor();
    };
    EXPECT_EQ(step(true, false, false), 14u);
    EXPECT_EQ(step(false, true, false), 9u);
    EXPECT_EQ(step(false, true, true), 5u);
    EXPECT_EQ(buffer.getSelectedText(), "two ");
    EXPECT_EQ(step(true, false, false), 9u) << "a step leaves the selection at its end";
    EXPECT_EQ(step(true, true, false), 14u);
    buffer.moveTo(0, false);
    EXPECT_EQ(step(false, false, false), 0u);
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

TEST(ReaderSourceTest, BadBytesAreRepaired) {
    EXPECT_EQ(prepareMarkdown("\xc3"), qel::String("\xc3").utf8_fix());
}

TEST(ReaderSourceTest, ReadsAFile) {
    const ScratchFolder folder;
    const ReaderSource source = ReaderSource::open(folder.write("a.md", "text"));
    EXPECT_EQ(source.text, "text");
    EXPECT_EQ(source.problem, "");
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

class TextTableTest : public qel::test::SystemFixture {};

TEST_F(TextTableTest, ServesTheTextsOfAFile) {
    const ScratchFolder folder;
    folder.write("screens-texts.en.txt", "ignored\n[one]\n1\n\n2\n[two]\n[--|]right\n");
    system().getResourceLocator()->addResourceDirectory(folder.path());
    qelwidgets::TextTable table;
    table.disableSmartPointers();
    ASSERT_TRUE(table.load("screens-texts", "en"));
    EXPECT_FALSE(table.load("screens-texts", "fr"));
    qel::Buffer text;
    ASSERT_TRUE(table.loadResource("tr-one.en.txt", text));
    EXPECT_EQ(text.getConstByteSpan().asText(), "1\n\n2");
    ASSERT_TRUE(table.loadResource("tr-two.en.txt", text));
    EXPECT_EQ(text.getConstByteSpan().asText(), "[--|]right");
    EXPECT_FALSE(table.loadResource("tr-one.de.txt", text));
}

/// Returns the keys of a file of texts.
std::vector<std::string> keysOf(const std::string& language) {
    std::vector<std::string> keys;
    std::istringstream lines(
        qel::test::sourceText("resources/res-screens/screens-texts." + language + ".txt"));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("[screens-")) keys.push_back(line);
    return keys;
}

TEST(TextTableFilesTest, EveryTextExistsInBothLanguages) {
    EXPECT_THAT(keysOf("en"), SizeIs(Gt(50u)));
    EXPECT_EQ(keysOf("en"), keysOf("de"));
}

/// All but the alignment, which the page adds to its texts, and the mark that ends an inserted translation.
TEST(TextTableFilesTest, ThePagesShowEveryControlCode) {
    for (const std::string language : {"en", "de"}) {
        const std::string texts =
            qel::test::sourceText("resources/res-screens/screens-texts." + language + ".txt");
        for (const qel::String& name : qel::TextActor::getControlCodes()) {
            if (name == "align:" || name == "tr-pop:") continue;
            EXPECT_NE(texts.find("{" + name), texts.npos) << name << " in " << language;
        }
    }
}

} // namespace
} // namespace qelscreens
