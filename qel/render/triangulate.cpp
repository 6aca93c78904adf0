#include <qel/render/triangulate_p.h>

#include <algorithm>
#include <cmath>

namespace qel::internal {

namespace {

constexpr uint32 kNone = UINT32_MAX;
constexpr size_t kHashedFrom = 81;

/// A corner of a ring. Splits create a second corner with the same index.
struct Corner {
    uint32 index;
    double x, y;
    uint32 previous, next;
    uint32 z = 0; // place on the z-order curve
    uint32 previousZ = kNone, nextZ = kNone;
};

/// Spreads the lower 16 bits to the even bits.
uint32 spread(uint32 v) {
    v = (v | (v << 8)) & 0x00FF00FF;
    v = (v | (v << 4)) & 0x0F0F0F0F;
    v = (v | (v << 2)) & 0x33333333;
    return (v | (v << 1)) & 0x55555555;
}

class Triangulator {
public:
    explicit Triangulator(const Vector<Vector<IVec2<float>>>& rings) {
        size_t count = 0;
        for (const auto& ring : rings) count += ring.size();
        m_corners.reserve(count * 2);
        uint32 first = 0;
        uint32 outline = kNone;
        Vector<uint32> holes;
        for (size_t i = 0; i < rings.size(); ++i) {
            const uint32 ring = addRing(rings[i], first, i == 0);
            first += static_cast<uint32>(rings[i].size());
            if (i == 0)
                outline = ring;
            else if (ring != kNone)
                holes.push_back(leftmost(ring));
        }
        if (outline == kNone) return;
        outline = joinHoles(holes, outline);
        m_isHashed = count >= kHashedFrom;
        if (m_isHashed) measure();
        m_work.push_back({outline, Stage::Clip});
        while (!m_work.empty() && m_tests <= kMaxTriangulationTests) {
            const Work work = m_work.back();
            m_work.pop_back();
            run(work);
        }
    }

    Vector<uint32> takeResult() { return std::move(m_result); }

private:
    enum class Stage { Clip, Filter, Cure, Split };
    struct Work {
        uint32 ring;
        Stage stage;
    };

    // --- rings ----------------------------------------------------------------------------------------

    Corner& at(uint32 i) { return m_corners[i]; }
    const Corner& at(uint32 i) const { return m_corners[i]; }
    uint32 next(uint32 i) const { return at(i).next; }
    uint32 previous(uint32 i) const { return at(i).previous; }

    uint32 addRing(const Vector<IVec2<float>>& points, uint32 first, bool clockwise) {
        double area = 0;
        for (size_t i = 0, j = points.size() - 1; i < points.size(); j = i++)
            area += (double{points[j].x} - double{points[i].x}) * (double{points[i].y} + double{points[j].y});
        const bool forwards = clockwise == (area > 0);
        uint32 last = kNone;
        for (size_t i = 0; i < points.size(); ++i) {
            const size_t k = forwards ? i : points.size() - 1 - i;
            last = insert(first + static_cast<uint32>(k), double{points[k].x}, double{points[k].y}, last);
        }
        if (last != kNone && isSamePlace(last, next(last))) last = remove(last);
        return last;
    }

    uint32 insert(uint32 index, double x, double y, uint32 after) {
        const uint32 i = static_cast<uint32>(m_corners.size());
        m_corners.push_back({index, x, y, i, i});
        if (after != kNone) link(after, i);
        return i;
    }

    void link(uint32 after, uint32 i) {
        at(i).next = next(after);
        at(i).previous = after;
        at(next(after)).previous = i;
        at(after).next = i;
    }

    /// Removes a corner. @return the one after it; kNone if the ring is then empty.
    uint32 remove(uint32 i) {
        const Corner c = at(i);
        at(c.next).previous = c.previous;
        at(c.previous).next = c.next;
        if (c.previousZ != kNone) at(c.previousZ).nextZ = c.nextZ;
        if (c.nextZ != kNone) at(c.nextZ).previousZ = c.previousZ;
        return c.next == i ? kNone : c.next;
    }

    /// Connects two corners by a diagonal, which makes two rings of one or one of two.
    /// @return the second corner at the place of @p b.
    uint32 split(uint32 a, uint32 b) {
        const uint32 a2 = insert(at(a).index, at(a).x, at(a).y, kNone);
        const uint32 b2 = insert(at(b).index, at(b).x, at(b).y, kNone);
        const uint32 afterA = next(a);
        const uint32 beforeB = previous(b);
        connect(a, b);
        connect(a2, afterA);
        connect(b2, a2);
        connect(beforeB, b2);
        return b2;
    }

    void connect(uint32 a, uint32 b) {
        at(a).next = b;
        at(b).previous = a;
    }

    /// Removes corners that repeat a place or lie on a straight line, from @p start to @p end.
    uint32 filter(uint32 start, uint32 end) {
        if (start == kNone) return kNone;
        uint32 i = start;
        bool again = true;
        while (again || i != end) {
            again = false;
            const bool isNeedless = isSamePlace(i, next(i)) || area(previous(i), i, next(i)) == 0;
            if (!isNeedless) {
                i = next(i);
                continue;
            }
            end = previous(i);
            remove(i);
            i = end;
            if (i == next(i)) break;
            again = true;
        }
        return end;
    }

    // --- geometry -------------------------------------------------------------------------------------

    bool isSamePlace(uint32 a, uint32 b) const { return at(a).x == at(b).x && at(a).y == at(b).y; }

    /// Returns twice the area of a triangle; negative for corners that point outwards.
    double area(uint32 a, uint32 b, uint32 c) const {
        const Corner &p = at(a), &q = at(b), &r = at(c);
        return (q.y - p.y) * (r.x - q.x) - (q.x - p.x) * (r.y - q.y);
    }

    static bool isInTriangle(const Corner& a, const Corner& b, const Corner& c, double x, double y) {
        return (c.x - x) * (a.y - y) >= (a.x - x) * (c.y - y) &&
               (a.x - x) * (b.y - y) >= (b.x - x) * (a.y - y) &&
               (b.x - x) * (c.y - y) >= (c.x - x) * (b.y - y);
    }

    bool isOnSegment(uint32 from, uint32 point, uint32 to) const {
        const Corner &p = at(from), &q = at(point), &r = at(to);
        return q.x <= std::max(p.x, r.x) && q.x >= std::min(p.x, r.x) && q.y <= std::max(p.y, r.y) &&
               q.y >= std::min(p.y, r.y);
    }

    static int sign(double v) { return (v > 0) - (v < 0); }

    bool doIntersect(uint32 p1, uint32 q1, uint32 p2, uint32 q2) const {
        const int o1 = sign(area(p1, q1, p2));
        const int o2 = sign(area(p1, q1, q2));
        const int o3 = sign(area(p2, q2, p1));
        const int o4 = sign(area(p2, q2, q1));
        if (o1 != o2 && o3 != o4) return true;
        return (o1 == 0 && isOnSegment(p1, p2, q1)) || (o2 == 0 && isOnSegment(p1, q2, q1)) ||
               (o3 == 0 && isOnSegment(p2, p1, q2)) || (o4 == 0 && isOnSegment(p2, q1, q2));
    }

    /// Returns whether a diagonal from @p a towards @p b starts inside the polygon.
    bool startsInside(uint32 a, uint32 b) const {
        return area(previous(a), a, next(a)) < 0 ? area(a, b, next(a)) >= 0 && area(a, previous(a), b) >= 0
                                                 : area(a, b, previous(a)) < 0 || area(a, next(a), b) < 0;
    }

    /// Returns whether a diagonal crosses an edge of the ring.
    bool crossesRing(uint32 a, uint32 b) {
        uint32 i = a;
        do {
            ++m_tests;
            const uint32 n = next(i);
            const bool isApart = at(i).index != at(a).index && at(n).index != at(a).index &&
                                 at(i).index != at(b).index && at(n).index != at(b).index;
            if (isApart && doIntersect(i, n, a, b)) return true;
            i = n;
        } while (i != a);
        return false;
    }

    bool isMiddleInside(uint32 a, uint32 b) {
        const double x = (at(a).x + at(b).x) / 2;
        const double y = (at(a).y + at(b).y) / 2;
        bool inside = false;
        uint32 i = a;
        do {
            ++m_tests;
            const Corner &p = at(i), &q = at(p.next);
            if ((p.y > y) != (q.y > y) && q.y != p.y && x < (q.x - p.x) * (y - p.y) / (q.y - p.y) + p.x)
                inside = !inside;
            i = p.next;
        } while (i != a);
        return inside;
    }

    bool isDiagonal(uint32 a, uint32 b) {
        ++m_tests;
        if (at(next(a)).index == at(b).index || at(previous(a)).index == at(b).index) return false;
        if (!isSamePlace(a, b)) {
            if (!startsInside(a, b) || !startsInside(b, a)) return false;
            if (crossesRing(a, b) || !isMiddleInside(a, b)) return false;
            return area(previous(a), a, previous(b)) != 0 || area(a, previous(b), b) != 0;
        }
        return !crossesRing(a, b) && area(previous(a), a, next(a)) > 0 && area(previous(b), b, next(b)) > 0;
    }

    // --- z-order --------------------------------------------------------------------------------------

    void measure() {
        const auto [left, right] = std::minmax_element(m_corners.begin(), m_corners.end(),
                                                       [](auto& a, auto& b) { return a.x < b.x; });
        const auto [top, bottom] = std::minmax_element(m_corners.begin(), m_corners.end(),
                                                       [](auto& a, auto& b) { return a.y < b.y; });
        m_left = left->x;
        m_top = top->y;
        const double side = std::max(right->x - left->x, bottom->y - top->y);
        m_scale = side > 0 ? 32767 / side : 0;
    }

    uint32 zOf(double x, double y) const {
        return spread(static_cast<uint32>((x - m_left) * m_scale)) |
               spread(static_cast<uint32>((y - m_top) * m_scale)) << 1;
    }

    void linkAlongCurve(uint32 start) {
        Vector<uint32> ring;
        uint32 i = start;
        do {
            at(i).z = zOf(at(i).x, at(i).y);
            ring.push_back(i);
            i = next(i);
        } while (i != start);
        m_tests += ring.size();
        std::sort(ring.begin(), ring.end(),
                  [this](uint32 a, uint32 b) { return at(a).z != at(b).z ? at(a).z < at(b).z : a < b; });
        for (size_t k = 0; k < ring.size(); ++k) {
            at(ring[k]).previousZ = k > 0 ? ring[k - 1] : kNone;
            at(ring[k]).nextZ = k + 1 < ring.size() ? ring[k + 1] : kNone;
        }
    }

    // --- clipping -------------------------------------------------------------------------------------

    /// Returns whether a corner prevents the ear at @p ear: it points inwards and lies inside.
    bool blocks(uint32 point, uint32 ear) {
        ++m_tests;
        if (point == previous(ear) || point == next(ear) || point == ear) return false;
        return isInTriangle(at(previous(ear)), at(ear), at(next(ear)), at(point).x, at(point).y) &&
               area(previous(point), point, next(point)) >= 0;
    }

    bool isEar(uint32 ear) {
        ++m_tests;
        if (area(previous(ear), ear, next(ear)) >= 0) return false;
        if (m_isHashed) return isHashedEar(ear);
        for (uint32 i = next(next(ear)); i != previous(ear); i = next(i))
            if (blocks(i, ear)) return false;
        return true;
    }

    bool isHashedEar(uint32 ear) {
        const Corner &a = at(previous(ear)), &b = at(ear), &c = at(next(ear));
        const uint32 low = zOf(std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y}));
        const uint32 high = zOf(std::max({a.x, b.x, c.x}), std::max({a.y, b.y, c.y}));
        for (uint32 i = b.previousZ; i != kNone && at(i).z >= low; i = at(i).previousZ)
            if (blocks(i, ear)) return false;
        for (uint32 i = b.nextZ; i != kNone && at(i).z <= high; i = at(i).nextZ)
            if (blocks(i, ear)) return false;
        return true;
    }

    void emit(uint32 a, uint32 b, uint32 c) {
        for (const uint32 corner : {a, b, c}) m_result.push_back(at(corner).index);
    }

    void run(const Work& work) {
        switch (work.stage) {
        case Stage::Clip:
            if (m_isHashed) linkAlongCurve(work.ring);
            return clip(work.ring, Stage::Filter);
        case Stage::Filter:
            return clip(filter(work.ring, work.ring), Stage::Cure);
        case Stage::Cure:
            return clip(cure(filter(work.ring, work.ring)), Stage::Split);
        case Stage::Split:
            return splitRing(work.ring);
        }
    }

    /// Clips ears until none is left; the rest of the ring goes to the stage @p after.
    void clip(uint32 ear, Stage after) {
        uint32 stop = ear;
        while (previous(ear) != next(ear) && m_tests <= kMaxTriangulationTests) {
            if (isEar(ear)) {
                emit(previous(ear), ear, next(ear));
                remove(ear);
                ear = next(next(ear)); // leaves out a corner, which avoids slivers
                stop = ear;
                continue;
            }
            ear = next(ear);
            if (ear == stop) {
                m_work.push_back({ear, after});
                return;
            }
        }
    }

    /// Cuts off triangles where an edge crosses the one after the next.
    uint32 cure(uint32 start) {
        uint32 i = start;
        do {
            const uint32 a = previous(i);
            const uint32 b = next(next(i));
            if (!isSamePlace(a, b) && doIntersect(a, i, next(i), b) && startsInside(a, b) &&
                startsInside(b, a)) {
                emit(a, i, b);
                remove(next(i));
                remove(i);
                i = start = b;
            }
            i = next(i);
        } while (i != start);
        return filter(i, i);
    }

    void splitRing(uint32 start) {
        uint32 a = start;
        do {
            for (uint32 b = next(next(a)); b != previous(a); b = next(b)) {
                if (m_tests > kMaxTriangulationTests) return;
                if (at(a).index == at(b).index || !isDiagonal(a, b)) continue;
                const uint32 c = split(a, b);
                m_work.push_back({filter(c, next(c)), Stage::Clip});
                m_work.push_back({filter(a, next(a)), Stage::Clip});
                return;
            }
            a = next(a);
        } while (a != start);
    }

    // --- holes ----------------------------------------------------------------------------------------

    uint32 leftmost(uint32 ring) const {
        uint32 best = ring;
        for (uint32 i = next(ring); i != ring; i = next(i))
            if (at(i).x < at(best).x || (at(i).x == at(best).x && at(i).y < at(best).y)) best = i;
        return best;
    }

    uint32 joinHoles(Vector<uint32>& holes, uint32 outline) {
        std::sort(holes.begin(), holes.end(),
                  [this](uint32 a, uint32 b) { return at(a).x != at(b).x ? at(a).x < at(b).x : a < b; });
        for (const uint32 hole : holes) {
            const uint32 bridge = findBridge(hole, outline);
            if (bridge == kNone) continue;
            const uint32 reverse = split(bridge, hole);
            filter(reverse, next(reverse));
            outline = filter(bridge, next(bridge));
        }
        return outline;
    }

    /// Returns the corner of the outline that the hole's leftmost corner sees first to its left.
    uint32 findBridge(uint32 hole, uint32 outline) {
        const double x = at(hole).x, y = at(hole).y;
        double hitX = -INFINITY;
        uint32 best = kNone;
        uint32 i = outline;
        do {
            ++m_tests;
            const Corner &p = at(i), &q = at(p.next);
            if (y <= p.y && y >= q.y && q.y != p.y) {
                const double crossing = p.x + (y - p.y) * (q.x - p.x) / (q.y - p.y);
                if (crossing <= x && crossing > hitX) {
                    hitX = crossing;
                    best = p.x < q.x ? i : p.next;
                    if (crossing == x) return best;
                }
            }
            i = p.next;
        } while (i != outline);
        return best == kNone ? kNone : nearestInSight(hole, best, hitX);
    }

    /// Of the corners between the ray from the hole to the outline and @p best, returns the one at the least
    /// angle to the ray, because it hides the others.
    uint32 nearestInSight(uint32 hole, uint32 best, double hitX) {
        const Corner h = at(hole);
        const Corner m = at(best);
        Corner onRay = h, hit = h;
        onRay.x = h.y < m.y ? h.x : hitX;
        hit.x = h.y < m.y ? hitX : h.x;
        double least = INFINITY;
        const uint32 stop = best;
        uint32 i = best;
        do {
            ++m_tests;
            const Corner& p = at(i);
            if (h.x >= p.x && p.x >= m.x && h.x != p.x && isInTriangle(onRay, m, hit, p.x, p.y)) {
                const double tangent = std::fabs(h.y - p.y) / (h.x - p.x);
                const bool isBetter = tangent < least || (tangent == least && p.x > at(best).x);
                if (startsInside(i, hole) && isBetter) {
                    best = i;
                    least = tangent;
                }
            }
            i = p.next;
        } while (i != stop);
        return best;
    }

    Vector<Corner> m_corners;
    Vector<uint32> m_result;
    Vector<Work> m_work;
    uint64 m_tests = 0;
    bool m_isHashed = false;
    double m_left = 0, m_top = 0, m_scale = 0;
};

} // namespace

Vector<uint32> triangulate(const Vector<Vector<IVec2<float>>>& rings) {
    return Triangulator(rings).takeResult();
}

} // namespace qel::internal
