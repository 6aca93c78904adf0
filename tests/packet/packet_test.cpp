#include "packet_schemes.h"

#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/support/threads.h>

#include <qel/store/core/item.h>

#include <gtest/gtest.h>

namespace qel::test {
namespace {

const JobScheme kJobs[] = {JobScheme(0), JobScheme(1), JobScheme(2)};
const AllKindsScheme kAllKinds;
const CargoScheme kCargo;

const GUID kGuid = GUID::fromBytes(std::array<uint8, 32>{0x11}.data());
SmartPointer<Packet> fromHex(const String& text) {
    return Packet::createFromBase16String("PKTB16[" + text.replace_all_copy(" ", "") + "]");
}

String toHex(const Packet& packet) {
    const String text = packet.convertToBase16String();
    return text.substr(7, text.size() - 8);
}

const std::pair<const char*, int64> kIntegers[] = {{"i8", -1},     {"u8", 200}, {"i16", -2},
                                                   {"u16", 65535}, {"i32", -3}, {"u32", 4000000000},
                                                   {"i64", -4},    {"u64", -1}};

TEST(Packet, IsTheBytesThatTheTableTells) {
    Packet packet(&kAllKinds, 5);
    for (const auto& [name, value] : kIntegers) packet.setInteger(name, value);
    packet.setFloat("f64", -2.5);
    packet.set("guid", kGuid);
    packet.setString("name", "abc");
    packet.setArray("shorts", std::array<int16, 2>{1, -1}.data(), 2);
    packet.setString("text", StringId("x"));
    packet.setBuffer("blob", std::array<uint8, 1>{0xAA}.data(), 1);
    packet.setItem("item", Item(5));
    packet.setArray("ints", std::array<int32, 1>{7}.data(), 1);
    packet.setArray("guids", &kGuid, 1);
    EXPECT_EQ(toHex(packet), documentedBytes("packet/all-kinds"));
}

TEST(Packet, ReadsTheBytesThatTheTableTells) {
    const SmartPointer<Packet> packet = fromHex(documentedBytes("packet/all-kinds"));
    ASSERT_TRUE(packet->fit(&kAllKinds));
    for (const auto& [name, value] : kIntegers) EXPECT_EQ(packet->getInteger(name), value) << name;
    for (const auto& [name, value] : {std::pair{"f32", 0}, {"shorts", 1}, {"ints", 0}})
        EXPECT_EQ(packet->getInteger(name), value) << name;
    EXPECT_EQ(packet->getFloat("f32") + packet->getFloat("f64"), 1.5 - 2.5);
    EXPECT_EQ(packet->get<GUID>("guid"), kGuid);
    EXPECT_EQ(packet->getAt<GUID>(kAllKinds.find("guids"), 0), kGuid);
    EXPECT_EQ(packet->getAt<int16>("shorts", 1) + packet->getAt<int32>("ints", 0), -1 + 7);
    EXPECT_EQ(String(packet->getString("name")) + packet->getString("text"), "abcx");
    EXPECT_EQ(packet->getBuffer("blob")[0], 0xAA);
    EXPECT_TRUE(packet->getItem("item") == Item(5) && packet->getItemCopy("item") == Item(5));
    EXPECT_EQ(toHex(*packet), documentedBytes("packet/all-kinds"));
}

TEST(Packet, RefusesWhatDoesNotFitAndTellsWhy) {
    const std::tuple<const PacketScheme*, const char*, const char*> refusals[] = {
        {&kJobs[1], "0000FFFFBD020200 00000000", "packet id wrong 701 != 700"},
        {&kJobs[1], "0000FFFFBC020200 010203", "packet too small, no version suffix"},
        {&kJobs[1], "0000FFFFBC020200 05000001", "packet too small, static size does not match payloadsize"},
        {&kJobs[1], "0000FFFFBC020200 0000000000000000 08000001",
         "packet too small, expected versionSize=13, actual size=12"},
        {&kJobs[1], "0000FFFFBC020200 00000000000000000000000000 08000001",
         "packet too small, static size does not match versionSize"},
        {&kJobs[1], "0000FFFFBC020200 00000000010000010000000000 0D000001",
         "dynamic array exceeded bounds, size=16777217, maximum=16777216"},
        {&kJobs[1], "0000FFFFBC020200 00000000050000000000000000 0D000001",
         "packet too small, expected size=18, actual size=17"},
        {&kJobs[1], "0000FFFFBC020200 0000000005000000 01002000 00 0D000001", // the later count counts first
         "dynamic array exceeded bounds, size=2097153, maximum=2097152"},
        {&kCargo, "0000FFFFBD020000 00000000", "packet too small, expected versionSize=8, actual size=4"},
        {&kCargo, "0000FFFFBD020000 0100000000000000 0102030405",
         "packet too large, expected size=8, actual size=13"},
    };
    for (const auto& [scheme, hex, reason] : refusals) {
        LogCapture log;
        EXPECT_FALSE(fromHex(hex)->fit(scheme)) << hex;
        log.expect(2, String("invalid packet received (") + reason + ")");
    }
}

TEST(Packet, FindsCountsWhoseSumDoesNotFit32Bits) {
    struct ManyFields : PacketScheme {
        ManyFields() : PacketScheme(9, "Test", nullptr, "Many") {
            for (int i = 0; i < 256; ++i) Buffer(("field" + std::to_string(i)).c_str(), kDynamic);
            NextVersion();
        }
    } const scheme;
    LogCapture log;
    Packet packet(1024u);
    packet.setID(9);
    for (uint32 i = 0; i < 256; ++i) std::memcpy(packet.getPayload() + 4 * i, "\0\0\0\1", 4);
    EXPECT_FALSE(packet.fit(&scheme));
    log.expect(2, "invalid packet received (packet too small, expected size=4294968320, actual size=1024)");
}

TEST(Packet, KeepsVersionsCompatibleBothWaysAndCanWriteTheFirst) {
    for (int sender = 0; sender < 3; ++sender) {
        for (int reader = 0; reader < 3; ++reader) {
            SCOPED_TRACE("from " + std::to_string(sender) + " to " + std::to_string(reader));
            SmartPointer<Packet> packet = fromHex(documentedBytes("packet/version-2"));
            for (const int version : {2, sender, reader}) {
                ASSERT_TRUE(packet->fit(&kJobs[version]));
                packet = new Packet(packet.get());
            }
            ASSERT_TRUE(packet->fit(&kJobs[reader]));
            EXPECT_TRUE(packet->getInteger("priority") == 1 && packet->getString("path") == String("a"));
            if (reader == 0) continue;
            EXPECT_EQ(packet->getInteger("mode"), sender == 0 ? 7 : 2);
            EXPECT_EQ(packet->getAt<double>("weights", 0), sender == 0 ? 0 : 0.5);
            if (reader == 1) continue;
            EXPECT_EQ(packet->getInteger("retries"), sender == 2 ? 9 : -3);
            EXPECT_EQ(packet->getBufferSize("extra"), sender == 2 ? 1u : 0u);
        }
    }
    const SmartPointer<Packet> packet = fromHex(documentedBytes("packet/version-2"));
    ASSERT_TRUE(packet->fit(&kJobs[2]));
    packet->disableVersioning();
    EXPECT_EQ(toHex(*packet), documentedBytes("packet/version-0"));
}

TEST(Packet, PutsCargoBehindTheFieldsOfAnUnversionedPacket) {
    Packet packet(&kCargo, 1);
    packet.setInteger("number", 258);
    packet.setArray("list", std::array<int16, 1>{-1}.data(), 1);
    packet.setCargoString("abc");
    EXPECT_EQ(toHex(packet), documentedBytes("packet/cargo"));
    const SmartPointer<Packet> received(new Packet(&packet));
    ASSERT_TRUE(received->fit(&kCargo));
    EXPECT_STREQ(received->getCargoString(), "abc");
    EXPECT_EQ(received->getCargo(), received->getPayload() + 10) << "copied";
    LogCapture log;
    for (const auto& [size, message] :
         {std::pair(1u, "cargo string does not end with zero"), {0u, "string get on empty cargo array"}}) {
        packet.setCargo(reinterpret_cast<const uint8*>("x"), size);
        EXPECT_STREQ(packet.getCargoString(), "");
        log.expect(3, message);
    }
    EXPECT_EQ(packet.getCargo(), nullptr);
}

TEST(Packet, KeepsTooLongWritesInsideTheField) {
    Packet packet(&kAllKinds, 0);
    const String before = toHex(packet);
    LogCapture log;
    std::memset(packet.allocateInternal("shorts", 4), 0xFF, 8);
    std::memset(packet.allocateBuffer("name", 4000), 0xFF, 4000);
    packet.setBuffer("u8", std::array<uint8, 2>{0, 1}.data(), 2);
    EXPECT_EQ(toHex(packet), before);
    packet.setString("name", "sevens!");
    EXPECT_TRUE(packet.getBytes("name").asText() == "sevens" && *packet.getString("name") == '\0');
    for (const char* text : {"writing too many elements in an array", "writing too many elements in an array",
                             "writing too many bytes in a buffer", "writing too many bytes in a buffer",
                             "Packet::getString: member contents does not end with nullbyte, member=name, "
                             "m_scheme->getFullName()=Test::AllKinds"})
        log.expect(3, text);
}

TEST(Packet, FillsDynamicFieldsUpToWholeElements) {
    Packet packet(&kAllKinds, 0);
    packet.setBuffer("ints", std::array<uint8, 5>{1, 0, 0, 0, 2}.data(), 5);
    EXPECT_TRUE(packet.getCount("ints") == 2 && packet.getAt<int32>("ints", 1) == 2);
    packet.setBuffer("ints", packet.getBuffer("ints") + 4, 4); // from where it goes to
    EXPECT_EQ(packet.getAt<int32>("ints", 0), 2);
    packet.setBuffer("ints", nullptr, 0);
    EXPECT_EQ(packet.getCount("ints"), 1u);
    packet.setArray<int32>("ints", nullptr, 0);
    EXPECT_EQ(toHex(packet), toHex(Packet(&kAllKinds, 0)));
}

TEST(Packet, ListsTheTextsOfAField) {
    Packet packet(&kAllKinds, 0);
    packet.setBuffer("blob", ConstByteSpan::fromText(std::string_view("one\0\0two\0rest", 13)));
    Vector<String> texts;
    packet.getStringList("blob", texts);
    EXPECT_EQ(texts, (Vector<String>{"one", "", "two"}));
}

TEST(Packet, MarksLargePiecesThatCompress) {
    struct Pieces : ByteConsumer {
        void process(StreamType type, const uint8* data, unsigned size) override {
            bytes.append(data, size);
            if (type == StreamType::Compressible) compressible.push_back(size);
        }
        Buffer bytes;
        Vector<unsigned> compressible;
    } pieces;
    Packet packet(&kAllKinds, 0);
    const String text(1024, 'x');
    packet.setBuffer("text", ConstByteSpan::fromText(text).data, 1023, true);
    packet.setBuffer("blob", ConstByteSpan::fromText(text), true);
    EXPECT_EQ(packet.getPayloadConsumed(&pieces), packet.getPayloadSize());
    EXPECT_EQ(pieces.compressible, Vector<unsigned>{1024});
    Buffer copied(packet.getPayloadSize());
    EXPECT_EQ(packet.copyPayloadTo(copied), copied.getSize());
    EXPECT_EQ(pieces.bytes, copied);
}

TEST(Packet, ReadsNothingUnderNamesThatWereNotDeclared) {
    LogCapture log;
    std::atomic<int> unharmed = 0;
    onThreads(4, [&](int i) { // TSan watches over the scheme
        Packet packet(&kAllKinds, 0);
        packet.setInteger("missing" + std::to_string(i), 1);
        packet.setString("missing", "x");
        std::memset(packet.allocateBuffer("missing", 100), 0, 100);
        unharmed += packet.getInteger("missing") == 0 && !packet.getBuffer("missing") &&
                    packet.getCount("missing") == 0 && toHex(packet) == toHex(Packet(&kAllKinds, 0));
    });
    EXPECT_EQ(unharmed, 4);
    log.take();
    EXPECT_EQ(Packet(8u).getInteger("any"), 0);
    log.expect(3, "packet without scheme has no field 'any'");
}

TEST(PacketScheme, KeepsFieldsOutOfReachThatNoVersionHolds) {
    struct Careless : PacketScheme {
        Careless() : PacketScheme(1, "Test", "Bad", "Careless") {
            Single<int32>("twice", 1);
            NextVersion();
            Array<int8>("twice", kDynamic);
            NextVersion();
            Array<int64>("huge", 1 << 22);
            Single<int32>("unclosed", 3);
        }
    };
    LogCapture log;
    const Careless scheme;
    log.expect(3, "packet scheme Test::Bad::Careless declares 'twice' twice");
    log.expect(3, "packet scheme Test::Bad::Careless has no room for 'huge'");
    const SmartPointer<Packet> packet = fromHex("0000FFFF01000200 09000000 04000000");
    ASSERT_TRUE(packet->fit(&scheme));
    packet->setInteger("unclosed", 8);
    packet->setString("twice", "new");
    EXPECT_EQ(packet->getInteger("unclosed"), 0);
    EXPECT_EQ(toHex(*packet), "0000FFFF0100020009000000040000006E65770008000001");
}

TEST(PacketText, RefusesWhatOnlyLooksLikeAPacketAndTakesPayloadsBelow16MiB) {
    LogCapture log;
    const auto textOf = [](size_t bytes) { return "PKTB16[" + std::string(2 * bytes, 'a') + "]"; };
    for (const std::string& text : {textOf(0), textOf(7), std::string("PKTB16[0000000000000G00]")}) {
        EXPECT_EQ(Packet::createFromBase16String(text), nullptr) << text;
        log.expect(2, "corrupt base16 packet encoding");
    }
    const SmartPointer<Packet> largest = Packet::createFromBase16String(textOf(8 + 16777215));
    EXPECT_TRUE(largest->getPayloadSize() == 16777215u && largest->getPayload()[16777214] == 0xAA);
    EXPECT_EQ(Packet::createFromBase16String(textOf(8 + 16777216)), nullptr);
    log.expect(2, "corrupt base16 packet encoding, unrealistic payloadSize=16777216");
    EXPECT_EQ(Packet::createFromBufferWithManifest({reinterpret_cast<const uint8*>("abc"), 3}), nullptr);
    log.expect(2, "corrupt buffer_manifest packet encoding");
}

} // namespace
} // namespace qel::test
