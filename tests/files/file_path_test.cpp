#include <qel/files/file.h>

#include <gtest/gtest.h>

#include <array>

namespace qel {
namespace {

TEST(FilePath, CanonicalFormResolvesDotsByTextAloneAndNeverLeavesTheRoot) {
    const std::array<const char*, 3> cases[] = {
        // a path, the folder it stands in, and the canonical form or null for a path that is refused
        {"/a/./b/../c//d", "", "/a/c/d"},
        {"b/../../c", "/x/y", "/x/c"},
        {"b/", "/x/", "/x/b/"},
        {"a/..", "", "."},
        {"/", "/x", "/"},
        {"/a/../..", "/x", nullptr},
        {"../../b", "/x", nullptr},
        {"../b", "", nullptr}};
    for (const auto& [path, base, canonical] : cases) {
        String changed = path;
        EXPECT_EQ(File::pathCanonicalize(changed, base), canonical != nullptr) << path;
        EXPECT_EQ(changed, canonical ? canonical : path);
    }
}

TEST(FilePath, SeparatorsAreAddedAndStrippedOnceAndNeverMakeOrLoseTheRoot) {
    const auto ended = [](String path) { return File::pathEndWithSeparator(path), path; };
    const auto stripped = [](String path) { return File::pathStripEndingSeparator(path), path; };
    EXPECT_EQ(ended(ended("/a")) + ended(""), "/a/");
    EXPECT_EQ(stripped("/a///") + stripped("/"), "/a/");
}

TEST(FilePath, SplitsAtTheLastSlashAndExtensionsBelongToTheNameAlone) {
    const std::array<const char*, 4> cases[] = {{"/a.b/c.tar.gz", "/a.b", "c.tar.gz", "gz"},
                                                {"b", "", "b", ""},
                                                {"/b", "/", "b", ""},
                                                {"/a.b/c", "/a.b", "c", ""},
                                                {"/a/.hidden", "/a", ".hidden", ""},
                                                {"a/", "a", "", ""},
                                                {"", "", "", ""}};
    for (const auto& [path, directory, name, extension] : cases) {
        String foundDirectory, foundName;
        File::splitFilePath(path, foundDirectory, foundName);
        EXPECT_EQ(foundDirectory, directory) << path;
        EXPECT_EQ(foundName, name) << path;
        EXPECT_EQ(File::getExtensionFromPath(path), extension) << path;
    }
    EXPECT_EQ(File::stripExtensionFromPath("/a.b/c"), "/a.b/c");
    EXPECT_EQ(File::addExtensionToPath("/a/c", "txt"), File::addExtensionToPath("/a/c", ".txt"));
}

TEST(FilePath, WideFormsRoundTripAndBrokenPairsAreReplaced) {
    const Vector<uint16> wide = File::pathToWideCharWindows("/\xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_EQ(wide, (Vector<uint16>{'/', 0xE4, 0xD83D, 0xDE00, 0}));
    String back;
    File::pathFromWideCharWindows(back, wide.data());
    EXPECT_EQ(back, "/\xC3\xA4\xF0\x9F\x98\x80");
    const uint16 broken[] = {0xD83D, 'x', 0xDE00, 0};
    File::pathFromWideCharWindows(back, broken);
    EXPECT_EQ(back, "\xEF\xBF\xBDx\xEF\xBF\xBD");
}

} // namespace
} // namespace qel
