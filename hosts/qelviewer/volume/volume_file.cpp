#include <hosts/qelviewer/volume/volume_file.h>

#include <qel/volume/volume_loader.h>

#include <stdexcept>

namespace qelviewer {

std::string loadVolume(const std::string& path, qel::VolumeLoader& loader, VolumeHeader& header,
                       LoadProgress& progress) {
    try {
        if (!loader.loadFromNRRD(path.c_str())) return path + ": cannot be read as an NRRD file";
    } catch (const std::invalid_argument& error) {
        return path + ": " + error.what();
    } catch (const std::out_of_range& error) {
        return path + ": " + error.what();
    }
    VolumeHeader result;
    result.path = path;
    result.format = "NRRD";
    result.size = loader.getSize();
    result.voxelType = "int16";
    result.scaleBias = loader.getScaleBias();
    for (int i = 0; i < 3; ++i)
        result.orientation.axis[i] = qel::IVec3<double>(loader.getSpaceDirections().row(i));
    result.orientation.origin = qel::IVec3<double>(loader.getOrigin());
    header = result;
    advanceTo(progress, 1);
    return {};
}

} // namespace qelviewer
