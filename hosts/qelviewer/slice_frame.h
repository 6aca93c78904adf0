// SliceFrame: the slices of a volume in one plane.
#pragma once

#include "study.h"

#include <qel/foundation/base/ivec.h>
#include <qel/imaging/pixels/image.h>

namespace qelviewer {

/// Maps places in slices to voxels. A place is a fraction of the width and the height of a slice, whose
/// voxels are areas; indices of voxels are those of their centres.
class SliceFrame {
public:
    /// Creates the frame of an empty volume.
    SliceFrame() = default;
    /// Creates the frame for a plane of a volume.
    SliceFrame(const Study& study, Plane plane);

    /// Returns the directions of the voxel axes and the letters of the sides.
    const PlaneFrame& axes() const { return m_axes; }
    /// Returns the numbers of voxels to the right, downwards and inwards.
    const qel::IVec3<int>& counts() const { return m_counts; }
    /// Returns the width and height of a slice in millimetres.
    qel::IVec2<double> sizeMm() const;
    /// Returns the number of the slice that contains a voxel, from 0 on.
    int sliceOf(const qel::IVec3<double>& voxel) const;
    /// Returns the voxel at a place in a slice, as fractions.
    qel::IVec3<double> voxelAt(const qel::IVec2<double>& place, int slice) const;
    /// Returns the place of a voxel in its slice.
    qel::IVec2<double> placeOf(const qel::IVec3<double>& voxel) const;
    /// Returns @p voxel moved by a number of slices, within the volume.
    qel::IVec3<double> moved(qel::IVec3<double> voxel, int slices) const;

private:
    PlaneFrame m_axes;
    qel::IVec3<int> m_counts;
};

/// Returns true if reading a slice takes so little time that it needs no worker.
bool isQuick(const SliceFrame& frame);
/// Returns the stored voxels of a slice as the pane shows them, as a UInt16 image. @p slice is limited to
/// those that exist. Uses idle workers unless it is quick.
qel::Image sliceImage(const qel::SoftwareVolumeTexture& volume, const SliceFrame& frame, int slice);

} // namespace qelviewer
