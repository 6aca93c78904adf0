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
    EXPECT_EQ(ended(ended("/a")), "/a/");
    EXPECT_EQ(ended(""), "");
    EXPECT_EQ(stripped("/a///"), "/a");
    EXPECT_EQ(stripped("/"), "/");
}

TEST(FilePath, SplitsAtTheLastSlash) {
    const std::array<const char*, 3> cases[] = {
        {"/a/b.txt", "/a", "b.txt"}, {"b", "", "b"}, {"/b", "/", "b"}, {"a/", "a", ""}, {"", "", ""}};
    for (const auto& [path, directory, name] : cases) {
        String foundDirectory, foundName;
        File::splitFilePath(path, foundDirectory, foundName);
        EXPECT_EQ(foundDirectory, directory) << path;
        EXPECT_EQ(foundName, name) << path;
    }
}

TEST(FilePath, ExtensionsBelongToTheNameAlone) {
    EXPECT_EQ(File::getExtensionFromPath("/a.b/c.tar.gz"), "gz");
    EXPECT_EQ(File::getExtensionFromPath("/a.b/c"), "");
    EXPECT_EQ(File::getExtensionFromPath("/a/.hidden"), "");
    EXPECT_EQ(File::stripExtensionFromPath("/a.b/c"), "/a.b/c");
    EXPECT_EQ(File::addExtensionToPath("/a/c", "txt"), File::addExtensionToPath("/a/c", ".txt"));
}

TEST(FilePath, WideFormsRoundTripAndBrokenPairsAreReplaced) {
    const String path = "/a/\xC3\xA4\xF0\x9F\x98\x80";
    const Vector<uint16> wide = File::pathToWideCharWindows(path);
    EXPECT_EQ(wide, (Vector<uint16>{'/', 'a', '/', 0xE4, 0xD83D, 0xDE00, 0}));
    String back;
    File::pathFromWideCharWindows(back, wide.data());
    EXPECT_EQ(back, path);
    const uint16 broken[] = {0xD83D, 'x', 0xDE00, 0};
    File::pathFromWideCharWindows(back, broken);
    EXPECT_EQ(back, "\xEF\xBF\xBDx\xEF\xBF\xBD");
}

} // namespace
} // namespace qel
