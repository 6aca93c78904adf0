#include <qel/files/file.h>
#include <qel/testing/faults.h>

#include <qel/foundation/base/buffer.h>
#include <tests/files/file_fixture.h>

#include <functional>

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

TEST_F(FileChange, ACopyTakesContentPermissionsAndTimeAlsoWhenAMoveBetweenDisksMakesIt) {
    for (auto* const change : {&File::copyFile, &File::moveFile}) {
        folder.write("from", kNew);
        fs::permissions(path("from"), fs::perms::owner_all);
        ASSERT_FALSE(platform::setModified(path("from").c_str(), &kLongAgo));
        const auto time = fs::last_write_time(path("from"));
        const bool isMove = change == &File::moveFile;
        FailingFiles files(isMove ? 0 : -1, std::errc::cross_device_link, Duration::Once, Operation::Rename);
        ASSERT_TRUE(change(path("from"), folder.write("to", kOld)));
        EXPECT_TRUE(folder.read("to") == kNew && fs::last_write_time(path("to")) == time);
        EXPECT_EQ(fs::status(path("to")).permissions(), fs::perms::owner_all);
        EXPECT_EQ(folder.countEntries(), isMove ? 1 : 2);
    }
}

TEST_F(FileChange, ACopyOntoItselfOrALinkKeepsBoth) {
    folder.write("from", kNew);
    folder.write("target", kOld);
    ASSERT_TRUE(File::createSymLink(path("link"), "target", false));
    for (const char* name : {"from", "link", "target"})
        EXPECT_TRUE(File::copyFile(path("from"), path(name)) && folder.read(name) == kNew) << name;
    EXPECT_TRUE(fs::is_symlink(path("link")));
}

TEST_F(FileChange, WhatCannotBeDoneIsToldWithTheReason) {
    const std::string from = folder.write("from", kNew), dir = folder.makeFolder("dir"), none = path("none");
    const std::string missing = "No such file or directory";
    EXPECT_FALSE(File::copyFile(none, from) || File::moveFile(from, dir) || File::truncateFile(none, 3) ||
                 File::createEmptyFile(none, uint64(1) << 63, true) ||
                 File::createSymLink(from, "other", false));
    for (const std::string& reason :
         {"file '" + none + "' could not be copied to '" + from + "'; " + missing,
          "file '" + from + "' could not be moved to '" + dir + "'; Is a directory",
          "file '" + none + "' could not be truncated to 3 bytes; " + missing,
          std::string("file could not be extended; File too large"),
          "symbolic link '" + from + "' to target 'other' could not be created; File exists"})
        log.expect(2, reason);
    EXPECT_FALSE(File::deleteSymLink(from)) << "only links are deleted as one";
    EXPECT_TRUE(folder.read("from") == kNew && folder.countEntries() == 2);
}

TEST_F(FileChange, TouchAndTruncateKeepWhatTheyDoNotCutAndAnEmptyFileKeepsNothing) {
    ASSERT_FALSE(platform::setModified(folder.write("file", kOld).c_str(), &kLongAgo));
    const auto before = fs::last_write_time(path("file"));
    EXPECT_TRUE(File::touchFile(path("file")));
    EXPECT_GT(fs::last_write_time(path("file")), before);
    EXPECT_TRUE(File::truncateFile(path("file"), 3) && folder.read("file") == "old");
    EXPECT_TRUE(File::touchFile(path("made")) && folder.read("made").empty());
    for (const bool sparse : {true, false}) {
        EXPECT_TRUE(File::createEmptyFile(path("file"), 5, sparse));
        EXPECT_EQ(folder.read("file"), std::string(5, '\0'));
    }
}

TEST_F(FileChange, ShortAndInterruptedWritesGoOnAndAFailedOneIsTrueAndLogged) {
    {
        FailingFiles files(4, std::errc::interrupted, Duration::Once);
        files.makeShort();
        EXPECT_TRUE(File::writeFile(path("file"), ConstByteSpan::fromText(kNew)) && files.hasFailed());
        EXPECT_EQ(folder.read("file"), kNew);
    }
    const FailingFiles files(Operation::Write, std::errc::no_space_on_device);
    EXPECT_TRUE(File::writeFile(path("file"), ConstByteSpan::fromText(kNew)));
    log.expect(3, "cant write file '" + path("file") + "' of 15 bytes; No space left on device");
    EXPECT_FALSE(File::writeFile(path("missing/file"), ConstByteSpan::fromText(kNew)));
    EXPECT_TRUE(log.take().empty()) << "a file that can't be opened is told by the result alone";
}

// --- each single operation of a change fails in turn, until the change works ----------------------------

auto countOpenFiles() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

struct Change {
    const char* name;
    std::function<bool(const test::ScratchFolder&)> run;
    int fewestWaysToFail;
};

const Change kChanges[] = {
    {"copy: open twice, read, write, mode, close, time, rename",
     [](auto& folder) { return File::copyFile(folder.path("from"), folder.path("to")); }, 7},
    {"move: rename", [](auto& folder) { return File::moveFile(folder.path("from"), folder.path("to")); }, 1},
    {"create: open, extend, close",
     [](auto& folder) { return File::createEmptyFile(folder.path("made"), 100, true); }, 3},
};

/// Lets an operation of a change fail. @return whether there was none to fail.
bool worksWithout(int step, const Change& change, Duration duration) {
    SCOPED_TRACE(change.name + (", step " + std::to_string(step)));
    const test::ScratchFolder folder;
    folder.write("from", kNew);
    folder.write("to", kOld);
    test::LogCapture log;
    const auto openFiles = countOpenFiles();
    FailingFiles files(step, std::errc::no_space_on_device, duration);
    const bool worked = change.run(folder);
    seams::setFaults(nullptr);
    EXPECT_EQ(countOpenFiles(), openFiles);
    if (worked && !files.hasFailed()) return true;
    EXPECT_EQ(log.take().size(), worked ? 0u : 1u);
    EXPECT_EQ(folder.read("from") + folder.read("to"), std::string(kNew) + (worked ? kNew : kOld))
        << "only the closing of the source may fail without a word";
    EXPECT_TRUE(duration == Duration::ForGood || folder.countEntries() == 2);
    return false;
}

TEST(FailedChange, LeavesEachFileAsItWasAndNothingElseBehind) {
    for (const Duration duration : {Duration::Once, Duration::ForGood}) {
        for (const Change& change : kChanges) {
            int step = 0;
            while (!worksWithout(step, change, duration)) ++step;
            EXPECT_GE(step, change.fewestWaysToFail) << change.name;
        }
    }
}

} // namespace
} // namespace qel
