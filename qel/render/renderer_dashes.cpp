#include <qel/foundation/log/message_stream.h>
#include <qel/render/renderer.h>

#include <algorithm>
#include <cmath>

namespace qel {

namespace {

/// Lines up to this length are walked from their start.
constexpr float kLongLinePx = 65536;
/// A line touches no pixel farther than this from its points.
constexpr double kMarginPx = 2;

/// The most dashes of a line. A pattern that would need more is enlarged; it is far finer than a pixel.
constexpr double kMostDashes = 65536;

float usableLength(float length) {
    return std::isfinite(length) && length > 0 ? length : 0;
}

void enlarge(Vector<IVec2<float>>& pattern, double& period, double factor) {
    for (IVec2<float>& dash : pattern) {
        dash.x = static_cast<float>(double{dash.x} * factor);
        dash.y = static_cast<float>(double{dash.y} * factor);
    }
    period *= factor;
}

/// The part of a line, in distances from its start, that may touch the clip rectangle.
struct VisiblePart {
    double enter;
    double leave;

    bool isEmpty() const { return !(enter <= leave); }
    /// Cuts off what lies outside @p low to @p high on one axis.
    void cut(double start, double direction, double low, double high) {
        if (direction == 0) {
            if (start < low || start > high) leave = -1;
            return;
        }
        const double first = (low - start) / direction;
        const double second = (high - start) / direction;
        enter = std::max(enter, std::min(first, second));
        leave = std::min(leave, std::max(first, second));
    }
};

} // namespace

void Renderer::drawAADashedLineInternal(const IVec2<float>& from, const IVec2<float>& to,
                                        const Vector<IVec2<float>>& dashes) {
    Vector<IVec2<float>> pattern;
    double period = 0;
    for (const IVec2<float>& dash : dashes) {
        pattern.emplace_back(usableLength(dash.x), usableLength(dash.y));
        period += double{pattern.back().x} + double{pattern.back().y};
    }
    if (!(period > 0)) {
        logging::warning() << "Cannot draw dashed line without dashes specified";
        return;
    }
    const IVec2<float> offset(to.x - from.x, to.y - from.y);
    const float length = std::sqrt(offset.x * offset.x + offset.y * offset.y);
    if (!std::isfinite(length) || !std::isfinite(from.x) || !std::isfinite(from.y) || !(length > 0)) return;
    const IVec2<float> direction(offset.x / length, offset.y / length);

    VisiblePart part{0, double{length}};
    const bool isLong = length > kLongLinePx;
    if (m_clipStack.empty()) {
        if (isLong) return; // nothing is drawn before the first frame
    } else {
        const IVec4<double> clip(getClip());
        part.cut(double{from.x}, double{direction.x}, clip.x - kMarginPx, clip.z + kMarginPx);
        part.cut(double{from.y}, double{direction.y}, clip.y - kMarginPx, clip.w + kMarginPx);
        if (part.isEmpty()) return;
    }

    const double walked = isLong ? part.leave - part.enter : double{length};
    const double dashCount = walked / period * static_cast<double>(pattern.size());
    if (dashCount > kMostDashes) enlarge(pattern, period, dashCount / kMostDashes);

    float position = isLong ? static_cast<float>(std::floor(part.enter / period) * period) : 0;
    size_t stalled = 0; // dashes without an advance: a whole pattern of them ends the line
    for (size_t i = 0; position < length && position <= part.leave && stalled < pattern.size();
         i = (i + 1) % pattern.size()) {
        const float end = std::min(length, position + pattern[i].x);
        if (end >= part.enter)
            drawAALineInternal({from.x + direction.x * position, from.y + direction.y * position},
                               {from.x + direction.x * end, from.y + direction.y * end});
        const float next = position + (pattern[i].x + pattern[i].y);
        stalled = next > position ? 0 : stalled + 1;
        position = next;
    }
}

} // namespace qel
