// The command lines of all host programs, parsed in this process and met by a user of the programs.
#include <hosts/qelhost/options.h>
#include <hosts/qelserver/options.h>
#include <tests/hosts/host_run.h>
#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

#include <sstream>

namespace qel::test {
namespace {

using namespace testing;
using Words = std::vector<std::string>;

/// Parses the command line of a host. @param words  the arguments after the program's name.
template <class Options>
Options parse(const qelhosts::Program& program, Options& options, const Words& words) {
    std::vector<const char*> argv{"program"};
    for (const std::string& word : words) argv.push_back(word.c_str());
    qelhosts::parseCommandLine(options, program, static_cast<int>(argv.size()), argv.data());
    return options;
}
qelserver::Options parseServer(const Words& words) {
    qelserver::Options options;
    return parse(qelserver::describe(options), options, words);
}

TEST(CommandLineTest, MistakesAreReported) {
    const std::pair<Words, std::string> cases[] = {
        {{"--frob"}, "unknown option '--frob'"},
        {{"-x"}, "unknown option '-x'"},
        {{"x"}, "unknown argument 'x'"},
        {{"--", "--memory"}, "unknown argument '--memory'"},
        {{"--memory=yes"}, "option '--memory' takes no value"},
        {{"--data"}, "option '--data' needs a value"},
        {{"--data=", "--memory"}, "option '--data' needs a value"},
        {{"--socket", ""}, "not a path of a socket: ''"},
        {{"--rights", "/"}, "no such file: '/'"},
        {{"--workers", "-1"}, "not a number from 0 to 64: '-1'"},
        {{"--workers", "65"}, "not a number from 0 to 64: '65'"},
        {{"--workers", "99999999999999999999"}, "not a number from 0 to 64: '99999999999999999999'"},
    };
    for (const auto& [words, problem] : cases)
        EXPECT_EQ(parseServer(words).problem, problem) << words.front();
}

TEST(CommandLineTest, ValuesAreTakenLiterally) {
    for (const std::string value :
         {"-x", "--memory", "--", "{}", "[a,b]", "a=b", " a ", "\xff\xfe", "\x1b[0m", "$HOME"}) {
        EXPECT_EQ(parseServer({"--data", value}).data, value);
        EXPECT_EQ(parseServer({"--data=" + value}).data, value);
    }
}

TEST(CommandLineTest, HelpEndsTheParsing) {
    for (const std::string last : {"--help", "-h"}) {
        const qelserver::Options options = parseServer({last, "--workers", "99"});
        EXPECT_TRUE(options.help) << last;
        EXPECT_EQ(options.problem, "") << last;
    }
}

TEST(CommandLineTest, ArgumentsStartWhereTheOptionsEnd) {
    const std::pair<Words, int> cases[] = {
        {{}, 1},          {{"--"}, 2},           {{"--stay"}, 2},      {{"--stay", "--"}, 3},
        {{"a"}, 1},       {{"--", "--"}, 2},     {{"--stay", "a"}, 2}, {{"--", "--stay"}, 2},
        {{"-"}, 1},       {{"a", "--", "b"}, 1}, {{"a", "--stay"}, 1}, {{"--app-dir", "/", "-", "--x"}, 3},
        {{"a", "x="}, 1}, {{"", "a"}, 1},
    };
    for (const auto& [words, first] : cases) {
        qelhost::Options options;
        parse(qelhost::describe(options), options, words);
        EXPECT_EQ(options.firstArgument, first) << PrintToString(words);
        EXPECT_EQ(options.problem, "") << PrintToString(words);
    }
}

// --- the programs --------------------------------------------------------------------------------------

const Words kPrograms{
    QELHOST_PROGRAM,    QELSERVER_PROGRAM, QELWORKER_PROGRAM, QELCALL_PROGRAM, QELIMAGE_PROGRAM,
#ifdef QELSCREENS_PROGRAM // is built where SDL2 is installed
    QELSCREENS_PROGRAM, QELVIEWER_PROGRAM,
#endif
};

std::string nameOf(const std::string& program) {
    return std::filesystem::path(program).filename();
}

TEST(CommandLineTest, EveryProgramPrintsItsHelp) {
    const ScratchFolder folder;
    for (const std::string& program : kPrograms) {
        const HostRun help = runProgram(folder, {program, "--help"});
        EXPECT_EQ(help.status, 0) << help;
        EXPECT_EQ(help.error, "");
        EXPECT_THAT(help.out, StartsWith("Usage: " + nameOf(program) + " [OPTIONS]"));
        EXPECT_THAT(help.out, HasSubstr("\n  -h, --help "));
        EXPECT_THAT(help.out, HasSubstr("\nExit status:\n  0 "));
        EXPECT_EQ(runProgram(folder, {program, "-h"}), help);
        std::istringstream lines(help.out);
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
    }
}

TEST(CommandLineTest, TheGuideListsTheOptionsOfQelhost) {
    const ScratchFolder folder;
    const auto options = partsOf(sourceText("docs/hosting.md"), "```\n  --plugins", "```");
    ASSERT_EQ(options.size(), 1u);
    EXPECT_THAT(runProgram(folder, {QELHOST_PROGRAM, "--help"}).out,
                HasSubstr("Options:\n  --plugins" + options[0] + "\n"));
}

TEST(CommandLineTest, EveryProgramRefusesMistakesAlike) {
    const ScratchFolder folder;
    for (const std::string& program : kPrograms) {
        const HostRun run = runProgram(folder, {program, "--frob"});
        EXPECT_EQ(run.status, qelhosts::kWrongUsage);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.error, StartsWith(nameOf(program) + ": unknown option '--frob'\nTry '" +
                                          nameOf(program) + " --help'."));
    }
}

} // namespace
} // namespace qel::test
