// The whole server in this process, while its disk is full.
#include "server_in_process.h"

#include <qel/foundation/log/message_stream.h>
#include <tests/store/sqlite/full_disk.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using namespace qel;
using namespace testing;

/// Makes every write of this process that extends a file fail.
struct FullDisk : test::FullDisk {
    FullDisk() : test::FullDisk(1) {}
};

using FullDiskTest = test::ServerInProcess;

const std::string kOption = R"(["server:job_attempts","7"])";
const std::string kJob = R"(["hash",["/f"]])";
const std::string kNotStored = R"({"jsonrpc":"2.0","error":{"code":-32006,"message":"Not stored"},"id":1})"
                               "\n";

TEST_F(FullDiskTest, AnUnstoredChangeIsAnsweredWithAnErrorUntilThereIsRoom) {
    const std::string kRead = R"(["server:job_attempts"])";
    {
        const FullDisk full;
        EXPECT_EQ(reply("test_advanced_option_set", kOption), kNotStored);
        EXPECT_EQ(call("advanced_option_get", kRead), R"("3")");
        EXPECT_EQ(reply("backup_data"), kNotStored);
        EXPECT_EQ(reply("jobs.submit", kJob), kNotStored);
        EXPECT_THAT(call("jobs.list"), HasSubstr(R"("jobs":[])"));
    }
    EXPECT_EQ(call("test_advanced_option_set", kOption), "true");
    EXPECT_EQ(call("backup_data"), "true");
    const std::string id = call("jobs.submit", kJob);
    start();
    EXPECT_EQ(call("advanced_option_get", kRead), R"("7")");
    const auto jobs = nlohmann::json::parse(call("jobs.list"))["jobs"];
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_EQ(jobs[0]["id"].dump(), id);
    log.take();
}

TEST_F(FullDiskTest, AnErrorIsForTheCallThatWroteAndNotForOthers) {
    const FullDisk full;
    const std::string batch = R"([{"jsonrpc":"2.0","id":1,"method":"jobs.submit","params":["hash",["/f"]]},)"
                              R"({"jsonrpc":"2.0","id":2,"method":"workers.list"}])"
                              "\n";
    const std::string submission = kNotStored.substr(0, kNotStored.size() - 1);
    EXPECT_EQ(exchange(batch), "[" + submission + R"(,{"jsonrpc":"2.0","result":[],"id":2}])" + "\n");
    log.take();
}

TEST_F(FullDiskTest, AnIdleServerTriesAgainAtGrowingIntervals) {
    idle(100);
    log.take();
    {
        const FullDisk full;
        logging::info() << "a line to store";
        idle(60'000); // attempts after 0, 1, 3, 7, 15 and 31 seconds
        size_t reports = 0;
        const std::vector<test::LogLine> lines = log.take();
        for (const test::LogLine& line : lines)
            reports += line.text.starts_with("the records can't be stored");
        EXPECT_EQ(reports, 1u);
        EXPECT_LE(lines.size(), 6 * 3u);
    }
    idle(64'000);
    log.expect(1, "the records are stored again");
    idle(1000);
    EXPECT_THAT(call("log.query", "[100]"), HasSubstr("a line to store"));
    EXPECT_THAT(call("statistics.list"), HasSubstr("records.failures"));
    EXPECT_THAT(log.take(), Not(Contains(Field(&test::LogLine::level, Ge(2)))));
}

} // namespace
