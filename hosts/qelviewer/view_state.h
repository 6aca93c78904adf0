// ViewState: what the panes show, which they share.
#pragma once

#include "measurement.h"
#include "options.h"
#include "slice_frame.h"
#include "study.h"
#include "value_window.h"

#include <qel/volume/arcball_camera.h>

#include <array>
#include <memory>
#include <vector>

namespace qelviewer {

/// What the left button or a finger does in a slice.
enum class Tool { Crosshair, Window, Distance, Angle };

/// The state of all panes. @threads main thread.
struct ViewState {
    /// The largest and, inverted, the smallest zoom.
    static constexpr float kMostZoom = 20;
    /// The most measurements that are kept; the oldest is dropped.
    static constexpr size_t kMostMeasurements = 100;

    std::shared_ptr<const Study> study;    ///< null before a volume is loaded
    std::array<SliceFrame, 3> frames;      ///< one for each Plane
    qel::IVec3<double> cross;              ///< the voxel of the crosshair
    ValueWindow window;                    ///< of the slices
    Tool tool = Tool::Crosshair;           ///< the chosen tool
    std::vector<Measurement> measurements; ///< the last one may be incomplete
    bool isMeasuring = false;              ///< the last point of the last measurement is being moved
    bool showsCross = true;                ///< the crosshair is drawn
    float sliceZoom = 1;                   ///< of all slices
    qel::IVec3<double> sliceCenter;        ///< the voxel around which slices are enlarged
    size_t material = 0;                   ///< index in the list of materials
    qel::ArcballCamera camera;             ///< of the volume
    float zoom = 1;                        ///< of the volume
    bool showsBox = true;                  ///< the box of the volume is drawn
    bool isShaded = true;                  ///< shadows are drawn in the volume
    qel::IVec3<float> clipLower{0, 0, 0};  ///< corner of the visible part, from 0 to 1
    qel::IVec3<float> clipUpper{1, 1, 1};  ///< opposite corner

    /// Takes over a volume: the crosshair is in its middle, all of it is shown, and nothing is measured.
    void setStudy(std::shared_ptr<const Study> loaded);
    /// Returns the slices of @p plane.
    const SliceFrame& frame(Plane plane) const { return frames[static_cast<size_t>(plane)]; }
    /// Moves the crosshair to the nearest voxel.
    void moveCross(const qel::IVec3<double>& voxel);
    /// Adds a point to an incomplete angle in the same slice, or begins a measurement with this point and
    /// another one, which may be moved. Another incomplete measurement is dropped.
    void beginPoint(Measurement::Kind kind, Plane plane, int slice, const qel::IVec3<double>& voxel);
    /// Ends the move of the last point. Drops it if it equals the one before it, and a measurement that has
    /// no other.
    void endPoint();
    /// Changes the window by a drag, by a share of the range of values.
    void dragWindow(double centerShare, double widthShare);
    /// Multiplies the zoom of the volume.
    void zoomVolume(float factor);
    /// Multiplies the zoom of the slices, around the crosshair.
    void zoomSlices(float factor);
    /// Shows the volume from a direction.
    void setCamera(const CameraAngles& angles);
    /// Undoes zooms and turns, and shows all of the volume.
    void resetView();
};

} // namespace qelviewer
