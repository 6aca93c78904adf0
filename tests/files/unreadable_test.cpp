// Folders and files that cannot be read: each failure is reported, and everything else is done.
#include <qel/files/directory.h>

#include <tests/files/file_fixture.h>
#include <tests/files/unprivileged.h>

#include <gmock/gmock.h>

#include <map>

namespace qel {
namespace {

namespace fs = std::filesystem;
using platform::Operation;
using test::asUnprivilegedOwner;
using test::FailingFiles;
using testing::EndsWith;
using testing::UnorderedElementsAre;

constexpr auto kReadable = fs::perms(0444); // its names can be listed, but nothing in it can be accessed
constexpr const char* kDenied = "; Permission denied";

class Unreadable : public test::FileFixture {
protected:
    // Creates a folder "locked" between two others.
    Unreadable() {
        folder.write("tree/a/file", "123");
        folder.write("tree/locked/file", "12345");
        folder.makeFolder("tree/locked/sub");
        folder.write("tree/z/target", "4567");
        fs::permissions(locked, kReadable);
    }
    ~Unreadable() override {
        if (fs::exists(fs::symlink_status(locked))) fs::permissions(locked, fs::perms::owner_all);
    }

    void expectDenied(const char* name, const char* action) {
        log.expect(2, "'" + path(name) + "' could not be " + action + kDenied);
    }

    const String tree = path("tree");
    const std::string locked = path("tree/locked");
};

// --- one folder -------------------------------------------------------------------------------------------

TEST_F(Unreadable, NamesInAnUnsearchableFolderAreListedAsUnknown) {
    asUnprivilegedOwner(folder, [this] {
        Directory directory(locked);
        std::map<String, File::FileInfo> entries;
        for (File::FileInfo info; directory.read(info);) entries[info.name] = info;
        ASSERT_EQ(entries.size(), 2u);
        EXPECT_TRUE(entries["file"].isUnknown);
        EXPECT_EQ(entries["file"].size, 0u);
        EXPECT_FALSE(entries["file"].isDirectory);
        EXPECT_TRUE(entries["sub"].isUnknown);
        EXPECT_TRUE(entries["sub"].isDirectory) << "the folder itself records the kind";
        EXPECT_FALSE(directory.hasFailed()) << "no name was lost";
        const auto lines = log.take();
        ASSERT_EQ(lines.size(), 1u) << "only the first entry is logged";
        EXPECT_THAT(lines[0].text, EndsWith("could not be examined; Permission denied"));
    });
}

TEST_F(Unreadable, AReadErrorEndsTheEntriesAndIsReported) {
    Directory directory(tree);
    EXPECT_FALSE(directory.hasFailed());
    String name;
    {
        const FailingFiles files(Operation::ReadFolder, std::errc::io_error, FailingFiles::Duration::Once);
        EXPECT_FALSE(directory.read(name));
    }
    EXPECT_TRUE(directory.hasFailed());
    EXPECT_EQ(directory.getError(), std::errc::io_error);
    log.expect(2, "'" + path("tree/") + "' could not be read to its end; Input/output error");
    EXPECT_FALSE(directory.read(name)) << "the entries have ended";
    EXPECT_TRUE(directory.open(tree));
    EXPECT_FALSE(directory.hasFailed()) << "a second open starts again";
}

TEST_F(Unreadable, AFolderThatCannotBeReadIsNotEmpty) {
    EXPECT_TRUE(Directory::isDirectoryEmpty(path("missing")));
    EXPECT_TRUE(Directory::isDirectoryEmpty(folder.makeFolder("empty")));
    fs::permissions(locked, fs::perms::none);
    asUnprivilegedOwner(folder, [this] {
        EXPECT_FALSE(Directory::isDirectoryEmpty(locked));
        expectDenied("tree/locked", "read");
    });
    const FailingFiles files(Operation::ReadFolder, std::errc::io_error);
    EXPECT_FALSE(Directory::isDirectoryEmpty(path("tree/a")));
    EXPECT_EQ(log.take().size(), 1u);
}

// --- walks continue after it and report it ----------------------------------------------------------------

TEST_F(Unreadable, TheSizeOfTheRestIsReportedAsIncomplete) {
    const std::string second = folder.makeFolder("tree/z/second");
    fs::permissions(second, fs::perms::none);
    asUnprivilegedOwner(folder, [this] {
        uint64 size = 0;
        EXPECT_FALSE(Directory::getSize(tree, size));
        EXPECT_EQ(size, 7u);
        expectDenied("tree/locked/file", "read");
        expectDenied("tree/z/second", "read");
        EXPECT_TRUE(log.take().empty()) << "one line for each folder";
    });
    fs::permissions(second, fs::perms::owner_all);
}

TEST_F(Unreadable, TheRestIsFoundCopiedAndDeleted) {
    folder.makeFolder("tree/y/empty");
    asUnprivilegedOwner(folder, [this] {
        String found;
        EXPECT_TRUE(Directory::findFile(tree, "target", found));
        EXPECT_EQ(found, path("tree/z/target"));
        EXPECT_FALSE(Directory::findFile(tree, "nowhere", found));
        log.take();
        EXPECT_EQ(Directory::getDirectoryHash(tree), 0u);
        expectDenied("tree/locked/file", "read");
        EXPECT_FALSE(Directory::copyDirectoryContentsRecursively(tree, path("copy")));
        EXPECT_EQ(folder.read("copy/a/file"), "123");
        EXPECT_EQ(folder.read("copy/z/target"), "4567");
        EXPECT_FALSE(folder.has("copy/locked/file"));
        expectDenied("tree/locked/file", "copied");
        EXPECT_FALSE(Directory::deleteEmptyDirectoriesInPathRecursively(tree));
        expectDenied("tree/locked/sub", "deleted");
        EXPECT_FALSE(folder.has("tree/y"));
        EXPECT_TRUE(folder.has("tree/locked"));
        EXPECT_EQ(Directory::deleteDirectoryContentsOlderThan(tree, ~uint64(0)), 2);
        expectDenied("tree/locked/file", "examined");
    });
    EXPECT_FALSE(folder.has("tree/a/file"));
    EXPECT_FALSE(folder.has("tree/z/target"));
}

// --- deletion ---------------------------------------------------------------------------------------------

TEST_F(Unreadable, OwnFoldersAreGrantedAccessForTheirDeletion) {
    fs::permissions(folder.makeFolder("tree/z/closed"), fs::perms::none);
    asUnprivilegedOwner(folder, [this] {
        EXPECT_TRUE(Directory::deleteDirectoryRecursively(locked)) << "at the root of the tree";
        EXPECT_TRUE(Directory::deleteDirectoryRecursively(tree)) << "within the tree";
    });
    EXPECT_FALSE(folder.has("tree"));
}

TEST_F(Unreadable, AFolderWhoseContentsAreDeletedKeepsItsPermissions) {
    asUnprivilegedOwner(folder, [this] {
        EXPECT_TRUE(Directory::deleteDirectoryContentsRecursively(locked));
        EXPECT_EQ(fs::status(locked).permissions(), kReadable);
    });
    EXPECT_TRUE(fs::is_empty(locked));
}

TEST_F(Unreadable, AnotherUsersFolderIsKeptAndTheRestDeleted) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can create another user's folder";
    test::giveToUnprivilegedUser(folder);
    ASSERT_EQ(lchown(locked.c_str(), 0, 0), 0);
    test::asUnprivilegedUser([this] {
        EXPECT_FALSE(Directory::deleteDirectoryRecursively(tree));
        log.expect(2, "file '" + path("tree/locked/file") + "(attrib:0000) could not be deleted" + kDenied);
        EXPECT_TRUE(log.take().empty()) << "the folders above are not empty as a consequence";
    });
    EXPECT_TRUE(folder.has("tree/locked/file"));
    EXPECT_FALSE(folder.has("tree/a"));
    EXPECT_FALSE(folder.has("tree/z"));
}

TEST_F(Unreadable, AFolderThatCannotBeOpenedOrRemovedIsLogged) {
    for (const Operation operation : {Operation::Open, Operation::Remove}) {
        fs::permissions(folder.makeFolder("dir"), fs::perms(0755));
        const FailingFiles files(operation, std::errc::io_error);
        EXPECT_FALSE(Directory::deleteDirectoryRecursively(path("dir")));
        log.expect(2, "file '" + path("dir") + "(attrib:0755) could not be deleted; Input/output error");
    }
}

TEST_F(Unreadable, UnreadableContentsAreNotReportedAsDeleted) {
    EXPECT_TRUE(Directory::deleteDirectoryContentsRecursivelyNowOrLater("[test]", path("missing")));
    fs::permissions(locked, fs::perms::none);
    asUnprivilegedOwner(folder, [this] {
        EXPECT_FALSE(Directory::deleteDirectoryContentsRecursivelyNowOrLater("[test]", locked));
        expectDenied("tree/locked", "read");
        EXPECT_FALSE(Directory::deleteDirectoryContentsRecursivelyNowOrLater("[test]", locked, true));
        EXPECT_TRUE(log.take().empty());
    });
    const FailingFiles files(Operation::ReadFolder, std::errc::io_error);
    EXPECT_FALSE(Directory::deleteDirectoryContentsRecursivelyNowOrLater("[test]", path("tree/a")));
    EXPECT_EQ(log.take().size(), 1u);
}

} // namespace
} // namespace qel
