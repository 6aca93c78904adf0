#include <tests/packet/packet_schemes.h>
#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <qel/store/core/memory_store.h>
#include <qel/store/records/table.h>

#include <gtest/gtest.h>

namespace qel::test {
namespace {

RowScheme g_rows;
const AllKindsScheme kAllKinds;

/// A key "row" in a store of its own.
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
    std::string children;
    for (const char* name : {"id", "name", "size", "weight", "secret", "marks", "foreign", "owner"}) {
        const Item child = Item(key).addString(name);
        children += child.exists() ? child.fetch()->asString() : String("none");
    }
    EXPECT_EQ(children, "none{<STR:hip>}{<INT:300>}{<FLT:0.5>}{<BUF:2>}{<BUF:8>}{<INT:8>}{<GUID:" +
                            std::string(64, '0') + ">}");

    Packet fetched(&g_rows, 6);
    EXPECT_TRUE(key.fetchPacket(&fetched));
    for (const auto& [name, element] : g_rows.getElements())
        EXPECT_EQ(fetched.getBytes(element).asText(), row.getBytes(element).asText()) << name;
    EXPECT_EQ(fetched.getPort(), 6);
}

TEST_F(PacketInStore, LeavesDefaultsWhereAChildIsMissingOrOfAnotherType) {
    key.storePacket(&row);
    Item(key).addString("secret").remove();
    Item(key).addString("size").store(Item("no number"));
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

TEST_F(PacketInStore, KeepsAWholePacketAsOneValueAndFetchesEitherForm) {
    bool wasCompact = true;
    EXPECT_EQ(key.fetchPacketCompact(&g_rows, wasCompact), nullptr);
    EXPECT_FALSE(wasCompact || key.fetchPacket(&row));
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
    EXPECT_FALSE(key.exists() || key.fetchPacket(&raw));
    log.expect(3, "trying to fetch packet without scheme");
    key.storePacketCompact(&raw);
    EXPECT_FALSE(key.fetchPacket(&row));
    log.expect(2, "invalid packet received (packet id wrong 0 != 702)");
    key.store(Item(ConstByteSpan::fromText("abc")));
    EXPECT_FALSE(key.fetchPacket(&row));
    log.expect(2, "corrupt buffer_manifest packet encoding");
}

/// A table whose operations are open to the test.
struct OpenTable : Table {
    using Table::createEntry, Table::createTable, Table::deleteEntry, Table::findEntry, Table::Table;
};

class TableRows : public SystemFixture {
protected:
    SmartPointer<MemoryStore> store{new MemoryStore};
    OpenTable table{Item(store.get()).addString("patients")};
    String error = "untouched";
    Item key;
};

TEST_F(TableRows, AreMadeFoundAndDeleted) {
    LogCapture log;
    for (int i = 0; i < 2; ++i) table.createTable();
    EXPECT_EQ(log.take(), (std::vector<LogLine>{{1, 2, "creating table for scheme"}}));
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(table.createEntry(key, error));

    Vector<GUID> ids;
    Item row;
    for (bool more = table.getRoot().child(row); more; more = row.next())
        row.trail().getIterator().asGUID(ids.emplace_back());
    ASSERT_EQ(ids.size(), 3u);
    EXPECT_TRUE(ids[0] < ids[1] && ids[1] < ids[2]);

    EXPECT_TRUE(table.findEntry(ids[1], row, error));
    EXPECT_EQ(table.createPacketForEntry(ids[1], row, error), nullptr);
    EXPECT_TRUE(table.deleteEntry(row, error));
    EXPECT_EQ(error, "untouched");
    EXPECT_FALSE(table.deleteEntry(row, error));
    EXPECT_EQ(std::exchange(error, ""), "entry not found");
    Item unchanged(1);
    EXPECT_FALSE(table.findEntry(ids[1], unchanged, error));
    EXPECT_EQ(error, "entry not found");
    EXPECT_EQ(unchanged, Item(1));
}

} // namespace
} // namespace qel::test
