// The catalogue of the sample plugins, where something cannot be read or written: nothing is left out without
// a word.
#include <tests/files/unprivileged.h>
#include <tests/hosts/host_run.h>
#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

namespace qel::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class Catalogue : public testing::Test {
protected:
    Catalogue() { folder.write("tree/file", "text"); }

    HostRun run(const std::string& tree = "tree") const {
        return runProgram(folder,
                          {QELHOST_PROGRAM, "--plugins", sourceDir() + "/resources/plugins", "--resources",
                           sourceDir() + "/resources", "--language", "en", "--", "--out", "result", tree});
    }
    std::string summary() const { return folder.read("result/summary.txt"); }
    std::string csv() const { return folder.read("result/catalogue.csv"); }

    const ScratchFolder folder;
};

TEST_F(Catalogue, ACompleteCatalogueHasStatusZero) {
    EXPECT_EQ(run().status, 0);
    EXPECT_THAT(summary(), Not(HasSubstr("INCOMPLETE")));
    EXPECT_THAT(csv(), EndsWith(",ok\n"));
}

// Under its long name the folder's path is longer than the system allows, for root too.
TEST_F(Catalogue, AnUnreadableFolderMakesItIncomplete) {
    std::string deep = "tree/t";
    while (folder.path(deep).size() < 3740) deep += "/" + std::string(50, 'd');
    folder.makeFolder(deep + "/" + std::string(200, 'n'));
    fs::rename(folder.path("tree/t"), folder.path("tree/" + std::string(250, 't')));
    fs::rename(folder.path("tree"), folder.path(std::string(200, 'r')));
    const HostRun host = run(std::string(200, 'r'));
    EXPECT_EQ(host.status, 1);
    EXPECT_THAT(host.out, HasSubstr("cannot read 't"));
    EXPECT_THAT(summary(), HasSubstr("INCOMPLETE"));
    EXPECT_THAT(csv(), HasSubstr("file,4,")) << "the rest is catalogued";
}

TEST_F(Catalogue, InaccessibleFilesAreListedAsUnreadable) {
    folder.write("tree/locked/first", "1");
    folder.makeFolder("result");
    fs::permissions(folder.path("tree/locked"), fs::perms(0444));
    asUnprivilegedOwner(folder, [this] {
        if (access(QELHOST_PROGRAM, X_OK) != 0 || access(sourceDir().c_str(), X_OK) != 0)
            GTEST_SKIP() << "the program is in a folder that other users cannot reach";
        const HostRun host = run();
        EXPECT_EQ(host.status, 1);
        EXPECT_THAT(csv(), HasSubstr("locked/first,,,,,unreadable\n"));
        EXPECT_THAT(csv(), HasSubstr("file,4,"));
        EXPECT_THAT(summary(), testing::ContainsRegex("Files +2\n"));
    });
    fs::permissions(folder.path("tree/locked"), fs::perms::owner_all);
}

TEST_F(Catalogue, AFailedWriteIsAnErrorAndTearsNoFile) {
    for (const char* name : {"catalogue.csv", "summary.txt"}) {
        folder.makeFolder("result");
        fs::create_symlink("/dev/full", folder.path("result/" + std::string(name)));
        const HostRun host = run();
        EXPECT_EQ(host.status, 1) << name;
        EXPECT_THAT(host.out, HasSubstr("[ERROR] [SQ] cannot write to '")) << name;
        EXPECT_FALSE(folder.has("result/" + std::string(name)));
        fs::remove_all(folder.path("result"));
    }
}

} // namespace
} // namespace qel::test
