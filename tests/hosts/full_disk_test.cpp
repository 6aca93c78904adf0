// The whole server in this process, while its disk is full.
#include "../../hosts/qelserver/server.h"
#include "../support/log_capture.h"
#include "../support/scratch_folder.h"
#include "../support/system_fixture.h"

#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/local_socket.h>

#include <gmock/gmock.h>

#include <csignal>
#include <optional>

#include <sys/resource.h>

namespace {

using namespace qel;
using namespace qelserver;
using namespace testing;

/// Makes every write of this process that extends a file fail, as a full disk does.
class FullDisk {
public:
    FullDisk() : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit none{1, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

class FullDiskTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        LogBackend::registerBackend(true);
        start();
    }
    void TearDown() override {
        m_peer.close();
        m_server.reset();
        LogBackend::unregisterBackend();
        SystemFixture::TearDown();
    }
    /// Stops the server in order if it runs, and starts it again.
    void start() {
        m_peer.close();
        m_server.reset();
        Options options;
        options.socket = m_folder.path("socket");
        options.data = m_folder.path("records.store");
        options.worker = "/bin/false";
        options.workers = 0;
        m_server.emplace(options);
        ASSERT_TRUE(m_server->good());
        ASSERT_FALSE(platform::connectLocally(m_peer, options.socket.c_str()));
    }
    /// Sends a line to the server. @return the line that it replies.
    std::string exchange(const std::string& request) {
        size_t done = 0;
        EXPECT_FALSE(platform::sendSome(m_peer, request.data(), request.size(), done));
        EXPECT_EQ(done, request.size());
        std::string reply;
        while (!reply.ends_with('\n')) {
            m_server->poll();
            char chunk[1024];
            if (!platform::receiveSome(m_peer, chunk, sizeof chunk, done)) reply.append(chunk, done);
        }
        return reply;
    }
    /// Calls the server. @return the reply.
    std::string reply(const std::string& method, const std::string& arguments = "[]") {
        return exchange(R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + arguments +
                        "}\n");
    }
    /// Calls the server. @return the result as JSON; the whole reply if it is an error.
    std::string call(const std::string& method, const std::string& arguments = "[]") {
        const std::string before = R"({"jsonrpc":"2.0","result":)";
        const std::string text = reply(method, arguments);
        if (!text.starts_with(before)) return text;
        return text.substr(before.size(), text.rfind(R"(,"id")") - before.size());
    }
    /// Stops the server. @return true if it stored everything.
    bool stop() { return m_server->stop(); }
    /// Runs passes of 10 ms each for @p ms milliseconds without a call.
    void idle(int ms) {
        for (; ms > 0; ms -= 10) {
            clock.advanceMs(10);
            m_server->poll();
        }
    }

    test::LogCapture log;

private:
    const test::ScratchFolder m_folder;
    std::optional<Server> m_server;
    platform::FileHandle m_peer;
};

const std::string kOption = R"(["server:job_attempts","7"])";
const std::string kJob = R"(["hash",["/f"]])";
const std::string kNotStored = R"({"jsonrpc":"2.0","error":{"code":-32006,"message":"Not stored"},"id":1})"
                               "\n";

TEST_F(FullDiskTest, AnUnstoredChangeIsAnsweredWithAnError) {
    {
        const FullDisk full;
        EXPECT_EQ(reply("test_advanced_option_set", kOption), kNotStored);
        EXPECT_EQ(call("advanced_option_get", R"(["server:job_attempts"])"), R"("3")");
        EXPECT_EQ(reply("backup_data"), kNotStored);
        EXPECT_EQ(reply("jobs.submit", kJob), kNotStored);
        EXPECT_THAT(call("jobs.list"), HasSubstr(R"("jobs":[])"));
    }
    start();
    EXPECT_EQ(call("advanced_option_get", R"(["server:job_attempts"])"), R"("3")");
    EXPECT_THAT(call("jobs.list"), HasSubstr(R"("jobs":[])"));
    log.take();
}

TEST_F(FullDiskTest, CallsAreStoredAgainWhenThereIsRoom) {
    {
        const FullDisk full;
        EXPECT_EQ(reply("test_advanced_option_set", kOption), kNotStored);
        EXPECT_EQ(reply("jobs.submit", kJob), kNotStored);
    }
    EXPECT_EQ(call("test_advanced_option_set", kOption), "true");
    EXPECT_EQ(call("backup_data"), "true");
    const std::string id = call("jobs.submit", kJob);
    EXPECT_EQ(id.size(), 64 + 2u) << id;
    start();
    EXPECT_EQ(call("advanced_option_get", R"(["server:job_attempts"])"), R"("7")");
    EXPECT_THAT(call("jobs.list"), HasSubstr(id));
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

TEST_F(FullDiskTest, StoppingReportsThatNotEverythingWasStored) {
    {
        const FullDisk full;
        EXPECT_FALSE(stop());
        EXPECT_THAT(log.take(), Contains(Field(&test::LogLine::text,
                                               StartsWith("the last changes could not be stored: "))));
    }
    start();
    EXPECT_TRUE(stop());
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
