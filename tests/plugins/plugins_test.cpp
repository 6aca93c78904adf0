#include <qel/plugins/plugins.h>

#include <qel/files/directory.h>
#include <qel/plugins/resource_locator.h>
#include <qel/script/native_class.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <filesystem>

namespace {

using qel::Plugins;
using qel::test::LogCapture;

/// Exposes the overload that starts selected plugins.
class ChosenPlugins : public Plugins {
public:
    using Plugins::executeBootstrapScripts;
};

class PluginsTest : public qel::test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        plugins = new ChosenPlugins;
        plugins->setPath(folder.path().c_str());
        run("::trace <- \"\"");
    }
    void TearDown() override {
        plugins.reset();
        SystemFixture::TearDown();
    }

    qelSq::VM& vm() { return *system().getVM(); }
    void run(const char* source) { EXPECT_TRUE(vm().executeString(source, "test")); }
    std::string trace() { return vm().getRootTable().get("trace").asString(); }

    qel::test::ScratchFolder folder;
    qel::SmartPointer<ChosenPlugins> plugins;
};

TEST_F(PluginsTest, PathsComeBeforeAutoexecsBeforeMains) {
    for (const std::string file : {"b/autoexec", "b/main", "b/helper", "a/main"})
        folder.write(file + ".sq", "trace += \"" + file + " \"");
    folder.write("a/autoexec.sq", "import(\"helper\"); trace += \"a/autoexec \"");
    LogCapture capture;
    plugins->executeBootstrapScripts(true);
    EXPECT_EQ(trace(), "b/helper a/autoexec b/autoexec ");
    vm().processEvents();
    EXPECT_EQ(trace(), "b/helper a/autoexec b/autoexec a/main b/main ");
    for (const char* line : {"[a] starting main", "[b] starting main"}) capture.expect(1, line);
}

TEST_F(PluginsTest, AutoexecThatDoesNotCompileIsAFailedScript) {
    folder.write("a/autoexec.sq", "local = 1");
    LogCapture capture;
    plugins->executeBootstrapScripts(true);
    EXPECT_EQ(capture.take().size(), 1u);
    EXPECT_EQ(vm().getFailedScriptCount(), 1u);
}

TEST_F(PluginsTest, ResourcesThatCannotBeExaminedAreUnreadable) {
    folder.makeFolder("a");
    folder.makeFolder("b");
    std::filesystem::create_symlink("resources", folder.path("b/resources")); // leads to itself
    plugins->executeBootstrapScripts(false);
    EXPECT_EQ(plugins->getUnreadable(), qel::List<qel::String>{folder.path("b/resources")});
}

TEST_F(PluginsTest, ListOfHashesStartsOnlyUnchangedPlugins) {
    for (const std::string name : {"changed", "listed", "unlisted"}) {
        folder.write(name + "/autoexec.sq", "trace += \"" + name + "\"");
        folder.write(name + "/resources/" + name, "");
    }
    folder.write("unlisted/main.sq", "");
    folder.write("file", "");
    const Plugins::Hashes hashes = plugins->getPluginHashes();
    EXPECT_EQ(hashes.size(), 3u) << "only folders are plugins";
    EXPECT_EQ(hashes.at("listed"), qel::Directory::getDirectoryHash(folder.path("listed")));
    qel::Item list;
    for (const auto& [name, hash] : hashes) {
        if (name != "unlisted") list.add(name).add(hash);
    }
    list.add("missing").add(1).add("../listed").add(1).add(2);
    folder.write("changed/helper.sq", "trace += \"helper\"");
    plugins->executeBootstrapScripts(list, true);
    EXPECT_EQ(trace(), "listed");
    EXPECT_TRUE(system().getResourceLocator()->hasResource("listed"));
    EXPECT_FALSE(system().getResourceLocator()->hasResource("changed"));
    plugins->executeBootstrapScripts(Plugins::Hashes{{"unlisted", 0}}, false);
    EXPECT_EQ(trace(), "listedunlisted") << "whatever their hash, without main.sq";
    EXPECT_FALSE(vm().threadsActive());
}

TEST_F(PluginsTest, ListenersAreStoredInOrderAndMustBeClosures) {
    qelSq::Object instance;
    qelSq::NativeClass<Plugins>::push(vm().getSquirrelVM(), plugins.get());
    instance.popFromStackAddRef(vm().getSquirrelVM());
    vm().getRootTable().set("plugins", instance);
    LogCapture capture;
    run("foreach (listener in [@() trace += 1, print, 5]) plugins.addListener(\"open\", listener)");
    capture.expect(2, "trying to add a listener of non-closure type");
    ASSERT_EQ(plugins->getListeners("open").size(), 2u);
    qelSq::Object first = plugins->getListeners("open").front();
    first.asClosure().getFunctorOnRoot().execute();
    EXPECT_EQ(trace(), "1");
}

} // namespace
