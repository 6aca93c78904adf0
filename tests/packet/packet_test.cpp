#include "packet_schemes.h"

#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>

#include <qel/packet/packet_view.h>
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

/// Fits a view of the payload of a raw packet, which must outlive it.
bool fit(PacketView& view, const PacketScheme& scheme, const Packet& packet) {
    return view.fit(&scheme, packet.manifest(), {packet.getPayload(), packet.getPayloadSize()});
}

String toHex(const Packet& packet) {
    const String text = packet.convertToBase16String();
    return text.substr(7, text.size() - 8);
}

const std::pair<const char*, int64> kIntegers[] = {{"i8", -1},     {"u8", 200}, {"i16", -2},
                                                   {"u16", 65535}, {"i32", -3}, {"u32", 4000000000},
                                                   {"i64", -4},    {"u64", -1}};

TEST(Packet, WritesTheDocumentedBytes) {
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

template <typename Fields>
void expectAllKinds(const Fields& fields) {
    for (const auto& [name, value] : kIntegers) EXPECT_EQ(fields.getInteger(name), value) << name;
    for (const auto& [name, value] : {std::pair{"f32", 0}, {"shorts", 1}, {"ints", 0}})
        EXPECT_EQ(fields.getInteger(name), value) << name;
    EXPECT_EQ(fields.getFloat("f32"), 1.5);
    EXPECT_EQ(fields.getFloat("f64"), -2.5);
    EXPECT_EQ(fields.template get<GUID>("guid"), kGuid);
    EXPECT_EQ(fields.template getAt<GUID>(kAllKinds.find("guids"), 0), kGuid);
    EXPECT_EQ(fields.template getAt<int16>("shorts", 1), -1);
    EXPECT_EQ(fields.template getAt<int32>("ints", 0), 7);
    EXPECT_EQ(fields.getCount("ints"), 1u);
    EXPECT_STREQ(fields.getString("name"), "abc");
    EXPECT_STREQ(fields.getString("text"), "x");
    EXPECT_EQ(fields.getBuffer("blob")[0], 0xAA);
    EXPECT_EQ(fields.getItem("item"), Item(5));
    EXPECT_EQ(fields.getItemCopy("item"), Item(5));
    uint16 u16 = 0;
    EXPECT_FALSE(fields.singleGetInternal("u8", &u16, 2));
    EXPECT_TRUE(fields.singleGetInternal("u16", &u16, 2));
    EXPECT_EQ(u16, 65535);
}

TEST(Packet, ReadsTheDocumentedBytes) {
    const SmartPointer<Packet> packet = fromHex(documentedBytes("packet/all-kinds"));
    ASSERT_TRUE(packet->fit(&kAllKinds));
    expectAllKinds(*packet);
    EXPECT_EQ(toHex(*packet), documentedBytes("packet/all-kinds"));
}

TEST(PacketView, ReadsTheDocumentedBytesInPlace) {
    const SmartPointer<Packet> packet = fromHex(documentedBytes("packet/all-kinds"));
    PacketView view;
    ASSERT_TRUE(fit(view, kAllKinds, *packet));
    expectAllKinds(view);
    EXPECT_GE(view.getBuffer("blob"), packet->getPayload());
    EXPECT_LT(view.getBuffer("blob"), packet->getPayload() + packet->getPayloadSize());
}

TEST(PacketView, ReadsMoreFieldsThanItHasRoomFor) {
    struct ManyFields : PacketScheme {
        ManyFields() : PacketScheme(9, "Test", nullptr, "Many") {
            for (int i = 0; i < 20; ++i) String(("field" + std::to_string(i)).c_str(), kDynamic);
            NextVersion();
        }
    } const scheme;
    Packet packet(&scheme, 0);
    for (int i = 0; i < 20; ++i) packet.setString("field" + std::to_string(i), std::to_string(i));
    const Packet raw(&packet);
    PacketView view;
    ASSERT_TRUE(fit(view, scheme, raw));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(view.getString("field" + std::to_string(i)), std::to_string(i));
}

TEST(PacketView, EndsACargoStringAtItsOwnLastByte) {
    Packet packet(&kCargo, 0);
    packet.setCargoString("abc");
    Buffer bytes(packet.getPayloadSize());
    packet.copyPayloadTo(bytes);
    bytes.append(reinterpret_cast<const uint8*>("next"), 4);
    PacketView view;
    ASSERT_TRUE(view.fit(&kCargo, packet.manifest(), {bytes.getBytePointer(), packet.getPayloadSize()}));
    EXPECT_STREQ(view.getCargoString(), "abc");
}

TEST(Packet, RefusesInvalidPayloadsAndLogsTheReason) {
    const std::tuple<const PacketScheme*, const char*, const char*> refusals[] = {
        {&kJobs[1], "0000FFFFBD020200 00000000", "packet id wrong 701 != 700"},
        {&kJobs[1], "0000FFFFBC020200 010203", "packet too small, no version suffix"},
        {&kJobs[1], "0000FFFFBC020200 05000001", "packet too small, static size does not match payloadsize"},
        {&kJobs[1], "0000FFFFBC020200 0000000000000000 08000001",
         "packet too small, expected versionSize=13, actual size=12"},
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
        PacketView view;
        EXPECT_FALSE(fit(view, *scheme, *fromHex(hex))) << hex;
        EXPECT_EQ(view.getScheme(), nullptr) << hex;
        const SmartPointer<Packet> packet = fromHex(hex);
        EXPECT_FALSE(packet->fit(scheme)) << hex;
        EXPECT_EQ(toHex(*packet), String(hex).replace_all_copy(" ", ""));
        for (int i = 0; i < 2; ++i) log.expect(2, String("invalid packet received (") + reason + ")");
    }
}

TEST(Packet, HasNoFieldsAfterItWasRefused) {
    const SmartPointer<Packet> packet = fromHex(documentedBytes("packet/cargo"));
    ASSERT_TRUE(packet->fit(&kCargo));
    LogCapture log;
    EXPECT_FALSE(packet->fit(&kAllKinds));
    log.expect(2, "invalid packet received (packet id wrong 701 != 65534)");
    EXPECT_EQ(packet->getScheme(), nullptr);
    EXPECT_EQ(packet->getInteger(kCargo.find("number")), 0);
    EXPECT_EQ(packet->getCount(kCargo.find("list")), 0u);
    EXPECT_EQ(packet->getCargo(), nullptr);
    EXPECT_EQ(toHex(*packet), documentedBytes("packet/cargo"));
    const SmartPointer<Packet> cut = fromHex("0000FFFFBC020200 00000000050000000000000000 0D000001");
    EXPECT_FALSE(cut->fit(&kJobs[1]));
    log.expect(2, "invalid packet received (packet too small, expected size=18, actual size=17)");
    EXPECT_EQ(cut->getBytes(kJobs[1].find("path")).size, 0u);
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

/// Expects the fields of "packet/version-2" as @p reader sees them after @p sender has sent them on.
template <typename Fields>
void expectJob(const Fields& fields, int sender, int reader) {
    EXPECT_EQ(fields.getInteger("priority"), 1);
    EXPECT_STREQ(fields.getString("path"), "a");
    if (reader == 0) return;
    EXPECT_EQ(fields.getInteger("mode"), sender == 0 ? 7 : 2);
    EXPECT_EQ(fields.template getAt<double>("weights", 0), sender == 0 ? 0 : 0.5);
    if (reader == 1) return;
    EXPECT_EQ(fields.getInteger("retries"), sender == 2 ? 9 : -3);
    EXPECT_EQ(fields.getBufferSize("extra"), sender == 2 ? 1u : 0u);
}

TEST(Packet, IsReadByOlderAndNewerReaders) {
    for (int sender = 0; sender < 3; ++sender) {
        for (int reader = 0; reader < 3; ++reader) {
            SCOPED_TRACE("from " + std::to_string(sender) + " to " + std::to_string(reader));
            SmartPointer<Packet> packet = fromHex(documentedBytes("packet/version-2"));
            for (const int version : {2, sender}) {
                ASSERT_TRUE(packet->fit(&kJobs[version]));
                packet = new Packet(packet.get());
            }
            PacketView view;
            ASSERT_TRUE(fit(view, kJobs[reader], *packet));
            expectJob(view, sender, reader);
            ASSERT_TRUE(packet->fit(&kJobs[reader]));
            expectJob(*packet, sender, reader);
        }
    }
}

TEST(Packet, CanBeWrittenAsTheFirstVersion) {
    const SmartPointer<Packet> packet = fromHex(documentedBytes("packet/version-2"));
    ASSERT_TRUE(packet->fit(&kJobs[2]));
    packet->disableVersioning();
    EXPECT_EQ(toHex(*packet), documentedBytes("packet/version-0"));
}

TEST(Packet, PutsCargoAfterTheFields) {
    Packet packet(&kCargo, 1);
    packet.setInteger("number", 258);
    packet.setArray("list", std::array<int16, 1>{-1}.data(), 1);
    packet.setCargoString("abc");
    EXPECT_EQ(toHex(packet), documentedBytes("packet/cargo"));
    const SmartPointer<Packet> received(new Packet(&packet));
    ASSERT_TRUE(received->fit(&kCargo));
    EXPECT_STREQ(received->getCargoString(), "abc");
    EXPECT_EQ(received->getCargo(), received->getPayload() + 10) << "copied";
}

TEST(Packet, TheOrderOfWritesDoesNotChangeTheBytes) {
    using Step = void (*)(Packet&);
    const Step text = [](Packet& p) { p.setString("text", "12345"); };
    const Step blob = [](Packet& p) { p.setString("blob", ""); };
    const Step ints = [](Packet& p) { p.setArray("ints", std::array<int32, 1>{7}.data(), 1); };
    const Step guids = [](Packet& p) { p.setArray("guids", &kGuid, 1); };
    const Step other = [](Packet& p) { p.setString("text", "a longer text"); };
    const Step filled = [](Packet& p) { p.setString("blob", "xxxxxxxx"); };
    Packet inOrder(&kAllKinds, 0);
    for (const Step step : {text, blob, ints, guids}) step(inOrder);
    const String expected = toHex(inOrder);
    const std::vector<Step> orders[] = {
        {guids, ints, blob, text},
        {other, filled, ints, guids, blob, text},
        {text, filled, ints, guids, blob},
    };
    Packet packet(&kAllKinds, 0);
    for (const auto& order : orders) {
        packet.clearFields();
        for (const Step step : order) step(packet);
        EXPECT_EQ(toHex(packet), expected) << &order - orders;
        const ConstByteSpan bytes = packet.getPayloadBytes();
        EXPECT_EQ(String(bytes.asText()).encodeBase16(), expected.substr(16)) << &order - orders;
    }
}

TEST(Packet, SetsASingleValueOfTheSameSizeOnly) {
    Packet packet(&kAllKinds, 0);
    const uint16 value = 0x0101;
    EXPECT_FALSE(packet.singleSetInternal("u8", &value, 2));
    EXPECT_FALSE(packet.singleSetInternal("text", &value, 0));
    EXPECT_EQ(toHex(packet), toHex(Packet(&kAllKinds, 0)));
    EXPECT_TRUE(packet.singleSetInternal("u8", &value, 1));
    EXPECT_EQ(packet.getInteger("u8"), 1);
}

TEST(Packet, KeepsTooLongWritesInsideTheField) {
    Packet packet(&kAllKinds, 0);
    const String before = toHex(packet);
    LogCapture log;
    std::memset(packet.allocateInternal("shorts", 4), 0xFF, 8);
    std::memset(packet.allocateBuffer("name", 4000), 0xFF, 4000);
    packet.setBuffer("u8", std::array<uint8, 2>{0, 1}.data(), 2);
    packet.setBuffer("u8", std::array<uint8, 1>{0}.data(), 1); // fits, so it is not reported
    EXPECT_EQ(toHex(packet), before);
    packet.setString("name", "sevens!");
    EXPECT_EQ(packet.getBytes("name").asText(), "sevens");
    EXPECT_STREQ(packet.getString("name"), "");
    for (const char* text : {"writing too many elements in an array", "writing too many elements in an array",
                             "writing too many bytes in a buffer", "writing too many bytes in a buffer",
                             "Packet::getString: member contents does not end with nullbyte, member=name, "
                             "m_scheme->getFullName()=Test::AllKinds"})
        log.expect(3, text);
}

TEST(Packet, ReadsNothingUnderUndeclaredNames) {
    LogCapture log;
    Packet packet(&kAllKinds, 0);
    packet.setInteger("missing", 1);
    std::memset(packet.allocateBuffer("missing", 100), 0, 100);
    EXPECT_EQ(packet.getInteger("missing"), 0);
    EXPECT_EQ(packet.getBuffer("missing"), nullptr);
    EXPECT_EQ(toHex(packet), toHex(Packet(&kAllKinds, 0)));
    log.take();
}

std::string textOf(size_t bytes) {
    return "PKTB16[" + std::string(2 * bytes, 'a') + "]";
}

TEST(PacketText, RefusesCorruptText) {
    LogCapture log;
    for (const std::string& text : {textOf(0), textOf(7), std::string("PKTB16[0000000000000G00]")}) {
        EXPECT_EQ(Packet::createFromBase16String(text), nullptr) << text;
        log.expect(2, "corrupt base16 packet encoding");
    }
    EXPECT_EQ(Packet::createFromBufferWithManifest({reinterpret_cast<const uint8*>("abc"), 3}), nullptr);
    log.expect(2, "corrupt buffer_manifest packet encoding");
}

TEST(PacketText, AcceptsPayloadsBelow16MiB) {
    LogCapture log;
    const SmartPointer<Packet> largest = Packet::createFromBase16String(textOf(8 + 16777215));
    EXPECT_EQ(largest->getPayloadSize(), 16777215u);
    EXPECT_EQ(largest->getPayload()[16777214], 0xAA);
    EXPECT_EQ(Packet::createFromBase16String(textOf(8 + 16777216)), nullptr);
    log.expect(2, "corrupt base16 packet encoding, unrealistic payloadSize=16777216");
}

} // namespace
} // namespace qel::test
