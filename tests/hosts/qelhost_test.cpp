// The command-line host as its user meets it: options, exit statuses, the catalogue and interrupts.
#include <tests/hosts/host_run.h>

#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

namespace qel::test {

using namespace testing;

namespace {

/// A script that sends @p signal to the host.
std::string sendsSignal(const std::string& signal) {
    return "import(\"qel.System\"); qel.System().runCommand(\"sh -c 'kill -" + signal + " $PPID'\", 0);";
}

constexpr const char* kDates = ",[-0-9T:]+Z,[-0-9T:]+Z,";

} // namespace

// --- options -------------------------------------------------------------------------------------------

TEST_F(HostTest, HelpAndVersionArePrintedToStandardOutput) {
    EXPECT_THAT(run({"--version"}).out, MatchesRegex(".*qelhost [0-9]+\\.[0-9]+\\.[0-9]+.*\n"));
    for (const char* option : {"--help", "-h"}) {
        const HostRun host = run({option});
        EXPECT_EQ(host.status, 0);
        EXPECT_THAT(host.out, AllOf(StartsWith("Usage: qelhost"), HasSubstr("--plugins DIR")));
        EXPECT_THAT(host.error, IsEmpty());
    }
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
    EXPECT_THAT(run({"--plugins", "plugins", "one", "--help"}).out, HasSubstr("<one>\n<--help>\n"));
    EXPECT_THAT(run({"--plugins=plugins", "--", "--report", "-h"}).out, HasSubstr("<--report>\n<-h>\n"));
    const HostRun reported = run({"--report", "--plugins", "plugins", "--"});
    EXPECT_THAT(reported.out,
                AllOf(HasSubstr("system:\n"), HasSubstr("the main loop ran"), Not(HasSubstr("<"))));
}

TEST_F(HostTest, AMissingDefaultPluginsFolderIsTold) {
    const HostRun host = run({});
    EXPECT_EQ(host.status, 0);
    EXPECT_THAT(host.out, HasSubstr("[WARNING] no plugins folder '"));
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
        if (status < 5) writePlugin("b", "main.sq", "std[\"yield\"](); host.print(\"b ends\")");
        const HostRun host = run({"--plugins", "plugins"});
        EXPECT_EQ(host.status, status);
        EXPECT_THAT(host.out, HasSubstr(output));
        if (status < 5) {
            EXPECT_THAT(host.out, HasSubstr("b ends\n"));
        }
        EXPECT_THAT(host.error, IsEmpty());
        std::filesystem::remove_all(scratch() / "plugins");
    }
}

// --- catalogue -----------------------------------------------------------------------------------------

class CatalogueTest : public HostTest {
protected:
    std::vector<std::string> lines() const {
        return sortedLines(readText(scratch() / "result/catalogue.csv"));
    }
    std::string summary() const { return readText(scratch() / "result/summary.txt"); }
    void fillTree(int count) const {
        for (int i = 0; i < count; ++i) writeText(tree / ("file-" + std::to_string(i) + ".txt"), "text");
    }

    const Path tree = scratch() / "tree";
};

TEST_F(CatalogueTest, TheSampleStudyIsCataloguedByDefault) {
    run({"--plugins", sourceDir() + "/resources/plugins", "--language", "en"});
    const auto found = sortedLines(readText(scratch() / "catalogue-output/catalogue.csv"));
    EXPECT_EQ(found.size(), 10u);
    EXPECT_THAT(found, Contains("path,size,created,modified,crc32c,status"));
    EXPECT_THAT(found, Contains(MatchesRegex(std::string("phantom/empty\\.txt,0") + kDates + "00000000,ok")));
    EXPECT_THAT(found, Contains(StartsWith("\"Müller-Anna/Befund, Größe.txt\",83,")));
}

TEST_F(CatalogueTest, TheSummaryIsWrittenInTheChosenLanguage) {
    fillTree(1234);
    runCatalogue("en", tree);
    EXPECT_THAT(summary(),
                AllOf(StartsWith("Catalogue of "), HasSubstr("  Files                        1,234\n")));
    runCatalogue("de", tree);
    EXPECT_THAT(summary(),
                AllOf(StartsWith("Verzeichnis von "), HasSubstr("  Dateien                      1.234\n"),
                      HasSubstr("  Gesamtgröße                 4,9 kB\n")));
    EXPECT_EQ(lines().size(), 1235u);
}

TEST_F(CatalogueTest, HashesAreTheCrc32cOfTheContentAtAnySize) {
    writeText(tree / "digits", "123456789");
    writeText(tree / "zeros", std::string(32, '\0'));
    writeText(tree / "slices", std::string((8 << 20) * 2 + 12345, 'q'));
    runCatalogue("en", tree);
    // The check value of the CRC's definition, and a test vector of RFC 3720, B.4.
    EXPECT_THAT(lines(), Contains(MatchesRegex(std::string("digits,9") + kDates + "e3069283,ok")));
    EXPECT_THAT(lines(), Contains(MatchesRegex(std::string("zeros,32") + kDates + "8a9136aa,ok")));
    EXPECT_THAT(lines(), Contains(MatchesRegex(std::string("slices,16789561") + kDates + "f7347698,ok")));
}

TEST_F(CatalogueTest, NamesOfAnyBytesMakeOneCsvFieldEach) {
    const std::pair<const char*, const char*> names[] = {
        {"a\"b", "\"a\"\"b\""},   {"a,b", "\"a,b\""}, {"a\nb", "\"a\nb\""},
        {"a\rb", "\"a\rb\""},     {"a\\b", "a\\b"},   {" a", " a"},
        {"\xff\xfe", "\xff\xfe"}, {"-rf", "-rf"},     {"\x1b[31m", "\x1b[31m"}};
    for (const auto& [name, field] : names) writeText(tree / name, "");
    EXPECT_EQ(runCatalogue("en", tree).status, 0);
    const std::string csv = readText(scratch() / "result/catalogue.csv");
    for (const auto& [name, field] : names) EXPECT_THAT(csv, HasSubstr(std::string("\n") + field + ",0,"));
}

TEST_F(CatalogueTest, LinksAreNotFollowedAndPipesNotOpened) {
    writeText(tree / "sub/file", "text");
    std::filesystem::create_directory_symlink(tree, tree / "sub/loop");
    std::filesystem::create_symlink("file", tree / "sub/link");
    std::filesystem::create_symlink("nowhere", tree / "sub/dangling");
    ASSERT_EQ(std::system(("mkfifo '" + (tree / "pipe").string() + "'").c_str()), 0);
    const HostRun host = runCatalogue("en", tree);
    EXPECT_EQ(host.status, 0);
    EXPECT_EQ(lines().size(), 2u);
    EXPECT_THAT(host.out,
                AllOf(ContainsRegex("Links, not followed +3\n"), ContainsRegex("Devices and pipes +1\n")));
}

TEST_F(CatalogueTest, UnreadableFilesAreNamedAndPassed) {
    // Under its long name the file's path is longer than the system allows, for root too.
    Path deep = tree / "t";
    while (deep.native().size() < 3740) deep /= std::string(50, 'd');
    writeText(deep / std::string(250, 'n'), "text");
    writeText(tree / "readable", "text");
    std::filesystem::rename(tree / "t", tree / std::string(3991 - deep.native().size(), 't'));
    const HostRun host = runCatalogue("en", tree);
    EXPECT_EQ(host.status, 0);
    EXPECT_EQ(lines().size(), 3u);
    EXPECT_THAT(lines(), Contains(EndsWith(",unreadable")));
    EXPECT_THAT(lines(), Contains(AllOf(StartsWith("readable,4,"), EndsWith(",ok"))));
    EXPECT_THAT(host.out, HasSubstr("[WARNING] [SQ] cannot read 't"));
    EXPECT_THAT(summary(), HasSubstr("Could not be read\n  t"));
}

TEST_F(CatalogueTest, ItsOwnFilesAreLeftOut) {
    fillTree(1);
    for (int round = 0; round < 2; ++round) {
        runCatalogue("en", scratch());
        EXPECT_EQ(lines().size(), 4u) << "the heading, the file, and what the host printed to two more";
    }
}

TEST_F(CatalogueTest, WrongArgumentsGiveStatusTwoAndAnOutputThatCannotBeMadeOne) {
    EXPECT_EQ(runCatalogue("en", scratch() / "missing").status, 2);
    EXPECT_EQ(runCatalogue("en", "--wrong").status, 2);
    EXPECT_FALSE(std::filesystem::exists(scratch() / "result"));
    writeText(scratch() / "result", "a file where the folder should be");
    fillTree(1);
    const HostRun host = runCatalogue("en", tree);
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
    const HostRun host = run({"--stay", "--plugins", "plugins"});
    EXPECT_EQ(host.status, 0);
    EXPECT_THAT(host.out, HasSubstr("sent\n"));
}

TEST_F(HostTest, AScriptThatNeverYieldsIsEndedByForce) {
    writePlugin("a", "main.sq", sendsSignal("INT") + "while (true) {}");
    const HostRun host = run({"--plugins", "plugins"});
    EXPECT_EQ(host.status, 130);
    EXPECT_THAT(host.error, HasSubstr("ended by force"));
}

} // namespace qel::test
