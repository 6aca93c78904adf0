// The command-line host as its user meets it: options, exit statuses, the catalogue and interrupts.
#include <tests/hosts/host_run.h>

#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace qel::test {
namespace {

using namespace testing;
using Path = std::filesystem::path;

/// A script that sends @p signal to the host.
std::string sendsSignal(const std::string& signal) {
    return "import(\"qel.System\"); qel.System().runCommand(\"sh -c 'kill -" + signal + " $PPID'\", 0);";
}

constexpr const char* kDates = ",[-0-9T:]+Z,[-0-9T:]+Z,";

/// A test that writes plugins to a scratch folder and runs qelhost on them.
class HostTest : public testing::Test {
protected:
    /// Runs qelhost with @p arguments in the scratch folder.
    HostRun run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), QELHOST_PROGRAM);
        return runProgram(scratch(), arguments);
    }
    Path scratch() const { return m_folder.path(); }
    /// Writes @p text to a file of a plugin in the scratch folder.
    void writePlugin(const std::string& plugin, const std::string& file, std::string_view text) const {
        writeText(scratch() / "plugins" / plugin / file, text);
    }

private:
    ScratchFolder m_folder;
};

// --- options -------------------------------------------------------------------------------------------

TEST_F(HostTest, HelpAndVersionArePrintedToStandardOutput) {
    EXPECT_THAT(run({"--version"}).out, MatchesRegex(".*qelhost [0-9]+\\.[0-9]+\\.[0-9]+.*\n"));
    const HostRun help = run({"--help"});
    EXPECT_EQ(help, run({"-h"}));
    EXPECT_THAT(help.out, AllOf(StartsWith("Usage: qelhost"), HasSubstr("--plugins DIR")));
    EXPECT_EQ(help, (HostRun{0, help.out, ""}));
}

TEST_F(HostTest, WrongOptionsAreRefusedWithAHint) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"--frobnicate"}, "unknown option '--frobnicate'"},
        {{"-x"}, "unknown option '-x'"},
        {{"--plugins"}, "option '--plugins' needs a value"},
        {{"--plugins=missing"}, "no such folder: 'missing'"},
        {{"--resources", "missing"}, "no such folder: 'missing'"},
        {{"--app-dir", "missing"}, "no such folder: 'missing'"},
        {{"--report=yes"}, "option '--report' takes no value"},
    };
    for (const auto& [arguments, problem] : cases) {
        const std::string hint = "\nTry 'qelhost --help'. Options of the scripts stand behind '--'.\n";
        EXPECT_EQ(run(arguments), (HostRun{2, "", "qelhost: " + problem + hint}));
    }
}

TEST_F(HostTest, ScriptsSeeOnlyWhatStandsBehindTheOptions) {
    writePlugin("a", "main.sq",
                "import(\"qel.System\"); local s = qel.System();"
                "for (local i = 0; i < s.getNumberOfArguments(); i += 1) host.print(\"<\" + s.getArgument(i) "
                "+ \">\")");
    EXPECT_THAT(run({"--plugins", "plugins", "one", "--help"}).out, HasSubstr("<one>\n<--help>\n"));
    EXPECT_THAT(run({"--plugins=plugins", "--", "--report", "-h"}).out, HasSubstr("<--report>\n<-h>\n"));
    const HostRun reported = run({"--report", "--plugins", "plugins", "--"});
    EXPECT_THAT(reported.out,
                AllOf(HasSubstr("system:\n"), HasSubstr("the main loop ran"), Not(HasSubstr("<"))));
}

TEST_F(HostTest, AMissingDefaultPluginsFolderIsTold) {
    EXPECT_THAT(run({}), AllOf(Field(&HostRun::status, 0),
                               Field(&HostRun::out, HasSubstr("[WARNING] no plugins folder '"))));
}

TEST_F(HostTest, AppDirReceivesTheDumpOfACrash) {
    writePlugin("a", "main.sq", sendsSignal("ABRT"));
    EXPECT_EQ(run({"--app-dir", ".", "--plugins", "plugins"}).status, 128 + 6);
    EXPECT_FALSE(std::filesystem::is_empty(scratch() / "dumps"));
}

// --- exit status ---------------------------------------------------------------------------------------

TEST_F(HostTest, TheStatusTellsHowTheScriptsEndedUnlessTheyAskForOne) {
    struct Case {
        const char *file, *script;
        int status;
        const char* output;
    };
    const Case cases[] = {
        {"main.sq", "std.sleep(1); std[\"yield\"](); std.info(\"ends\")", 0, "[SQ] ends\n"},
        {"main.sq", "try { throw \"caught\" } catch (e) {} std.error(\"[SQ.INTERPRETER] not one\")", 0,
         "not one"},
        {"main.sq", "throw \"lost\"", 1, "[SQ.INTERPRETER] lost"},
        {"main.sq", "local = = 3", 1, "[ERROR] [SQ.COMPILER] "},
        {"autoexec.sq", "local = = 3", 1, "[ERROR] [SQ.COMPILER] "},
        {"main.sq", "host.set_exit_status(3); host.set_exit_status(7); throw \"lost\"", 7, "lost"},
        {"main.sq", "import(\"qel.System\"); qel.System().exitProcess(5)", 5, ""},
    };
    for (const auto& [file, script, status, output] : cases) {
        SCOPED_TRACE(script);
        writePlugin("a", file, script);
        const bool ends = status < 5;
        writePlugin("b", "main.sq", ends ? "std[\"yield\"](); host.print(\"b ends\")" : "");
        const HostRun host = run({"--plugins", "plugins"});
        EXPECT_EQ(host, (HostRun{status, host.out, ""}));
        EXPECT_THAT(host.out, AllOf(HasSubstr(output), HasSubstr(ends ? "b ends\n" : "")));
        std::filesystem::remove_all(scratch() / "plugins");
    }
}

// --- catalogue -----------------------------------------------------------------------------------------

class CatalogueTest : public HostTest {
protected:
    /// Runs qelhost on the catalogue of the source tree.
    HostRun runCatalogue(const Path& folder, const std::string& language = "en") const {
        return run({"--plugins", sourceDir() + "/resources/plugins", "--resources",
                    sourceDir() + "/resources", "--language", language, folder.string(), "--out", "result"});
    }
    std::multiset<std::string> lines(const char* file = "result/catalogue.csv") const {
        std::multiset<std::string> found;
        std::istringstream stream(readText(scratch() / file));
        for (std::string line; std::getline(stream, line);) found.insert(line);
        return found;
    }
    std::string summary() const { return readText(scratch() / "result/summary.txt"); }
    void fillTree(int count) const {
        for (int i = 0; i < count; ++i) writeText(tree / ("file-" + std::to_string(i) + ".txt"), "text");
    }

    const Path tree = scratch() / "tree";
};

TEST_F(CatalogueTest, TheSampleStudyIsCataloguedByDefault) {
    run({"--plugins", sourceDir() + "/resources/plugins", "--language", "en"});
    const auto found = lines("catalogue-output/catalogue.csv");
    EXPECT_EQ(found.size(), 10u);
    EXPECT_THAT(found, Contains("path,size,created,modified,crc32c,status"));
    EXPECT_THAT(found, Contains(MatchesRegex(std::string("phantom/empty\\.txt,0") + kDates + "00000000,ok")));
    EXPECT_THAT(found, Contains(StartsWith("\"Müller-Anna/Befund, Größe.txt\",83,")));
}

TEST_F(CatalogueTest, TheSummaryIsWrittenInTheChosenLanguage) {
    fillTree(1234);
    runCatalogue(tree);
    EXPECT_THAT(summary(),
                AllOf(StartsWith("Catalogue of "), HasSubstr("  Files                        1,234\n")));
    runCatalogue(tree, "de");
    EXPECT_THAT(summary(),
                AllOf(StartsWith("Verzeichnis von "), HasSubstr("  Dateien                      1.234\n"),
                      HasSubstr("  Gesamtgröße                 4,9 kB\n")));
    EXPECT_EQ(lines().size(), 1235u);
}

TEST_F(CatalogueTest, HashesAreTheCrc32cOfTheContentAtAnySizeAndLinksAndPipesAreNotOpened) {
    writeText(tree / "digits", "123456789");
    writeText(tree / "zeros", std::string(32, '\0'));
    writeText(tree / "sub/slices", std::string((8 << 20) * 2 + 12345, 'q'));
    std::filesystem::create_directory_symlink(tree, tree / "sub/loop");
    std::filesystem::create_symlink("slices", tree / "sub/link");
    std::filesystem::create_symlink("nowhere", tree / "sub/dangling");
    ASSERT_EQ(std::system(("mkfifo '" + (tree / "pipe").string() + "'").c_str()), 0);
    const HostRun host = runCatalogue(tree);
    // The check value of the CRC's definition, and a test vector of RFC 3720, B.4.
    const auto line = [](const std::string& begin, const char* end) {
        return MatchesRegex(begin + kDates + end);
    };
    EXPECT_THAT(lines(), UnorderedElementsAre(StartsWith("path,"), line("digits,9", "e3069283,ok"),
                                              line("zeros,32", "8a9136aa,ok"),
                                              line("sub/slices,16789561", "f7347698,ok")));
    EXPECT_THAT(host.out,
                AllOf(ContainsRegex("Links, not followed +3\n"), ContainsRegex("Devices and pipes +1\n")));
}

TEST_F(CatalogueTest, NamesOfAnyBytesMakeOneCsvFieldEach) {
    const std::pair<const char*, const char*> names[] = {
        {"a\"b", "\"a\"\"b\""},   {"a,b", "\"a,b\""}, {"a\nb", "\"a\nb\""},
        {"a\rb", "\"a\rb\""},     {"a\\b", "a\\b"},   {" a", " a"},
        {"\xff\xfe", "\xff\xfe"}, {"-rf", "-rf"},     {"\x1b[31m", "\x1b[31m"}};
    for (const auto& [name, field] : names) writeText(tree / name, "");
    EXPECT_EQ(runCatalogue(tree).status, 0);
    const std::string csv = readText(scratch() / "result/catalogue.csv");
    for (const auto& [name, field] : names) EXPECT_THAT(csv, HasSubstr(std::string("\n") + field + ",0,"));
}

TEST_F(CatalogueTest, UnreadableFilesAreNamedAndPassed) {
    // Under its long name the file's path is longer than the system allows, for root too.
    Path deep = tree / "t";
    while (deep.native().size() < 3740) deep /= std::string(50, 'd');
    writeText(deep / std::string(250, 'n'), "text");
    writeText(tree / "readable", "text");
    std::filesystem::rename(tree / "t", tree / std::string(3991 - deep.native().size(), 't'));
    const HostRun host = runCatalogue(tree);
    EXPECT_EQ(host.status, 0);
    EXPECT_THAT(lines(), UnorderedElementsAre(StartsWith("path,"), EndsWith(",unreadable"),
                                              AllOf(StartsWith("readable,4,"), EndsWith(",ok"))));
    EXPECT_THAT(host.out, HasSubstr("[WARNING] [SQ] cannot read 't"));
    EXPECT_THAT(summary(), HasSubstr("Could not be read\n  t"));
}

TEST_F(CatalogueTest, ItsOwnFilesAreLeftOut) {
    fillTree(1);
    for (int round = 0; round < 2; ++round) {
        runCatalogue(scratch());
        EXPECT_EQ(lines().size(), 4u) << "the heading, the file, and what the host printed to two more";
    }
}

TEST_F(CatalogueTest, WrongArgumentsGiveStatusTwoAndAnOutputThatCannotBeMadeOne) {
    EXPECT_EQ(runCatalogue(scratch() / "missing").status, 2);
    EXPECT_EQ(runCatalogue("--wrong").status, 2);
    EXPECT_FALSE(std::filesystem::exists(scratch() / "result"));
    writeText(scratch() / "result", "a file where the folder should be");
    fillTree(1);
    const HostRun host = runCatalogue(tree);
    EXPECT_EQ(host.status, 1);
    EXPECT_THAT(host.out, HasSubstr("cannot write to '"));
}

// --- interrupt -----------------------------------------------------------------------------------------

TEST_F(CatalogueTest, AnInterruptLeavesWholeLinesAndAnHonestSummary) {
    fillTree(3000);
    std::filesystem::create_directories(scratch() / "plugins");
    std::filesystem::create_directory_symlink(sourceDir() + "/resources/plugins/catalogue",
                                              scratch() / "plugins/catalogue");
    writePlugin("zz-interrupt", "main.sq",
                "import(\"qel.File\")\n"
                "while (qel.File.getFileSize(\"result/catalogue.csv\") < 10000) std[\"yield\"]()\n" +
                    sendsSignal("INT"));
    EXPECT_EQ(run({"--plugins", "plugins", "--language", "en", "tree", "--out", "result"}).status, 130);
    EXPECT_THAT(readText(scratch() / "result/catalogue.csv"), EndsWith(",ok\n"));
    EXPECT_LT(lines().size(), 3001u);
    EXPECT_THAT(summary(), HasSubstr("INCOMPLETE"));
}

TEST_F(HostTest, StayGoesOnWithoutScriptsUntilInterrupted) {
    writePlugin("a", "main.sq", sendsSignal("TERM") + "host.print(\"sent\")");
    EXPECT_THAT(run({"--stay", "--plugins", "plugins"}),
                AllOf(Field(&HostRun::status, 0), Field(&HostRun::out, HasSubstr("sent\n"))));
}

TEST_F(HostTest, AScriptThatNeverYieldsIsEndedByForce) {
    writePlugin("a", "main.sq", sendsSignal("INT") + "while (true) {}");
    const HostRun host = run({"--plugins", "plugins"});
    EXPECT_EQ(host.status, 130);
    EXPECT_THAT(host.error, HasSubstr("ended by force"));
}

} // namespace
} // namespace qel::test
