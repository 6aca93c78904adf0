// The screens without a display: their pictures, and simulated input.
#include <tests/hosts/qelscreens_fixture.h>
#include <tests/support/picture_test.h>

#include <filesystem>

namespace qel::test {
namespace {

using namespace testing;

using QelscreensTest = QelscreensFixture;

constexpr const char* kPages[] = {"pages/1-text.png",   "pages/2-actors.png",  "pages/3-placement.png",
                                  "pages/4-graphs.png", "pages/5-touches.png", "pages/6-reader.png"};

TEST_F(QelscreensTest, PagesAreWrittenWhereWindowsCannotBeSeen) {
    const HostRun run = this->run({}, "dummy");
    ASSERT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.out,
                testing::HasSubstr("there is no display (the video driver \"dummy\" shows nothing)"));
    EXPECT_EQ(load("qelscreens/1-text.png").getSize(), IVec2<int>(900, 600));
}

TEST_F(QelscreensTest, PicturesShowEveryPage) {
    const struct {
        const char* language;
        const char* scale;
    } kLooks[] = {{"en", "100"}, {"de", "200"}};
    for (const auto& look : kLooks) {
        const HostRun run =
            this->run({"--frames", "pages", "--language", look.language, "--scale", look.scale});
        ASSERT_EQ(run.status, 0) << run;
        for (const std::string page : kPages) {
            const Image shown = load(page);
            Image frame(BGRA8, shown.getSize());
            ASSERT_TRUE(frame.convertFrom(shown));
            const std::string name = page.substr(8, page.size() - 12);
            expectImage("tests/hosts/pictures.txt", name + "-" + look.language + "-" + look.scale, frame);
        }
    }
}

TEST_F(QelscreensTest, ASwipeTurnsThePage) {
    ASSERT_EQ(play("frame page2.png\n", {"--page", "2"}).status, 0);
    const HostRun run = play("touch 1 600 590\ntouch 1 500 585\ntouch 1 300 580\nlift 1\nframe after.png\n");
    ASSERT_EQ(run.status, 0) << run;
    EXPECT_TRUE(showTheSame("after.png", "page2.png"));
}

TEST_F(QelscreensTest, TextIsTypedIntoTheField) {
    const HostRun run =
        play("text lost\nframe before.png\nkey tab\nframe focus.png\ntext abc\nframe typed.png\n"
             "key backspace\nkey backspace\nkey backspace\nframe erased.png\n"
             "text abc\nkey ctrl+a\nkey ctrl+x\nframe cut.png\nkey ctrl+v\nframe pasted.png\n"
             "key escape\nframe unfocused.png\n");
    ASSERT_EQ(run.status, 0) << run;
    EXPECT_FALSE(showTheSame("before.png", "focus.png"));
    EXPECT_FALSE(showTheSame("focus.png", "typed.png"));
    EXPECT_TRUE(showTheSame("focus.png", "erased.png"));
    EXPECT_TRUE(showTheSame("focus.png", "cut.png"));
    EXPECT_TRUE(showTheSame("typed.png", "pasted.png"));
    EXPECT_FALSE(showTheSame("pasted.png", "unfocused.png"));
}

TEST_F(QelscreensTest, LanguageAndScaleChangeWhileItRuns) {
    const HostRun run =
        play("key l\nframe german.png\nkey l\nkey +\nframe larger.png\nkey -\nframe normal.png\n");
    ASSERT_EQ(run.status, 0) << run;
    ASSERT_EQ(play("frame de.png\n", {"--language", "de"}).status, 0);
    ASSERT_EQ(play("frame 125.png\n", {"--scale", "125"}).status, 0);
    ASSERT_EQ(play("frame en.png\n").status, 0);
    EXPECT_TRUE(showTheSame("german.png", "de.png"));
    EXPECT_TRUE(showTheSame("larger.png", "125.png"));
    EXPECT_TRUE(showTheSame("normal.png", "en.png"));
}

TEST_F(QelscreensTest, TheStylesheetIsReadAgainWhenItChanges) {
    folder.write("a.css", "Screen { background-color: #123456; }");
    folder.write("b.css", "Screen { background-color: #654321; color: #000000 }");
    folder.write("style.css", "Screen { background-color: #123456; }");
    // The commands come through a pipe, so that the file changes between two frames.
    const std::string script =
        "mkfifo pipe; \"$@\" --frames pages --events pipe --style style.css & exec 3>pipe\n"
        "echo frame before.png >&3; until [ -e before.png ]; do kill -0 $! || exit 9; sleep 0.02; done\n"
        "cp b.css new.css && mv new.css style.css; printf 'wait 3000\\nframe after.png\\n' >&3\n"
        "exec 3>&-; wait $!";
    std::vector<std::string> words{"timeout", "60", "/bin/sh", "-c", script, "sh"};
    for (const std::string& word : command({})) words.push_back(word);
    const HostRun run = runProgram(folder, words);
    ASSERT_EQ(run.status, 0) << run;
    ASSERT_EQ(play("frame a.png\n", {"--style", "a.css"}).status, 0);
    ASSERT_EQ(play("frame b.png\n", {"--style", "b.css"}).status, 0);
    EXPECT_TRUE(showTheSame("before.png", "a.png"));
    EXPECT_TRUE(showTheSame("after.png", "b.png"));
    EXPECT_FALSE(showTheSame("a.png", "b.png"));
}

TEST_F(QelscreensTest, TheReaderShowsFilesAndFolders) {
    folder.write("text.md", "# one\n\ttab {color:red}\n");
    folder.write("pictures/broken.png", "\x89PNG\r\n\x1a\nbroken");
    std::filesystem::copy_file(sourceDir() + "/docs/images/viewer/all.png", folder.path("pictures/all.png"));
    for (const std::string path : {"text.md", "pictures"}) {
        const HostRun run = play("wait 100\nframe " + path + ".png\nkey down\nwait 100\n", {path});
        EXPECT_EQ(run.status, 0) << run;
    }
    EXPECT_FALSE(showTheSame("text.md.png", "pictures.png"));
}

TEST_F(QelscreensTest, WhatCannotBeReadIsReported) {
    for (const char* const path : {"missing.md", "empty"}) {
        folder.makeFolder("empty");
        const HostRun run = this->run({"--frames", "pages", path});
        EXPECT_EQ(run.status, 1) << path;
        EXPECT_THAT(run.error, HasSubstr(path));
    }
}

TEST_F(QelscreensTest, MistakesInTheInputAreReported) {
    const std::pair<const char*, const char*> cases[] = {
        {"jump 1", "line 1: no such command 'jump'"},
        {"# a comment\n\nmove 1", "line 3: a number is missing or too large"},
        {"move 1 nan", "line 1: a number is missing or too large"},
        {"move 1 2 3", "line 1: too many words"},
        {"press 1 2 thumb", "line 1: no such button 'thumb'"},
        {"key nothing", "line 1: no such key 'nothing'"},
        {"frame missing/a.png", "line 1: cannot write 'missing/a.png'"},
    };
    for (const auto& [events, problem] : cases) {
        const HostRun run = play(events);
        EXPECT_EQ(run.status, 1) << events;
        EXPECT_THAT(run.error, HasSubstr(problem)) << events;
    }
}

} // namespace
} // namespace qel::test
