// The command-line host as its user meets it: options, exit statuses, the catalogue and interrupts.
#include <tests/hosts/host_run.h>

#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

namespace qel::test {

using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

/// Writes @p count small files.
void fillFolder(const std::filesystem::path& folder, int count) {
    for (int i = 0; i < count; ++i) writeText(folder / ("file-" + std::to_string(i) + ".txt"), "text");
}

constexpr const char* kDates = ",[-0-9T:]+Z,[-0-9T:]+Z,";

} // namespace

// --- options -------------------------------------------------------------------------------------------

TEST_F(HostTest, HelpIsPrintedToStandardOutput) {
    for (const char* option : {"--help", "-h"}) {
        const HostRun host = run({option});
        EXPECT_EQ(host.status, 0);
        EXPECT_THAT(host.out, AllOf(StartsWith("Usage: qelhost"), HasSubstr("--plugins DIR"),
                                    HasSubstr("Exit status")));
        EXPECT_THAT(host.error, IsEmpty());
    }
}

TEST_F(HostTest, VersionIsPrinted) {
    EXPECT_THAT(run({"--version"}).out, MatchesRegex(".*qelhost [0-9]+\\.[0-9]+\\.[0-9]+.*\n"));
}

TEST_F(HostTest, WrongOptionsAreRefusedWithAHint) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"--frobnicate"}, "unknown option '--frobnicate'"},
        {{"-x"}, "unknown option '-x'"},
        {{"--plugins"}, "option '--plugins' needs a value"},
        {{"--plugins", "missing"}, "no such folder: 'missing'"},
        {{"--plugins=missing"}, "no such folder: 'missing'"},
        {{"--resources", "missing"}, "no such folder: 'missing'"},
        {{"--app-dir", "missing"}, "no such folder: 'missing'"},
        {{"--report=yes"}, "option '--report' takes no value"},
    };
    for (const auto& [arguments, problem] : cases) {
        const HostRun host = run(arguments);
        EXPECT_EQ(host.status, 2) << problem;
        EXPECT_EQ(host.error, "qelhost: " + problem +
                                  "\nTry 'qelhost --help'. Options of the scripts stand behind '--'.\n");
        EXPECT_THAT(host.out, IsEmpty());
    }
}

TEST_F(HostTest, ScriptsSeeOnlyWhatStandsBehindTheOptions) {
    writePlugin("a", "main.sq",
                "import(\"qel.System\"); local s = qel.System();"
                "for (local i = 0; i < s.getNumberOfArguments(); i += 1) host.print(\"<\" + s.getArgument(i) "
                "+ \">\")");
    const std::string plugins = (scratch() / "plugins").string();
    EXPECT_THAT(run({"--plugins", plugins, "one", "--help"}).out, HasSubstr("<one>\n<--help>\n"));
    EXPECT_THAT(run({"--plugins=" + plugins, "--", "--report", "-h"}).out, HasSubstr("<--report>\n<-h>\n"));
    EXPECT_THAT(run({"--plugins", plugins, "--"}).out, Not(HasSubstr("<")));
}

TEST_F(HostTest, AMissingDefaultPluginsFolderIsTold) {
    const HostRun host = run({});
    EXPECT_EQ(host.status, 0);
    EXPECT_THAT(host.out, HasSubstr("[WARNING] no plugins folder '"));
}

TEST_F(HostTest, ReportsTellOfTheSystemAndTheMainLoop) {
    writePlugin("a", "main.sq", "");
    const HostRun host = run({"--report", "--plugins", (scratch() / "plugins").string()});
    EXPECT_THAT(host.out,
                AllOf(HasSubstr("system:\n"), HasSubstr("the main loop ran for less than two seconds")));
}

TEST_F(HostTest, AppDirReceivesTheDumpOfACrash) {
    writePlugin("a", "main.sq",
                "import(\"qel.System\"); qel.System().runCommand(\"sh -c 'kill -ABRT $PPID'\", 0)");
    EXPECT_EQ(run({"--app-dir", ".", "--plugins", "plugins"}).status, 128 + 6);
    EXPECT_FALSE(std::filesystem::is_empty(scratch() / "dumps"));
}

// --- exit status ---------------------------------------------------------------------------------------

TEST_F(HostTest, ScriptsThatEndWellGiveStatusZero) {
    writePlugin("a", "autoexec.sq", "global.ready <- \"prepared\"");
    writePlugin("a", "main.sq", "std.sleep(1); std[\"yield\"](); std.info(global.ready)");
    const HostRun host = runPlugins();
    EXPECT_EQ(host.status, 0);
    EXPECT_THAT(host.out, HasSubstr("[SQ] prepared\n"));
    EXPECT_THAT(host.error, IsEmpty());
}

TEST_F(HostTest, AScriptThatDoesNotCompileGivesStatusOne) {
    for (const char* file : {"main.sq", "autoexec.sq"}) {
        writePlugin(file, file, "local = = 3");
        const HostRun host = runPlugins();
        EXPECT_EQ(host.status, 1) << file;
        EXPECT_THAT(host.out, HasSubstr("[ERROR] [SQ.COMPILER] "));
        std::filesystem::remove_all(scratch() / "plugins");
    }
}

TEST_F(HostTest, AScriptThatThrowsGivesStatusOneAndOthersRunOn) {
    writePlugin("a", "main.sq", "throw \"lost\"");
    writePlugin("b", "main.sq", "std[\"yield\"](); host.print(\"b ends\")");
    const HostRun host = runPlugins();
    EXPECT_EQ(host.status, 1);
    EXPECT_THAT(host.out, AllOf(HasSubstr("[SQ.INTERPRETER] lost"), HasSubstr("b ends\n")));
}

TEST_F(HostTest, ErrorsThatAScriptCatchesOrOnlyLogsAreNoFailure) {
    writePlugin("a", "main.sq",
                "try { throw \"caught\" } catch (e) {} std.error(\"[SQ.INTERPRETER] not one\")");
    EXPECT_EQ(runPlugins().status, 0);
}

TEST_F(HostTest, TheStatusThatAScriptAsksForWins) {
    writePlugin("a", "main.sq", "host.set_exit_status(3); host.set_exit_status(7); throw \"lost\"");
    EXPECT_EQ(runPlugins().status, 7);
    writePlugin("a", "main.sq", "import(\"qel.System\"); qel.System().exitProcess(5)");
    EXPECT_EQ(runPlugins().status, 5);
}

// --- catalogue -----------------------------------------------------------------------------------------

TEST_F(HostTest, TheSampleStudyIsCataloguedByDefault) {
    const HostRun host = run({"--plugins", sourceDir() + "/resources/plugins", "--language", "en"});
    EXPECT_EQ(host.status, 0);
    const auto lines = sortedLines(readText(scratch() / "catalogue-output/catalogue.csv"));
    EXPECT_EQ(lines.size(), 10u);
    EXPECT_THAT(lines, Contains("path,size,created,modified,crc32c,status"));
    EXPECT_THAT(lines, Contains(MatchesRegex(std::string("phantom/empty\\.txt,0") + kDates + "00000000,ok")));
    EXPECT_THAT(lines, Contains(StartsWith("\"Müller-Anna/Befund, Größe.txt\",83,")));
    EXPECT_THAT(lines, Contains(StartsWith("Müller-Anna/series-2/übersicht.dcm,312,")));
    EXPECT_THAT(host.out, AllOf(HasSubstr("Catalogue of "),
                                HasSubstr(readText(scratch() / "catalogue-output/summary.txt"))));
}

TEST_F(HostTest, TheSummaryIsWrittenInTheChosenLanguage) {
    fillFolder(scratch() / "tree", 1234);
    runCatalogue("en", scratch() / "tree");
    EXPECT_THAT(readText(scratch() / "result/summary.txt"),
                AllOf(StartsWith("Catalogue of "), HasSubstr("  Files                        1,234\n"),
                      HasSubstr("4.9 kB\n")));
    runCatalogue("de", scratch() / "tree");
    EXPECT_THAT(readText(scratch() / "result/summary.txt"),
                AllOf(StartsWith("Verzeichnis von "), HasSubstr("  Dateien                      1.234\n"),
                      HasSubstr("  Gesamtgröße                 4,9 kB\n")));
    EXPECT_EQ(sortedLines(readText(scratch() / "result/catalogue.csv")).size(), 1235u);
}

TEST_F(HostTest, HashesAreTheCrc32cOfTheContentAtAnySize) {
    const std::filesystem::path tree = scratch() / "tree";
    writeText(tree / "digits", "123456789");
    writeText(tree / "zeros", std::string(32, '\0'));
    writeText(tree / "slices", std::string((8 << 20) * 2 + 12345, 'q'));
    runCatalogue("en", tree);
    const auto lines = sortedLines(readText(scratch() / "result/catalogue.csv"));
    // The check value of the CRC's definition, and a test vector of RFC 3720, B.4.
    EXPECT_THAT(lines, Contains(MatchesRegex(std::string("digits,9") + kDates + "e3069283,ok")));
    EXPECT_THAT(lines, Contains(MatchesRegex(std::string("zeros,32") + kDates + "8a9136aa,ok")));
    EXPECT_THAT(lines, Contains(MatchesRegex(std::string("slices,16789561") + kDates + "f7347698,ok")));
}

TEST_F(HostTest, NamesOfAnyBytesMakeOneCsvFieldEach) {
    const std::filesystem::path tree = scratch() / "tree";
    for (const char* name : {"a\"b", "a,b", "a\nb", "a\rb", "a\\b", " a", "\xff\xfe", "-rf", "\x1b[31m"})
        writeText(tree / name, "");
    EXPECT_EQ(runCatalogue("en", tree).status, 0);
    const std::string csv = readText(scratch() / "result/catalogue.csv");
    for (const char* field : {"\n\"a\"\"b\",0,", "\n\"a,b\",0,", "\n\"a\nb\",0,", "\n\"a\rb\",0,",
                              "\na\\b,0,", "\n a,0,", "\n\xff\xfe,0,", "\n-rf,0,", "\n\x1b[31m,0,"}) {
        EXPECT_THAT(csv, HasSubstr(field));
    }
}

TEST_F(HostTest, LinksAreNotFollowedAndPipesNotOpened) {
    const std::filesystem::path tree = scratch() / "tree";
    writeText(tree / "sub/file", "text");
    std::filesystem::create_directory_symlink(tree, tree / "sub/loop");
    std::filesystem::create_symlink("file", tree / "sub/link");
    std::filesystem::create_symlink("nowhere", tree / "sub/dangling");
    ASSERT_EQ(std::system(("mkfifo '" + (tree / "pipe").string() + "'").c_str()), 0);
    const HostRun host = runCatalogue("en", tree);
    EXPECT_EQ(host.status, 0);
    EXPECT_EQ(sortedLines(readText(scratch() / "result/catalogue.csv")).size(), 2u);
    EXPECT_THAT(host.out,
                AllOf(ContainsRegex("Links, not followed +3\n"), ContainsRegex("Devices and pipes +1\n")));
}

TEST_F(HostTest, UnreadableFilesAreNamedAndPassed) {
    // Under its long name the file's path is longer than the system allows, for root too.
    const std::string name(250, 'n');
    const std::filesystem::path tree = scratch() / "tree";
    std::filesystem::path deep = tree / "t";
    while (deep.native().size() < 3740) deep /= std::string(50, 'd');
    writeText(deep / name, "text");
    writeText(tree / "readable", "text");
    std::filesystem::rename(tree / "t", tree / std::string(3991 - deep.native().size(), 't'));
    const HostRun host = runCatalogue("en", tree);
    EXPECT_EQ(host.status, 0);
    const auto lines = sortedLines(readText(scratch() / "result/catalogue.csv"));
    EXPECT_EQ(lines.size(), 3u);
    EXPECT_THAT(lines, Contains(EndsWith(",unreadable")));
    EXPECT_THAT(lines, Contains(AllOf(StartsWith("readable,4,"), EndsWith(",ok"))));
    EXPECT_THAT(host.out, HasSubstr("[WARNING] [SQ] cannot read 't"));
    EXPECT_THAT(readText(scratch() / "result/summary.txt"), HasSubstr("Could not be read\n  t"));
}

TEST_F(HostTest, TheCatalogueLeavesItsOwnFilesOut) {
    const std::filesystem::path tree = scratch() / "tree";
    writeText(tree / "file", "text");
    for (int round = 0; round < 2; ++round) {
        run({"--plugins", sourceDir() + "/resources/plugins", tree.string(), "--out",
             (tree / "out").string()});
        EXPECT_EQ(sortedLines(readText(tree / "out/catalogue.csv")).size(), 2u);
    }
}

TEST_F(HostTest, WrongArgumentsOfTheCatalogueGiveStatusTwo) {
    EXPECT_EQ(runCatalogue("en", scratch() / "missing").status, 2);
    EXPECT_EQ(runCatalogue("en", "--wrong").status, 2);
    EXPECT_FALSE(std::filesystem::exists(scratch() / "result"));
}

TEST_F(HostTest, AnOutputFolderThatCannotBeMadeGivesStatusOne) {
    writeText(scratch() / "result", "a file where the folder should be");
    fillFolder(scratch() / "tree", 1);
    const HostRun host = runCatalogue("en", scratch() / "tree");
    EXPECT_EQ(host.status, 1);
    EXPECT_THAT(host.out, HasSubstr("cannot write to '"));
}

// --- interrupt -----------------------------------------------------------------------------------------

TEST_F(HostTest, AnInterruptLeavesWholeLinesAndAnHonestSummary) {
    fillFolder(scratch() / "tree", 3000);
    copyCatalogue();
    writePlugin("zz-interrupt", "main.sq",
                "import(\"qel.System\"); import(\"qel.File\")\n"
                "while (qel.File.getFileSize(\"result/catalogue.csv\") < 10000) std[\"yield\"]()\n"
                "qel.System().runCommand(\"sh -c 'kill -INT $PPID'\", 0)");
    const HostRun host = run({"--plugins", "plugins", "--language", "en", "tree", "--out", "result"});
    EXPECT_EQ(host.status, 130);
    const std::string csv = readText(scratch() / "result/catalogue.csv");
    EXPECT_THAT(csv, EndsWith(",ok\n"));
    EXPECT_LT(sortedLines(csv).size(), 3001u);
    EXPECT_THAT(readText(scratch() / "result/summary.txt"), HasSubstr("INCOMPLETE"));
}

TEST_F(HostTest, StayGoesOnWithoutScriptsUntilInterrupted) {
    writePlugin("a", "main.sq",
                "import(\"qel.System\"); qel.System().runCommand(\"sh -c 'kill -TERM $PPID'\", 0); "
                "host.print(\"sent\")");
    const HostRun host = run({"--stay", "--plugins", "plugins"});
    EXPECT_EQ(host.status, 0);
    EXPECT_THAT(host.out, HasSubstr("sent\n"));
}

TEST_F(HostTest, AScriptThatNeverYieldsIsEndedByForce) {
    writePlugin(
        "a", "main.sq",
        "import(\"qel.System\"); qel.System().runCommand(\"sh -c 'kill -INT $PPID'\", 0); while (true) {}");
    const HostRun host = runPlugins();
    EXPECT_EQ(host.status, 130);
    EXPECT_THAT(host.error, HasSubstr("ended by force"));
}

} // namespace qel::test
