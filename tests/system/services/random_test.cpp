#include <qel/system/services/random_engine.h>

#include <qel/platform/random_device.h>

#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <set>

namespace qel {
namespace {

TEST(RandomEngine, DrawsTheNumbersOfTheMersenneTwister) {
    RandomEngine engine(5489);
    for (int i = 1; i < 10'000; ++i) engine.draw();
    EXPECT_EQ(engine.draw(), 4'123'659'995u); // the 10,000th, as the C++ standard tells it
}

TEST(RandomEngine, BytesAreWholeDrawsAndThenTopBytes) {
    RandomEngine engine(7);
    RandomEngine reference(7);
    std::array<uint8, 8> bytes;
    bytes.fill(0xEE);
    engine.fill(bytes.data(), 6);
    const uint32 word = reference.draw();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(bytes[static_cast<size_t>(i)], static_cast<uint8>(word >> (8 * i)));
    EXPECT_EQ(bytes[4], reference.draw() >> 24);
    EXPECT_EQ(bytes[5], reference.draw() >> 24);
    EXPECT_EQ(bytes[6], 0xEE);
}

TEST(RandomEngine, TakesItsSeedFromTheMachine) {
    platform::replaceRandom([](std::span<std::byte> bytes) {
        std::memset(bytes.data(), 0, bytes.size());
        return true;
    });
    RandomEngine engine;
    platform::replaceRandom(nullptr);
    RandomEngine reference(0);
    EXPECT_EQ(engine.draw(), reference.draw());
}

TEST(RandomEngine, WithoutARandomSourceItIsSeededAllTheSame) {
    platform::replaceRandom([](std::span<std::byte>) { return false; });
    RandomEngine engine;
    platform::replaceRandom(nullptr);
    EXPECT_NE(engine.draw(), engine.draw());
}

TEST(RandomDevice, FillsEveryByteAnew) {
    std::set<std::array<std::byte, 16>> seen;
    for (int i = 0; i < 100; ++i) {
        std::array<std::byte, 16> bytes{};
        ASSERT_TRUE(platform::fillRandom(bytes));
        EXPECT_TRUE(seen.insert(bytes).second);
    }
}

class SystemRandom : public test::SystemFixture {};

TEST_F(SystemRandom, NumbersOfARangeStayInIt) {
    std::set<uint32> seen;
    for (int i = 0; i < 1000; ++i) seen.insert(system().randomUIntRange(10, 13));
    EXPECT_EQ(seen, (std::set<uint32>{10, 11, 12, 13}));
    EXPECT_EQ(system().randomUIntRange(5, 5), 5u);
}

TEST_F(SystemRandom, ARangeOfAllNumbersIsHarmless) {
    EXPECT_NE(system().randomUIntRange(0, 0xFFFFFFFF), system().randomUIntRange(0, 0xFFFFFFFF));
}

TEST_F(SystemRandom, EveryBitOfALongNumberMoves) {
    uint64 ones = 0;
    uint64 zeros = 0;
    for (int i = 0; i < 200; ++i) {
        const uint64 draw = system().randomULong();
        ones |= draw;
        zeros |= ~draw;
    }
    EXPECT_EQ(ones & zeros, ~uint64{0});
}

TEST_F(SystemRandom, KeysThatHashAlikeShareAMutex) {
    const auto hash = [](uint32 key) {
        const uint32 x = key ^ (key >> 16);
        return (x ^ (x >> 8)) & 255;
    };
    std::set<Mutex*> mutexes;
    std::map<uint32, Mutex*> byHash;
    for (uint32 key = 0; key < 100'000; ++key) {
        Mutex* mutex = &system().accessHashedMutex(key);
        mutexes.insert(mutex);
        EXPECT_EQ(byHash.emplace(hash(key), mutex).first->second, mutex);
    }
    EXPECT_EQ(mutexes.size(), 256u);
}

} // namespace
} // namespace qel
