#include <qel/system/core/system.h>

#include <tests/support/environment.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace qel {
namespace {

using test::EnvironmentVariable;
using test::LogCapture;
using test::ScratchFolder;

class SystemDirectories : public test::SystemFixture {
protected:
    void clearBase() {
        LogCapture capture;
        system().setApplicationDirectory("");
        capture.take();
    }

    const ScratchFolder m_folder;
};

TEST_F(SystemDirectories, ApplicationDirectoryIsMadeWithItsProduct) {
    const std::string base = m_folder.path("a/b");
    system().setApplicationDirectory(base);
    EXPECT_EQ(system().getApplicationDirectoryNoCreate("Viewer"), base + "/Viewer");
    EXPECT_FALSE(m_folder.has("a"));
    EXPECT_EQ(system().getApplicationDirectory(nullptr), base);
    EXPECT_TRUE(m_folder.has("a/b"));
    EXPECT_EQ(system().getApplicationDirectory("Viewer"), base + "/Viewer");
    EXPECT_TRUE(m_folder.has("a/b/Viewer"));
}

TEST_F(SystemDirectories, WithoutABaseTheApplicationDirectoryIsTheWorkingOne) {
    clearBase();
    LogCapture capture;
    EXPECT_EQ(system().getApplicationDirectory("Viewer"), ".");
    EXPECT_EQ(system().getApplicationDirectoryNoCreate(""), ".");
    capture.expect(3, "application base directory is not set, product=Viewer");
    capture.expect(3, "application base directory is not set, product=");
}

TEST_F(SystemDirectories, AFileInTheWayGivesTheWorkingDirectory) {
    const std::string file = m_folder.write("file", "");
    LogCapture capture;
    system().setApplicationDirectory(file + "/base");
    capture.take();
    EXPECT_EQ(system().getApplicationDirectory(""), ".");
    capture.expect(3, "can not access application directory");
    m_folder.write("base/Viewer", "");
    system().setApplicationDirectory(m_folder.path("base"));
    EXPECT_EQ(system().getApplicationDirectory("Viewer"), ".");
    capture.expect(3, "can not access application product directory");
    capture.take();
}

TEST_F(SystemDirectories, UnreachableDirectoriesAreStoredWithAWarning) {
    LogCapture capture;
    const std::string path = m_folder.write("file", "") + "/x";
    system().setApplicationDirectory(path);
    system().setCacheDirectory(path);
    system().setSecureKeyDirectory(path);
    capture.expect(2, "application data directory '" + path + "' is not accessible");
    capture.expect(2, "cache directory '" + path + "' is not accessible");
    EXPECT_EQ(system().getCacheDirectory(), path);
    EXPECT_EQ(system().getSecureKeyDirectory(), path);
}

TEST_F(SystemDirectories, AnEmptyCacheDirectoryIsLoggedAtEachCall) {
    LogCapture capture;
    system().setCacheDirectory("");
    capture.take();
    EXPECT_EQ(system().getCacheDirectory(), "");
    EXPECT_EQ(system().getCacheDirectory(), "");
    capture.expect(3, "cache directory is not set");
    capture.expect(3, "cache directory is not set");
}

TEST_F(SystemDirectories, PathsAroundTheProgramFollowItsPath) {
    system().overrideExecutablePath("/opt/novix/bin/viewer");
    EXPECT_EQ(system().getExecutableDirectory(), "/opt/novix/bin");
    EXPECT_EQ(system().getExecutableFilename(), "viewer");
    EXPECT_EQ(system().getPluginsDirectory(), "/opt/novix/bin/Plugins");
    EXPECT_STREQ(System::getExecutableExtension(), "");
}

TEST_F(SystemDirectories, UpdatePackagesLieInBinOfTheProduct) {
    system().setApplicationDirectory(m_folder.path() + "/./x/..");
    EXPECT_EQ(system().getUpdatePackageDirectory("Viewer"), m_folder.path("Viewer/bin/"));
}

TEST_F(SystemDirectories, TheTemporaryDirectoryIsMadeOnceForAProcess) {
    const EnvironmentVariable temporary("TMPDIR", (m_folder.path() + "/").c_str());
    const String path = system().getTmpDirectoryPath();
    EXPECT_TRUE(path.begins_with(m_folder.path() + "/"));
    EXPECT_TRUE(std::filesystem::is_directory(path.c_str()));
    EXPECT_EQ(system().getTmpDirectoryPath(), path);
    EXPECT_EQ(m_folder.countEntries(), 1);
}

TEST_F(SystemDirectories, AnUnknownTemporaryPathIsTheFilesystemsError) {
    const EnvironmentVariable temporary("TMPDIR", "/qel-no-such-folder");
    EXPECT_THROW(system().getTmpDirectoryPath(), std::filesystem::filesystem_error);
}

TEST_F(SystemDirectories, GlobalDirectoriesLieBelowTheMachinesData) {
    EXPECT_TRUE(system().trySetApplicationDirectoryToGlobal());
    EXPECT_EQ(system().getApplicationDirectoryNoCreate(""), System::getProgramDataPath(true) + "/ORLANE");
    EXPECT_EQ(system().getCacheDirectory(), "/var/lib/ORLANE");
    EXPECT_EQ(system().getSecureKeyDirectory(), "/var/lib/ORLANE");
}

TEST_F(SystemDirectories, FoldersOfTheUserFollowTheXdgRules) {
    const EnvironmentVariable data("XDG_DATA_HOME", "/data");
    EXPECT_EQ(System::getProgramDataPath(false), "/data");
    EXPECT_EQ(System::getProgramsStartmenuPath(false), "/data/applications");
    EXPECT_EQ(System::getProgramsPath(), "/opt");
}

} // namespace
} // namespace qel
