#include <qel/store/core/memory_store.h>
#include <qel/store/records/guid_domain_db.h>
#include <tests/support/log_capture.h>
#include <tests/support/store_dump.h>
#include <tests/support/system_fixture.h>
#include <tests/support/threads.h>

#include <set>

using namespace qel;

namespace {

bool bitOf(const GUID& guid, size_t bit) {
    return bit < 256 && (guid.bytes[bit / 8] >> bit % 8 & 1) != 0;
}

/// Bits @p from to @p from + 63 of @p guid, as a number.
uint64 bitsOf(const GUID& guid, size_t from) {
    uint64 value = 0;
    for (size_t i = 0; i < 64; ++i) value |= uint64{bitOf(guid, from + i)} << i;
    return value;
}

class GUIDDomainTest : public test::SystemFixture {
protected:
    GUIDDomainTest() : m_root(m_store.get()) { m_root.add("guid"); }

    SmartPointer<GUIDDomainDB> open() { return makeObject<GUIDDomainDB>(m_root); }
    SmartPointer<GUIDDomainDB> openNew(uint32 domainBits, uint32 personalBits, const GUIDDomain& base = {}) {
        m_root.remove();
        const auto database = open();
        database->initializeDomain(base, domainBits, personalBits);
        return database;
    }
    void put(const char* name, const Item& value) {
        Item key(m_root);
        key.add(name).store(value);
    }

    SmartPointer<MemoryStore> m_store = makeObject<MemoryStore>();
    Item m_root;
};

} // namespace

TEST_F(GUIDDomainTest, PutsAnIndexAboveTheFixedBitsAndLosesWhatDoesNotFit) {
    GUID base;
    base.bytes[0] = 0x05;
    base.bytes[31] = 0x80;
    for (const uint32 num : {0u, 1u, 63u, 64u, 100u, 191u, 192u, 193u, 255u, 256u, 300u, 0xFFFFFFFFu}) {
        const uint64 index = 0xC000000180000003;
        const GUID guid = GUIDDomain(base, num).createGUID(index);
        for (size_t bit = 0; bit < 256; ++bit) {
            const bool isIndexBit = bit >= num && bit - num < 64 && (index >> (bit - num) & 1) != 0;
            ASSERT_EQ(bitOf(guid, bit), isIndexBit || bitOf(base, bit)) << num << " " << bit;
        }
        EXPECT_EQ(GUIDDomain(base, num).createGUID(0), base);
    }
    const GUIDDomain part = GUIDDomain(base, 8).selectSubDomain(4, 9);
    EXPECT_EQ(part.guid, GUIDDomain(base, 8).createGUID(9));
    EXPECT_EQ(part.num, 12u);
    EXPECT_EQ(part.selectSubDomain(0xFFFFFFFF, 0).num, 0xFFFFFFFFu);
}

TEST_F(GUIDDomainTest, KeepsItsDomainInTheFormThatIsDocumented) {
    GUID base;
    base.bytes[0] = 0xAB;
    const auto database = openNew(16, 20, {base, 8});
    for (int i = 0; i < 300; ++i) database->generateGUID();
    database->generateDomain();
    const std::string root = "036775696400";
    const std::string zeros(62, '0');
    const auto entries = [&](const char* domainIndex, const char* personalIndex) {
        return std::vector<std::string>{" = ",
                                        root + " = ",
                                        root + "03626173652E6775696400 = 0AAB" + zeros,
                                        root + "03626173652E6E756D00 = 0808",
                                        root + "03646F6D61696E4269747300 = 0810",
                                        root + "03646F6D61696E496E64657800 = " + domainIndex,
                                        root + "03706572736F6E616C4269747300 = 0814",
                                        root + "03706572736F6E616C496E64657800 = " + personalIndex};
    };
    EXPECT_EQ(test::dumpStore(*m_store), entries("0801", "0800"));
    database->flush();
    EXPECT_EQ(test::dumpStore(*m_store), entries("0802", "072C01"));
}

TEST_F(GUIDDomainTest, CountsIdentifiersAndDomainsInTheirBitsAndStartsOver) {
    const auto database = openNew(2, 3, {GUID(), 4});
    for (const uint64 index : {0, 1, 2, 3, 4, 5, 6, 7, 0, 1})
        EXPECT_EQ(bitsOf(database->generateGUID(), 0) & 0x1FF, index << 6); // 4 of the base, 2 of the node
    for (const uint64 index : {1, 2, 3, 1}) {
        const GUIDDomain domain = database->generateDomain();
        EXPECT_EQ(bitsOf(domain.guid, 0), index << 4);
        EXPECT_EQ(domain.num, 6u);
    }
}

TEST_F(GUIDDomainTest, FillsAllBitsAboveItsOwnAtRandom) {
    for (const uint32 personalBits : {0u, 1u, 63u, 64u, 130u, 192u}) {
        const auto database = openNew(0, personalBits);
        GUID ever;
        for (int i = 0; i < 60; ++i)
            for (size_t byte = 0; byte < GUID::kSize; ++byte)
                ever.bytes[byte] |= database->generateGUID().bytes[byte];
        for (size_t bit = personalBits; bit < 256; ++bit) ASSERT_TRUE(bitOf(ever, bit)) << personalBits;
    }
}

TEST_F(GUIDDomainTest, GoesOnAfterARestartFromWhereItWasFlushed) {
    auto database = openNew(8, 32);
    for (int i = 0; i < 3; ++i) database->generateGUID();
    database->generateDomain();
    database->flush();
    const GUID forgotten = database->generateGUID();
    database = open();
    EXPECT_TRUE(database->hasDomain());
    const GUID again = database->generateGUID();
    EXPECT_EQ(bitsOf(again, 8) & 0xFFFFFFFF, 3u);
    EXPECT_EQ(bitsOf(again, 0) & 0xFFFFFFFFFF, bitsOf(forgotten, 0) & 0xFFFFFFFFFF);
    EXPECT_NE(again, forgotten);
    EXPECT_EQ(bitsOf(database->generateDomain().guid, 0), 2u);
}

TEST_F(GUIDDomainTest, NodesOfDifferentDomainsNeverShareLowBits) {
    const auto parent = openNew(4, 8);
    std::set<uint64> lowBits;
    for (int node = 0; node < 16; ++node) {
        const auto database = node == 0 ? parent : openNew(2, 2, parent->generateDomain());
        for (int i = 0; i < 4; ++i)
            lowBits.insert(bitsOf(database->generateGUID(), 0) & (node ? 0xFF : 0xFFF));
    }
    EXPECT_EQ(lowBits.size(), 64u); // every node has four of its own
}

TEST_F(GUIDDomainTest, DoesNotUseADomainThatLeavesTooFewRandomBits) {
    GUID half;
    std::fill_n(half.bytes.begin() + 24, 8, uint8{0xFF});
    struct Case {
        Item base, num, domainBits, personalBits;
        const char* randomBits;
    };
    const Case cases[] = {{GUID(), 128, 33, 32, "63"},
                          {GUID(), -1, 0, 0, "0"},
                          {GUID(), 0xFFFFFFF0u, 0x20, 0, "0"},
                          {GUID(), 0, 0, 300, "0"},
                          {half, 1, 64, 64, "63"}};
    for (const Case& c : cases) {
        put("base.guid", c.base);
        put("base.num", c.num);
        put("domainBits", c.domainBits);
        put("personalBits", c.personalBits);
        test::LogCapture capture;
        const auto database = open();
        capture.expect(3, std::string("[STORE] guid domain leaves ") + c.randomBits +
                              " random bits in an identifier, not used");
        EXPECT_FALSE(database->hasDomain());
        EXPECT_NE(database->generateGUID(), database->generateGUID());
        EXPECT_EQ(database->generateDomain().guid, GUID());
        capture.expect(3, "[STORE] there is no guid domain to take a domain from");
        const auto before = test::dumpStore(*m_store);
        database->flush();
        EXPECT_EQ(test::dumpStore(*m_store), before);
    }
}

TEST_F(GUIDDomainTest, StartsAnIndexOverThatIsOutOfItsBits) {
    for (const Item& index : {Item(0), Item(16), Item(-1)}) {
        openNew(4, 4);
        put("domainIndex", index);
        put("personalIndex", index);
        test::LogCapture capture;
        const auto database = open();
        capture.expect(3, "[STORE] domainIndex of the guid domain is out of range, starting over");
        if (index != Item(0))
            capture.expect(3, "[STORE] personalIndex of the guid domain is out of range, starting over");
        EXPECT_EQ(bitsOf(database->generateDomain().guid, 0), 1u);
        EXPECT_EQ(bitsOf(database->generateGUID(), 0) & 0xFF, 0u);
    }
}

TEST_F(GUIDDomainTest, GivesEveryThreadItsOwnIndices) {
    constexpr int kThreads = 4, kEach = 500;
    const auto database = openNew(16, 32);
    system().setGUIDDomainDB(database.get());
    std::array<std::set<uint64>, kThreads> identifiers, domains;
    test::onThreads(kThreads, [&](int thread) {
        for (int i = 0; i < kEach; ++i) {
            identifiers[thread].insert(bitsOf(system().generateGUID(), 16) & 0xFFFFFFFF);
            domains[thread].insert(bitsOf(system().generateGUIDDomain().guid, 0));
        }
    });
    for (int thread = 1; thread < kThreads; ++thread) {
        identifiers[0].merge(identifiers[thread]);
        domains[0].merge(domains[thread]);
    }
    EXPECT_EQ(identifiers[0].size(), size_t{kThreads * kEach});
    EXPECT_EQ(domains[0].size(), size_t{kThreads * kEach});
}

TEST_F(GUIDDomainTest, SystemUsesItsDomainFlushesItInEachPassAndCanBeToldNotTo) {
    EXPECT_FALSE(system().hasGUIDDomain());
    EXPECT_NE(system().generateGUID(), system().generateRandomGUID());
    const auto database = openNew(64, 64, {GUID(), 64});
    system().setGUIDDomainDB(database.get());
    EXPECT_TRUE(system().hasGUIDDomain());
    EXPECT_EQ(bitsOf(system().generateGUID(), 0), 0u);
    EXPECT_EQ(bitsOf(system().generateGUIDDomain().guid, 64), 1u);
    passAfter(1);
    EXPECT_EQ(bitsOf(open()->generateGUID(), 128), 1u);
    EXPECT_EQ(bitsOf(open()->generateDomain().guid, 64), 2u);
    system().disableGUIDDomains();
    EXPECT_FALSE(system().hasGUIDDomain());
    EXPECT_NE(bitsOf(system().generateGUID(), 0), 0u);
    test::LogCapture capture;
    EXPECT_EQ(system().generateGUIDDomain().guid, GUID());
    capture.expect(3, "[SYSTEM] there is no guid domain to take a domain from");
    test::SystemFixture::TearDown();
    EXPECT_EQ(database->getReferenceCount(), 1);
}
