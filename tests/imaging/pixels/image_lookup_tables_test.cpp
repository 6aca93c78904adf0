#include <qel/imaging/pixels/image.h>

#include <tests/support/log_capture.h>

#include <qel/testing/simd.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace qel {
namespace {

using Function = std::function<IVec4<float>(float)>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

std::vector<uint8> bytesOf(const Image& image) {
    return {image.getBytePointer(), image.getBytePointer() + image.getByteSize()};
}

uint8 plainByte(float value) {
    const float scaled = value * 255.0f;
    return std::isfinite(scaled) && std::fabs(scaled) < 9e18f ? static_cast<uint8>(std::lroundf(scaled)) : 0;
}

/// Returns the preintegrated table, computed texel by texel.
std::vector<uint8> plainPreintegration(unsigned steps, float begin, float end, const Function& f) {
    const auto at = [&](unsigned i) {
        return f(static_cast<float>(i) / static_cast<float>(steps - 1) * (end - begin) + begin);
    };
    std::vector<IVec4<float>> sum(steps);
    for (unsigned i = 0; i < steps; ++i)
        for (int c = 0; c < 4; ++c) sum[i][c] = i == 0 ? at(i)[c] : sum[i - 1][c] + at(i)[c];
    std::vector<uint8> bytes;
    for (unsigned a = 0; a < steps; ++a) {
        for (unsigned b = 0; b < steps; ++b) {
            const unsigned low = std::min(a, b), high = std::max(a, b);
            for (int c = 0; c < 4; ++c)
                bytes.push_back(plainByte(
                    a == b ? at(a)[c] : (sum[high][c] - sum[low][c]) / static_cast<float>(high - low)));
        }
    }
    return bytes;
}

TEST(LookupTableTest, ContainsTheFunctionAtEqualSteps) {
    Image image;
    const auto f = [](float x) { return IVec4<float>(x, 1 - x, x * x, 0.5f); };
    EXPECT_EQ(image.createLookupTableForTexture(3, 0, 1, f), IVec2<float>(2.0f / 3, 0.5f / 3));
    EXPECT_EQ(image.getImageFormat(), RGBA8);
    EXPECT_EQ(image.getSize(), IVec2<int>(3, 1));
    EXPECT_EQ(bytesOf(image), (std::vector<uint8>{0, 255, 0, 128, 128, 128, 64, 128, 255, 0, 255, 128}));
    const auto [scale, bias] = image.createLookupTableForTexture(256, -1000, 3000, f);
    EXPECT_FLOAT_EQ(-1000 * scale + bias, 0.5f / 256) << "the centre of a texel";
    EXPECT_FLOAT_EQ(3000 * scale + bias, 255.5f / 256);
}

TEST(LookupTableTest, PreintegrationEqualsThePlainFormula) {
    const Function functions[] = {
        [](float x) { return IVec4<float>(x, 1 - x, std::sqrt(std::fabs(x)), x < 0.3f ? 0.0f : 0.01f); },
        [](float x) { return IVec4<float>(x * 1e5f, -x * 77, kInf, x > 0.5f ? kNan : x); },
        [](float x) { return IVec4<float>(1e30f * x, 3e38f, -3e7f * x, -1); }};
    for (const std::string& target : seams::simdTargets()) {
        SCOPED_TRACE(target);
        seams::setSimdTarget(target);
        for (const unsigned steps : {2u, 3u, 5u, 15u, 16u, 17u, 31u, 32u, 33u, 64u, 67u, 100u}) {
            for (const Function& f : functions) {
                Image image;
                const IVec2<float> address = image.createPreintegrationForTexture(steps, -0.5f, 1.5f, f);
                ASSERT_EQ(image.getSize(), IVec2<int>(static_cast<int>(steps), static_cast<int>(steps)));
                EXPECT_EQ(bytesOf(image), plainPreintegration(steps, -0.5f, 1.5f, f)) << steps;
                EXPECT_EQ(address, Image().createLookupTableForTexture(steps, -0.5f, 1.5f, f));
            }
        }
    }
    seams::setSimdTarget("");
}

TEST(LookupTableTest, OneStepAndOneValueAreSafe) {
    Image image;
    const auto f = [](float x) { return IVec4<float>(x, x, x, x); };
    EXPECT_EQ(image.createLookupTableForTexture(1, 1, 5, f), IVec2<float>(0, 0.5f));
    EXPECT_EQ(bytesOf(image), std::vector<uint8>(4, 255));
    EXPECT_EQ(image.createPreintegrationForTexture(1, 1, 1, f), IVec2<float>(0, 0.5f));
    EXPECT_EQ(bytesOf(image), std::vector<uint8>(4, 255));
}

TEST(LookupTableTest, TheNumberOfStepsHasALimit) {
    const auto f = [](float) { return IVec4<float>(); };
    for (const unsigned steps : {0u, 16385u, 0xFFFFFFFFu}) {
        test::LogCapture log;
        Image image;
        image.createLookupTableForTexture(steps, 0, 1, f);
        EXPECT_FALSE(image.isInitialized());
        image.createPreintegrationForTexture(steps, 0, 1, f);
        EXPECT_FALSE(image.isInitialized());
        EXPECT_EQ(log.take().size(), 2u);
    }
}

} // namespace
} // namespace qel
