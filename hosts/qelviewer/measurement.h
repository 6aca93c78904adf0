// Measurement: distances and angles in slices.
#pragma once

#include <hosts/qelviewer/volume/orientation.h>

#include <qel/foundation/base/ivec.h>

#include <string>
#include <vector>

namespace qelviewer {

/// A distance or an angle in a slice. Its points are indices of voxels, as fractions.
struct Measurement {
    /// What is measured.
    enum class Kind {
        Distance, ///< between two points
        Angle,    ///< at the second of three points
    };

    Kind kind = Kind::Distance;             ///< what is measured
    Plane plane = Plane::Axial;             ///< the plane in which it was drawn
    int slice = 0;                          ///< number of the slice
    std::vector<qel::IVec3<double>> points; ///< in the order in which they were drawn

    /// Returns true if no point is missing.
    bool isComplete() const { return points.size() >= (kind == Kind::Distance ? 2u : 3u); }
    /// Returns the result as a text, such as "12.3 mm" or "45.0°"; empty while points are missing.
    std::string getText(const Orientation& orientation) const;
};

/// Returns the decimal places that millimetres need, so that neighbouring voxels differ; 1 to 6.
int millimetreDigits(const Orientation& orientation);

/// Returns the distance of two voxels in millimetres.
double distanceMm(const Orientation& orientation, const qel::IVec3<double>& a, const qel::IVec3<double>& b);

/// Returns the angle between the directions from @p vertex to @p a and to @p b in degrees, from 0 to 180;
/// NaN if one has no direction.
double angleDegrees(const Orientation& orientation, const qel::IVec3<double>& a,
                    const qel::IVec3<double>& vertex, const qel::IVec3<double>& b);

} // namespace qelviewer
