#include <qel/plugins/resource_locator.h>

#include <qel/foundation/base/buffer.h>
#include <qel/plugins/directory_resource_provider.h>
#include <tests/files/tar_sample.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

namespace qel {
namespace {

using test::LogCapture;

class ResourceLocatorTest : public test::SystemFixture {
protected:
    ResourceLocator& locator() { return *system().getResourceLocator(); }
    std::string load(const char* name) {
        Buffer buffer;
        return system().loadResource(name, buffer) ? std::string(buffer.getConstByteSpan().asText()) : "none";
    }

    test::ScratchFolder folder;
};

TEST_F(ResourceLocatorTest, HighestPriorityIsAskedFirst) {
    folder.write("high/resources.json", R"({"priority": 10})");
    folder.write("middle/resources.json", R"({"priority": 5})");
    folder.write("low/only", "low only");
    for (const std::string name : {"low", "high", "middle"}) {
        folder.write(name + "/x", name);
        locator().addResourceDirectory(folder.path(name));
    }
    EXPECT_EQ(load("x"), "high");
    EXPECT_EQ(load("only"), "low only");
    EXPECT_EQ(load("missing"), "none");
    EXPECT_FALSE(system().loadResourceAsync("x", [](const Buffer&) {}));
}

TEST_F(ResourceLocatorTest, TextsAreReadAgainWhenAProviderComesOrGoes) {
    folder.write("first/tr-a.txt", "first");
    folder.write("second/tr-a.txt", "second");
    folder.write("second/resources.json", R"({"priority": 10})");
    locator().addResourceDirectory(folder.path("first"));
    EXPECT_STREQ(Object::tr("a"), "first");
    ResourceProvider* const second = locator().addResourceDirectory(folder.path("second"));
    EXPECT_STREQ(Object::tr("a"), "second");
    locator().removeResourceProvider(second);
    EXPECT_STREQ(Object::tr("a"), "first");
}

TEST_F(ResourceLocatorTest, FolderIsAddedOnlyOnce) {
    folder.write("x", "X");
    LogCapture log;
    SmartPointer<ResourceProvider> provider = locator().addResourceDirectory(folder.path());
    EXPECT_EQ(locator().addResourceDirectory(folder.path() + "/"), nullptr);
    log.expect(1, "resource locator already contains resource directory '" + folder.path() + "/'");
    EXPECT_NE(locator().addResourceDirectory(folder.path("missing")), nullptr);
    log.expect(2, "resource directory '" + folder.path("missing") + "' does not exist");
    EXPECT_EQ(load("x"), "X");
    for (ResourceProvider* gone : {provider.get(), provider.get(), static_cast<ResourceProvider*>(nullptr)})
        locator().removeResourceProvider(gone);
    EXPECT_EQ(load("x"), "none");
}

TEST_F(ResourceLocatorTest, ArchiveIsAddedOnlyOnce) {
    folder.write("x.tar", test::tarEntry("dir/x", "archived") +
                              test::tarEntry("resources.json", R"({"priority": 3})") + test::tarEnd());
    folder.write("x.zip", "");
    folder.write("dir/x", "loose");
    LogCapture log;
    locator().addResourceDirectory(folder.path());
    SmartPointer<ResourceProvider> provider = locator().addResourceArchive(folder.path("x.tar"));
    EXPECT_EQ(load("dir/x"), "archived");
    for (const char* name : {"x.tar", "x.zip", "no.tar"})
        EXPECT_EQ(locator().addResourceArchive(folder.path(name)), nullptr);
    log.expect(1, "resource locator already contains resource archive '" + folder.path("x.tar") + "'");
    log.expect(3, "unknown archive type: " + folder.path("x.zip"));
    log.expect(3, "cant open archive: " + folder.path("no.tar"));
    locator().removeResourceProvider(provider.get());
    EXPECT_EQ(load("dir/x"), "loose");
}

TEST_F(ResourceLocatorTest, PackagesAreRecognisedByTheirNames) {
    folder.write("res-a/a", "A");
    folder.write("res-c.tar", test::tarEntry("c", "C") + test::tarEnd());
    folder.write("other.tar", test::tarEntry("d", "D") + test::tarEnd());
    folder.makeFolder("res-folder.tar");
    folder.write("other/b", "B");
    folder.write("res-file", "");
    system().addResourcePackagesFromDirectory(folder.path());
    system().addResourcePackagesFromDirectory(folder.path("missing"));
    EXPECT_EQ(load("a"), "A");
    EXPECT_EQ(load("c"), "C");
    EXPECT_EQ(load("d"), "none");
    LogCapture log;
    EXPECT_FALSE(Buffer().loadFromResource("b", true));
    EXPECT_FALSE(Buffer().loadFromResource("b", false));
    log.expect(3, "cant fetch resource 'b'");
}

TEST_F(ResourceLocatorTest, InvalidPrioritiesAreIgnored) {
    const auto nested = [](size_t depth) {
        return R"({"priority": 9, "[": "\"[", "x": )" + std::string(depth, '[') + std::string(depth, ']') +
               "}";
    };
    const std::pair<std::string, int32> cases[] = {
        {R"({"priority": -2.9})", -2},
        {R"({"priority": 1e300})", INT32_MAX},
        {nested(511), 9},
        {nested(512), 7},
        {nested(1'000'000), 7},
        {"{\"priority\": 9", 7},
    };
    const SmartPointer<ResourceProvider> provider(new DirectoryResourceProvider(folder.path()));
    for (const auto& [json, priority] : cases) {
        folder.write("resources.json", json);
        provider->setPriority(7);
        provider->fetchPriorityFromResource();
        EXPECT_EQ(provider->getPriority(), priority) << json.substr(0, 40);
    }
}

} // namespace
} // namespace qel
