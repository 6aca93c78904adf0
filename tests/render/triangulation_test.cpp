#include <qel/testing/triangulation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace qel {
namespace {

using Ring = Vector<IVec2<float>>;

double ringArea(const Ring& ring) {
    double area = 0;
    for (size_t i = 0; i < ring.size(); ++i) {
        const IVec2<float>& a = ring[i];
        const IVec2<float>& b = ring[(i + 1) % ring.size()];
        area += double{a.x} * double{b.y} - double{b.x} * double{a.y};
    }
    return std::fabs(area) / 2;
}

/// Returns the sum of the triangles' areas, and fails on an index outside the points.
double triangleArea(const Vector<Ring>& rings, const Vector<uint32>& corners) {
    Ring points;
    for (const Ring& ring : rings) points.insert(points.end(), ring.begin(), ring.end());
    double area = 0;
    for (size_t i = 0; i + 2 < corners.size(); i += 3) {
        for (size_t k = 0; k < 3; ++k)
            if (corners[i + k] >= points.size()) throw std::out_of_range("corner");
        area += ringArea({points[corners[i]], points[corners[i + 1]], points[corners[i + 2]]});
    }
    return area;
}

/// Returns a ring around the origin whose radius changes from corner to corner.
Ring star(int count, float low, float high, unsigned seed) {
    std::mt19937 random(seed);
    Ring ring;
    for (int i = 0; i < count; ++i) {
        const double angle = 6.283185307179586 * i / count;
        const double radius = double{low} + (double{high} - double{low}) * (random() % 1000) / 1000;
        ring.emplace_back(static_cast<float>(radius * std::cos(angle)),
                          static_cast<float>(radius * std::sin(angle)));
    }
    return ring;
}

TEST(Triangulation, ASimplePolygonHasTwoTrianglesLessThanCorners) {
    for (const int count : {3, 4, 17, 80, 81, 500}) {
        const Vector<Ring> rings{star(count, 20, 100, static_cast<unsigned>(count))};
        const Vector<uint32> corners = seams::triangulate(rings);
        EXPECT_EQ(corners.size(), static_cast<size_t>(count - 2) * 3) << count;
        EXPECT_NEAR(triangleArea(rings, corners), ringArea(rings[0]), 1e-6 * ringArea(rings[0])) << count;
        Ring turned = rings[0];
        std::reverse(turned.begin(), turned.end());
        EXPECT_NEAR(triangleArea({turned}, seams::triangulate({turned})), ringArea(turned),
                    1e-6 * ringArea(turned));
    }
}

TEST(Triangulation, HolesStayOpen) {
    const Ring outline{{0, 0}, {100, 0}, {100, 100}, {0, 100}};
    const Ring left{{10, 10}, {10, 40}, {40, 40}, {40, 10}};
    const Ring right{{60, 60}, {90, 60}, {75, 90}};
    const Vector<Ring> rings{outline, left, right};
    EXPECT_NEAR(triangleArea(rings, seams::triangulate(rings)), 10000 - 900 - 450, 1e-6);
}

TEST(Triangulation, OutlinesAtRandomEnd) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        std::mt19937 random(seed);
        Ring ring;
        const unsigned range = seed % 3 == 0 ? 4 : 1000; // small ranges repeat points and edges
        for (unsigned i = 0; i < 5 + seed * 4; ++i)
            ring.emplace_back(static_cast<float>(random() % range), static_cast<float>(random() % range));
        EXPECT_EQ(seams::triangulate({ring}).size() % 3, 0u) << seed;
    }
    const Ring extreme{{-3e38f, -3e38f}, {3e38f, -3e38f}, {1e-38f, 0}, {3e38f, 3e38f}, {-3e38f, 3e38f}};
    EXPECT_LE(seams::triangulate({extreme}).size(), 9u);
}

} // namespace
} // namespace qel
