// SlicePane: shows the slice of one plane through the crosshair.
#pragma once

#include "slice_loader.h"
#include "slice_overlay.h"
#include "view_state.h"

#include <hosts/widgets/look.h>

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/render/texture.h>

#include <optional>

namespace qel {
class Renderer;
class TouchButton;
class TouchState;
} // namespace qel

namespace qelviewer {

/// A pane with a slice. The slice is read from the volume when it changes, on a worker if that takes long;
/// each frame draws it through the window of values.
/// @threads main thread.
class SlicePane : public qel::Object {
    QEL_CLASS(SlicePane, qel::Object)

public:
    /// @param state  must outlive this object.
    SlicePane(Plane plane, ViewState& state);

    /// Sets whether slices that take long to read may appear later than the frame that shows them first. Off
    /// initially.
    void setProgressive(bool isOn) { m_isProgressive = isOn; }
    /// Returns true while a worker reads a slice.
    bool isReading() const { return m_loader.isReading(); }
    /// Forgets the slice, so that its volume can be destroyed.
    void clear();
    /// Takes over the theme and the language.
    void restyle(const qelwidgets::Look& look) { m_overlay.restyle(look); }
    /// Draws the slice with what is marked in it.
    void draw(qel::Renderer& renderer, const qel::Rect& place);
    /// Handles the touches of the last place.
    void handleTouches(qel::TouchState& touches);
    /// Returns the voxel that is shown at a point in pixels; nothing outside of the slice.
    std::optional<qel::IVec3<double>> voxelAt(const qel::IVec2<float>& point) const;
    /// Returns the place of the last draw.
    const qel::Rect& getPlace() const { return m_place; }
    /// Returns the plane of the slices.
    Plane getPlane() const { return m_plane; }
    /// Returns true if a second tap began since the last call.
    bool takeDoubleTap();

private:
    void updateTexture(qel::Renderer& renderer);
    void show(const SliceKey& key, qel::Image&& voxels);
    int currentSlice() const;
    qel::Rect pictureFor(const qel::Rect& place) const;
    qel::IVec3<double> nearestVoxel(const qel::IVec2<float>& point, int slice) const;
    void follow(const qel::TouchButton& touch);
    void useTool(const qel::TouchButton& touch);
    void measure(const qel::TouchButton& touch, Measurement::Kind kind);
    void dragWindow(const qel::TouchButton& touch);
    void pan(const qel::TouchButton& touch);

    const Plane m_plane;
    ViewState& m_state;
    SliceOverlay m_overlay;
    qel::SmartPointer<qel::Texture> m_texture;
    SliceKey m_shown; ///< the slice in the texture
    qel::Rect m_place;
    qel::Rect m_picture; ///< the whole slice in pixels; larger than the place if it is enlarged
    bool m_wasDoubleTap = false;
    bool m_isProgressive = false;
    SliceLoader m_loader; ///< the last member, because its worker must stop first
};

} // namespace qelviewer
