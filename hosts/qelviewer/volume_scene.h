// VolumeScene: draws the volume, its box and the crosshair into a picture.
#pragma once

#include "view_state.h"

#include <qel/foundation/base/matrix.h>
#include <qel/imaging/pixels/image.h>
#include <qel/software3d/software_renderer_3d.h>
#include <qel/volume/mesh_actor.h>
#include <qel/volume/volume_actor.h>
#include <qel/volume/volume_material.h>

#include <array>
#include <string>
#include <vector>

namespace qelviewer {

/// The name of a side of the body in a picture.
struct SceneLetter {
    qel::IVec2<float> position; ///< in pixels
    std::string text;           ///< such as "L"
    bool isInFront = false;     ///< the side faces the viewer
};

/// The 3D view of a volume. @threads main thread, except that a worker may create textures.
class VolumeScene {
public:
    VolumeScene();

    /// Returns the renderer, which creates the textures of volumes.
    qel::SoftwareRenderer3D* getRenderer() const { return m_renderer.get(); }
    /// Shows a volume. @param study  must stay until the next call.
    void setStudy(const Study& study);
    /// Shows the volume with a material.
    void setMaterial(qel::VolumeMaterial& material);
    /// Returns a new picture. @param size  at least 1 by 1.
    qel::Image draw(const ViewState& state, const qel::IVec2<int>& size);
    /// Returns the letters of the faces for the last picture.
    std::vector<SceneLetter> getLetters(const ViewState& state, const qel::IVec2<int>& size) const;

private:
    void drawActors(const ViewState& state);
    void drawBars(const qel::MeshGeometry& geometry, const qel::IVec4<float>& color);
    void drawCross(const ViewState& state);
    qel::Float4x4 projection(const ViewState& state, const qel::IVec2<int>& size) const;
    qel::IVec3<float> barThickness(const ViewState& state) const;

    qel::SmartPointer<qel::SoftwareRenderer3D> m_renderer;
    qel::SmartPointer<qel::Image> m_target;
    qel::VolumeActor m_volume;
    qel::Float4x4 m_model;
    qel::IVec3<float> m_sidesMm{1, 1, 1}; ///< lengths of the box
    std::array<FaceLetters, 6> m_faces;
};

} // namespace qelviewer
