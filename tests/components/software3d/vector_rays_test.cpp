// The vector kernels of rays against the plain functions that define every pixel.
#include <tests/components/software3d/scene.h>

#include <qel/software3d/seams.h>
#include <qel/testing/simd.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

namespace qel {
namespace {

using test::Scene;

/// Draws random volumes, tables, views and switches.
class RandomScene {
public:
    /// @param isClose  whether neighbouring rays have voxels in common, in any direction.
    RandomScene(unsigned seed, bool isClose) : m_random(seed), m_isClose(isClose), m_scene({21, 18}) {
        addVolume();
        addMaterial();
        addView();
        addSwitches();
        if (oneOf(3) == 0) replaceTables();
    }

    std::vector<uint8> draw() {
        m_scene.drawVolume();
        return m_scene.bytes();
    }

private:
    int oneOf(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }
    float upTo(float most) { return most * static_cast<float>(m_random() % 1024) / 1024; }
    bool flip() { return oneOf(2) == 0; }
    Filter filter() { return flip() ? Filter::Bilinear : Filter::Nearest; }

    /// Noise in some of the blocks of 8 by 8 by 8 voxels; the others are almost 0.
    void addVolume() {
        static constexpr int kSides[] = {1, 2, 8, 9, 17, 33, 40, 60};
        const auto side = [this] { return kSides[m_isClose ? 3 + oneOf(5) : oneOf(8)]; };
        const IVec3<int> size(side(), side(), side());
        const unsigned filled = m_random() & m_random() & (flip() ? m_random() : ~0U);
        m_scene.setVolume(size, [&](double x, double y, double z) {
            const auto block = static_cast<int>(x * size.x) / 8 + static_cast<int>(y * size.y) / 8 * 3 +
                               static_cast<int>(z * size.z) / 8 * 7;
            return (filled >> block % 31 & 1) != 0 ? oneOf(65536) : oneOf(5);
        });
        m_scene.texture->setFilter(m_isClose ? Filter::Bilinear : filter());
    }

    void addMaterial() {
        static constexpr int kSteps[] = {2, 3, 16, 300};
        const auto color = [this] { return IVec3<float>(upTo(1), upTo(1), upTo(1)); };
        m_scene.setMaterial({{0, color()}, {30000, color()}, {65535, color()}},
                            {{0, 0}, {upTo(20000), 0}, {40000, upTo(0.4f)}, {65535, upTo(1.01f)}},
                            kSteps[oneOf(4)], {{0, upTo(1)}, {60000, upTo(1)}});
        m_scene.actor->getColorAlphaLookupTexture()->setFilter(filter());
        m_scene.actor->getColorAlphaPreintegrationTexture()->setFilter(filter());
        m_scene.actor->getGradientPreintegrationTexture()->setFilter(filter());
    }

    /// Uses tables that no curves make, some of them with a single texel.
    void replaceTables() {
        for (const bool isSquare : {false, true}) {
            const int size = 1 + oneOf(5);
            Image image(RGBA8, {size + oneOf(3), isSquare ? size : 1});
            for (int y = 0; y < image.getHeight(); ++y)
                for (int i = 0; i < image.getWidth() * 4; ++i)
                    image.getBytePointer(y)[i] = static_cast<uint8>(i % 4 == 3 && flip() ? 0 : oneOf(256));
            const SmartPointer<Texture> table = m_scene.renderer->createTexture();
            table->upload(image, false);
            if (isSquare)
                m_scene.actor->setColorAlphaPreintegrationTexture(table.get());
            else
                m_scene.actor->setColorAlphaLookupTexture(table.get());
        }
        static constexpr float kBiases[] = {0, 0.3f, std::numeric_limits<float>::infinity(), 1e38f};
        m_scene.actor->setLookupScaleBias({upTo(3e-5f), kBiases[oneOf(4)]});
    }

    void addView() {
        if (m_isClose || flip())
            m_scene.lookFrom({upTo(3) - 1, upTo(3) - 1, upTo(3) - 1});
        else if (flip()) // so close that neighbouring rays have voxels in common
            m_scene.renderer->setProjectionMatrix({8, 0, 0, 0, 0, 8, 0, 0, 0, 0, 2, 0, -4, -4, -1, 1});
        if (m_isClose)
            m_scene.renderer->setProjectionMatrix(Float4x4::Perspective(0.02f + upTo(0.1f), 1, 0.1f, 10));
        if (oneOf(4) == 0) m_scene.renderer->setClipPlanes({{upTo(1), upTo(1), -upTo(1), upTo(0.5f)}});
        if (oneOf(4) == 0) m_scene.renderer->setClipBox({upTo(0.4f), 0, 0}, {1, 1 - upTo(0.4f), 1});
    }

    void addSwitches() {
        static constexpr int kSteps[] = {1, 2, 7, 64, 300};
        m_scene.actor->setUsingPreintegration(flip())
            .setUsingClassified(oneOf(8) != 0)
            .setUsingGradientMultiplier(oneOf(3) == 0)
            .setUsingLocalOcclusion(oneOf(4) == 0)
            .setUsingGlobalOcclusion(oneOf(4) == 0)
            .setVolumeGradientCalculation(flip() ? VolumeGradientCalculation::Sobel
                                                 : VolumeGradientCalculation::CentralDifference)
            .setStepCount(kSteps[m_isClose ? 3 + oneOf(2) : oneOf(5)]);
    }

    std::mt19937 m_random;
    const bool m_isClose;
    Scene m_scene;
};

class VectorRaysTest : public ::testing::Test {
protected:
    void TearDown() override {
        seams::setVectorRays(true);
        seams::setBrickSkipping(true);
        seams::setSimdTarget("");
    }
};

/// Draws some scenes by all sets of instructions. @return the number of those that show anything.
int compareWithPlainRays(unsigned count, bool isClose) {
    int drawn = 0;
    for (unsigned seed = 0; seed < count; ++seed) {
        RandomScene scene(seed, isClose);
        seams::setVectorRays(false);
        const std::vector<uint8> plain = scene.draw();
        drawn += plain != std::vector<uint8>(plain.size()) ? 1 : 0;
        seams::setVectorRays(true);
        for (const std::string& target : seams::simdTargets()) {
            EXPECT_TRUE(seams::setSimdTarget(target));
            for (const bool skips : {false, true}) {
                seams::setBrickSkipping(skips);
                EXPECT_EQ(scene.draw(), plain) << target << " seed " << seed << " skipping " << skips;
                if (::testing::Test::HasFailure()) return drawn;
            }
        }
    }
    return drawn;
}

TEST_F(VectorRaysTest, AreEqualToPlainRays) {
    EXPECT_GT(compareWithPlainRays(60, false), 35) << "too few pictures show anything";
}

TEST_F(VectorRaysTest, AreEqualToPlainRaysThatShareVoxels) {
    EXPECT_GT(compareWithPlainRays(16, true), 8) << "too few pictures show anything";
}

} // namespace
} // namespace qel
