// The catalogue of the sample plugins: nothing that cannot be read or written is left out without a word.
#include <tests/files/unprivileged.h>
#include <tests/hosts/host_run.h>
#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

#include <set>
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

    HostRun runHost(const std::string& plugins, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {QELHOST_PROGRAM, "--plugins", plugins});
        return runProgram(folder, arguments);
    }
    HostRun run(const std::string& tree = "tree", const std::string& language = "en") const {
        return runHost(sourceDir() + "/resources/plugins",
                       {"--resources", sourceDir() + "/resources", "--language", language, "--", "--out",
                        "result", tree});
    }
    /// Adds @p count files to the tree.
    void fillTree(int count) const {
        for (int i = 0; i < count; ++i) folder.write("tree/file-" + std::to_string(i) + ".txt", "text");
    }
    std::string summary() const { return folder.read("result/summary.txt"); }
    std::string csv() const { return folder.read("result/catalogue.csv"); }
    std::multiset<std::string> lines() const {
        std::multiset<std::string> found;
        std::istringstream stream(csv());
        for (std::string line; std::getline(stream, line);) found.insert(line);
        return found;
    }

    const ScratchFolder folder;
};

TEST_F(Catalogue, TheSummaryIsWrittenInTheChosenLanguage) {
    fillTree(1233);
    run();
    EXPECT_THAT(summary(),
                AllOf(StartsWith("Catalogue of "), HasSubstr("  Files                        1,234\n")));
    run("tree", "de");
    EXPECT_THAT(summary(),
                AllOf(StartsWith("Verzeichnis von "), HasSubstr("  Dateien                      1.234\n"),
                      HasSubstr("  Gesamtgröße                 4,9 kB\n")));
}

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
    EXPECT_THAT(lines(),
                UnorderedElementsAre(StartsWith("path,"), line("file,4", "[0-9a-f]+,ok"),
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

TEST_F(Catalogue, WrongArgumentsAreRefused) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"tree", "surplus"}, "the catalogue accepts [--out DIR] [FOLDER], not 'surplus'"},
        {{"--", "--frobnicate"}, "the catalogue accepts [--out DIR] [FOLDER], not '--frobnicate'"},
        {{"missing"}, "no such folder: 'missing'"},
        {{"tree/file"}, "cannot read the folder 'tree/file'"},
    };
    for (const auto& [arguments, problem] : cases) {
        const HostRun host = runHost(sourceDir() + "/resources/plugins", arguments);
        EXPECT_EQ(host.status, 2) << problem;
        EXPECT_THAT(host.out, HasSubstr("[ERROR] [SQ] " + problem + "\n"));
    }
}

TEST_F(Catalogue, AnInterruptLeavesCompleteLines) {
    fillTree(3000);
    folder.makeFolder("plugins");
    fs::create_directory_symlink(sourceDir() + "/resources/plugins/catalogue",
                                 folder.path("plugins/catalogue"));
    folder.write("plugins/zz-interrupt/main.sq",
                 "import(\"qel.File\"); import(\"qel.System\")\n"
                 "while (qel.File.getFileSize(\"result/catalogue.csv\") < 10000) std[\"yield\"]()\n"
                 "qel.System().runCommand(\"sh -c 'kill -INT $PPID'\", 0)");
    EXPECT_EQ(runHost("plugins", {"--language", "en", "tree", "--out", "result"}).status, 130);
    EXPECT_THAT(csv(), EndsWith(",ok\n"));
    EXPECT_LT(lines().size(), 3001u);
    EXPECT_THAT(summary(), HasSubstr("INCOMPLETE"));
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
        EXPECT_THAT(summary(), ContainsRegex("Files +2\n"));
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
