#include "packet_schemes.h"

#include <tests/files/file_fixture.h>
#include <tests/support/formats_page.h>
#include <tests/support/threads.h>

#include <qel/packet/file_packet_reader.h>
#include <qel/packet/file_packet_writer.h>
#include <qel/packet/line_input_p.h>
#include <qel/packet/sorted_packet_writer.h>
#include <qel/packet/std_in_packet_reader.h>
#include <qel/packet/std_out_packet_writer.h>

#include <fcntl.h>
#include <unistd.h>

namespace qel::test {
namespace {

using platform::FileHandle;
using PacketStreams = FileFixture;

struct Pipe {
    Pipe() {
        int ids[2];
        if (pipe2(ids, O_CLOEXEC) == 0) out = FileHandle(ids[0]), in = FileHandle(ids[1]);
    }
    void put(std::string_view text) {
        EXPECT_EQ(::write(in.id(), text.data(), text.size()), ssize_t(text.size()));
    }
    FileHandle out, in;
};

SmartPointer<Packet> numbered(short number) {
    SmartPointer<Packet> packet(new Packet(3u));
    packet->setPort(number);
    std::memset(packet->getPayload(), number, 3);
    return packet;
}

FileHandle openFile(const std::string& path) {
    FileHandle file;
    EXPECT_FALSE(platform::openFile(file, path.c_str(), platform::OpenMode::Read));
    return file;
}

TEST_F(PacketStreams, AFileIsRecordsOfSizeHeaderAndPayload) {
    {
        FilePacketWriter writer(path("packets").c_str());
        writer.write(numbered(1).get());
        writer.write(numbered(2).get());
    }
    EXPECT_EQ(String(folder.read("packets")).encodeBase16(), documentedBytes("packet/file"));
    const auto reader = makeObject<FilePacketReader>(path("packets").c_str());
    EXPECT_EQ(reader->read()->convertToBase16String(), numbered(1)->convertToBase16String());
    EXPECT_EQ(reader->readTimeout(0, 1)->convertToBase16String(), numbered(2)->convertToBase16String());
    EXPECT_EQ(reader->read(), nullptr);
    log.expect(3, "failed reading packet payloadSize");
}

TEST_F(PacketStreams, AFileLogsWhereARecordIsBroken) {
    const std::pair<std::string, const char*> files[] = {
        {std::string("\3\0\0", 3), "failed reading packet payloadSize"},
        {std::string("\0\0\0\1", 4), "failed reading packet unrealistic payloadSize=16777216"},
        {std::string("\377\377\377\0header?", 11), "failed reading packet header"},
        {std::string("\377\377\377\0a headerxyz", 15), "failed reading payload"},
    };
    for (const auto& [bytes, text] : files) {
        FilePacketReader reader(folder.write("packets", bytes).c_str());
        EXPECT_EQ(reader.read(), nullptr);
        EXPECT_EQ(reader.read(), nullptr); // continues after what was read
        log.expect(3, text);
        log.expect(3, "failed reading packet payloadSize");
    }
}

TEST_F(PacketStreams, AFileReadsLargePayloadsBetweenSmallOnes) {
    const auto makePacket = [](uint32 size) {
        const SmartPointer<Packet> packet(new Packet(size));
        for (uint32 i = 0; i < size; ++i) packet->getPayload()[i] = static_cast<uint8>(i * 7 + size);
        return packet;
    };
    FilePacketWriter writer(path("packets").c_str());
    const FailingFiles slow(0, std::errc::interrupted, FailingFiles::Duration::Once);
    const uint32 sizes[] = {10, 65536, 0, 200000, 65535, 1};
    for (const uint32 size : sizes) writer.write(makePacket(size).get());
    writer.close();
    FilePacketReader reader(path("packets").c_str());
    for (const uint32 size : sizes)
        EXPECT_EQ(reader.read()->convertToBase16String(), makePacket(size)->convertToBase16String());
}

TEST_F(PacketStreams, AFileIgnoresPacketsAfterAFailedWrite) {
    FilePacketWriter writer(path("packets").c_str());
    writer.write(numbered(1).get());
    const FailingFiles full(0, std::errc::no_space_on_device, FailingFiles::Duration::Once);
    writer.write(numbered(2).get());
    writer.write(numbered(3).get());
    log.expect(3, "failed writing packet; No space left on device");
    EXPECT_EQ(folder.read("packets").size(), 15u);
}

TEST(SortedPacketWriter, ReturnsPacketsInTheOrderOfKeys) {
    SortedPacketWriter sorted;
    sorted.push_back(numbered(90).get());
    const auto handOver = [&sorted](uint64 key, std::initializer_list<short> numbers) {
        const auto deque = makeObject<DequePacketWriter>();
        for (const short number : numbers) deque->write(numbered(number).get());
        sorted.addDeque(key, deque.get());
    };
    handOver(5, {50, 51});
    handOver(5, {52});
    handOver(3, {30});
    sorted.push_front(numbered(29).get());
    for (const short number : {29, 30, 50, 51, 52, 90}) EXPECT_EQ(sorted.fetch()->getPort(), number);
    EXPECT_EQ(sorted.fetch(), nullptr);
}

TEST_F(PacketStreams, StandardInputLogsLinesWithoutAPacket) {
    const String packet = numbered(1)->convertToBase16String();
    internal::LineInput input(
        openFile(folder.write("in", "noise\n" + packet + "\r\n\n" + packet + "!\nPKTB16[0]\n" + packet)));
    StdInPacketReader reader(input);
    int line = 0;
    for (const bool isPacket : {false, true, false, false, false, true, false}) {
        EXPECT_TRUE(reader.valid()) << line;
        EXPECT_EQ(reader.read() != nullptr, isPacket) << line++;
    }
    EXPECT_FALSE(reader.valid());
    log.expect(2, "corrupt base16 packet encoding");
    EXPECT_EQ(log.take(), (std::vector<LogLine>{{1, 2, "[STDINPACKET] noise"},
                                                {1, 2, "[STDINPACKET] " + packet + "!"},
                                                {1, 2, "[STDINPACKET] PKTB16[0]"}}));
}

TEST_F(PacketStreams, StandardInputReturnsAtOnceIfItMustNotBlock) {
    Pipe pipe;
    internal::LineInput input(std::move(pipe.out));
    StdInPacketReader reader(input);
    reader.disableBlocking();
    EXPECT_EQ(reader.read(), nullptr);
    EXPECT_TRUE(reader.valid());
    const String text = numbered(7)->convertToBase16String();
    pipe.put(text.substr(0, 9));
    EXPECT_EQ(reader.read(), nullptr);
    pipe.put(text.substr(9) + "\n");
    SmartPointer<Packet> packet;
    while (!packet) packet = reader.read();
    EXPECT_EQ(packet->getPort(), 7);
    for (short i = 0; i < 100; ++i) pipe.put(numbered(i)->convertToBase16String() + "\n");
    StdInPacketReader next(input); // continues with the same input, blocking
    for (short i = 0; i < 100; ++i) EXPECT_EQ(next.read()->getPort(), i);
    pipe.put(text);
    pipe.in.close();
    EXPECT_EQ(next.read()->getPort(), 7);
    while (reader.valid()) EXPECT_EQ(reader.read(), nullptr);
}

/// Replaces standard output with a small non-blocking pipe, so that nothing is written in one piece.
class NarrowOutput : public SystemFileFixture {
protected:
    void SetUp() override {
        SystemFileFixture::SetUp();
        std::fflush(stdout);
        m_before = dup(STDOUT_FILENO);
        fcntl(pipe.in.id(), F_SETPIPE_SZ, 4096);
        fcntl(pipe.in.id(), F_SETFL, O_NONBLOCK);
        dup2(pipe.in.id(), STDOUT_FILENO);
        pipe.in.close();
    }
    void TearDown() override {
        putBack();
        SystemFileFixture::TearDown();
    }
    void putBack() {
        if (m_before < 0) return;
        dup2(m_before, STDOUT_FILENO);
        close(std::exchange(m_before, -1));
    }

    Pipe pipe;

private:
    int m_before = -1;
};

TEST_F(NarrowOutput, ReceivesWholePacketsFromAllThreads) {
    constexpr int kThreads = 4, kPackets = 40;
    int whole = 0;
    StdOutPacketWriter* const writer = system().getStdOutPacketWriter();
    {
        FailingFiles files(3, std::errc::interrupted, FailingFiles::Duration::Once);
        files.makeShort();
        onThreads(kThreads + 1, [&](int thread) {
            if (thread < kThreads) {
                for (short i = 0; i < kPackets; ++i) writer->write(numbered(i).get());
                return;
            }
            internal::LineInput input(std::move(pipe.out));
            String line;
            for (int lines = 0; lines < kThreads * kPackets && input.waitForLine(line);
                 lines += !line.empty()) {
                if (const SmartPointer<Packet> packet = Packet::createFromBase16String(line))
                    whole += line == numbered(packet->getPort())->convertToBase16String();
            }
        });
    }
    putBack();
    EXPECT_EQ(whole, kThreads * kPackets);
}

TEST_F(NarrowOutput, SendsToTheForcedPortAndSurvivesAClosedPipe) {
    StdOutPacketWriter writer;
    writer.setPort(9);
    const SmartPointer<Packet> packet = numbered(1);
    writer.write(packet.get());
    EXPECT_EQ(packet->getPort(), 9);
    writer.disablePort();
    writer.write(numbered(2).get());
    std::array<char, 100> text{};
    const auto expected = "\n" + documentedText("packet/text") + "\n\nPKTB16[0200000000000000020202]\n";
    EXPECT_EQ(read(pipe.out.id(), text.data(), text.size()), ssize_t(expected.size()));
    EXPECT_EQ(text.data(), expected);
    pipe.out.close();
    writer.write(packet.get());
    log.expect(3, "failed writing packet; Broken pipe");
}

} // namespace
} // namespace qel::test
