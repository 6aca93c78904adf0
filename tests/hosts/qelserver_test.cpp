// The server program: calls, jobs and workers, all ways to stop it, and the sessions of docs/hosting.md.
#include <tests/hosts/server_run.h>

#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

#include <regex>
#include <sstream>

namespace qel::test {

using namespace testing;

namespace {

/// Returns the first JSON string in an answer.
std::string textIn(const std::string& answer) {
    const size_t begin = answer.find('"');
    return begin == answer.npos ? "" : answer.substr(begin + 1, answer.find('"', begin + 1) - begin - 1);
}

/// Returns the number that follows a key in an answer; -1 if the key is missing.
long numberOf(const std::string& answer, const std::string& key) {
    std::smatch match;
    const std::regex pattern("\"" + key + "\": ?(\\d+)");
    return std::regex_search(answer, match, pattern) ? std::stol(match[1]) : -1;
}

std::string inList(const std::string& text) {
    return "[\"" + text + "\"]";
}

std::string jobOn(const std::string& kind, const std::string& file) {
    return "[\"" + kind + "\", [\"" + file + "\"]]";
}

} // namespace

TEST_F(ServerTest, AJobIsDoneByAWorkerAndCounted) {
    const std::string file = makeFile("slice", 100'000);
    start({"--memory", "--workers", "2"});
    const std::string id = textIn(call("jobs.submit", jobOn("compress", file)));
    EXPECT_THAT(callUntil("\"done\"", "jobs.state", inList(id)), HasSubstr("slice"));
    const HostRun failed = shell("qelcall --watch jobs.submit hash '[\"/missing\"]'");
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.error, HasSubstr("qelcall: the job failed: "));
    EXPECT_THAT(failed.error, HasSubstr("/missing"));
    const std::string counters = call("statistics.list");
    EXPECT_EQ(numberOf(counters, "jobs.done"), 1);
    EXPECT_EQ(numberOf(counters, "jobs.failed"), 1);
    EXPECT_EQ(numberOf(counters, "jobs.bytes"), 100'000);
    EXPECT_EQ(call("server.shutdown"), "true");
    EXPECT_EQ(stop(0), 0);
    EXPECT_FALSE(folder.has("socket"));
}

TEST_F(ServerTest, QelcallReportsWrongCommandLinesAndAMissingServer) {
    EXPECT_EQ(shell("qelcall x").status, 3);
    for (const char* wrong : {"--timeout 0 x", "--timeout 2147483647 x", "x {"})
        EXPECT_EQ(shell(std::string("qelcall ") + wrong).status, 2) << wrong;
}

TEST_F(ServerTest, QelcallReportsARefusal) {
    start({"--memory", "--workers", "0"});
    const HostRun run = shell("qelcall missing");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.error, "qelcall: Method not found\n");
    EXPECT_EQ(run.status, 1);
}

TEST_F(ServerTest, AnAcknowledgedJobSurvivesAKilledServer) {
    const std::string file = makeFile("slice", 1000);
    start({"--workers", "0"});
    std::vector<std::string> ids;
    for (int i = 0; i < 5; ++i) ids.push_back(textIn(call("jobs.submit", jobOn("hash", file))));
    EXPECT_EQ(stop(SIGKILL), 128 + SIGKILL);

    start({"--workers", "1"});
    for (const std::string& id : ids)
        EXPECT_THAT(callUntil("\"done\"", "jobs.state", inList(id)), HasSubstr("done"));
    const std::string last = call("jobs.list", "[2]");
    EXPECT_LT(last.find(ids[3]), last.find(ids[4])) << "not in order of submission: " << last;
    EXPECT_THAT(last, Not(HasSubstr(ids[2])));
    EXPECT_EQ(stop(), 0);

    start({"--workers", "0"}); // results, counters and log lines are kept
    EXPECT_THAT(call("jobs.state", inList(ids[0])), HasSubstr("\"done\""));
    EXPECT_EQ(numberOf(call("statistics.list"), "jobs.done"), 5);
    EXPECT_THAT(call("log.query", "[1000]"), HasSubstr("serving on"));
}

TEST_F(ServerTest, TheJobOfAKilledWorkerIsDoneByAnother) {
    const std::string file = makeFile("series", 400 << 20);
    start({"--memory", "--workers", "2"});
    const std::string id = textIn(call("jobs.submit", jobOn("compress", file)));
    callUntil("\"running\"", "jobs.state", inList(id));
    const std::string workers = call("workers.list");
    std::smatch busy;
    const std::regex pattern("\\{[^}]*" + id + "[^}]*\\}");
    ASSERT_TRUE(std::regex_search(workers, busy, pattern)) << workers;
    ASSERT_EQ(::kill(static_cast<pid_t>(numberOf(busy.str(), "pid")), SIGKILL), 0);

    const std::string state = callUntil("\"done\"", "jobs.state", inList(id));
    EXPECT_EQ(numberOf(state, "attempts"), 2) << state;
    EXPECT_EQ(numberOf(call("statistics.list"), "workers.lost"), 1);
    callUntil("\"pid\": [1-9][0-9]*,\\s*\"restarts\": 1", "workers.list");
}

TEST_F(ServerTest, AFileOfAnotherKindIsNotChanged) {
    folder.write("records.store", "not a store");
    const HostRun run = shell("\"" QELSERVER_PROGRAM "\" --socket socket --data records.store");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out + run.error, HasSubstr("can't open store"));
    EXPECT_EQ(folder.read("records.store"), "not a store");
}

TEST_F(ServerTest, ItFailsIfTheLastChangesCannotBeStored) {
    start({"--workers", "0"});
    fillDisk();
    call("server.shutdown");
    EXPECT_EQ(stop(0), 1);
    EXPECT_THAT(output(), HasSubstr("the last changes could not be stored: "));
}

/// Lines that begin with "$ " are commands, and the others are their output. "…" matches any part of a line.
TEST_F(ServerTest, TheSessionsOfTheGuideWork) {
    folder.write("slice-001.dcm", "a slice");
    start({"--memory", "--workers", "1"});
    int commands = 0;
    for (const std::string& session : partsOf(sourceText("docs/hosting.md"), "```console\n", "```\n")) {
        std::istringstream lines(session);
        std::string printed;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("$ ")) {
                EXPECT_EQ(printed, "") << "this output is not in the guide";
                const HostRun run = shell(line.substr(2));
                printed = run.status == 0 ? run.out : run.error;
                ++commands;
                continue;
            }
            std::string pattern = std::regex_replace(line, std::regex(R"([.^$|()\[\]{}*+?\\])"), "\\$&");
            pattern = std::regex_replace(pattern, std::regex("…"), ".*");
            const std::string first = printed.substr(0, printed.find('\n'));
            EXPECT_TRUE(std::regex_match(first, std::regex(pattern)))
                << "guide: " << line << "\nprinted: " << first;
            printed.erase(0, first.size() + 1);
        }
    }
    EXPECT_GT(commands, 5);
}

} // namespace qel::test
