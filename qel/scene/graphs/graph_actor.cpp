#include <qel/scene/graphs/graph_actor.h>

#include <qel/foundation/base/number_format.h>
#include <qel/render/renderer.h>
#include <qel/scene/actors/color_scope.h>
#include <qel/scene/graphs/prim_actor.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>
#include <qel/text/engine/text_actor.h>

#include <algorithm>
#include <cmath>

namespace qel {

namespace {

constexpr float kMargin = 0.025f;
constexpr float kLabelHeight = 0.1f; ///< of the bounds' height
constexpr float kLabelGap = 0.02f;   ///< between an axis and its labels, of the bounds' height
constexpr float kMaxLineWidth = 64;

bool isFinite(const IVec2<float>& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

/// Returns a colour of 30 percent in all channels.
IVec4<float> faint(const IVec4<float>& color) {
    return {color.x * 0.3f, color.y * 0.3f, color.z * 0.3f, color.w * 0.3f};
}

/// Returns the part of the bounds in which curves are drawn.
Rect plotIn(const Rect& bounds) {
    const float width = bounds.getWidth(), height = bounds.getHeight();
    const float labels = height * kLabelHeight;
    return {bounds.x0 + width * kMargin + labels, bounds.y0 + height * kMargin + labels,
            bounds.x1 - width * kMargin, bounds.y1 - height * kMargin};
}

/// Returns the smallest rectangle of whole pixels around @p rect.
IVec4<int> pixelsAround(const Rect& rect) {
    return Rect(std::floor(rect.x0), std::floor(rect.y0), std::ceil(rect.x1), std::ceil(rect.y1))
        .roundNearestAsInt();
}

void drawLabel(Renderer& renderer, const String& text, const Rect& bounds, TextAlign horizontal,
               TextAlign vertical = TextAlign::Center) {
    if (text.empty()) return;
    TextActor label;
    label.disableSmartPointers();
    label.setText(text).setFont(internal::g_system->getTheme()->largeFont()).setAutoSize(true);
    label.setBounds(bounds).setHorizontalAlign(horizontal).setVerticalAlign(vertical);
    renderer.draw(&label);
}

/// Draws a line of several pixels as lines next to each other.
void drawThickLine(Renderer& renderer, const IVec2<float>& from, const IVec2<float>& to, int width) {
    const bool isSteep = std::fabs(to.y - from.y) > std::fabs(to.x - from.x);
    for (int i = 0; i < width; ++i) {
        const float shift = static_cast<float>(i) - static_cast<float>(width - 1) / 2;
        const IVec2<float> by = isSteep ? IVec2<float>(shift, 0) : IVec2<float>(0, shift);
        renderer.drawAALineInternal({from.x + by.x, from.y + by.y}, {to.x + by.x, to.y + by.y});
    }
}

/// Fills the area between the finite points and the bottom of the plot.
void drawShading(Renderer& renderer, const Vector<IVec2<float>>& points, float bottom,
                 const IVec4<float>& color) {
    PrimActor area;
    area.disableSmartPointers();
    area.setType(PrimActor::Type::Triangles).setColor(faint(color));
    for (size_t i = 1; i < points.size(); ++i) {
        const IVec2<float>&a = points[i - 1], &b = points[i];
        if (isFinite(a) && isFinite(b)) area.addQuad(a, b, {b.x, bottom}, {a.x, bottom});
    }
    renderer.draw(&area);
}

} // namespace

GraphActor::GraphActor() = default;
GraphActor::~GraphActor() = default;

bool GraphActor::Axis::isValid() const {
    return std::isfinite(begin) && std::isfinite(end) && begin != end;
}

GraphActor& GraphActor::addGraph(const IVec2<float>* points, size_t count, SmartCStr name, float lineWidth,
                                 const IVec4<float>& color, float shading) {
    m_graphs.push_back({Vector<IVec2<float>>(points, points + count), name, lineWidth, color, shading});
    return *this;
}

GraphActor& GraphActor::clearGraphs() {
    m_graphs.clear();
    return *this;
}

GraphActor& GraphActor::setTitle(const String& title) {
    m_title = title;
    return *this;
}

GraphActor& GraphActor::setHorizontalAxisLabel(const String& label) {
    m_horizontal.label = label;
    return *this;
}

GraphActor& GraphActor::setVerticalAxisLabel(const String& label) {
    m_vertical.label = label;
    return *this;
}

GraphActor& GraphActor::setHorizontalAxisColor(const IVec4<float>& color) {
    m_horizontal.color = color;
    return *this;
}

GraphActor& GraphActor::setVerticalAxisColor(const IVec4<float>& color) {
    m_vertical.color = color;
    return *this;
}

GraphActor& GraphActor::setHorizontalAxisInterval(float begin, float end) {
    m_horizontal.begin = begin;
    m_horizontal.end = end;
    return *this;
}

GraphActor& GraphActor::setVerticalAxisInterval(float begin, float end) {
    m_vertical.begin = begin;
    m_vertical.end = end;
    return *this;
}

GraphActor& GraphActor::setVerticalLines(int count) {
    m_verticalLines = count;
    return *this;
}

GraphActor& GraphActor::setBounds(const Rect& bounds) {
    m_bounds = bounds;
    return *this;
}

GraphActor& GraphActor::setColor(const IVec4<float>& color) {
    m_color = color;
    return *this;
}

GraphActor& GraphActor::setAnimColor(AnimColor* color) {
    m_animColor = color;
    return *this;
}

// --- drawing ----------------------------------------------------------------------------------------

void GraphActor::onRender(Renderer* renderer) {
    const ColorScope color(*renderer, m_color, m_animColor);
    if (color.isVisible() && !m_bounds.isEmpty()) drawGraphActorInternal(*renderer);
}

void GraphActor::drawGraphActorInternal(Renderer& renderer) {
    const Rect plot = plotIn(m_bounds);
    const float height = m_bounds.getHeight(), margin = height * kMargin;
    drawLabel(renderer, m_title, {m_bounds.x0, m_bounds.y0 + margin, m_bounds.x1, plot.y0},
              TextAlign::Center);
    if (m_horizontal.isValid()) drawGuideLines(renderer, plot);
    drawAxes(renderer, plot);
    if (!m_horizontal.isValid() || !m_vertical.isValid()) return;
    renderer.pushClip(pixelsAround(plot));
    if (!renderer.isAllClipped())
        for (const Graph& graph : m_graphs) drawGraph(renderer, plot, graph);
    renderer.popClip();
}

void GraphActor::drawAxes(Renderer& renderer, const Rect& plot) const {
    const float height = m_bounds.getHeight() * kLabelHeight, gap = m_bounds.getHeight() * kLabelGap;
    const Rect below(plot.x0 + gap, plot.y1 - height, plot.x1 - gap, plot.y1);
    const Rect left(m_bounds.x0, plot.y0, plot.x0 - gap, plot.y1);
    {
        const ColorScope color(renderer, m_horizontal.color);
        renderer.drawAALineInternal({plot.x0, plot.y1}, {plot.x1, plot.y1});
        drawLabel(renderer, util::stringFormat("%.2f", m_horizontal.begin), below, TextAlign::Start);
        drawLabel(renderer, m_horizontal.label, below, TextAlign::Center);
        drawLabel(renderer, util::stringFormat("%.2f", m_horizontal.end), below, TextAlign::End);
    }
    const ColorScope color(renderer, m_vertical.color);
    renderer.drawAALineInternal({plot.x0, plot.y0}, {plot.x0, plot.y1});
    drawLabel(renderer, util::stringFormat("%.2f", m_vertical.end), left, TextAlign::End, TextAlign::Start);
    drawLabel(renderer, m_vertical.label, left, TextAlign::End, TextAlign::Center);
    drawLabel(renderer, util::stringFormat("%.2f", m_vertical.begin), left, TextAlign::End, TextAlign::End);
}

// Bounds may be much wider than the display: only the lines whose values reach into the clip take time.
void GraphActor::drawGuideLines(Renderer& renderer, const Rect& plot) const {
    const int count = std::min(m_verticalLines, Rect(0, 0, plot.getWidth(), 0).roundNearestAsInt().z);
    const float spaces = static_cast<float>(count) + 1, step = plot.getWidth() / spaces;
    if (count < 1 || !isFinite({plot.x0, step})) return;
    const auto lineBefore = [&](int x) {
        const double number = (static_cast<double>(x) - double{plot.x0}) / double{step};
        return static_cast<int64>(std::clamp(number, 0.0, double{spaces}));
    };
    const IVec4<int> clip = renderer.getClip();
    const int64 first = std::max<int64>(1, lineBefore(clip.x));
    const int64 last = std::min<int64>(count, lineBefore(clip.z) + 1);
    for (int64 i = first; i <= last; ++i) drawGuideLine(renderer, plot, static_cast<float>(i) / spaces, step);
}

void GraphActor::drawGuideLine(Renderer& renderer, const Rect& plot, float part, float step) const {
    const float height = m_bounds.getHeight() * kLabelHeight, x = plot.x0 + plot.getWidth() * part;
    {
        const ColorScope color(renderer, faint(m_horizontal.color));
        renderer.drawAALineInternal({x, plot.y0}, {x, plot.y1});
    }
    if (step < 2 * height) return;
    const ColorScope color(renderer, m_horizontal.color);
    drawLabel(renderer, util::stringFormat("%.2f", m_horizontal.valueAt(part)),
              {x - step / 2, plot.y0, x + step / 2, plot.y0 + height}, TextAlign::Center);
}

IVec2<float> GraphActor::inPlot(const Rect& plot, const IVec2<float>& point) const {
    return {plot.x0 + plot.getWidth() * m_horizontal.partOf(point.x),
            plot.y1 - plot.getHeight() * m_vertical.partOf(point.y)};
}

void GraphActor::drawGraph(Renderer& renderer, const Rect& plot, const Graph& graph) const {
    Vector<IVec2<float>> points;
    for (const IVec2<float>& point : graph.points) points.push_back(inPlot(plot, point));
    if (graph.shading > 0) drawShading(renderer, points, plot.y1, graph.color);
    const ColorScope color(renderer, graph.color);
    const float rounded = std::round(graph.lineWidth);
    const int width = rounded > 1 ? static_cast<int>(std::min(rounded, kMaxLineWidth)) : 1;
    for (size_t i = 1; i < points.size(); ++i)
        if (isFinite(points[i - 1]) && isFinite(points[i]))
            drawThickLine(renderer, points[i - 1], points[i], width);
}

} // namespace qel
