#include <qel/files/file.h>

#include <qel/foundation/base/buffer.h>
#include <tests/files/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <functional>

namespace qel {
namespace {

namespace fs = std::filesystem;
using platform::FileOperation;
using test::FailingFiles;
using test::LogCapture;
using test::ScratchFolder;

constexpr const char* kOld = "old content";
constexpr const char* kNew = "the new content";

auto countOpenFiles() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

TEST(FileChange, ACopyTakesContentPermissionsAndTime) {
    ScratchFolder folder;
    folder.write("from", kNew);
    folder.write("to", kOld);
    fs::permissions(folder.path("from"), fs::perms::owner_read);
    const platform::FileTime time{1'000'000'000, 0};
    ASSERT_FALSE(platform::setModified(folder.path("from").c_str(), &time));
    ASSERT_TRUE(File::copyFile(folder.path("from"), folder.path("to")));
    EXPECT_EQ(folder.read("to"), kNew);
    EXPECT_EQ(fs::status(folder.path("to")).permissions(), fs::perms::owner_read);
    EXPECT_EQ(fs::last_write_time(folder.path("to")), fs::last_write_time(folder.path("from")));
    EXPECT_EQ(folder.countEntries(), 2);
}

TEST(FileChange, ACopyOntoItselfOrALinkKeepsBoth) {
    ScratchFolder folder;
    folder.write("from", kNew);
    folder.write("target", kOld);
    ASSERT_TRUE(File::createSymLink(folder.path("link"), "target", false));
    EXPECT_TRUE(File::copyFile(folder.path("from"), folder.path("from")));
    EXPECT_TRUE(File::copyFile(folder.path("from"), folder.path("link")));
    EXPECT_EQ(folder.read("from"), kNew);
    EXPECT_EQ(folder.read("target"), kNew);
    EXPECT_TRUE(fs::is_symlink(folder.path("link")));
}

TEST(FileChange, WhatCannotBeCopiedOrMovedIsToldWithTheReason) {
    ScratchFolder folder;
    folder.write("from", kNew);
    folder.makeFolder("dir/inner");
    LogCapture log;
    EXPECT_FALSE(File::copyFile(folder.path("missing"), folder.path("to")));
    log.expect(2, "file '" + folder.path("missing") + "' could not be copied to '" + folder.path("to") +
                      "'; No such file or directory");
    EXPECT_FALSE(File::moveFile(folder.path("from"), folder.path("dir")));
    log.expect(2, "file '" + folder.path("from") + "' could not be moved to '" + folder.path("dir") +
                      "'; Is a directory");
    EXPECT_FALSE(File::copyFile(folder.path("from"), folder.path("dir")));
    EXPECT_EQ(log.take().size(), 1u);
    EXPECT_EQ(folder.countEntries(), 2);
}

TEST(FileChange, AMoveBetweenDisksCopiesAndRemoves) {
    ScratchFolder folder;
    folder.write("from", kNew);
    FailingFiles files(0, std::errc::cross_device_link, FailingFiles::Duration::Once, FileOperation::Rename);
    EXPECT_TRUE(File::moveFile(folder.path("from"), folder.path("to")));
    EXPECT_EQ(folder.read("to"), kNew);
    EXPECT_FALSE(folder.has("from"));
}

TEST(FileChange, EmptyFilesHaveTheSizeAskedFor) {
    ScratchFolder folder;
    folder.write("file", kOld);
    for (const bool sparse : {true, false}) {
        EXPECT_TRUE(File::createEmptyFile(folder.path("file"), 5, sparse));
        EXPECT_EQ(folder.read("file"), std::string(5, '\0'));
    }
    LogCapture log;
    EXPECT_FALSE(File::createEmptyFile(folder.path("missing/file"), 5, true));
    log.expect(2,
               "file could not be created: " + folder.path("missing/file") + "; No such file or directory");
    EXPECT_FALSE(File::createEmptyFile(folder.path("huge"), uint64(1) << 63, true));
    log.expect(2, "file could not be extended; File too large");
    EXPECT_FALSE(folder.has("huge"));
}

TEST(FileChange, LinksAreMadeAndNothingElseIsDeletedAsOne) {
    ScratchFolder folder;
    folder.write("target", kOld);
    ASSERT_TRUE(File::createSymLink(folder.path("link"), "target", false));
    LogCapture log;
    EXPECT_FALSE(File::createSymLink(folder.path("link"), "other", false));
    log.expect(2, "symbolic link '" + folder.path("link") +
                      "' to target 'other' could not be created; File exists");
    EXPECT_FALSE(File::deleteSymLink(folder.path("target")));
    EXPECT_TRUE(File::deleteSymLink(folder.path("link")));
    EXPECT_TRUE(File::deleteSymLink(folder.path("link"))) << "there is none now";
    EXPECT_EQ(folder.read("target"), kOld);
}

TEST(FileChange, TouchAndTruncateKeepWhatTheyDoNotCut) {
    ScratchFolder folder;
    folder.write("file", kOld);
    const platform::FileTime time{1'000'000'000, 0};
    ASSERT_FALSE(platform::setModified(folder.path("file").c_str(), &time));
    File::FileInfo before, after;
    ASSERT_TRUE(File::getFileInfo(folder.path("file"), before));
    EXPECT_TRUE(File::touchFile(folder.path("file")));
    ASSERT_TRUE(File::getFileInfo(folder.path("file"), after));
    EXPECT_GT(after.modificationTime, before.modificationTime);
    EXPECT_TRUE(File::touchFile(folder.path("made")));
    EXPECT_EQ(folder.read("made"), "");
    EXPECT_TRUE(File::truncateFile(folder.path("file"), 3));
    EXPECT_EQ(folder.read("file"), "old");
    LogCapture log;
    EXPECT_FALSE(File::truncateFile(folder.path("missing"), 3));
    log.expect(2, "file '" + folder.path("missing") +
                      "' could not be truncated to 3 bytes; No such file or directory");
}

TEST(FileChange, StandardHandlesAndStreamsReadAndWrite) {
    ScratchFolder folder;
    {
        auto out = File::openStdFileStream(folder.path("file"), std::ios::out | std::ios::binary);
        ASSERT_TRUE(out);
        *out << "stream";
    }
    auto in = File::openStdFileStream(folder.path("file"), std::ios::in);
    std::string word;
    EXPECT_TRUE(*in >> word);
    EXPECT_EQ(word, "stream");
    EXPECT_EQ(File::openStdFileStream(folder.path("missing"), std::ios::in), nullptr);
    EXPECT_EQ(File::openStdFileStream(folder.path("x"), std::ios::trunc), nullptr);
    std::FILE* file = File::openFileHandle(folder.path("file"), "ab");
    ASSERT_NE(file, nullptr);
    EXPECT_GT(std::fputs("+more", file), -1);
    std::fclose(file);
    EXPECT_EQ(folder.read("file"), "stream+more");
    EXPECT_EQ(File::openFileHandle(folder.path("missing"), "r"), nullptr);
}

TEST(FileChange, WritesGoOnAfterShortAndInterruptedOnes) {
    ScratchFolder folder;
    FailingFiles files(4, std::errc::interrupted, FailingFiles::Duration::Once);
    files.makeShort();
    EXPECT_TRUE(File::writeFile(folder.path("file"), ConstByteSpan::fromText(kNew)));
    EXPECT_EQ(folder.read("file"), kNew);
    EXPECT_TRUE(files.hasFailed());
}

TEST(FileChange, AFailedWriteIsTrueAndLogged) {
    ScratchFolder folder;
    LogCapture log;
    FailingFiles files(0, std::errc::no_space_on_device, FailingFiles::Duration::ForGood,
                       FileOperation::Write);
    EXPECT_TRUE(File::writeFile(folder.path("file"), ConstByteSpan::fromText(kNew)));
    log.expect(3, "cant write file '" + folder.path("file") + "' of 15 bytes; No space left on device");
    EXPECT_TRUE(File::writeFileCompressed(folder.path("file"), ConstByteSpan::fromText(kNew)));
    EXPECT_EQ(log.take().size(), 1u);
    EXPECT_FALSE(File::writeFile(folder.path("missing/file"), ConstByteSpan::fromText(kNew)));
    EXPECT_TRUE(log.take().empty()) << "a file that can't be opened is told by the result alone";
}

// Lets each single operation of a change fail in turn, until the change works.
class FailedChange : public ::testing::TestWithParam<std::tuple<FailingFiles::Duration, std::errc>> {
protected:
    /// @return how many ways to fail there were.
    int failAtEachStep(const std::function<bool(const ScratchFolder&)>& change) {
        const auto [duration, error] = GetParam();
        for (int step = 0;; step++) {
            ScratchFolder folder;
            folder.write("from", kNew);
            folder.write("to", kOld);
            LogCapture log;
            const auto openFiles = countOpenFiles();
            FailingFiles files(step, error, duration);
            const bool worked = change(folder);
            platform::setFileFaults(nullptr);
            EXPECT_EQ(countOpenFiles(), openFiles) << "step " << step;
            if (worked && !files.hasFailed()) return step;
            if (worked) {
                EXPECT_EQ(folder.read("to"), kNew)
                    << "only the closing of the source may fail without a word";
                continue;
            }
            EXPECT_EQ(log.take().size(), 1u) << "step " << step;
            EXPECT_EQ(folder.read("from"), kNew) << "step " << step;
            EXPECT_EQ(folder.read("to"), kOld) << "step " << step;
            const bool mayRemove = duration == FailingFiles::Duration::Once;
            if (mayRemove) EXPECT_EQ(folder.countEntries(), 2) << "step " << step;
        }
    }
};

TEST_P(FailedChange, LeavesBothFilesOfACopyAsTheyWere) {
    const int steps = failAtEachStep(
        [](const ScratchFolder& folder) { return File::copyFile(folder.path("from"), folder.path("to")); });
    EXPECT_GE(steps, 7) << "open twice, read, write, mode, close, time, rename";
}

TEST_P(FailedChange, LeavesBothFilesOfAMoveAsTheyWere) {
    const int steps = failAtEachStep(
        [](const ScratchFolder& folder) { return File::moveFile(folder.path("from"), folder.path("to")); });
    EXPECT_EQ(steps, 1);
}

TEST_P(FailedChange, LeavesNoEmptyFileBehind) {
    const int steps = failAtEachStep(
        [](const ScratchFolder& folder) { return File::createEmptyFile(folder.path("made"), 100, true); });
    EXPECT_EQ(steps, 3) << "open, extend, close";
}

INSTANTIATE_TEST_SUITE_P(
    EveryFault, FailedChange,
    ::testing::Combine(::testing::Values(FailingFiles::Duration::Once, FailingFiles::Duration::ForGood),
                       ::testing::Values(std::errc::no_space_on_device, std::errc::io_error)));

} // namespace
} // namespace qel
