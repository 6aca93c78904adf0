// The calls of the server: the bounds of their arguments, and results in pages.
#include "server_in_process.h"

#include <qel/foundation/log/message_stream.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using namespace qel;
using nlohmann::json;

class ServerCallsTest : public test::ServerInProcess {
protected:
    json submit(const std::string& kind, const std::string& file) {
        return json::parse(call("jobs.submit", json{kind, {file}}.dump()));
    }
    json list(const char* method, const json& arguments) {
        return json::parse(call(method, arguments.dump()));
    }
};

TEST_F(ServerCallsTest, KindsAndPathsHaveALongestLength) {
    const auto path = [](size_t size) { return "/" + std::string(size - 1, 'p'); };
    EXPECT_TRUE(submit(std::string(64, 'k'), path(4096)).is_string());
    EXPECT_TRUE(submit("hash", path(4097)).is_null());
    EXPECT_TRUE(submit(std::string(65, 'k'), path(1)).is_null());
}

TEST_F(ServerCallsTest, JobsAreListedInPagesFromTheLatestOn) {
    json ids;
    for (int i = 0; i < 5; ++i) ids.push_back(submit("hash", "/f"));
    json next = "9223372036854775807";
    for (const json& expected :
         {json::array({ids[3], ids[4]}), json::array({ids[1], ids[2]}), json::array({ids[0]})}) {
        const json page = list("jobs.list", {2, next});
        json listed;
        for (const json& job : page["jobs"]) listed.push_back(job["id"]);
        EXPECT_EQ(listed, expected);
        next = page["next"];
    }
    EXPECT_TRUE(next.is_null()) << next;
    EXPECT_TRUE(list("jobs.list", {2, "x"}).is_null()) << "no number";
}

TEST_F(ServerCallsTest, LogLinesAreListedInPagesFromTheLatestOn) {
    for (int i = 0; i < 5; ++i) logging::info() << "line " << i;
    idle(10);
    const json all = list("log.query", {1000, false});
    EXPECT_TRUE(all["next"].is_null());
    json lines = json::array();
    json arguments = {2, false};
    for (json next = 0; !next.is_null(); arguments = {2, false, next}) {
        const json page = list("log.query", arguments);
        ASSERT_LE(page["lines"].size(), 2u);
        lines.insert(lines.begin(), page["lines"].begin(), page["lines"].end());
        next = page["next"];
    }
    EXPECT_EQ(lines, all["lines"]);
    EXPECT_GE(lines.size(), 5u);
}

TEST_F(ServerCallsTest, APageOfTheLogIsBoundedInBytes) {
    for (int i = 0; i < 40; ++i) logging::info() << std::string(9000, 'x');
    idle(10);
    const json page = list("log.query", {1000, false});
    EXPECT_EQ(page["lines"].size(), 16u) << "128 KiB";
    EXPECT_TRUE(page["next"].is_number());
    EXPECT_EQ(page["lines"].back(), std::string(8192, 'x') + "...");
}

} // namespace
