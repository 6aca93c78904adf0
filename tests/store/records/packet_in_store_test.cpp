#include <tests/packet/packet_schemes.h>
#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>

#include <qel/store/core/item.h>
#include <qel/store/core/memory_store.h>

#include <gtest/gtest.h>

namespace qel::test {
namespace {

RowScheme g_rows;
const AllKindsScheme kAllKinds;

/// A key "row" in its own store.
class PacketInStore : public ::testing::Test {
protected:
    SmartPointer<MemoryStore> store{new MemoryStore};
    Item key = Item(store.get()).addString("row");
    Packet row{&g_rows, 5};
};

TEST_F(PacketInStore, KeepsEachFieldUnderItsName) {
    row.setString("name", "hip");
    row.setInteger("size", 300);
    row.setFloat("weight", 0.5);
    row.set("owner", GUID());
    row.setArray("marks", std::array{1, 2}.data(), 2);
    Item(key).addString("name").store(Item(7));
    Item(key).addString("foreign").store(Item(8));
    key.storePacket(&row);
    EXPECT_EQ(key.fetch()->asString(), "{}");
    const std::pair<const char*, std::string> children[] = {
        {"name", "{<STR:hip>}"},
        {"size", "{<INT:300>}"},
        {"weight", "{<FLT:0.5>}"},
        {"secret", "{<BUF:2>}"},
        {"marks", "{<BUF:8>}"},
        {"foreign", "{<INT:8>}"},
        {"owner", "{<GUID:" + std::string(64, '0') + ">}"}};
    for (const auto& [name, value] : children) {
        const Item* const child = Item(key).addString(name).fetch();
        ASSERT_TRUE(child) << name;
        EXPECT_EQ(child->asString(), value) << name;
    }
    EXPECT_FALSE(Item(key).addString("id").exists());

    Packet fetched(&g_rows, 6);
    EXPECT_TRUE(key.fetchPacket(&fetched));
    for (const auto& [name, element] : g_rows.getElements())
        EXPECT_EQ(fetched.getBytes(element).asText(), row.getBytes(element).asText()) << name;
    EXPECT_EQ(fetched.getPort(), 6);
}

TEST_F(PacketInStore, KeepsDefaultsForMissingOrMistypedChildren) {
    key.storePacket(&row);
    Item(key).addString("secret").remove();
    Item(key).addString("size").store(Item("not a number"));
    Item(key).addString("marks").store(Item(ConstByteSpan::fromText("toomanybytes")));
    Item(key).addString("name").store(Item().addPrefix("prefix"));
    LogCapture log;
    Packet fetched(&g_rows, 0);
    EXPECT_TRUE(key.fetchPacket(&fetched));
    EXPECT_EQ(fetched.getInteger("secret"), 4);
    EXPECT_EQ(fetched.getInteger("size"), 0);
    EXPECT_EQ(fetched.getBytes("marks").asText(), "toomanyb");
    EXPECT_STREQ(fetched.getString("name"), "prefix");
    log.expect(3, "writing too many bytes in a buffer");
}

TEST_F(PacketInStore, FetchesAPacketFromEitherForm) {
    bool wasCompact = true;
    EXPECT_EQ(key.fetchPacketCompact(&g_rows, wasCompact), nullptr);
    EXPECT_FALSE(wasCompact);
    EXPECT_FALSE(key.fetchPacket(&row));
    row.setString("name", "hip");
    key.storePacket(&row);
    EXPECT_EQ(key.fetchPacketCompact(), nullptr);
    for (const bool isCompact : {false, true}) {
        if (isCompact) key.storePacketCompact(&row);
        EXPECT_STREQ(key.fetchPacketCompact(&g_rows, wasCompact)->getString("name"), "hip");
        EXPECT_EQ(wasCompact, isCompact);
    }
    EXPECT_EQ(key.fetch()->getBase16(), test::documentedBytes("packet/compact"));
    EXPECT_EQ(key.fetchPacketCompact()->getScheme(), nullptr);
    ASSERT_TRUE(key.fetchPacket(&row));
    EXPECT_EQ(row.getPort(), 0) << "the header of the manifest";
}

TEST_F(PacketInStore, RefusesPacketsThatDoNotFit) {
    LogCapture log;
    Packet raw(4u);
    key.storePacket(&raw);
    log.expect(3, "trying to store packet without scheme");
    EXPECT_FALSE(key.exists());
    EXPECT_FALSE(key.fetchPacket(&raw));
    log.expect(3, "trying to fetch packet without scheme");
    key.storePacketCompact(&raw);
    EXPECT_FALSE(key.fetchPacket(&row));
    log.expect(2, "invalid packet received (packet id wrong 0 != 702)");
    key.store(Item(ConstByteSpan::fromText("abc")));
    EXPECT_FALSE(key.fetchPacket(&row));
    log.expect(2, "corrupt buffer_manifest packet encoding");
}

} // namespace
} // namespace qel::test
