#include "view_state.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace qelviewer {

namespace {

constexpr ValueWindow kSampleWindow{-550, 500}; // shows the inside of the sample's head

float limited(float zoom) {
    return std::clamp(zoom, 1 / ViewState::kMostZoom, ViewState::kMostZoom);
}

float radians(double degrees) {
    return static_cast<float>(std::remainder(degrees, 360) * std::numbers::pi / 180);
}

} // namespace

void ViewState::setStudy(std::shared_ptr<const Study> loaded) {
    study = std::move(loaded);
    measurements.clear();
    for (const Plane plane : {Plane::Axial, Plane::Coronal, Plane::Sagittal})
        frames[static_cast<size_t>(plane)] = SliceFrame(*study, plane);
    const qel::IVec3<int>& size = study->size();
    moveCross({size.x / 2.0, size.y / 2.0, size.z / 2.0});
    window = study->isSample ? kSampleWindow : usualWindow(study->histogram);
    sliceZoom = 1;
    clipLower = {0, 0, 0};
    clipUpper = {1, 1, 1};
}

void ViewState::moveCross(const qel::IVec3<double>& voxel) {
    if (!study) return;
    for (int i = 0; i < 3; ++i)
        cross[i] = std::clamp(std::floor(voxel[i] + 0.5), 0.0, std::max(0.0, study->size()[i] - 1.0));
}

void ViewState::beginPoint(Measurement::Kind kind, Plane plane, int slice, const qel::IVec3<double>& voxel) {
    isMeasuring = true;
    if (!measurements.empty() && !measurements.back().isComplete()) {
        Measurement& open = measurements.back();
        if (kind == open.kind && plane == open.plane && slice == open.slice)
            return open.points.push_back(voxel);
        measurements.pop_back();
    }
    if (measurements.size() == kMostMeasurements) measurements.erase(measurements.begin());
    measurements.push_back({kind, plane, slice, {voxel, voxel}});
}

void ViewState::endPoint() {
    if (!std::exchange(isMeasuring, false) || measurements.empty()) return;
    auto& points = measurements.back().points;
    if (points.back() != points[points.size() - 2]) return;
    points.pop_back();
    if (points.size() < 2) measurements.pop_back();
}

void ViewState::dragWindow(double centerShare, double widthShare) {
    if (!study) return;
    const double range = fullWindow(study->histogram).width;
    const double lower = study->histogram.smallest - range;
    window.center = std::clamp(window.center + centerShare * range, lower, lower + 3 * range);
    window.width = std::clamp(window.width + widthShare * range, range / 1000, range * 3);
}

void ViewState::zoomVolume(float factor) {
    zoom = limited(zoom * factor);
}

void ViewState::zoomSlices(float factor) {
    sliceZoom = std::max(1.0f, limited(sliceZoom * factor));
    sliceCenter = cross;
}

void ViewState::setCamera(const CameraAngles& angles) {
    camera.reset();
    camera.rotateX(radians(angles.azimuth));
    camera.rotateY(radians(angles.elevation));
    zoom = limited(static_cast<float>(angles.zoom));
}

void ViewState::resetView() {
    sliceZoom = 1;
    setCamera(Options().camera);
    clipLower = {0, 0, 0};
    clipUpper = {1, 1, 1};
}

} // namespace qelviewer
