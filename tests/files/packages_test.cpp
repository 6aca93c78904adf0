#include <qel/files/product_package.h>
#include <qel/files/zip_packager.h>
#include <qel/foundation/base/smart_pointer.h>
#include <tests/files/file_fixture.h>
#include <tests/support/environment.h>

#include <thread>

namespace qel {
namespace {

namespace fs = std::filesystem;

class Packages : public test::FileFixture {
protected:
    bool pack(SmartCStr from, SmartCStr to, const char* tool = "7z") {
        ZipPackager packager(tool);
        if (!packager.packDirectory(from, to, true)) return false;
        while (packager.tick()) std::this_thread::yield();
        return packager.success();
    }
};

// Names that a shell, or the tool itself, might misinterpret.
constexpr const char* kNames[] = {
    "it's",  "a b", "\"q\"", "$(touch pwned)", "`touch pwned`", "; touch pwned", "l\nb", "-rf",
    "@list", "*",   "--",    "&& touch pwned"};

TEST_F(Packages, NoNameIsACommandASwitchOrAPattern) {
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    for (const std::string name : kNames) {
        folder.write(name + "/" + name, "content of " + name);
        folder.write(name + "/decoy", "");
        EXPECT_TRUE(pack(name, name + ".7z")) << name;
        ProductPackage package(name + ".7z", "7z");
        const std::string target = name == "*" ? "star" : name;
        EXPECT_TRUE(package.unpackFile(name, target + "-one")) << name;
        EXPECT_TRUE(package.unpack(target + "-all")) << name;
        EXPECT_EQ(folder.read(target + "-one/" + name), "content of " + name);
        EXPECT_TRUE(folder.has(target + "-all/" + name)) << name;
        EXPECT_FALSE(folder.has(target + "-one/decoy")) << name;
        EXPECT_EQ(std::distance(fs::directory_iterator(target + "-all"), {}), 2) << name;
        EXPECT_FALSE(package.unpack(target + "*")) << "the tool would replace the asterisk";
    }
    EXPECT_EQ(folder.countEntries(), 4 * static_cast<int>(std::size(kNames)));
    fs::current_path(before);
    log.take();
}

TEST_F(Packages, AManifestNamesTheProductAndItsVersion) {
    folder.write("content/manifest.ini", "[manifest]\nproduct=viewer\nversion=4.2 beta\n");
    ASSERT_TRUE(pack(path("content"), path("x.7z")));
    log.take();
    ProductPackage::Manifest manifest;
    EXPECT_TRUE(ProductPackage(path("x.7z"), "7z").getManifest(manifest));
    EXPECT_FALSE(manifest.parse(folder.write("m.ini", "[manifest]\nproduct=p\n")));
    log.expect(3, "manifest has no version number");
    EXPECT_EQ(manifest.product, "viewer") << "it is unchanged";
    EXPECT_EQ(manifest.version, "4.2 beta");
}

TEST_F(Packages, AFailureOfTheToolIsLogged) {
    EXPECT_FALSE(ProductPackage(path("missing.7z"), "7z").unpack(path("out")));
    folder.write("content/file", "");
    EXPECT_FALSE(pack(path("content/file"), path("x.7z"))) << "not a folder";
    EXPECT_FALSE(pack(path("content"), path("x.7z"), path("no-tool").c_str()));
    log.expect(3, "[ZIP] failed to spawn 7z");
    fs::permissions(folder.write("tool", "#!/bin/sh\necho out; printf 'no room' >&2; exit 8\n"),
                    fs::perms(0755));
    EXPECT_FALSE(pack(path("content"), path("x.7z"), path("tool").c_str()));
    log.expect(3, "[ZIP] no room");
    log.take();
}

} // namespace
} // namespace qel
