#include <qel/plugins/plugins.h>

#include <qel/files/directory.h>
#include <qel/plugins/resource_locator.h>
#include <qel/script/native_class.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <filesystem>
#include <fstream>

namespace {

using qel::Plugins;
using qel::test::LogCapture;

/// Shows the form that starts chosen plugins.
class ChosenPlugins : public Plugins {
public:
    using Plugins::executeBootstrapScripts;
};

class PluginsTest : public qel::test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        folder = qel::Directory::createTemporaryDirectory(testing::TempDir());
        plugins = new ChosenPlugins;
        plugins->setPath(folder.c_str());
        system().getVM()->executeString("::trace <- \"\"", "test");
    }

    void TearDown() override {
        plugins.reset();
        SystemFixture::TearDown();
        std::filesystem::remove_all(folder.to_std_string());
    }

    void write(const std::string& path, const std::string& content) {
        std::filesystem::path file = std::filesystem::path(folder.to_std_string()) / path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
    }

    std::string trace() { return system().getVM()->getRootTable().get("trace").asString(); }

    qel::String folder;
    qel::SmartPointer<ChosenPlugins> plugins;
};

TEST_F(PluginsTest, ThePathIsThatOfTheSystemUntilItIsSet) {
    EXPECT_EQ(Plugins().getPath(), system().getPluginsDirectory());
    plugins->setPath(nullptr);
    EXPECT_EQ(plugins->getPath(), "");
}

TEST_F(PluginsTest, OnlyFoldersArePlugins) {
    write("one/readme", "");
    write("two/readme", "");
    write("file", "");
    int count = 0;
    plugins->foreachPlugin([&](const qel::String&) { ++count; });
    EXPECT_EQ(count, 2);
    Plugins::Hashes hashes = plugins->getPluginHashes();
    ASSERT_EQ(hashes.size(), 2u);
    EXPECT_EQ(hashes.begin()->first, "one");
    EXPECT_EQ(hashes.begin()->second, qel::Directory::getDirectoryHash(folder + "/one"));
    plugins->setPath("/no/such/folder");
    EXPECT_TRUE(plugins->getPluginHashes().empty());
    plugins->executeBootstrapScripts(true);
}

TEST_F(PluginsTest, AllPathsComeBeforeAllAutoexecsBeforeAllMains) {
    write("b/autoexec.sq", "trace += \"auto-b \"");
    write("b/main.sq", "trace += \"main-b \"");
    write("b/helper.sq", "trace += \"helper \"");
    write("a/autoexec.sq", "import(\"helper\"); trace += \"auto-a \"");
    write("a/main.sq", "trace += \"main-a \"");
    LogCapture capture;
    plugins->executeBootstrapScripts(true);
    EXPECT_EQ(trace(), "helper auto-a auto-b ");
    capture.expect(1, "[a] starting main");
    capture.expect(1, "[b] starting main");
    system().getVM()->processEvents();
    EXPECT_EQ(trace(), "helper auto-a auto-b main-a main-b ");
    EXPECT_TRUE(capture.take().empty());
}

TEST_F(PluginsTest, MainsStayAwayUnlessAskedFor) {
    write("a/main.sq", "trace += \"main\"");
    LogCapture capture;
    plugins->executeBootstrapScripts(false);
    EXPECT_FALSE(system().getVM()->threadsActive());
    EXPECT_TRUE(capture.take().empty());
}

TEST_F(PluginsTest, OnlyTheChosenOnesStart) {
    write("a/autoexec.sq", "trace += \"a\"");
    write("b/autoexec.sq", "trace += \"b\"");
    plugins->executeBootstrapScripts(Plugins::Hashes{{"b", 0}}, false);
    EXPECT_EQ(trace(), "b");
}

TEST_F(PluginsTest, ErrorsStopNobodyElse) {
    write("a/autoexec.sq", "throw \"a\"");
    write("b/autoexec.sq", "local = 1");
    write("b/main.sq", "also = = wrong");
    write("c/autoexec.sq", "trace += \"c\"");
    LogCapture capture;
    plugins->executeBootstrapScripts(true);
    system().getVM()->processEvents();
    EXPECT_EQ(trace(), "c");
    capture.expect(3, "[SQ.COMPILER] b/autoexec.sq(1): expected 'IDENTIFIER'");
    capture.expect(3, "[SUPPORT] squirrel thread failed (call)");
    EXPECT_FALSE(capture.take().empty());
}

TEST_F(PluginsTest, AFolderOfResourcesIsSearched) {
    write("a/resources/hello.txt", "hello");
    plugins->executeBootstrapScripts(false);
    EXPECT_TRUE(system().getResourceLocator()->hasResource("hello.txt"));
}

TEST_F(PluginsTest, ListenersAreKeptInOrderAndMustBeClosures) {
    qelSq::Object instance;
    qelSq::NativeClass<Plugins>::push(system().getVM()->getSquirrelVM(), plugins.get());
    instance.popFromStackAddRef(system().getVM()->getSquirrelVM());
    system().getVM()->getRootTable().set("plugins", instance);
    EXPECT_TRUE(system().getVM()->executeString(
        "plugins.addListener(\"open\", function() { trace += 1 }); plugins.addListener(\"open\", print)",
        "test"));
    LogCapture capture;
    EXPECT_TRUE(system().getVM()->executeString("plugins.addListener(\"open\", 5)", "test"));
    capture.expect(2, "trying to add a listener of non-closure type");
    ASSERT_EQ(plugins->getListeners("open").size(), 2u);
    qelSq::Object first = plugins->getListeners("open").front();
    first.asClosure().getFunctorOnRoot().execute();
    EXPECT_EQ(trace(), "1");
    EXPECT_TRUE(plugins->getListeners("close").empty());
}

} // namespace
