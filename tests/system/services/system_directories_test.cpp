#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

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
    log.take();
}

} // namespace
} // namespace qel
