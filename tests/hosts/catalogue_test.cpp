// The catalogue of the sample plugins: nothing that cannot be read or written is left out without a word.
#include <tests/hosts/host_run.h>
#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

#include <sstream>

namespace qel::test {
namespace {

namespace fs = std::filesystem;
using namespace testing;

constexpr const char* kDates = ",[-0-9T:]+Z,[-0-9T:]+Z,";

/// A test with a folder "tree" that contains one file.
class Catalogue : public testing::Test {
protected:
    Catalogue() { folder.write("tree/file", "text"); }

    HostRun run(const std::string& tree = "tree") const {
        const std::string resources = sourceDir() + "/resources";
        return runProgram(folder, {QELHOST_PROGRAM, "--plugins", resources + "/plugins", "--resources",
                                   resources, "--language", "en", "--", "--out", "result", tree});
    }
    std::string csv() const { return folder.read("result/catalogue.csv"); }

    const ScratchFolder folder;
};

TEST_F(Catalogue, HashesAreTheCrc32cOfTheContentAtAnySize) {
    folder.write("tree/digits", "123456789");
    folder.write("tree/zeros", std::string(32, '\0'));
    folder.write("tree/sub/slices", std::string((8 << 20) * 2 + 12345, 'q'));
    const fs::path tree = folder.path("tree");
    fs::create_directory_symlink(tree, tree / "sub/loop");
    fs::create_symlink("slices", tree / "sub/link");
    fs::create_symlink("nowhere", tree / "sub/dangling");
    ASSERT_EQ(std::system(("mkfifo '" + (tree / "pipe").string() + "'").c_str()), 0);
    const HostRun host = run();
    // The check value of the CRC's definition, and a test vector of RFC 3720, B.4.
    const auto line = [](const std::string& begin, const char* end) {
        return MatchesRegex(begin + kDates + end);
    };
    std::vector<std::string> lines;
    std::istringstream stream(csv());
    for (std::string text; std::getline(stream, text);) lines.push_back(text);
    EXPECT_THAT(lines, UnorderedElementsAre(StartsWith("path,"), line("file,4", "[0-9a-f]+,ok"),
                                            line("digits,9", "e3069283,ok"), line("zeros,32", "8a9136aa,ok"),
                                            line("sub/slices,16789561", "f7347698,ok")));
    EXPECT_THAT(host.out,
                AllOf(ContainsRegex("Links, not followed +3\n"), ContainsRegex("Devices and pipes +1\n")));
}

TEST_F(Catalogue, NamesOfAnyBytesMakeOneCsvFieldEach) {
    const std::pair<std::string, std::string> names[] = {
        {"a\"b", "\"a\"\"b\""}, {"a,b", "\"a,b\""}, {"a\nb", "\"a\nb\""},     {"a\rb", "\"a\rb\""},
        {"a\\b", "a\\b"},       {" a", " a"},       {"\xff\xfe", "\xff\xfe"}, {"-rf", "-rf"}};
    for (const auto& [name, field] : names) folder.write("tree/" + name, "");
    EXPECT_EQ(run().status, 0);
    for (const auto& [name, field] : names) EXPECT_THAT(csv(), HasSubstr("\n" + field + ",0,"));
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
    EXPECT_THAT(folder.read("result/summary.txt"), HasSubstr("INCOMPLETE"));
    EXPECT_THAT(csv(), HasSubstr("file,4,")) << "the rest is catalogued";
}

} // namespace
} // namespace qel::test
