// Packets from a child, and the log of its other lines.
#include <tests/process/process_fixture.h>
#include <tests/support/formats_page.h>

#include <qel/process/process_packet_writer.h>
#include <qel/process/process_protocol.h>

#include <gmock/gmock.h>

namespace qel::test {
namespace {

using namespace testing;

/// Returns a Terminate packet for port 3.
std::string terminateLine() {
    return "PKTB16[" + documentedBytes("process/terminate") + "]";
}

class PacketLines : public ProcessFixture {
protected:
    /// Returns a child that has written @p output to standard output and @p errors to standard error, and has
    /// ended.
    Pointer childOf(const std::string& output, const std::string& errors = "") {
        const std::string out = m_folder.write("out", output);
        const std::string error = m_folder.write("error", errors);
        Pointer process = runShell("cat \"$0/out\"; cat \"$0/error\" >&2", m_folder.path());
        finish(*process);
        m_prefix = "[PID:" + std::to_string(process->getProcessId()) + "] ";
        return process;
    }
    LogLine logged(int level, const std::string& text) const { return {level, 2, m_prefix + text}; }
    static std::string repeat(int from, int to, const std::string& tag = "") {
        std::string lines;
        for (int i = from; i <= to; ++i) lines += tag + std::to_string(i) + "\n";
        return lines;
    }

    LogCapture capture;

private:
    ScratchFolder m_folder;
    std::string m_prefix;
};

TEST_F(PacketLines, APacketIsReturnedBeforeLaterLines) {
    const Pointer process = childOf("before\n\n" + terminateLine() + "\nPKTB16[00]\nbehind\nPKTB16[open\n");
    ProcessPacketReader& reader = *process->getPacketReader();
    const SmartPointer<Packet> packet = reader.read();
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->getPort(), 3);
    EXPECT_TRUE(packet->fit(ProcessProtocol::Terminate));
    EXPECT_THAT(capture.take(), ElementsAre(logged(1, "before")));
    EXPECT_FALSE(reader.read());
    EXPECT_THAT(capture.take(),
                ElementsAre(LogLine{2, 2, "corrupt base16 packet encoding"}, logged(1, "PKTB16[00]"),
                            logged(1, "behind"), logged(1, "PKTB16[open")));
}

TEST_F(PacketLines, TagsAndStreamsDecideTheLevel) {
    for (const auto& [redirect, asInfo, plain, trouble] :
         {std::tuple(false, false, 1, 3), {true, false, 0, 3}, {false, true, 1, 1}}) {
        const Pointer process =
            childOf("plain\n[WARN] w\n[VERBOSE] v\n[WARN] [ERROR] e\n", "[VERBOSE] err\n");
        ProcessPacketReader& reader = *process->getPacketReader();
        reader.setLogPrefix("tool: ");
        reader.setRedirectUntaggedToVerbose(redirect);
        reader.setStderrAsInfo(asInfo);
        EXPECT_FALSE(reader.read());
        EXPECT_THAT(capture.take(),
                    ElementsAre(logged(trouble, "tool: [VERBOSE] err"), logged(plain, "tool: plain"),
                                logged(trouble, "tool: [WARN] w"), logged(0, "tool: [VERBOSE] v"),
                                logged(trouble, "tool: [WARN] [ERROR] e")));
    }
}

// --- trimming --------------------------------------------------------------------------------------------

TEST_F(PacketLines, ATrimmedLogKeepsTheLastLinesAndCounts) {
    // 257 lines are logged, 256 are kept; then 3 warnings, 2 errors and 4 others displace one line each.
    const std::string mixed = repeat(1, 257 + 256) + repeat(1, 3, "[WARN] ") + repeat(1, 2, "[ERROR] ") +
                              repeat(1, 3) + repeat(1, 1, "[VERBOSE] ");
    Pointer process = childOf(mixed);
    process->getPacketReader()->enableTrimmedLog();
    EXPECT_FALSE(process->getPacketReader()->read());
    EXPECT_EQ(capture.take().size(), 257u);
    process.reset();
    capture.expect(2, logged(2, "... trimmed 9 lines (2 warnings) ...").text);
    capture.expect(3, logged(3, "... trimmed 9 lines (2 errors) ...").text);
    capture.expect(1, logged(1, "... trimmed 4 info/verbose lines ...").text);
    const std::vector<LogLine> rest = capture.take();
    ASSERT_EQ(rest.size(), 256u);
    EXPECT_EQ(rest.back(), logged(0, "[VERBOSE] 1"));
}

TEST_F(PacketLines, ATrimmedLogKeepsAtMost16MiB) {
    Pointer process =
        runShell("seq 257; for i in $(seq 40); do head -c 1048576 /dev/zero | tr '\\0' x; echo; done");
    ProcessPacketReader& reader = *process->getPacketReader();
    reader.enableTrimmedLog();
    waitUntil([&] {
        reader.read();
        return !process->tick();
    });
    reader.read();
    EXPECT_EQ(capture.take().size(), 257u);
    process.reset();
    const std::vector<LogLine> held = capture.take();
    EXPECT_EQ(held.size(), 1 + 16u);
    EXPECT_THAT(held.front().text, HasSubstr("... trimmed 24 lines ..."));
}

TEST_F(PacketLines, PacketsOfAChildThatNeverStopsWritingAreRead) {
    const Pointer process = runShell("yes x >&2 & echo '" + terminateLine() + "'; yes y");
    SmartPointer<Packet> packet;
    waitUntil([&] {
        capture.take();
        packet = process->getPacketReader()->read();
        return packet != nullptr;
    });
    EXPECT_FALSE(process->getPacketReader()->read());
    process->terminate(true);
    capture.take();
}

TEST_F(PacketLines, PacketsAreWrittenAsDocumentedLines) {
    EXPECT_EQ(Packet(ProcessProtocol::Terminate, 3).convertToBase16String(), terminateLine());
    const Pointer process = runShell("cat");
    ProcessPacketWriter& writer = *process->getPacketWriter();
    Packet packet(ProcessProtocol::PluginsHashes, 0);
    packet.setString("initScript", "a");
    packet.setInteger("index", 7);
    const std::string afterPort = documentedBytes("process/plugins-hashes").substr(4) + "]";
    writer.setPort(9);
    writer.write(&packet);
    EXPECT_EQ(line(*process), "PKTB16[0900" + afterPort);
}

} // namespace
} // namespace qel::test
