// GraphActor: a small line graph.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>
#include <qel/scene/actors/actor.h>

namespace qel {

class AnimColor;

/// Draws curves in a plot with a title, two labelled axes and guide lines. Setters return the actor.
///
/// The plot takes the bounds except for a margin of 2.5 % and, at the top and on the left, a further tenth of
/// the height for the title and the texts of the vertical axis. The texts of the horizontal axis are placed
/// above its line, the values of guide lines at the top of the plot.
/// @threads main thread; System must exist.
class QEL_API GraphActor : public Actor {
    QEL_CLASS(GraphActor, Actor)

public:
    GraphActor();
    ~GraphActor() override;

    void onRender(Renderer* renderer) override;

    /// Adds a curve through @p count points, which are copied. Only lines between finite points are drawn.
    /// @param lineWidth  in pixels, rounded, from 1 to 64.
    /// @param shading    above 0: the area between the curve and the horizontal axis is filled, too.
    GraphActor& addGraph(const IVec2<float>* points, size_t count, SmartCStr name, float lineWidth,
                         const IVec4<float>& color, float shading = 0);
    /// Removes all curves.
    GraphActor& clearGraphs();
    /// Returns the number of curves.
    size_t getNumGraphs() const { return m_graphs.size(); }
    /// Returns the name of a curve below getNumGraphs().
    const String& getGraphName(size_t index) const { return m_graphs[index].name; }
    /// Sets the text above the plot.
    GraphActor& setTitle(const String& title);
    /// Sets the text at the horizontal axis.
    GraphActor& setHorizontalAxisLabel(const String& label);
    /// Sets the text at the vertical axis.
    GraphActor& setVerticalAxisLabel(const String& label);
    /// Sets the colour of the horizontal axis and, darker, of the guide lines; white initially.
    GraphActor& setHorizontalAxisColor(const IVec4<float>& color);
    /// Sets the colour of the vertical axis; white initially.
    GraphActor& setVerticalAxisColor(const IVec4<float>& color);
    /// Sets the values at the left and right edge of the plot; 0 and 1 initially. Curves are drawn only if
    /// the values differ.
    GraphActor& setHorizontalAxisInterval(float begin, float end);
    /// Sets the values at the bottom and the top of the plot; 0 and 1 initially. Curves are drawn only if the
    /// values differ.
    GraphActor& setVerticalAxisInterval(float begin, float end);
    /// Sets the number of vertical guide lines; 0 initially, and at most one for each pixel of the width.
    /// Their values are written if there is room.
    GraphActor& setVerticalLines(int count);
    /// Sets the rectangle in pixels of the target. Nothing is drawn in empty bounds.
    GraphActor& setBounds(const Rect& bounds);
    /// Returns the rectangle.
    const Rect& getBounds() const { return m_bounds; }
    /// Sets the colour that multiplies all others; white initially.
    GraphActor& setColor(const IVec4<float>& color);
    /// Returns the colour that multiplies all others.
    const IVec4<float>& getColor() const { return m_color; }
    /// Multiplies the colour by an animated one; null for none. @owner the caller; it must outlive its use.
    GraphActor& setAnimColor(AnimColor* color);

private:
    struct Axis {
        IVec4<float> color{1, 1, 1, 1};
        float begin = 0;
        float end = 1;
        String label;

        bool isValid() const;
        float partOf(float value) const { return (value - begin) / (end - begin); }
        float valueAt(float part) const { return begin + (end - begin) * part; }
    };
    struct Graph {
        Vector<IVec2<float>> points;
        String name;
        float lineWidth;
        IVec4<float> color;
        float shading;
    };

    void drawGraphActorInternal(Renderer& renderer);
    void drawAxes(Renderer& renderer, const Rect& plot) const;
    void drawGuideLines(Renderer& renderer, const Rect& plot) const;
    void drawGuideLine(Renderer& renderer, const Rect& plot, float part, float step) const;
    void drawGraph(Renderer& renderer, const Rect& plot, const Graph& graph) const;
    IVec2<float> inPlot(const Rect& plot, const IVec2<float>& point) const;

    IVec4<float> m_color{1, 1, 1, 1};
    AnimColor* m_animColor = nullptr;
    Rect m_bounds;
    Axis m_horizontal;
    Axis m_vertical;
    String m_title;
    Vector<Graph> m_graphs;
    int m_verticalLines = 0;
};

} // namespace qel
