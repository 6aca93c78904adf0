// The command-line host as its user meets it: options, exit statuses and interrupts.
#include <tests/hosts/host_run.h>

#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

namespace qel::test {
namespace {

using namespace testing;

/// A script that sends @p signal to the host.
std::string sendsSignal(const std::string& signal) {
    return "import(\"qel.System\"); qel.System().runCommand(\"sh -c 'kill -" + signal + " $PPID'\", 0);";
}

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
    const auto scripts =
        partsOf(sourceText("docs/scripting.md"), "Save this as `plugins/hello/main.sq`:\n\n```\n", "```");
    ASSERT_EQ(scripts.size(), 1u);
    const HostRun host = runPlugin(scripts[0], {"--", "you"});
    EXPECT_EQ(host.status, 0);
    EXPECT_THAT(host.out, HasSubstr("\nhello you\n"));
}

TEST_F(HostTest, TheStatusReportsHowTheScriptsEnded) {
    struct Case {
        const char* script;
        int status;
        const char* output;
    };
    const Case cases[] = {
        {"std.sleep(1); std[\"yield\"](); std.info(\"ends\")", 0, "[SQ] ends\n"},
        {"try { throw \"caught\" } catch (e) { host.print(e) }", 0, "caught\n"},
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
    folder.write("bin/Plugins/a/main.sq", "host.print(\"beside\")");
    EXPECT_THAT(runProgram(folder, {"bin/qelhost"}).out, HasSubstr("beside")) << "those come first";
}

// --- standard output -----------------------------------------------------------------------------------

TEST_F(HostTest, ALostOutputIsReportedAndEndsNoScript) {
    const std::pair<const char*, std::string> cases[] = {
        {"| true", "qelhost: cannot write to standard output: Broken pipe\n"},
        {">/dev/full", "qelhost: cannot write to standard output: No space left on device\n"},
        {"2>&- >/dev/full", ""},
    };
    folder.write("plugins/a/main.sq", "for (local i = 0; i < 2000; i++) host.print(\"line\")\n"
                                      "string.write_to_file(\"end\", \"reached\")");
    for (const auto& [to, error] : cases) {
        std::filesystem::remove(folder.path("end"));
        const std::string line = "{ \"$0\" --plugins plugins; echo $? >status; } " + std::string(to);
        EXPECT_EQ(runProgram(folder, {"/bin/sh", "-c", line, QELHOST_PROGRAM}).error, error) << to;
        EXPECT_EQ(folder.read("status"), "1\n") << to;
        EXPECT_EQ(folder.read("end"), "reached") << to;
    }
}

TEST_F(HostTest, OutputThatIsClosedFromTheStartReachesNoFile) {
    folder.write("plugins/a/main.sq",
                 "local file = std.file(\"own\", \"wb\")\nhost.print(\"line\")\nfile.close()");
    const HostRun host =
        runProgram(folder, {"/bin/sh", "-c", "\"$0\" --plugins plugins <&- >&-", QELHOST_PROGRAM});
    EXPECT_EQ(host.status, 1);
    EXPECT_EQ(host.error, "qelhost: cannot write to standard output: Bad file descriptor\n");
    EXPECT_EQ(folder.read("own"), "");
}

// --- interrupt -----------------------------------------------------------------------------------------

TEST_F(HostTest, AnInterruptedScriptIsReportedByTheStatus) {
    EXPECT_EQ(runPlugin(sendsSignal("TERM"), {"--stay"}).status, 0) << "no script was interrupted";
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
