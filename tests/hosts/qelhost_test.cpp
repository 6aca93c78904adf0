// The command-line host as its user meets it: options, exit statuses, the catalogue and interrupts.
#include <tests/hosts/host_run.h>

#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

#include <fstream>
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
        return runProgram(folder, arguments);
    }
    HostRun runPlugin(const std::string& script, std::vector<std::string> arguments = {}) const {
        folder.write("plugins/a/main.sq", script);
        arguments.insert(arguments.begin(), {"--plugins", "plugins"});
        return run(arguments);
    }

    const ScratchFolder folder;
};

// --- options -------------------------------------------------------------------------------------------

TEST_F(HostTest, HelpAndVersionArePrintedToStandardOutput) {
    EXPECT_THAT(run({"--version"}).out, MatchesRegex(".*qelhost [0-9]+\\.[0-9]+\\.[0-9]+.*\n"));
    const HostRun help = run({"--help"});
    EXPECT_THAT(help.out, AllOf(StartsWith("Usage: qelhost"), HasSubstr("--plugins DIR")));
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.error, "");
}

TEST_F(HostTest, WrongOptionsAreRefusedWithAHint) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"--frobnicate"}, "unknown option '--frobnicate'"},
        {{"--plugins"}, "option '--plugins' needs a value"},
        {{"--plugins=missing"}, "no such folder: 'missing'"},
        {{"--report=yes"}, "option '--report' takes no value"},
    };
    for (const auto& [arguments, problem] : cases) {
        const std::string hint = "\nTry 'qelhost --help'. Options of the scripts follow '--'.\n";
        EXPECT_EQ(run(arguments), (HostRun{2, "", "qelhost: " + problem + hint}));
    }
}

TEST_F(HostTest, ScriptsSeeOnlyTheArgumentsAfterTheOptions) {
    const std::string script = "import(\"qel.System\"); local s = qel.System();"
                               "for (local i = 0; i < s.getNumberOfArguments(); i += 1) host.print(\"<\" + "
                               "s.getArgument(i) + \">\")";
    EXPECT_THAT(runPlugin(script, {"one", "--help"}).out, HasSubstr("<one>\n<--help>\n"));
    EXPECT_THAT(runPlugin(script, {"--", "--report", "-h"}).out, HasSubstr("<--report>\n<-h>\n"));
    EXPECT_THAT(runPlugin(script, {"--report", "--"}).out,
                AllOf(HasSubstr("system:\n"), HasSubstr("the main loop ran"), Not(HasSubstr("<"))));
}

TEST_F(HostTest, TheFirstScriptOfTheDocumentationRuns) {
    std::ifstream file(sourceDir() + "/docs/scripting.md");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    const std::string head = "Save this as `plugins/hello/main.sq`:\n\n```\n";
    const size_t begin = page.find(head);
    ASSERT_NE(begin, page.npos);
    const std::string script =
        page.substr(begin + head.size(), page.find("```", begin + head.size()) - begin - head.size());
    const HostRun host = runPlugin(script, {"--", "you"});
    EXPECT_EQ(host.status, 0);
    EXPECT_THAT(host.out, HasSubstr("\nhello you\n"));
}

// --- exit status ---------------------------------------------------------------------------------------

TEST_F(HostTest, TheStatusReportsHowTheScriptsEnded) {
    struct Case {
        const char* script;
        int status;
        const char* output;
    };
    const Case cases[] = {
        {"std.sleep(1); std[\"yield\"](); std.info(\"ends\")", 0, "[SQ] ends\n"},
        {"try { throw \"caught\" } catch (e) { host.print(e) }", 0, "caught\n"},
        {"try { (function() { throw \"caught\" }).acall([this]) } catch (e) { host.print(e) }", 0,
         "caught\n"},
        {"error(\"[SQ.INTERPRETER] not one\")", 0, "[ERROR] [SQ.INTERPRETER] not one\n"},
        {"throw \"lost\"", 1, "[SQ.INTERPRETER] lost"},
        {"local = = 3", 1, "[ERROR] [SQ.COMPILER] "},
        {"host.set_exit_status(3); host.set_exit_status(7); throw \"lost\"", 7, "lost"},
        {"import(\"qel.System\"); qel.System().exitProcess(5)", 5, ""},
    };
    for (const auto& [script, status, output] : cases) {
        const HostRun host = runPlugin(script);
        EXPECT_EQ(host.status, status) << script;
        EXPECT_EQ(host.error, "") << script;
        EXPECT_THAT(host.out, HasSubstr(output)) << script;
    }
}

TEST_F(HostTest, AFailedScriptLetsTheOthersEnd) {
    folder.write("plugins/b/main.sq", "std[\"yield\"](); host.print(\"b ends\")");
    EXPECT_THAT(runPlugin("throw \"lost\"").out, HasSubstr("b ends\n"));
}

TEST_F(HostTest, AFolderOfPluginsThatCannotBeReadIsAnError) {
    // The host's own default, as the build tree has no plugins beside the program.
    const HostRun host = run({});
    EXPECT_EQ(host.status, 1);
    EXPECT_THAT(host.out, HasSubstr("[ERROR] cannot read the plugins folder '"));
}

TEST_F(HostTest, FindsThePluginsAndResourcesOfItsInstallation) {
    folder.makeFolder("bin");
    std::filesystem::copy_file(QELHOST_PROGRAM, folder.path() + "/bin/qelhost");
    folder.write("share/qelcore/plugins/a/main.sq", "host.print(std.tr(\"word\") + \"\\n\")");
    folder.write("share/qelcore/res-words/tr-word.en.txt", "found");
    EXPECT_THAT(runProgram(folder, {"bin/qelhost", "--language", "en"}).out, HasSubstr("found\n"));
}

TEST_F(HostTest, PrefersThePluginsBesideItsProgram) {
    folder.makeFolder("bin");
    std::filesystem::copy_file(QELHOST_PROGRAM, folder.path() + "/bin/qelhost");
    folder.write("share/qelcore/plugins/a/main.sq", "host.print(\"installed\")");
    folder.write("bin/Plugins/a/main.sq", "host.print(\"beside\")");
    EXPECT_THAT(runProgram(folder, {"bin/qelhost"}).out, HasSubstr("beside"));
}

// --- standard output -----------------------------------------------------------------------------------

class HostOutput : public HostTest {
protected:
    /// Runs qelhost on a plugin that prints many lines, with the redirection @p to of a shell.
    HostRun runPrinting(const std::string& to) const {
        folder.write("plugins/a/main.sq", "for (local i = 0; i < 2000; i++) host.print(\"line\")\n"
                                          "string.write_to_file(\"end\", \"reached\")");
        return runProgram(folder, {"/bin/sh", "-c", "{ \"$0\" --plugins plugins; echo $? >status; } " + to,
                                   QELHOST_PROGRAM});
    }
    std::string status() const { return folder.read("status"); }
};

TEST_F(HostOutput, AReaderThatLeavesEndsNoScript) {
    const HostRun host = runPrinting("| true");
    EXPECT_EQ(status(), "1\n");
    EXPECT_EQ(folder.read("end"), "reached");
    EXPECT_EQ(host.error, "qelhost: cannot write to standard output: Broken pipe\n");
}

TEST_F(HostOutput, AFullDiskIsReported) {
    const HostRun host = runPrinting(">/dev/full");
    EXPECT_EQ(status(), "1\n");
    EXPECT_EQ(folder.read("end"), "reached");
    EXPECT_EQ(host.error, "qelhost: cannot write to standard output: No space left on device\n");
}

TEST_F(HostOutput, AClosedStandardErrorEndsNoScript) {
    runPrinting("2>&- >/dev/full");
    EXPECT_EQ(status(), "1\n");
    EXPECT_EQ(folder.read("end"), "reached");
}

TEST_F(HostOutput, OutputThatIsClosedFromTheStartReachesNoFile) {
    folder.write("plugins/a/main.sq",
                 "local file = std.file(\"own\", \"wb\")\nhost.print(\"line\")\nfile.close()");
    const HostRun host =
        runProgram(folder, {"/bin/sh", "-c", "\"$0\" --plugins plugins <&- >&-", QELHOST_PROGRAM});
    EXPECT_EQ(host.status, 1);
    EXPECT_EQ(host.error, "qelhost: cannot write to standard output: Bad file descriptor\n");
    EXPECT_EQ(folder.read("own"), "");
}

TEST_F(HostOutput, TheHelpIsCheckedToo) {
    const HostRun host = runProgram(folder, {"/bin/sh", "-c", "\"$0\" --help >/dev/full", QELHOST_PROGRAM});
    EXPECT_EQ(host.status, 1);
    EXPECT_EQ(host.error, "qelhost: cannot write to standard output: No space left on device\n");
}

// --- catalogue -----------------------------------------------------------------------------------------

class CatalogueTest : public HostTest {
protected:
    /// Runs qelhost on the catalogue of the source tree, for the folder "tree".
    HostRun runCatalogue(const std::string& of = "tree", const std::string& language = "en") const {
        return run({"--plugins", sourceDir() + "/resources/plugins", "--resources",
                    sourceDir() + "/resources", "--language", language, of, "--out", "result"});
    }
    std::multiset<std::string> lines() const {
        std::multiset<std::string> found;
        std::istringstream stream(folder.read("result/catalogue.csv"));
        for (std::string line; std::getline(stream, line);) found.insert(line);
        return found;
    }
    std::string summary() const { return folder.read("result/summary.txt"); }
    void fillTree(int count) const {
        for (int i = 0; i < count; ++i) folder.write("tree/file-" + std::to_string(i) + ".txt", "text");
    }
};

TEST_F(CatalogueTest, TheSummaryIsWrittenInTheChosenLanguage) {
    fillTree(1234);
    runCatalogue();
    EXPECT_THAT(summary(),
                AllOf(StartsWith("Catalogue of "), HasSubstr("  Files                        1,234\n")));
    runCatalogue("tree", "de");
    EXPECT_THAT(summary(),
                AllOf(StartsWith("Verzeichnis von "), HasSubstr("  Dateien                      1.234\n"),
                      HasSubstr("  Gesamtgröße                 4,9 kB\n")));
}

TEST_F(CatalogueTest, HashesAreTheCrc32cOfTheContentAtAnySize) {
    folder.write("tree/digits", "123456789");
    folder.write("tree/zeros", std::string(32, '\0'));
    folder.write("tree/sub/slices", std::string((8 << 20) * 2 + 12345, 'q'));
    const Path tree = folder.path("tree");
    std::filesystem::create_directory_symlink(tree, tree / "sub/loop");
    std::filesystem::create_symlink("slices", tree / "sub/link");
    std::filesystem::create_symlink("nowhere", tree / "sub/dangling");
    ASSERT_EQ(std::system(("mkfifo '" + (tree / "pipe").string() + "'").c_str()), 0);
    const HostRun host = runCatalogue();
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
    const std::pair<std::string, std::string> names[] = {
        {"a\"b", "\"a\"\"b\""}, {"a,b", "\"a,b\""}, {"a\nb", "\"a\nb\""},     {"a\rb", "\"a\rb\""},
        {"a\\b", "a\\b"},       {" a", " a"},       {"\xff\xfe", "\xff\xfe"}, {"-rf", "-rf"}};
    for (const auto& [name, field] : names) folder.write("tree/" + name, "");
    // Under its long name the file's path is longer than the system allows, for root too.
    std::string deep = "tree/t";
    while (folder.path(deep).size() < 3740) deep += "/" + std::string(50, 'd');
    folder.write(deep + "/" + std::string(250, 'n'), "text");
    std::filesystem::rename(folder.path("tree/t"),
                            folder.path("tree/" + std::string(3991 - folder.path(deep).size(), 't')));
    const HostRun host = runCatalogue();
    EXPECT_EQ(host.status, 1);
    EXPECT_THAT(host.out, HasSubstr("[WARNING] [SQ] cannot read 't"));
    EXPECT_THAT(summary(), HasSubstr("Could not be read\n  t"));
    EXPECT_THAT(lines(), Contains(EndsWith(",unreadable")));
    const std::string csv = folder.read("result/catalogue.csv");
    for (const auto& [name, field] : names) EXPECT_THAT(csv, HasSubstr("\n" + field + ",0,"));
}

TEST_F(CatalogueTest, WrongArgumentsAreRefused) {
    fillTree(1);
    const std::vector<std::string> plugins{"--plugins", sourceDir() + "/resources/plugins"};
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"tree", "surplus"}, "the catalogue accepts [--out DIR] [FOLDER], not 'surplus'"},
        {{"--", "--frobnicate"}, "the catalogue accepts [--out DIR] [FOLDER], not '--frobnicate'"},
        {{"missing"}, "no such folder: 'missing'"},
        {{"tree/file-0.txt"}, "cannot read the folder 'tree/file-0.txt'"},
    };
    for (const auto& [arguments, problem] : cases) {
        std::vector<std::string> all = plugins;
        all.insert(all.end(), arguments.begin(), arguments.end());
        const HostRun host = run(all);
        EXPECT_EQ(host.status, 2) << problem;
        EXPECT_THAT(host.out, HasSubstr("[ERROR] [SQ] " + problem + "\n"));
    }
}

TEST_F(CatalogueTest, AFolderThatCannotBeReadIsRefused) {
    fillTree(1);
    const Path tree = folder.path("tree");
    std::filesystem::permissions(tree, std::filesystem::perms::none);
    std::error_code error;
    const bool isRefused =
        std::filesystem::directory_iterator(tree, error) == std::filesystem::directory_iterator();
    const HostRun host = runCatalogue();
    std::filesystem::permissions(tree, std::filesystem::perms::owner_all);
    if (!isRefused) GTEST_SKIP() << "this user may read every folder";
    EXPECT_EQ(host.status, 2);
    EXPECT_THAT(host.out, HasSubstr("cannot read the folder 'tree'"));
}

// --- interrupt -----------------------------------------------------------------------------------------

TEST_F(CatalogueTest, AnInterruptLeavesCompleteLines) {
    fillTree(3000);
    folder.makeFolder("plugins");
    std::filesystem::create_directory_symlink(sourceDir() + "/resources/plugins/catalogue",
                                              folder.path("plugins/catalogue"));
    const std::string script =
        "import(\"qel.File\")\n"
        "while (qel.File.getFileSize(\"result/catalogue.csv\") < 10000) std[\"yield\"]()\n";
    folder.write("plugins/zz-interrupt/main.sq", script + sendsSignal("INT"));
    EXPECT_EQ(run({"--plugins", "plugins", "--language", "en", "tree", "--out", "result"}).status, 130);
    EXPECT_THAT(folder.read("result/catalogue.csv"), EndsWith(",ok\n"));
    EXPECT_LT(lines().size(), 3001u);
    EXPECT_THAT(summary(), HasSubstr("INCOMPLETE"));
}

TEST_F(HostTest, AnInterruptEndsAStayInOrder) {
    EXPECT_EQ(runPlugin(sendsSignal("TERM"), {"--stay"}).status, 0);
}

TEST_F(HostTest, AnInterruptedScriptIsReportedByTheStatus) {
    EXPECT_EQ(runPlugin(sendsSignal("INT") + "std.sleep(1000000)").status, 130);
    EXPECT_EQ(runPlugin(sendsSignal("INT") + "std.sleep(1); host.print(\"ended\")").status, 0)
        << "it came to its end";
    EXPECT_EQ(runPlugin("host.set_exit_status(9);" + sendsSignal("INT") + "std.sleep(1000000)").status, 9);
}

TEST_F(HostTest, AnInterruptEndsAScriptThatNeverYieldsByForce) {
    const HostRun host = runPlugin(sendsSignal("INT") + "while (true) {}");
    EXPECT_EQ(host.status, 130);
    EXPECT_EQ(host.error, "qelhost: a script does not end; the program was ended by force\n");
}

} // namespace
} // namespace qel::test
