#include <qel/system/services/random_engine.h>

#include <qel/platform/random_device.h>

#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <set>

namespace qel {
namespace {

TEST(RandomEngine, DrawsTheNumbersOfTheMersenneTwister) {
    RandomEngine engine(5489);
    for (int i = 1; i < 10'000; ++i) engine.draw();
    EXPECT_EQ(engine.draw(), 4'123'659'995u); // the 10,000th, as the C++ standard tells it
}

TEST(RandomEngine, BytesAreWholeDrawsAndThenTopBytes) {
    RandomEngine engine(7), reference(7);
    std::array<uint8, 7> bytes{};
    engine.fill(bytes.data(), 6);
    const uint32 word = reference.draw();
    const auto tail = [&] { return static_cast<uint8>(reference.draw() >> 24); };
    const uint8 fifth = tail(), sixth = tail();
    const auto byte = [word](int index) { return static_cast<uint8>(word >> (8 * index)); };
    EXPECT_EQ(bytes, (std::array<uint8, 7>{byte(0), byte(1), byte(2), byte(3), fifth, sixth, 0}));
}

TEST(RandomEngine, TakesItsSeedFromTheMachineAndDoesWithoutIt) {
    platform::replaceRandom([](std::span<std::byte> bytes) {
        std::memset(bytes.data(), 0, bytes.size());
        return true;
    });
    EXPECT_EQ(RandomEngine().draw(), RandomEngine(0).draw());
    platform::replaceRandom([](std::span<std::byte>) { return false; });
    RandomEngine engine;
    EXPECT_NE(engine.draw(), engine.draw());
    platform::replaceRandom(nullptr);
}

using SystemRandom = test::SystemFixture;

TEST_F(SystemRandom, NumbersOfARangeStayInIt) {
    std::set<uint32> seen;
    for (int i = 0; i < 1000; ++i) seen.insert(system().randomUIntRange(10, 13));
    EXPECT_EQ(seen, (std::set<uint32>{10, 11, 12, 13}));
    EXPECT_EQ(system().randomUIntRange(5, 5), 5u);
    EXPECT_NE(system().randomUIntRange(0, 0xFFFFFFFF), system().randomUIntRange(0, 0xFFFFFFFF));
}

TEST_F(SystemRandom, EveryBitOfALongNumberMoves) {
    uint64 ones = 0, zeros = 0;
    for (int i = 0; i < 200; ++i) {
        const uint64 draw = system().randomULong();
        ones |= draw;
        zeros |= ~draw;
    }
    EXPECT_EQ(ones & zeros, ~uint64{0});
}

TEST_F(SystemRandom, KeysThatHashAlikeShareAMutex) {
    EXPECT_EQ(&system().accessHashedMutex(0x12345678), &system().accessHashedMutex(0x08));
    std::set<Mutex*> mutexes;
    for (uint32 key = 0; key < 1000; ++key) mutexes.insert(&system().accessHashedMutex(key));
    EXPECT_EQ(mutexes.size(), 256u);
}

} // namespace
} // namespace qel
