#include <qel/files/file.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

String canonical(String path, const char* base) {
    return File::pathCanonicalize(path, base) ? path : String("refused, " + path);
}

TEST(FilePath, LongFormsPassAPathThrough) {
    EXPECT_EQ(File::pathToLongPath("//server/share/a\\b"), "//server/share/a\\b");
    EXPECT_EQ(File::longPathToPath("\\\\?\\c:\\a"), "\\\\?\\c:\\a");
}

TEST(FilePath, CanonicalFormResolvesDotsByTextAlone) {
    EXPECT_EQ(canonical("/a/./b/../c//d", ""), "/a/c/d");
    EXPECT_EQ(canonical("b/../../c", "/x/y"), "/x/c");
    EXPECT_EQ(canonical("b/", "/x/"), "/x/b/");
    EXPECT_EQ(canonical("a/..", ""), ".");
    EXPECT_EQ(canonical("/", "/x"), "/");
}

TEST(FilePath, CanonicalFormRefusesToLeaveTheRootAndKeepsThePath) {
    EXPECT_EQ(canonical("/a/../..", "/x"), "refused, /a/../..");
    EXPECT_EQ(canonical("../../b", "/x"), "refused, ../../b");
    EXPECT_EQ(canonical("../b", ""), "refused, ../b");
}

TEST(FilePath, SeparatorsAreAddedAndStrippedOnce) {
    String path = "/a";
    File::pathEndWithSeparator(path);
    File::pathEndWithSeparator(path);
    EXPECT_EQ(path, "/a/");
    path = "/a///";
    File::pathStripEndingSeparator(path);
    EXPECT_EQ(path, "/a");
    path = "/";
    File::pathStripEndingSeparator(path);
    EXPECT_EQ(path, "/");
    path = "";
    File::pathEndWithSeparator(path);
    EXPECT_EQ(path, "") << "the empty path must not become the root folder";
}

TEST(FilePath, SeparatorsConvertAsText) {
    String path = "a/b\\c";
    File::pathSeparatorToWindows(path);
    EXPECT_EQ(path, "a\\b\\c");
    File::pathSeparatorToUnix(path);
    EXPECT_EQ(path, "a/b/c");
    EXPECT_EQ(File::getPathSeparatorForHost(), String(1, File::pathSeparator()));
}

TEST(FilePath, SplitsAtTheLastSlash) {
    struct Case {
        const char *path, *directory, *name;
    };
    for (const auto& [path, directory, name] :
         {Case{"/a/b.txt", "/a", "b.txt"}, Case{"b", "", "b"}, Case{"/b", "/", "b"}, Case{"a/", "a", ""},
          Case{"", "", ""}}) {
        String foundDirectory, foundName;
        File::splitFilePath(path, foundDirectory, foundName);
        EXPECT_EQ(foundDirectory, directory) << path;
        EXPECT_EQ(foundName, name) << path;
        EXPECT_EQ(File::stripFilenameFromPath(path), directory);
        EXPECT_EQ(File::getFilenameFromPath(path), name);
    }
}

TEST(FilePath, ExtensionsBelongToTheNameAlone) {
    EXPECT_EQ(File::getExtensionFromPath("/a.b/c.tar.gz"), "gz");
    EXPECT_EQ(File::getExtensionFromPath("/a.b/c"), "");
    EXPECT_EQ(File::getExtensionFromPath("/a/.hidden"), "");
    EXPECT_EQ(File::stripExtensionFromPath("/a.b/c.tar.gz"), "/a.b/c.tar");
    EXPECT_EQ(File::stripExtensionFromPath("/a.b/c"), "/a.b/c");
    EXPECT_EQ(File::addExtensionToPath("/a/c", "txt"), "/a/c.txt");
    EXPECT_EQ(File::addExtensionToPath("/a/c", ".txt"), "/a/c.txt");
    EXPECT_EQ(File::addExtensionToPath("/a/c", nullptr), "/a/c");
}

TEST(FilePath, WideFormsRoundTripAndEndWithZero) {
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
