// The worker program, driven by packets on its standard streams.
#include <tests/hosts/host_run.h>
#include <tests/process/process_fixture.h>
#include <tests/support/formats_page.h>

#include <hosts/jobs/file_access.h>
#include <hosts/jobs/job_packets.h>
#include <hosts/qelworker/step_watch.h>
#include <qel/files/file.h>
#include <qel/process/process_packet_writer.h>
#include <qel/process/process_protocol.h>
#include <qel/store/core/item_iterator.h>

#include <gmock/gmock.h>

#include <csignal>

namespace qel::test {
namespace {

using namespace testing;

TEST(StepWatchTest, AJobHangsIfAStepTakesTooLong) {
    constexpr uint32 kStart = 0xFFFF'FF00; // the time overflows during the test
    constexpr uint32 kEnd = kStart + qelworker::StepWatch::kLongestStepMs;
    qelworker::StepWatch steps;
    EXPECT_FALSE(steps.isHanging(kStart)) << "no job runs";
    steps.step(kStart);
    EXPECT_FALSE(steps.isHanging(kEnd));
    EXPECT_TRUE(steps.isHanging(kEnd + 1));
    steps.step(kEnd + 5);
    EXPECT_FALSE(steps.isHanging(kEnd + 1)) << "the step was made after the time was read";
    steps.end();
    EXPECT_FALSE(steps.isHanging(2 * kEnd));
}

class WorkerTest : public ProcessFixture {
protected:
    void SetUp() override {
        ProcessFixture::SetUp();
        begin();
    }
    void begin() {
        worker = new Process();
        ASSERT_TRUE(worker->spawn(QELWORKER_PROGRAM, {"qelworker"}, nullptr, true));
    }
    void TearDown() override {
        worker.reset();
        ProcessFixture::TearDown();
    }

    void send(const SmartPointer<Packet>& packet) { worker->getPacketWriter()->write(packet.get()); }
    SmartPointer<Packet> makeJob(int32 attempt, const char* kind, const std::vector<std::string>& files) {
        Item list;
        for (const std::string& file : files) list.add(file);
        SmartPointer<Packet> packet(new Packet(qeljobs::jobScheme(), 0));
        packet->set("id", kId);
        packet->set("attempt", attempt);
        packet->setString("kind", kind);
        packet->setItem("files", list);
        packet->setItem("access", access);
        return packet;
    }
    /// Returns the next packet of any kind; null if the worker has ended.
    SmartPointer<Packet> nextPacket() {
        SmartPointer<Packet> packet;
        waitUntil([&] {
            packet = worker->getPacketReader()->read();
            return packet || !worker->tick();
        });
        return packet;
    }
    /// Returns the next result or failure, and checks the packets before it.
    SmartPointer<Packet> answer() {
        for (;;) {
            const SmartPointer<Packet> packet = nextPacket();
            if (packet && packet->getID() == qeljobs::kProgressId) {
                EXPECT_TRUE(packet->fit(qeljobs::progressScheme()));
                EXPECT_LE(packet->getInteger("done"), packet->getInteger("total"));
                total = packet->getInteger("total");
            } else if (packet && packet->getID() == qeljobs::kHeartbeatId) {
                EXPECT_TRUE(packet->fit(qeljobs::heartbeatScheme()));
            } else {
                return packet;
            }
        }
    }
    /// Waits for the result of a job and returns it as JSON.
    std::string result(int attempt, int64 bytes) {
        const SmartPointer<Packet> packet = answer();
        if (!packet || !packet->fit(qeljobs::resultScheme())) return "no result";
        EXPECT_EQ(packet->get<GUID>("id"), kId);
        EXPECT_EQ(packet->getInteger("attempt"), attempt);
        EXPECT_EQ(packet->getInteger("bytes"), bytes);
        EXPECT_EQ(total, bytes);
        return packet->getItem("result").getJSON(false);
    }

    /// Waits for the failure of a job and returns its error.
    std::string failure(int attempt) {
        const SmartPointer<Packet> packet = answer();
        if (!packet || !packet->fit(qeljobs::failureScheme())) return "no failure";
        EXPECT_EQ(packet->get<GUID>("id"), kId);
        EXPECT_EQ(packet->getInteger("attempt"), attempt);
        return packet->getString("error");
    }

    const std::string idText = "010203" + std::string(58, '0');
    const GUID kId = GUID::fromString(idText.c_str());
    LogCapture capture; // takes what the worker logs
    ScratchFolder folder;
    Pointer worker;
    int64 total = -1;
    Item access = [] {
        qeljobs::FileAccess own;
        own.user.user = platform::userId();
        return own.toItem();
    }();
};

TEST_F(WorkerTest, HashesAndCompressesFiles) {
    const std::string file = folder.write("digits", "123456789"); // the usual check value of CRC catalogues
    const std::string empty = folder.write("empty", "");
    send(makeJob(1, "hash", {file, empty}));
    EXPECT_EQ(result(1, 9), R"([{"bytes":9,"file":")" + file + R"(","hash":"E3069283"},{"bytes":0,"file":")" +
                                empty + R"(","hash":"00000000"}])");
    const std::string content(100'000, 'x');
    const std::string large = folder.write("large", content);
    send(makeJob(2, "compress", {large}));
    const std::string json = result(2, 100'000);
    EXPECT_THAT(json, HasSubstr("\"output\":\"" + large + ".zst\""));
    EXPECT_THAT(json, HasSubstr("\"compressed\":" + std::to_string(File::getFileSize(large + ".zst"))));
    Buffer unpacked;
    EXPECT_TRUE(unpacked.loadFromFile((large + ".zst").c_str(), false, true));
    EXPECT_EQ(unpacked.getConstByteSpan().asText(), content);
}

TEST_F(WorkerTest, ReportsWhyAJobFailedAndContinues) {
    const std::string file = folder.write("file", "x");
    folder.makeFolder("taken.zst");
    const struct {
        const char* kind;
        std::vector<std::string> files;
        std::string error;
    } cases[] = {
        {"boil", {file}, "unknown kind of job 'boil'"},
        {"hash", {}, "the job has no files"},
        {"hash", {file, folder.path("missing")}, "no such file '" + folder.path("missing") + "'"},
        {"hash", {"/dev/zero"}, "no such file '/dev/zero'"},
        {"compress",
         {folder.write("taken", "x")},
         "cannot write '" + folder.path("taken.zst") + "': File exists"},
    };
    for (const auto& [kind, files, error] : cases) {
        send(makeJob(3, kind, files));
        EXPECT_EQ(failure(3), error);
    }
    capture.take();
}

TEST_F(WorkerTest, AJobWithoutAUserFails) {
    access = {};
    send(makeJob(1, "hash", {folder.write("file", "x")}));
    EXPECT_EQ(failure(1), "the job names no user");
    EXPECT_EQ(total, 0);
}

TEST_F(WorkerTest, AJobOfAnotherUserNeedsPermission) {
    const std::string file = folder.write("file", "x");
    qeljobs::FileAccess peer;
    peer.user.user = platform::userId() + 1;
    access = peer.toItem();
    send(makeJob(1, "hash", {file}));
    EXPECT_EQ(failure(1), "not permitted: '" + file + "'");
    EXPECT_EQ(total, 0) << "the size is not revealed either";
}

TEST_F(WorkerTest, SendsHeartbeatsFromItsStart) {
    for (int beat = 0; beat < 2; ++beat) {
        const SmartPointer<Packet> packet = nextPacket();
        ASSERT_TRUE(packet);
        EXPECT_EQ(packet->getID(), qeljobs::kHeartbeatId);
        EXPECT_TRUE(packet->fit(qeljobs::heartbeatScheme()));
    }
}

TEST_F(WorkerTest, StopsWhenAskedAndWhenItsInputEnds) {
    for (const auto& askToStop : std::vector<std::function<void()>>{
             [this] { send(new Packet(ProcessProtocol::Terminate, 0)); }, [this] { worker->closeStdin(); },
             [this] { kill(static_cast<pid_t>(worker->getProcessId()), SIGTERM); }}) {
        send(makeJob(1, "hash", {folder.write("file", "x")}));
        EXPECT_THAT(result(1, 1), HasSubstr("hash"));
        askToStop();
        EXPECT_EQ(finish(*worker), 0);
        begin();
    }
}

TEST_F(WorkerTest, IgnoresPacketsThatAreNotJobs) {
    const SmartPointer<Packet> broken(new Packet(qeljobs::jobScheme(), 0));
    broken->clearFlag(Packet::kVersioned);
    broken->setID(2002);
    worker->writeLine("not a packet");
    send(broken);
    send(makeJob(1, "hash", {folder.write("file", "x")}));
    EXPECT_THAT(result(1, 1), HasSubstr("hash"));
    EXPECT_THAT(capture.take(), Contains(Field(&LogLine::text, HasSubstr("ignored a packet of id 2002"))));
}

TEST_F(WorkerTest, FailsIfItsOutputIsLost) {
    const HostRun run = runProgram(folder, {"/bin/sh", "-c", "exec \"$0\" >/dev/full", QELWORKER_PROGRAM});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("qelworker: cannot write to standard output: "));
}

TEST_F(WorkerTest, JobPacketsHaveTheseBytes) {
    access = Item(7).add(8).add(Item(9)).add(false).add(Item("/"));
    EXPECT_EQ(makeJob(2, "hash", {"/a"})->convertToBase16String(),
              "PKTB16[" + test::documentedBytes("job") + "]");
}

} // namespace
} // namespace qel::test
