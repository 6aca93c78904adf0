// Study: a volume that has been loaded, with everything that panes show of it.
#pragma once

#include <hosts/qelviewer/volume/histogram.h>
#include <hosts/qelviewer/volume/volume_header.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/software3d/software_volume_texture.h>

namespace qelviewer {

/// A volume with its header and its values. It never changes.
struct Study {
    VolumeHeader header;                                  ///< what the file states
    qel::SmartPointer<qel::SoftwareVolumeTexture> volume; ///< the voxels
    Histogram histogram;                                  ///< of all values
    bool isSample = false;                                ///< true for the sample volume

    /// Returns the numbers of voxels on the axes.
    const qel::IVec3<int>& size() const { return header.size; }
    /// Returns the value of the nearest voxel in the units of the file; NaN outside the volume.
    double valueAt(const qel::IVec3<double>& voxel) const;
};

} // namespace qelviewer
