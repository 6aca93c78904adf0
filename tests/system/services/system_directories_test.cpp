#include <tests/support/environment.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <filesystem>

namespace qel {
namespace {

class SystemDirectories : public test::SystemFixture {
protected:
    const test::ScratchFolder folder;
    test::LogCapture log;
};

TEST_F(SystemDirectories, ApplicationDirectoryIsCreatedWithItsProduct) {
    const std::string base = folder.path("a/b");
    system().setApplicationDirectory(base);
    EXPECT_EQ(system().getApplicationDirectoryNoCreate("Viewer"), base + "/Viewer");
    EXPECT_FALSE(folder.has("a"));
    EXPECT_EQ(system().getApplicationDirectory("Viewer"), base + "/Viewer");
    EXPECT_TRUE(folder.has("a/b/Viewer"));
    system().setApplicationDirectory(folder.path() + "/./x/..");
    EXPECT_EQ(system().getUpdatePackageDirectory("Viewer"), folder.path("Viewer/bin/"));
    EXPECT_TRUE(system().trySetApplicationDirectoryToGlobal());
    EXPECT_EQ(system().getApplicationDirectoryNoCreate(""), System::getProgramDataPath(true) + "/ORLANE");
}

TEST_F(SystemDirectories, AMissingDirectoryIsLogged) {
    const std::string file = folder.write("Viewer", "") + "/x";
    const std::pair<std::string, const char*> cases[] = {
        {"", "application base directory is not set, product=Viewer"},
        {file, "can not access application directory"},
        {folder.path(), "can not access application product directory"}};
    for (const auto& [path, error] : cases) {
        system().setApplicationDirectory(path);
        EXPECT_EQ(system().getApplicationDirectory("Viewer"), ".");
        log.expect(3, error);
    }
    log.expect(2, "application data directory '" + file + "' is not accessible");
    system().setCacheDirectory(file);
    log.expect(2, "cache directory '" + file + "' is not accessible");
    EXPECT_EQ(system().getCacheDirectory(), file);
    log.take();
}

TEST_F(SystemDirectories, TheTemporaryDirectoryIsCreatedOncePerProcess) {
    const test::EnvironmentVariable temporary("TMPDIR", (folder.path() + "/").c_str());
    const String path = system().getTmpDirectoryPath();
    EXPECT_TRUE(path.begins_with(folder.path() + "/"));
    EXPECT_TRUE(std::filesystem::is_directory(path.c_str()));
    EXPECT_EQ(system().getTmpDirectoryPath(), path);
    EXPECT_EQ(folder.countEntries(), 1);
    System::deinitialize();
    System::initialize({});
    const test::EnvironmentVariable unknown("TMPDIR", "/qel-no-such-folder");
    EXPECT_THROW(system().getTmpDirectoryPath(), std::filesystem::filesystem_error);
}

} // namespace
} // namespace qel
