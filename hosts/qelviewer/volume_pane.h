// VolumePane: shows the volume in 3D.
#pragma once

#include "labels.h"
#include "view_state.h"
#include "volume_scene.h"

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>
#include <qel/render/texture.h>

namespace qel {
class Renderer;
class TouchState;
} // namespace qel

namespace qelviewer {

/// A pane with the volume, which a drag turns. The picture is drawn when something in it has changed. With a
/// progressive renderer it is coarse at first, and each frame that the renderer asks for refines it.
/// @threads main thread.
class VolumePane : public qel::Object {
    QEL_CLASS(VolumePane, qel::Object)

public:
    /// @param state, scene  must outlive this object.
    VolumePane(ViewState& state, VolumeScene& scene);

    /// Takes over the theme and the language.
    void restyle(const qelwidgets::Look& look);
    /// Draws the volume again in the next frame.
    void invalidate() { m_isOutdated = true; }
    /// Draws the pane.
    void draw(qel::Renderer& renderer, const qel::Rect& place);
    /// Handles the touches of the last place.
    void handleTouches(qel::TouchState& touches);
    /// Returns the place of the last draw.
    const qel::Rect& getPlace() const { return m_place; }
    /// Returns true if a second tap began since the last call.
    bool takeDoubleTap();

private:
    /// Everything that the picture depends on besides the volume and its material.
    struct Key {
        qel::IVec2<int> size;
        qel::Float3x3 camera;
        float zoom = 0;
        qel::IVec3<double> cross;
        qel::IVec3<float> clipLower, clipUpper;
        bool showsCross = false, showsBox = false, isShaded = false;

        bool operator==(const Key&) const = default;
    };

    Key currentKey(const qel::IVec2<int>& size) const;
    void updateTexture(qel::Renderer& renderer, const qel::IVec2<int>& size);
    void drawLetters(qel::Renderer& renderer);
    void turn(const qel::IVec2<float>& step);

    ViewState& m_state;
    VolumeScene& m_scene;
    Labels m_labels;
    qelwidgets::Look m_look;
    qel::String m_title;
    qel::SmartPointer<qel::Texture> m_texture;
    Key m_key;
    bool m_isOutdated = true;
    bool m_isExact = false;    ///< the picture is not a coarse one
    qel::uint32 m_drawnAt = 0; ///< System::getTime() of the picture
    bool m_wasDoubleTap = false;
    qel::Rect m_place;
};

} // namespace qelviewer
