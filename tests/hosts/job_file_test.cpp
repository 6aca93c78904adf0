// Which files jobs of another user can read and write.
#include "../../hosts/qelworker/job_file.h"
#include "../support/failing_files.h"
#include "../support/scratch_folder.h"

#include <qel/platform/shared_folder.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>

namespace {

using namespace qel;
using qeljobs::FileAccess;
using qelworker::JobFile;

/// Notes which names exist whenever a file is synced.
class SyncWatch : public seams::Faults {
public:
    explicit SyncWatch(std::function<std::vector<std::string>()> names) : m_names(std::move(names)) {
        seams::setFaults(this);
    }
    ~SyncWatch() override { seams::setFaults(nullptr); }
    std::error_code before(platform::Operation operation, std::size_t&) override {
        if (operation != platform::Operation::Sync || isSynced) return {};
        isSynced = true;
        seen = m_names();
        return {};
    }

    std::vector<std::string> seen;
    bool isSynced = false;

private:
    const std::function<std::vector<std::string>()> m_names;
};

class JobFileTest : public testing::Test {
protected:
    void SetUp() override {
        folder.makeFolder("granted");
        peer.user.user = platform::userId() + 1;
        peer.user.group = kGroup;
        peer.folders = {folder.path("granted")};
        setMode("granted", 0777);
        slice = write("granted/slice", "content", 0644);
    }
    std::string write(const std::string& name, const std::string& content, mode_t mode) {
        folder.write(name, content);
        setMode(name, mode);
        return folder.path(name);
    }
    void setMode(const std::string& name, mode_t mode) {
        ASSERT_EQ(::chmod(folder.path(name).c_str(), mode), 0) << name;
    }
    std::string open(const std::string& path, const FileAccess& access) const {
        JobFile file;
        return file.open(path, access);
    }
    std::string refusal(const std::string& path) const { return "not permitted: '" + path + "'"; }
    /// Opens "granted/slice" for the peer and creates an output beside it.
    std::string compress(const std::string& content) {
        JobFile file;
        std::string problem = file.open(slice, peer);
        if (!problem.empty()) return problem;
        Buffer bytes(reinterpret_cast<const uint8*>(content.data()), content.size());
        return file.createBeside(".zst", bytes);
    }
    /// Returns the names of unfinished outputs in the granted folder.
    std::vector<std::string> leftovers() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path("granted"))) {
            const std::string name = entry.path().filename();
            if (name.starts_with(".unfinished")) names.push_back(name);
        }
        return names;
    }

    static constexpr uint32 kGroup = 54321; // not the group of any file here
    test::ScratchFolder folder;
    FileAccess peer;
    std::string slice;
};

TEST_F(JobFileTest, OnlyFilesBelowAGrantedFolderAreOpened) {
    EXPECT_EQ(open(slice, peer), "");
    write("secret", "x", 0644);
    folder.makeFolder("granted-too");
    write("granted-too/file", "x", 0644);
    for (const std::string& path :
         {folder.path("secret"), folder.path("granted-too/file"), folder.path("granted"),
          folder.path("granted/../secret"), folder.path("granted/./slice"), folder.path("missing"),
          std::string("/etc/passwd"), std::string("slice"), std::string()}) {
        EXPECT_EQ(open(path, peer), refusal(path));
    }
    peer.folders.clear();
    EXPECT_EQ(open(slice, peer), refusal(slice));
}

TEST_F(JobFileTest, NoLinkBelowAGrantedFolderIsFollowed) {
    write("secret", "x", 0644);
    folder.makeFolder("outside");
    write("outside/file", "x", 0644);
    std::filesystem::create_symlink(folder.path("secret"), folder.path("granted/link"));
    std::filesystem::create_symlink(folder.path("outside"), folder.path("granted/folder"));
    for (const char* name : {"granted/link", "granted/folder/file"})
        EXPECT_EQ(open(folder.path(name), peer), refusal(folder.path(name)));
    FileAccess own;
    own.user.user = platform::userId();
    EXPECT_EQ(open(folder.path("granted/link"), own), "") << "the server's own user may use links";
}

TEST_F(JobFileTest, ThePeerMustBeAllowedToReadTheFile) {
    struct stat status {};
    ASSERT_EQ(::stat(slice.c_str(), &status), 0);
    const struct {
        mode_t file;
        mode_t directory;
        bool isMember;
        bool isPermitted;
    } cases[] = {
        {0604, 0701, false, true}, {0640, 0711, false, false}, {0640, 0711, true, true},
        {0604, 0755, true, false}, {0600, 0777, true, false},  {0644, 0700, false, false},
        {0644, 0701, true, false}, // for a member only the bits of the group count
    };
    for (const auto& [file, directory, isMember, isPermitted] : cases) {
        setMode("granted/slice", file);
        setMode("granted", directory);
        peer.user.moreGroups.clear();
        if (isMember) peer.user.moreGroups.push_back(status.st_gid);
        EXPECT_EQ(open(slice, peer), isPermitted ? "" : refusal(slice))
            << std::oct << file << " " << directory;
    }
    setMode("granted", 0777);
}

TEST_F(JobFileTest, OnlyRegularFilesAreOpened) {
    folder.makeFolder("granted/folder");
    ASSERT_EQ(::mkfifo(folder.path("granted/pipe").c_str(), 0666), 0);
    for (const char* name : {"granted/folder", "granted/pipe", "granted/missing", "granted/missing/file"})
        EXPECT_EQ(open(folder.path(name), peer), "no such file '" + folder.path(name) + "'");
}

TEST_F(JobFileTest, AnOutputHasTheModeOfItsSource) {
    setMode("granted/slice", 04604);
    EXPECT_EQ(compress("frame"), "");
    EXPECT_EQ(folder.read("granted/slice.zst"), "frame");
    EXPECT_EQ(std::filesystem::symlink_status(folder.path("granted/slice.zst")).permissions(),
              std::filesystem::perms(0604));
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(JobFileTest, AnOutputHasNoNameWhileItIsWritten) {
    platform::FileHandle granted, unnamed;
    ASSERT_FALSE(platform::openBaseFolder(granted, folder.path("granted").c_str()));
    if (platform::createUnnamedFile(unnamed, granted)) GTEST_SKIP() << "the file system has no such files";
    SyncWatch watch([this] { return leftovers(); });
    EXPECT_EQ(compress("frame"), "");
    EXPECT_EQ(watch.seen, std::vector<std::string>()) << "a killed worker would leave it behind";
    EXPECT_TRUE(watch.isSynced);
}

TEST_F(JobFileTest, AnOutputIsWrittenOnAFileSystemWithoutUnnamedFiles) {
    JobFile file;
    ASSERT_EQ(std::string(file.open(slice, peer)), "");
    // The first file opened is the folder, whose access list is read.
    const test::FailingFiles none(1, std::errc::operation_not_supported, test::FailingFiles::Duration::Once,
                                  platform::Operation::Open);
    const uint8 bytes[] = {'f'};
    EXPECT_EQ(std::string(file.createBeside(".zst", Buffer(bytes, 1))), "");
    EXPECT_EQ(folder.read("granted/slice.zst"), "f");
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(JobFileTest, AnOutputNeedsAWritableFolder) {
    setMode("granted", 0755);
    EXPECT_EQ(compress("frame"), refusal(slice + ".zst"));
    EXPECT_FALSE(folder.has("granted/slice.zst"));
}

TEST_F(JobFileTest, AnOutputReplacesFilesOnlyOnRequest) {
    write("granted/slice.zst", "older", 0600);
    const std::string taken = compress("frame");
    EXPECT_TRUE(taken.starts_with("cannot write '" + slice + ".zst': ")) << taken;
    EXPECT_EQ(folder.read("granted/slice.zst"), "older");
    EXPECT_TRUE(leftovers().empty());
    peer.overwrite = true;
    EXPECT_EQ(compress("frame"), "");
    EXPECT_EQ(folder.read("granted/slice.zst"), "frame");
}

TEST_F(JobFileTest, AnOutputIsNeverWrittenThroughALink) {
    write("secret", "older", 0666);
    for (const bool overwrite : {false, true}) {
        std::filesystem::remove(folder.path("granted/slice.zst"));
        std::filesystem::create_symlink(folder.path("secret"), folder.path("granted/slice.zst"));
        peer.overwrite = overwrite;
        EXPECT_NE(compress("frame"), "");
        EXPECT_EQ(folder.read("secret"), "older");
        EXPECT_TRUE(std::filesystem::is_symlink(folder.path("granted/slice.zst")));
        EXPECT_TRUE(leftovers().empty());
    }
}

TEST_F(JobFileTest, FilesInAStickyFolderAreNotReplaced) {
    write("granted/slice.zst", "older", 0666);
    setMode("granted", 01777);
    peer.overwrite = true;
    EXPECT_EQ(compress("frame"), refusal(slice + ".zst"));
    EXPECT_EQ(folder.read("granted/slice.zst"), "older");
}

TEST_F(JobFileTest, AnEqualOutputCountsAsWritten) {
    EXPECT_EQ(compress("frame"), "");
    EXPECT_EQ(compress("frame"), "");
    write("granted/slice.zst", "frame", 0600);
    EXPECT_NE(compress("frame"), "") << "the peer may not read the existing file";
}

TEST_F(JobFileTest, AnOutputStaysInTheFolderThatWasOpened) {
    folder.makeFolder("granted/inner");
    folder.makeFolder("elsewhere");
    setMode("granted/inner", 0777);
    JobFile file;
    ASSERT_EQ(file.open(write("granted/inner/file", "x", 0644), peer), "");
    std::filesystem::rename(folder.path("granted/inner"), folder.path("granted/moved"));
    std::filesystem::create_symlink(folder.path("elsewhere"), folder.path("granted/inner"));
    EXPECT_EQ(std::string(file.createBeside(".zst", Buffer())), "");
    EXPECT_TRUE(folder.has("granted/moved/file.zst"));
    EXPECT_FALSE(folder.has("elsewhere/file.zst"));
}

TEST(FileAccessTest, OnlyItsOwnFormIsRead) {
    FileAccess access;
    access.user = {7, 8, {9, 10}};
    access.overwrite = true;
    access.folders = {"/a", "/b"};
    const auto read = FileAccess::fromItem(access.toItem());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->user.user, 7u);
    EXPECT_EQ(read->user.group, 8u);
    EXPECT_EQ(read->user.moreGroups, (std::vector<uint32>{9, 10}));
    EXPECT_TRUE(read->overwrite);
    EXPECT_EQ(read->folders, access.folders);
    for (const Item& other : {Item(), Item(1), Item("x"), Item(-1).add(1).add(Item()).add(true).add(Item()),
                              Item(int64{1} << 32).add(1).add(Item()).add(true).add(Item()),
                              Item(1).add(1).add(Item("x")).add(true).add(Item())}) {
        EXPECT_FALSE(FileAccess::fromItem(other)) << other.asString();
    }
}

} // namespace
