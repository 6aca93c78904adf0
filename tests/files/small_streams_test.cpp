#include <qel/files/file_stream.h>
#include <qel/files/hex_source_writer.h>
#include <qel/files/string_event.h>
#include <qel/foundation/base/buffer.h>
#include <tests/files/file_fixture.h>
#include <tests/support/formats_page.h>

namespace qel {
namespace {

using SmallStreams = test::FileFixture;

TEST_F(SmallStreams, AFileIsReadInPiecesAndEndsAfterTheLast) {
    for (const size_t size : {0u, 65536u, 200'001u}) {
        std::string content(size, '\0');
        for (size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i * 7 + i / 256);
        FileStream stream(folder.write("dir/some.bin", content).c_str(), size % 2 == 0);
        EXPECT_EQ(stream.getName(), "some.bin");
        EXPECT_EQ(stream.getTotalSize(), size);
        Buffer whole(reinterpret_cast<const uint8*>("head"), 4);
        EXPECT_EQ(stream.readAll(whole), FileStream::kEnd);
        EXPECT_EQ(whole.getConstByteSpan().asText(), "head" + content);
        stream.cancel();
        EXPECT_EQ(stream.read(whole), FileStream::kChunk) << "it starts again";
        EXPECT_EQ(whole.getSize(), std::min(size, FileStream::kChunkSize));
    }
    Buffer piece;
    EXPECT_EQ(FileStream(folder.path().c_str(), false).readAll(piece), FileStream::kFailed);
    log.expect(3, "file stream can not read: " + folder.path());
}

TEST_F(SmallStreams, BytesBecomeSourceLinesOfEightyCharacters) {
    HexSourceWriter writer(path("table.c").c_str());
    uint8 bytes[40];
    for (size_t i = 0; i < std::size(bytes); ++i) bytes[i] = static_cast<uint8>(250 + i);
    writer.process(StreamType::Plain, bytes, 30);
    writer.process(StreamType::Compressible, bytes + 30, 10);
    writer.close();
    writer.process(StreamType::Plain, bytes, 1);
    EXPECT_EQ(folder.read("table.c"),
              "static unsigned char table_data[] = {\n"
              "  250,251,252,253,254,255,0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20\n"
              "  ,21,22,23,24,25,26,27,28,29,30,31,32,33\n"
              "};\nstatic unsigned int table_size = 40;\n");
    HexSourceWriter("/dev/full").close();
    log.expect(3, "cant write file '/dev/full', errno=28:No space left on device");
}

TEST(StringEvent, StringsWithAnyBytesBecomeOneLine) {
    StringEvent event, read;
    event.clear("a");
    event.append("b:c");
    EXPECT_EQ(event.generate(), test::documentedText("string-event"));
    for (const int i : {-2, -1, 1, INT_MAX}) EXPECT_EQ(event[i], i == -1 ? "a" : "") << i;
    EXPECT_TRUE(read.parse("STRB16[61:6:zz::62]")) << "a broken string becomes empty";
    EXPECT_EQ(read.asString(), "<a::::b>") << "a broken string becomes empty";
    for (const char* text : {"", "STRB16[]", "STRB16[61", "strb16[61]", " STRB16[61]"}) {
        EXPECT_FALSE(event.parse(text)) << text;
        EXPECT_EQ(event.numArgs(), -1) << text;
    }
}

} // namespace
} // namespace qel
