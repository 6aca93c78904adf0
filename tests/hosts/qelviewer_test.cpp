// The viewer without a display: its pictures, and simulated input.
#include <tests/hosts/qelviewer_fixture.h>
#include <tests/support/document_picture.h>

#include <filesystem>

namespace qel::test {
namespace {

using namespace testing;

using QelviewerTest = QelviewerFixture;

/// The middles of the panes of the page "all" in a picture of 600 by 400 pixels.
constexpr IVec2<int> kAxial{90, 148}, kCoronal{90, 302}, kSagittal{270, 302}, kVolume{270, 148};
constexpr int kQuarter = 38; // of the shown volume, in pixels

TEST_F(QelviewerTest, PicturesOfTheDocumentationAreCurrent) {
    const std::vector<std::string> sample{"--sample", "sample/head.nrrd", "--size", "1280x860"};
    std::vector<std::string> pages = sample;
    pages.insert(pages.end(), {"--frames", "pages"});
    ASSERT_EQ(run(pages).status, 0);
    std::vector<std::string> large = sample;
    large.insert(large.end(), {"--size", "1800x1200", "--scale", "200", "--language", "de", "--screenshot",
                               "pages/all-200-de.png"});
    ASSERT_EQ(run(large).status, 0);
    for (const std::string name : {"all", "slices", "volume", "all-200-de"}) {
        const Image picture = load("pages/" + name + ".png");
        Image colors(BGRA8, picture.getSize());
        ASSERT_TRUE(colors.convertFrom(picture)) << name;
        expectDocumentPicture("viewer/" + name, colors);
    }
}

TEST_F(QelviewerTest, SlicesLieAsInRadiology) {
    ASSERT_EQ(show("octant.nrrd", {"--window", "0,2000"}).status, 0);
    const struct {
        const char* name;
        IVec2<int> middle;
        int right, down; ///< where the bright part is
    } panes[] = {{"axial", kAxial, 1, -1}, {"coronal", kCoronal, 1, -1}, {"sagittal", kSagittal, -1, -1}};
    for (const auto& pane : panes) {
        for (const int right : {-1, 1}) {
            for (const int down : {-1, 1}) {
                const bool isBright = right == pane.right && down == pane.down;
                EXPECT_EQ(redAt("a.png", pane.middle.x + right * kQuarter, pane.middle.y + down * kQuarter),
                          isBright ? 255 : 0)
                    << pane.name << " " << right << " " << down;
            }
        }
    }
}

TEST_F(QelviewerTest, TheCameraMovesFromTheFrontToTheLeftAndUp) {
    const struct {
        const char* camera;
        IVec2<int> bright, dark; ///< places right of the middle and above it
    } cases[] = {{"0,0", {20, 20}, {-20, 20}}, {"90,0", {-20, 20}, {26, 20}}, {"0,90", {20, -12}, {20, 26}}};
    for (const auto& [camera, bright, dark] : cases) {
        ASSERT_EQ(show("octant.nrrd", {"--material", "sample skull", "--camera", camera}).status, 0);
        EXPECT_GT(redAt("a.png", kVolume.x + bright.x, kVolume.y - bright.y), 0) << camera;
        EXPECT_EQ(redAt("a.png", kVolume.x + dark.x, kVolume.y - dark.y), 0) << camera;
    }
}

TEST_F(QelviewerTest, TheWindowDecidesTheGreys) {
    const struct {
        const char* window;
        int bright, dark;
    } cases[] = {{"0,4000", 191, 64}, {"1000,2000", 128, 0}, {"0,1e308", 128, 127}};
    for (const auto& [window, bright, dark] : cases) {
        ASSERT_EQ(show("octant.nrrd", {"--window", window}).status, 0);
        EXPECT_NEAR(redAt("a.png", kAxial.x + kQuarter, kAxial.y - kQuarter), bright, 1) << window;
        EXPECT_NEAR(redAt("a.png", kAxial.x - kQuarter, kAxial.y - kQuarter), dark, 1) << window;
    }
}

TEST_F(QelviewerTest, KeysShowPagesAndUndoThemselves) {
    const HostRun run =
        play("frame all.png\nkey f2\nframe slices.png\nkey f3\nframe volume.png\nkey f4\n"
             "frame again.png\nkey f1\nframe help.png\nkey escape\nframe closed.png\n"
             "key l\nframe german.png\nkey l\nframe english.png\n"
             "key x\nframe uncrossed.png\nkey x\nkey b\nframe unboxed.png\nkey b\nframe last.png\n",
             {"octant.nrrd"});
    ASSERT_EQ(run.status, 0) << run;
    for (const char* const same : {"again.png", "closed.png", "english.png", "last.png"})
        EXPECT_TRUE(showTheSame("all.png", same)) << same;
    for (const char* const other :
         {"slices.png", "volume.png", "help.png", "german.png", "uncrossed.png", "unboxed.png"})
        EXPECT_FALSE(showTheSame("all.png", other)) << other;
}

TEST_F(QelviewerTest, SlicesAreScrolledAndTheCrosshairLinksThem) {
    const HostRun run = play("frame a.png\nmove 90 122\nkey down\nframe down.png\nkey up\nframe up.png\n"
                             "wheel 90 122 -1\nframe wheel.png\nmove 3 3\n"
                             "press 132 80 left\nrelease 132 80 left\nmove 3 3\nframe moved.png\n",
                             {"octant.nrrd", "--window", "0,2000"});
    ASSERT_EQ(run.status, 0) << run;
    EXPECT_TRUE(showTheSame("down.png", "wheel.png"));
    EXPECT_FALSE(showTheSame("down.png", "up.png"));
    EXPECT_EQ(redAt("moved.png", kSagittal.x + kQuarter, kSagittal.y - kQuarter), 0);
    EXPECT_FALSE(showTheSame("moved.png", "a.png"));
}

TEST_F(QelviewerTest, EachToolChangesThePicture) {
    const HostRun run =
        play("frame a.png\npress 90 122 right\nmove 120 100\nrelease 120 100 right\nframe window.png\n"
             "key 2\nframe bone.png\nkey 0\nkey d\npress 100 100 left\nmove 200 160\n"
             "release 200 160 left\nframe distance.png\nkey a\npress 60 200 left\nmove 120 250\n"
             "release 120 250 left\npress 200 220 left\nrelease 200 220 left\nframe angle.png\n"
             "key delete\nframe none.png\n",
             {"octant.nrrd"});
    ASSERT_EQ(run.status, 0) << run;
    const char* const frames[] = {"a.png", "window.png", "bone.png", "distance.png", "angle.png", "none.png"};
    for (size_t i = 1; i < std::size(frames); ++i)
        EXPECT_FALSE(showTheSame(frames[i - 1], frames[i])) << frames[i];
}

TEST_F(QelviewerTest, TheVolumeIsTurnedZoomedAndReset) {
    const HostRun run = play("frame a.png\npress 270 122 left\nmove 290 122\nmove 300 110\nframe held.png\n"
                             "release 300 110 left\nmove 3 3\nframe turned.png\nwheel 270 122 2\nmove 3 3\n"
                             "frame zoomed.png\nkey r\nframe reset.png\nkey m\nframe material.png\n",
                             {"octant.nrrd"});
    ASSERT_EQ(run.status, 0) << run;
    EXPECT_FALSE(showTheSame("a.png", "turned.png"));
    EXPECT_FALSE(showTheSame("turned.png", "zoomed.png"));
    EXPECT_TRUE(showTheSame("a.png", "reset.png"));
    EXPECT_FALSE(showTheSame("a.png", "material.png"));
}

TEST_F(QelviewerTest, WritesEachPageWithoutADisplay) {
    const HostRun run = this->run({"octant.nrrd", "--frames", "new/pages"});
    ASSERT_EQ(run.status, 0) << run;
    EXPECT_EQ(run.out, "new/pages/slices.png\nnew/pages/volume.png\nnew/pages/all.png\n");
    ASSERT_EQ(show("octant.nrrd", {"--page", "slices"}).status, 0);
    EXPECT_TRUE(showTheSame("a.png", "new/pages/slices.png"));
}

TEST_F(QelviewerTest, SavedPicturesReplaceNothing) {
    folder.write("qelviewer-0001.png", "of the user");
    std::filesystem::create_symlink("nowhere", folder.path("qelviewer-0002.png"));
    ASSERT_EQ(play("key s\n", {"octant.nrrd", "--page", "slices"}).status, 0);
    EXPECT_EQ(folder.read("qelviewer-0001.png"), "of the user");
    EXPECT_FALSE(folder.has("nowhere"));
    EXPECT_TRUE(folder.has("qelviewer-0003.png"));
}

TEST_F(QelviewerTest, SmallWindowsAndLargeTextsAreDrawn) {
    for (const char* const size : {"1x1", "40x30", "300x200"})
        for (const char* const scale : {"50", "400"})
            EXPECT_EQ(show("octant.nrrd", {"--size", size, "--scale", scale}).status, 0)
                << size << " " << scale;
}

TEST_F(QelviewerTest, ExtremeVolumesAreDrawnAndHandled) {
    const struct {
        int width, height, depth;
        const char* spacing;
    } cases[] = {{1, 1, 1, "1"}, {1, 1, 300, "1"}, {20, 1, 20, "1"}, {3, 3, 3, "1e-30"}, {3, 3, 3, "1e30"}};
    for (const auto& [width, height, depth, spacing] : cases) {
        const auto valueAt = [](int x, int y, int z) { return x + y - z; };
        folder.write("extreme.nrrd", smallVolume(width, height, depth, spacing, valueAt));
        const HostRun run = play("key d\npress 60 80 left\nmove 100 120\nrelease 100 120 left\n"
                                 "wheel 90 122 50\nkey z\npress 90 122 middle\nmove 30 10\n"
                                 "release 30 10 middle\npress 90 122 right\nmove 9999 -9999\n"
                                 "release 9999 -9999 right\nwheel 270 122 50\nframe a.png\n",
                                 {"extreme.nrrd"});
        EXPECT_EQ(run.status, 0) << depth << " " << spacing << run;
    }
}

TEST_F(QelviewerTest, WhatCannotBeReadIsReported) {
    folder.write("empty.nrrd", "");
    for (const char* const path : {"missing.nrrd", "empty.nrrd"}) {
        const HostRun run = show(path);
        EXPECT_EQ(run.status, 1) << path;
        EXPECT_THAT(run.error, HasSubstr(path));
        EXPECT_FALSE(folder.has("a.png")) << path;
    }
}

TEST_F(QelviewerTest, PicturesNeverReplaceTheVolume) {
    const std::string voxels(8, '1');
    folder.write("voxels.raw", voxels);
    folder.write("v.nhdr", "NRRD0004\ntype: uchar\ndimension: 3\nsizes: 2 2 2\nencoding: raw\n"
                           "data file: voxels.raw\n");
    std::filesystem::create_symlink("octant.nrrd", folder.path("link.png"));
    const std::string octant = folder.read("octant.nrrd");
    const std::pair<const char*, const char*> cases[] = {
        {"octant.nrrd", "octant.nrrd"}, {"octant.nrrd", "link.png"}, {"v.nhdr", "voxels.raw"}};
    for (const auto& [file, picture] : cases) {
        const HostRun run = this->run({file, "--screenshot", picture});
        EXPECT_EQ(run.status, 1) << picture;
        EXPECT_THAT(run.error, HasSubstr("the picture would replace the volume")) << picture;
    }
    folder.makeFolder("pages");
    std::filesystem::create_symlink("../octant.nrrd", folder.path("pages/all.png"));
    EXPECT_EQ(run({"octant.nrrd", "--frames", "pages"}).status, 1);
    EXPECT_EQ(folder.read("octant.nrrd"), octant);
    EXPECT_EQ(folder.read("voxels.raw"), voxels);
}

TEST_F(QelviewerTest, AMeasurementStaysInItsSlice) {
    const HostRun run = play("key d\npress 60 122 left\nmove 100 122\nframe before.png\nwheel 60 122 -3\n"
                             "move 101 122\nmove 100 122\nrelease 100 122 left\nwheel 60 122 3\n"
                             "move 100 122\nframe after.png\n",
                             {"octant.nrrd"});
    ASSERT_EQ(run.status, 0) << run;
    EXPECT_TRUE(showTheSame("before.png", "after.png"));
}

TEST_F(QelviewerTest, ADamagedSampleIsComputedAgain) {
    const std::string sample = "data/ORLANE/qelviewer/head-phantom.nrrd";
    folder.write(sample, "NRRD0004\n");
    std::vector<std::string> words{"env", "XDG_DATA_HOME=" + folder.path("data")};
    for (const std::string& word : command({"--page", "slices", "--screenshot", "a.png"}))
        words.push_back(word);
    const HostRun damaged = runProgram(folder, words);
    EXPECT_EQ(damaged.status, 0) << damaged;
    EXPECT_THAT(damaged.error, HasSubstr("the sample volume is not kept"));
    const HostRun next = runProgram(folder, words);
    EXPECT_EQ(next.status, 0) << next;
    EXPECT_THAT(next.error, Not(HasSubstr("sample volume")));
    EXPECT_TRUE(folder.has(sample));
}

TEST_F(QelviewerTest, WrongArgumentsAreReported) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--size", "0x5"}, "not a size such as 800x600: '0x5'"},
        {{"--page", "help"}, "not a page: 'help'"},
        {{"--window", "1,0"}, "not a centre and a width above 0"},
        {{"--camera", "1,2,0"}, "not two angles and a zoom"},
        {{"a.nrrd", "b.nrrd"}, "unknown argument 'b.nrrd'"},
    };
    for (const auto& [arguments, problem] : cases) {
        const HostRun run = this->run(arguments);
        EXPECT_EQ(run.status, 2) << problem;
        EXPECT_THAT(run.error, HasSubstr(problem));
    }
}

TEST_F(QelviewerTest, ABrokenMaterialFileIsReportedAndLeftOut) {
    std::filesystem::create_directory(folder.path("more"));
    folder.write("more/materials/broken.json", "[{\"name\": 1}]");
    folder.write("more/materials/good.json",
                 "[{\"name\": \"Good\", \"modality_filter\": \"\", \"color\": [{\"offset\": 0, \"value\": "
                 "[1, 0, 0]}], \"opacity\": [{\"offset\": 0, \"value\": 1}], \"gradient\": []}]");
    const HostRun run =
        show("octant.nrrd", {"--page", "slices", "--resources", folder.path("more"), "--material", "Good"});
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.error, HasSubstr("broken.json"));
}

} // namespace
} // namespace qel::test
