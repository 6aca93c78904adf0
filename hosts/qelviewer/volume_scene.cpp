#include "volume_scene.h"

#include "bar_mesh.h"
#include "plane_colors.h"
#include "vectors.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelviewer {

namespace {

/// The angle in radians at a zoom of 1, at which all of a volume of any shape is seen from every direction.
constexpr float kFieldOfView = 0.48f;
constexpr float kDistance = 2.2f;  // of the camera, in diagonals of the volume
constexpr float kBarPixels = 0.8f; // half of the width of a bar
constexpr float kLetterShare = 1.13f;
constexpr int kSteps = 512;
constexpr int kTableSteps = 256;
constexpr qel::IVec4<float> kBoxColor{0.5f, 0.55f, 0.6f, 1};

double length(const qel::IVec3<double>& v) {
    return std::sqrt(dot(v, v));
}

/// Initialises an image with black. The renderer could do that, too, but would wait for workers.
void fillBlack(qel::Image& image, const qel::IVec2<int>& size) {
    image.initialize(qel::BGRA8, size);
    for (int y = 0; y < size.y; ++y) {
        auto* const row = reinterpret_cast<qel::uint32*>(image.getBytePointer(y));
        std::fill_n(row, size.x, 0xff000000u);
    }
}

} // namespace

VolumeScene::VolumeScene() : m_renderer(new qel::SoftwareRenderer3D()), m_target(new qel::Image()) {
    m_volume.disableSmartPointers();
}

void VolumeScene::setStudy(const Study& study) {
    const Orientation& orientation = study.header.orientation;
    qel::IVec3<double> diagonal;
    for (int i = 0; i < 3; ++i) {
        const qel::IVec3<double> side = times<double>(orientation.axis[i], study.size()[i]);
        m_sidesMm[i] = static_cast<float>(length(side));
        diagonal = plus(diagonal, side);
    }
    const auto scale = static_cast<float>(1 / length(diagonal));
    m_model = modelMatrix(orientation, study.size()).multiply(qel::Float4x4::Scaling({scale, scale, scale}));
    m_faces = faceLetters(orientation, m_model);
    m_volume.setScalarTexture(study.volume.get()).setVolumeScaleBias(study.header.scaleBias);
    m_volume.setModelMatrix(m_model);
}

void VolumeScene::setMaterial(qel::VolumeMaterial& material) {
    if (material.build(kTableSteps, m_renderer.get())) m_volume.setVolumeMaterial(material);
}

qel::Float4x4 VolumeScene::projection(const ViewState& state, const qel::IVec2<int>& size) const {
    const float aspect = static_cast<float>(size.x) / static_cast<float>(size.y);
    const double half = std::tan(kFieldOfView / 2) / state.zoom / std::min(1.0f, aspect);
    const auto fieldOfView = static_cast<float>(2 * std::atan(half));
    return qel::Float4x4::Perspective(fieldOfView, aspect, kDistance - 0.75f, kDistance + 0.75f);
}

qel::Image VolumeScene::draw(const ViewState& state, const qel::IVec2<int>& size) {
    fillBlack(*m_target, size);
    qel::ArcballCamera camera = state.camera;
    camera.setDistance(kDistance);
    m_renderer->setViewMatrix(camera.getViewMatrix());
    m_renderer->setProjectionMatrix(projection(state, size));
    m_renderer->setClipBox(state.clipLower, state.clipUpper);
    m_volume.setStepCount(kSteps);
    m_volume.setUsingGlobalOcclusion(state.isShaded);
    m_renderer->setRenderTarget(m_target.get());
    m_renderer->start3D();
    if (state.study) drawActors(state);
    m_renderer->stop3D();
    m_renderer->setRenderTarget(nullptr);
    return std::move(*m_target);
}

void VolumeScene::drawActors(const ViewState& state) {
    m_renderer->draw(&m_volume);
    if (state.showsBox) {
        qel::MeshGeometry edges;
        addBoxEdges(edges, state.clipLower, state.clipUpper, barThickness(state));
        drawBars(edges, kBoxColor);
    }
    if (state.showsCross) drawCross(state);
}

/// Returns half of the width of a bar on the axes of the cube in which volumes are drawn.
qel::IVec3<float> VolumeScene::barThickness(const ViewState& state) const {
    const int shortSide = std::max(1, std::min(m_target->getWidth(), m_target->getHeight()));
    const float seen = 2 * kDistance * std::tan(kFieldOfView / 2) / state.zoom; // in diagonals
    const float diagonal = std::hypot(m_sidesMm.x, m_sidesMm.y, m_sidesMm.z);
    const float width = kBarPixels * seen * diagonal / static_cast<float>(shortSide);
    qel::IVec3<float> thickness;
    for (int i = 0; i < 3; ++i) thickness[i] = width / std::max(m_sidesMm[i], 1e-6f);
    return thickness;
}

void VolumeScene::drawCross(const ViewState& state) {
    qel::IVec3<float> middle;
    for (int i = 0; i < 3; ++i)
        middle[i] = static_cast<float>((state.cross[i] + 0.5) / std::max(1, state.study->size()[i]));
    for (const Plane plane : {Plane::Axial, Plane::Coronal, Plane::Sagittal}) {
        const int axis = state.frame(plane).axes().inward.axis;
        qel::IVec3<float> from = middle;
        qel::IVec3<float> to = middle;
        from[axis] = 0;
        to[axis] = 1;
        qel::MeshGeometry bar;
        addBar(bar, axis, from, to, barThickness(state));
        drawBars(bar, planeColor(plane));
    }
}

void VolumeScene::drawBars(const qel::MeshGeometry& geometry, const qel::IVec4<float>& color) {
    const qel::SmartPointer<qel::Mesh> mesh = m_renderer->createMesh();
    mesh->fromGeometry(geometry);
    const qel::SmartPointer<qel::MeshActor> actor(new qel::MeshActor());
    actor->setMesh(mesh.get()).setColor(color);
    actor->setModelMatrix(m_model);
    m_renderer->draw(actor.get());
}

std::vector<SceneLetter> VolumeScene::getLetters(const ViewState& state, const qel::IVec2<int>& size) const {
    std::vector<SceneLetter> letters;
    qel::ArcballCamera camera = state.camera;
    camera.setDistance(kDistance);
    const qel::Float4x4 view = camera.getViewMatrix().multiply(projection(state, size));
    const qel::IVec3<float>& towards = camera.getDirection();
    for (const FaceLetters& face : m_faces) {
        const qel::IVec3<float> place = times(face.centre, kLetterShare);
        const qel::IVec4<float> at = view.transform(qel::IVec4<float>(place.x, place.y, place.z, 1));
        if (face.letters.empty() || !(at.w > 0)) continue;
        const float facing = dot(place, towards);
        letters.push_back({{(at.x / at.w * 0.5f + 0.5f) * static_cast<float>(size.x),
                            (0.5f - at.y / at.w * 0.5f) * static_cast<float>(size.y)},
                           face.letters,
                           facing > 0});
    }
    return letters;
}

} // namespace qelviewer
