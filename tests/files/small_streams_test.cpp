#include <qel/files/file_stream.h>
#include <qel/files/hex_source_writer.h>
#include <qel/files/string_event.h>
#include <qel/files/url_fetch.h>
#include <qel/foundation/base/buffer.h>
#include <tests/files/file_fixture.h>

#include <chrono>
#include <sstream>

namespace qel {
namespace {

using SmallStreams = test::FileFixture;

TEST_F(SmallStreams, AFileComesInPiecesAndItsEndBehindTheLast) {
    for (const size_t size : {0u, 1u, 65535u, 65536u, 200'000u}) {
        std::string content(size, '\0');
        for (size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i * 7 + i / 256);
        folder.write("dir/some.bin", content);
        FileStream stream(path("dir/some.bin").c_str(), size % 2 == 0);
        EXPECT_EQ(stream.getName(), "some.bin");
        EXPECT_EQ(stream.getTotalSize(), size);
        Buffer whole(reinterpret_cast<const uint8*>("head"), 4);
        EXPECT_EQ(stream.readAll(whole), FileStream::kEnd);
        EXPECT_EQ(whole.getConstByteSpan().asText(), "head" + content);

        Buffer piece;
        EXPECT_EQ(stream.read(piece), FileStream::kEnd);
        stream.cancel();
        EXPECT_EQ(stream.read(piece), FileStream::kChunk) << "it begins anew";
        EXPECT_EQ(piece.getSize(), std::min(size, FileStream::kChunkSize));
    }
}

TEST_F(SmallStreams, WhatCannotBeReadFails) {
    Buffer piece;
    EXPECT_EQ(FileStream(path("missing").c_str(), true).read(piece), FileStream::kFailed);
    const std::string line =
        "file stream can not open: " + path("missing") + ", errno=2:No such file or directory";
    log.expect(3, line);
    log.expect(3, line);
    EXPECT_EQ(FileStream(folder.path().c_str(), true).readAll(piece), FileStream::kFailed) << "a folder";
}

TEST_F(SmallStreams, BytesBecomeATableOfSourceCode) {
    HexSourceWriter writer(path("table.c").c_str());
    std::vector<uint8> bytes(100);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8>(250 + i);
    writer.process(StreamType::Plain, nullptr, 0);
    writer.process(StreamType::Plain, bytes.data(), 60);
    writer.process(StreamType::Compressible, bytes.data() + 60, 40);
    writer.close();
    writer.process(StreamType::Plain, bytes.data(), 1);

    const std::string source = folder.read("table.c");
    std::istringstream lines(source);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
    EXPECT_TRUE(
        source.starts_with("static unsigned char table_data[] = {\n  250,251,252,253,254,255,0,1,2,3,"));
    EXPECT_TRUE(source.ends_with(",92,93\n};\nstatic unsigned int table_size = 100;\n"));
    EXPECT_NE(source.find("20\n  ,21,22"), source.npos) << "the comma opens the next line";
}

TEST_F(SmallStreams, ATableThatFindsNoRoomIsLogged) {
    HexSourceWriter("/dev/full").close();
    log.expect(3, "cant write file '/dev/full', errno=28:No space left on device");
    HexSourceWriter nowhere(path("missing/table.c").c_str());
    nowhere.process(StreamType::Plain, reinterpret_cast<const uint8*>("a"), 1);
    nowhere.close();
}

TEST(StringEvent, TextsOfAllBytesTravelAsOneLine) {
    StringEvent event;
    EXPECT_FALSE(event.valid());
    EXPECT_EQ(event.numArgs(), -1);
    EXPECT_EQ(event.getId(), "");
    event.clear("a");
    event.append("b:c");
    EXPECT_EQ(event.generate(), "STRB16[61:623A63]");
    EXPECT_EQ(event.asString(), "<a:b:c>");
    event.append("");
    event.append("]\n\xFF");

    StringEvent read;
    ASSERT_TRUE(read.parse(event.generate()));
    EXPECT_TRUE(read);
    EXPECT_EQ(read.getId(), "a");
    ASSERT_EQ(read.numArgs(), 3);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(read[i], event[i]);
    EXPECT_EQ(read[3], "");
    EXPECT_EQ(read[INT_MAX], "");
    event.clear(nullptr);
    EXPECT_EQ(event.generate(), "STRB16[]");
    EXPECT_FALSE(event);
}

TEST(StringEvent, ABrokenFrameGivesNothingAndABrokenTextAnEmptyOne) {
    StringEvent event;
    for (const char* text :
         {"", "STRB16[]", "STRB16[", "STRB16", "STRB16[61", "strb16[61]", " STRB16[61]", "]"}) {
        event.clear("old");
        EXPECT_FALSE(event.parse(text)) << text;
        EXPECT_EQ(event.numArgs(), -1) << text;
    }
    EXPECT_TRUE(event.parse("STRB16[61:6:zz::62]"));
    EXPECT_EQ(event.asString(), "<a::::b>");
}

class Download : public URLFetch {
public:
    using URLFetch::getExtraHeaders;
};

TEST_F(SmallStreams, ADownloadAsksForNewerContentOnlyIfItHasSomeAndIsToldTo) {
    using namespace std::chrono;
    const auto time = sys_days(2024y / March / 5) + 14h + 30min + 7s;
    std::filesystem::last_write_time(folder.write("target", "x"), file_clock::from_sys(time));
    Vector<Pair<String, String>> headers;
    Download download;
    for (const char* target : {"", "missing", "target"}) {
        for (const bool conditional : {false, true}) {
            EXPECT_TRUE(headers.empty());
            download.setTargetPath(path(target));
            download.setConditional(*target && conditional);
            download.getExtraHeaders(headers);
        }
    }
    ASSERT_EQ(headers.size(), 1u);
    EXPECT_EQ(headers[0].first, "If-Modified-Since");
    EXPECT_EQ(headers[0].second, "Wed, 05 Mar 2024 14:30:07 GMT");
}

} // namespace
} // namespace qel
