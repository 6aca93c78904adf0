#include <qel/files/file.h>

#include <qel/foundation/base/buffer.h>
#include <tests/files/file_fixture.h>

#include <functional>

namespace qel {
namespace {

namespace fs = std::filesystem;
using platform::FileOperation;
using test::FailingFiles;
using Duration = FailingFiles::Duration;

constexpr const char* kOld = "old content";
constexpr const char* kNew = "the new content";
constexpr platform::FileTime kLongAgo{1'000'000'000, 0};

class FileChange : public test::FileFixture {};

TEST_F(FileChange, ACopyTakesContentPermissionsAndTime) {
    folder.write("from", kNew);
    folder.write("to", kOld);
    fs::permissions(path("from"), fs::perms::owner_read);
    ASSERT_FALSE(platform::setModified(path("from").c_str(), &kLongAgo));
    ASSERT_TRUE(File::copyFile(path("from"), path("to")));
    EXPECT_EQ(folder.read("to"), kNew);
    EXPECT_EQ(fs::status(path("to")).permissions(), fs::perms::owner_read);
    EXPECT_EQ(fs::last_write_time(path("to")), fs::last_write_time(path("from")));
    EXPECT_EQ(folder.countEntries(), 2);
}

TEST_F(FileChange, ACopyOntoItselfOrALinkKeepsBoth) {
    folder.write("from", kNew);
    folder.write("target", kOld);
    ASSERT_TRUE(File::createSymLink(path("link"), "target", false));
    EXPECT_TRUE(File::copyFile(path("from"), path("from")));
    EXPECT_TRUE(File::copyFile(path("from"), path("link")));
    EXPECT_EQ(folder.read("from"), kNew);
    EXPECT_EQ(folder.read("target"), kNew);
    EXPECT_TRUE(fs::is_symlink(path("link")));
}

TEST_F(FileChange, WhatCannotBeDoneIsToldWithTheReason) {
    const std::string from = folder.write("from", kNew), dir = folder.makeFolder("dir"), none = path("none");
    const std::string missing = "No such file or directory";
    EXPECT_FALSE(File::copyFile(none, from));
    log.expect(2, "file '" + none + "' could not be copied to '" + from + "'; " + missing);
    EXPECT_FALSE(File::moveFile(from, dir));
    log.expect(2, "file '" + from + "' could not be moved to '" + dir + "'; Is a directory");
    EXPECT_FALSE(File::createEmptyFile(none + "/file", 5, true));
    log.expect(2, "file could not be created: " + none + "/file; " + missing);
    EXPECT_FALSE(File::createEmptyFile(none, uint64(1) << 63, true));
    log.expect(2, "file could not be extended; File too large");
    EXPECT_FALSE(File::truncateFile(none, 3));
    log.expect(2, "file '" + none + "' could not be truncated to 3 bytes; " + missing);
    EXPECT_FALSE(File::createSymLink(from, "other", false));
    log.expect(2, "symbolic link '" + from + "' to target 'other' could not be created; File exists");
    EXPECT_FALSE(File::deleteSymLink(from)) << "only links are deleted as one";
    EXPECT_EQ(folder.read("from"), kNew);
    EXPECT_EQ(folder.countEntries(), 2);
}

TEST_F(FileChange, AMoveBetweenDisksCopiesAndRemoves) {
    folder.write("from", kNew);
    FailingFiles files(0, std::errc::cross_device_link, Duration::Once, FileOperation::Rename);
    EXPECT_TRUE(File::moveFile(path("from"), path("to")));
    EXPECT_EQ(folder.read("to"), kNew);
    EXPECT_FALSE(folder.has("from"));
}

TEST_F(FileChange, TouchAndTruncateKeepWhatTheyDoNotCutAndAnEmptyFileKeepsNothing) {
    ASSERT_FALSE(platform::setModified(folder.write("file", kOld).c_str(), &kLongAgo));
    const auto before = fs::last_write_time(path("file"));
    EXPECT_TRUE(File::touchFile(path("file")));
    EXPECT_GT(fs::last_write_time(path("file")), before);
    EXPECT_TRUE(File::truncateFile(path("file"), 3));
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_TRUE(File::touchFile(path("made")));
    EXPECT_EQ(folder.read("made"), "");
    for (const bool sparse : {true, false}) {
        EXPECT_TRUE(File::createEmptyFile(path("file"), 5, sparse));
        EXPECT_EQ(folder.read("file"), std::string(5, '\0'));
    }
}

TEST_F(FileChange, WritesGoOnAfterShortAndInterruptedOnes) {
    FailingFiles files(4, std::errc::interrupted, Duration::Once);
    files.makeShort();
    EXPECT_TRUE(File::writeFile(path("file"), ConstByteSpan::fromText(kNew)));
    EXPECT_EQ(folder.read("file"), kNew);
    EXPECT_TRUE(files.hasFailed());
}

TEST_F(FileChange, AFailedWriteIsTrueAndLogged) {
    FailingFiles files(0, std::errc::no_space_on_device, Duration::ForGood, FileOperation::Write);
    EXPECT_TRUE(File::writeFile(path("file"), ConstByteSpan::fromText(kNew)));
    log.expect(3, "cant write file '" + path("file") + "' of 15 bytes; No space left on device");
    EXPECT_TRUE(File::writeFileCompressed(path("file"), ConstByteSpan::fromText(kNew)));
    EXPECT_EQ(log.take().size(), 1u);
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
     [](const auto& folder) { return File::copyFile(folder.path("from"), folder.path("to")); }, 7},
    {"move: rename",
     [](const auto& folder) { return File::moveFile(folder.path("from"), folder.path("to")); }, 1},
    {"create: open, extend, close",
     [](const auto& folder) { return File::createEmptyFile(folder.path("made"), 100, true); }, 3},
};

class FailedChange : public ::testing::TestWithParam<std::tuple<Duration, std::errc>> {
protected:
    /// @return whether no operation was left to fail.
    bool failAt(int step, const Change& change) {
        const auto [duration, error] = GetParam();
        const test::ScratchFolder folder;
        folder.write("from", kNew);
        folder.write("to", kOld);
        test::LogCapture log;
        const auto openFiles = countOpenFiles();
        FailingFiles files(step, error, duration);
        const bool worked = change.run(folder);
        platform::setFileFaults(nullptr);
        EXPECT_EQ(countOpenFiles(), openFiles);
        if (worked && !files.hasFailed()) return true;
        if (worked) {
            EXPECT_EQ(folder.read("to"), kNew) << "only the closing of the source may fail without a word";
            return false;
        }
        EXPECT_EQ(log.take().size(), 1u);
        EXPECT_EQ(folder.read("from"), kNew);
        EXPECT_EQ(folder.read("to"), kOld);
        const bool mayRemove = duration == Duration::Once;
        if (mayRemove) {
            EXPECT_EQ(folder.countEntries(), 2);
        }
        return false;
    }
};

TEST_P(FailedChange, LeavesEachFileAsItWasAndNothingElseBehind) {
    for (const Change& change : kChanges) {
        for (int step = 0;; step++) {
            SCOPED_TRACE(change.name + (", step " + std::to_string(step)));
            if (!failAt(step, change)) continue;
            EXPECT_GE(step, change.fewestWaysToFail);
            break;
        }
    }
}

std::string nameOfFault(const ::testing::TestParamInfo<FailedChange::ParamType>& fault) {
    const auto [duration, error] = fault.param;
    return std::string(error == std::errc::io_error ? "BadDisk" : "FullDisk") +
           (duration == Duration::Once ? "Once" : "ForGood");
}

INSTANTIATE_TEST_SUITE_P(EveryFault, FailedChange,
                         ::testing::Combine(::testing::Values(Duration::Once, Duration::ForGood),
                                            ::testing::Values(std::errc::no_space_on_device,
                                                              std::errc::io_error)),
                         nameOfFault);

} // namespace
} // namespace qel
