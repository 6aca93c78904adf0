#include <qel/files/product_package.h>
#include <qel/files/zip_packager.h>
#include <qel/foundation/base/smart_pointer.h>
#include <tests/files/file_fixture.h>

#include <thread>

namespace qel {
namespace {

namespace fs = std::filesystem;

class Packages : public test::FileFixture {
protected:
    bool pack(SmartCStr from, SmartCStr to) {
        ZipPackager packager("7z");
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

} // namespace
} // namespace qel
