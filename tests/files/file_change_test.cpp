#include <qel/files/file.h>
#include <qel/testing/faults.h>

#include <qel/files/directory.h>
#include <qel/foundation/base/buffer.h>
#include <tests/files/file_fixture.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qel {
namespace {

namespace fs = std::filesystem;
using platform::Operation;
using test::FailingFiles;
using Duration = FailingFiles::Duration;

constexpr const char* kOld = "old content";
constexpr const char* kNew = "the new content";
constexpr platform::FileTime kLongAgo{1'000'000'000, 0};

class FileChange : public test::FileFixture {};

TEST_F(FileChange, ACopyKeepsContentPermissionsAndTime) {
    for (auto* const change : {&File::copyFile, &File::moveFile}) {
        folder.write("from", kNew);
        fs::permissions(path("from"), fs::perms::owner_all);
        ASSERT_FALSE(platform::setModified(path("from").c_str(), &kLongAgo));
        const auto time = fs::last_write_time(path("from"));
        const bool isMove = change == &File::moveFile;
        FailingFiles files(isMove ? 0 : -1, std::errc::cross_device_link, Duration::Once, Operation::Rename);
        ASSERT_TRUE(change(path("from"), folder.write("to", kOld)));
        EXPECT_EQ(folder.read("to"), kNew);
        EXPECT_EQ(fs::last_write_time(path("to")), time);
        EXPECT_EQ(fs::status(path("to")).permissions(), fs::perms::owner_all);
        EXPECT_EQ(folder.countEntries(), isMove ? 1 : 2);
    }
}

TEST_F(FileChange, ACopyOntoItselfOrALinkLosesNothing) {
    folder.write("from", kNew);
    folder.write("target", kOld);
    ASSERT_TRUE(File::createSymLink(path("link"), "target", false));
    for (const char* name : {"from", "link", "target"}) {
        EXPECT_TRUE(File::copyFile(path("from"), path(name))) << name;
        EXPECT_EQ(folder.read(name), kNew) << name;
    }
    EXPECT_TRUE(fs::is_symlink(path("link")));
}

TEST_F(FileChange, ACopyReplacesOnlyPlainFiles) {
    const std::string from = folder.write("from", kNew), pipe = path("pipe"), null = path("null");
    const std::string dangling = path("dangling");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    fs::create_symlink("/dev/null", null);
    fs::create_symlink("nowhere", dangling);
    const std::pair<std::string, const char*> cases[] = {{pipe, "Operation not supported"},
                                                         {null, "Operation not supported"},
                                                         {dangling, "No such file or directory"}};
    for (const auto& [to, reason] : cases) {
        EXPECT_FALSE(File::copyFile(from, to));
        log.expect(2, "file '" + from + "' could not be copied to '" + to + "'; " + reason);
    }
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(fs::read_symlink(dangling), "nowhere");
    EXPECT_EQ(folder.countEntries(), 4) << "no other file is left";
    folder.write("tree/pipe", kNew);
    EXPECT_FALSE(Directory::copyDirectoryContentsRecursively(path("tree"), folder.path()));
    log.expect(2, "'" + path("tree/pipe") + "' could not be copied; Operation not supported");
    EXPECT_TRUE(fs::is_fifo(pipe));
}

// In a child process, which mounts an empty /proc of its own.
TEST_F(FileChange, ACopyWorksWithoutProc) {
    const std::string from = folder.write("from", kNew);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const bool isHidden = unshare(CLONE_NEWNS) == 0 &&
                              mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                              mount("none", "/proc", "tmpfs", 0, nullptr) == 0;
        _exit(!isHidden ? 2 : File::copyFile(from, path("to")) ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "this user cannot hide /proc";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(folder.read("to"), kNew);
}

TEST_F(FileChange, AFailureIsLoggedWithItsReason) {
    const std::string from = folder.write("from", kNew), dir = folder.makeFolder("dir"), none = path("none");
    const std::string missing = "No such file or directory";
    EXPECT_FALSE(File::copyFile(none, from));
    EXPECT_FALSE(File::moveFile(from, dir));
    EXPECT_FALSE(File::truncateFile(none, 3));
    EXPECT_FALSE(File::createEmptyFile(none, uint64(1) << 63, true));
    EXPECT_FALSE(File::createSymLink(from, "other", false));
    for (const std::string& reason :
         {"file '" + none + "' could not be copied to '" + from + "'; " + missing,
          "file '" + from + "' could not be moved to '" + dir + "'; Is a directory",
          "file '" + none + "' could not be truncated to 3 bytes; " + missing,
          std::string("file could not be extended; File too large"),
          "symbolic link '" + from + "' to target 'other' could not be created; File exists"})
        log.expect(2, reason);
    EXPECT_FALSE(File::deleteSymLink(from)) << "it is not a link";
    EXPECT_EQ(folder.read("from"), kNew);
    EXPECT_EQ(folder.countEntries(), 2);
}

TEST_F(FileChange, OnlyAnEmptiedFileLosesItsContent) {
    ASSERT_FALSE(platform::setModified(folder.write("file", kOld).c_str(), &kLongAgo));
    const auto before = fs::last_write_time(path("file"));
    EXPECT_TRUE(File::touchFile(path("file")));
    EXPECT_GT(fs::last_write_time(path("file")), before);
    EXPECT_TRUE(File::truncateFile(path("file"), 3));
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_TRUE(File::touchFile(path("created")));
    EXPECT_EQ(folder.read("created"), "");
    for (const bool sparse : {true, false}) {
        EXPECT_TRUE(File::createEmptyFile(path("file"), 5, sparse));
        EXPECT_EQ(folder.read("file"), std::string(5, '\0'));
    }
}

TEST_F(FileChange, ShortWritesContinueAndAFailedOneIsLogged) {
    {
        FailingFiles files(4, std::errc::interrupted, Duration::Once);
        files.makeShort();
        EXPECT_TRUE(File::writeFile(path("file"), ConstByteSpan::fromText(kNew)));
        EXPECT_TRUE(files.hasFailed());
        EXPECT_EQ(folder.read("file"), kNew);
    }
    const FailingFiles files(Operation::Write, std::errc::no_space_on_device);
    EXPECT_TRUE(File::writeFile(path("file"), ConstByteSpan::fromText(kNew)));
    log.expect(3, "cant write file '" + path("file") + "' of 15 bytes; No space left on device");
    EXPECT_FALSE(File::writeFile(path("missing/file"), ConstByteSpan::fromText(kNew)));
    EXPECT_TRUE(log.take().empty()) << "a file that cannot be opened is reported only by the result";
}

} // namespace
} // namespace qel
