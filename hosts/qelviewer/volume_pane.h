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
/// progressive renderer, update() draws it: small while it changes in a large pane, coarse at first, and
/// refined in the frames that the renderer asks for.
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
    /// Draws the picture for the place of the last draw if it has changed or can be refined, but only once
    /// between two calls of draw().
    /// @return true if it was drawn, which takes long.
    bool update(qel::Renderer& renderer);
    /// Draws the pane. Requests another frame if update() has something to draw.
    void draw(qel::Renderer& renderer, const qel::Rect& place);
    /// Handles the touches of the last place.
    void handleTouches(qel::TouchState& touches);
    /// Returns the place of the last draw.
    const qel::Rect& getPlace() const { return m_place; }
    /// Returns true if the last place shows the exact picture, or is empty.
    bool isExact() const;
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
    bool isOutdated(const Key& key) const;
    void drawPicture(qel::Renderer& renderer, const qel::IVec2<int>& size);
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
    bool m_isUpdated = false;    ///< update() has drawn the picture since the last draw()
    bool m_isExact = false;      ///< the picture is not a coarse or small one
    bool m_isSmall = false;      ///< the picture has fewer pixels than the pane
    qel::uint32 m_changedAt = 0; ///< System::getTime() of the first picture with the key
    qel::uint32 m_drawnAt = 0;   ///< System::getTime() of the picture
    qel::uint32 m_pauseMs = 0;   ///< before the picture is drawn again without a change
    bool m_wasDoubleTap = false;
    qel::Rect m_place;
};

} // namespace qelviewer
