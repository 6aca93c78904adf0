#include <qel/store/core/memory_store.h>
#include <qel/store/records/guid_domain_db.h>
#include <tests/support/formats_page.h>
#include <tests/support/store_dump.h>
#include <tests/support/system_fixture.h>
#include <tests/support/threads.h>

#include <set>

using namespace qel;

namespace {

bool bitOf(const GUID& guid, size_t bit) {
    return (guid.bytes[bit / 8] >> bit % 8 & 1) != 0;
}

/// Returns the first 8 bytes of @p guid as a number.
uint64 lowOf(const GUID& guid) {
    return std::bit_cast<std::array<uint64, 4>>(guid.bytes)[0];
}

struct GUIDDomainTest : test::SystemFixture {
    SmartPointer<GUIDDomainDB> open() { return makeObject<GUIDDomainDB>(root); }

    SmartPointer<MemoryStore> store = makeObject<MemoryStore>();
    Item root = Item(store.get()).add("guid");
};

} // namespace

TEST_F(GUIDDomainTest, PutsAnIndexAboveTheFixedBits) {
    const GUID base = GUID::fromString("05" + std::string(60, '0') + "80");
    constexpr uint64 kIndex = 0xC000000180000003;
    for (const uint32 num : {0u, 1u, 63u, 64u, 100u, 191u, 192u, 193u, 255u, 256u, ~0u})
        for (size_t bit = 0; bit < 256; ++bit) {
            const bool isSet = bit >= num && bit - num < 64 && (kIndex >> (bit - num) & 1) != 0;
            ASSERT_EQ(bitOf(GUIDDomain(base, num).createGUID(kIndex), bit), isSet || bitOf(base, bit)) << num;
        }
    EXPECT_EQ(GUIDDomain(base, 8).selectSubDomain(4, 9).num, 12u);
}

TEST_F(GUIDDomainTest, CountsOnFromTheLastFlushedIndex) {
    auto database = open();
    database->initializeDomain({GUID::fromString("0B" + std::string(62, '0')), 4}, 2, 3);
    system().setGUIDDomainDB(database.get());
    GUID ever;
    for (uint64 i = 0; i < 69; ++i) {
        const GUID guid = system().generateGUID();
        EXPECT_EQ(lowOf(guid) & 0x1FF, i % 8 << 6 | 0xB); // above the base and the node, which is 0
        for (size_t byte = 0; byte < GUID::kSize; ++byte) ever.bytes[byte] |= guid.bytes[byte];
    }
    for (size_t bit = 9; bit < 256; ++bit) EXPECT_TRUE(bitOf(ever, bit)) << "not random";
    for (const uint64 index : {1, 2, 3, 1})
        EXPECT_EQ(lowOf(system().generateGUIDDomain().guid), index << 4 | 0xB);
    passAfter(1); // flushes
    EXPECT_EQ(test::contentOf(*store), test::documentedEntries("guid-domain"));
    EXPECT_EQ(lowOf(open()->generateGUID()) & 0x1FF, 5u << 6 | 0xB);
    EXPECT_EQ(open()->generateDomain().guid, database->generateDomain().guid);
    system().disableGUIDDomains();
    EXPECT_FALSE(system().hasGUIDDomain());
    EXPECT_NE(system().generateGUID(), system().generateGUID());
}

TEST_F(GUIDDomainTest, ThreadsNeverShareAnIndex) {
    const auto database = open();
    database->initializeDomain({}, 16, 32);
    std::array<std::set<uint64>, 4> indices;
    test::onThreads(4, [&](int thread) {
        for (int i = 0; i < 500; ++i) indices[thread].insert(lowOf(database->generateGUID()) << 16 >> 32);
        database->flush();
    });
    for (const auto& others : {indices[1], indices[2], indices[3]})
        indices[0].insert(others.begin(), others.end());
    EXPECT_EQ(indices[0].size(), 2000u);
}
