// SliceOverlay: what is drawn over a slice.
#pragma once

#include "labels.h"
#include "view_state.h"

namespace qelviewer {

/// The crosshair, the letters of the sides, measurements, a scale and texts in the corners.
/// @threads main thread.
class SliceOverlay {
public:
    /// @param state  must outlive this object.
    SliceOverlay(Plane plane, const ViewState& state) : m_plane(plane), m_state(state) {}

    /// Takes over the theme and the language.
    void restyle(const qelwidgets::Look& look);
    /// Draws over a slice. @param picture  the place of the whole slice, in pixels.
    void draw(qel::Renderer& renderer, const qel::Rect& place, const qel::Rect& picture);

private:
    void drawCross(qel::Renderer& renderer);
    void drawLetters(qel::Renderer& renderer);
    void drawCorners(qel::Renderer& renderer);
    void drawCorner(qel::Renderer& renderer, const std::string& text, Labels::Style style);
    void drawScale(qel::Renderer& renderer);
    void drawMeasurements(qel::Renderer& renderer);
    void drawMeasurement(qel::Renderer& renderer, const Measurement& measurement);
    void drawResult(qel::Renderer& renderer, const std::string& text, qel::IVec2<float> point);
    qel::IVec2<float> pointOf(const qel::IVec3<double>& voxel) const;
    const SliceFrame& frame() const { return m_state.frame(m_plane); }

    const Plane m_plane;
    const ViewState& m_state;
    Labels m_labels;
    qelwidgets::Look m_look;
    qel::String m_title;
    qel::Rect m_place;
    qel::Rect m_picture;
};

} // namespace qelviewer
