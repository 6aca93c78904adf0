// The volume files of the viewer: whatever the bytes, a load either states a problem or uploads every slice
// and has a usable orientation and finite scales. The first byte selects what the others are: a file, the
// content of a gzip file, or a header and the voxels that it refers to.
#include <fuzz/checking_volume.h>
#include <fuzz/require.h>
#include <hosts/qelviewer/volume/volume_file.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/volume/volume_loader.h>
#include <tests/hosts/qelviewer_files.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

using namespace qel;

namespace {

/// A folder that is removed when the process ends.
class Folder {
public:
    Folder() : m_path((std::filesystem::temp_directory_path() / "volumes-XXXXXX").string()) {
        require(mkdtemp(m_path.data()) != nullptr);
    }
    ~Folder() { std::filesystem::remove_all(m_path); }

    std::string write(const char* name, std::string_view content) const {
        std::string path = m_path + '/' + name;
        std::filesystem::remove(path); // some file systems wait for the disk when a file is emptied
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

private:
    std::string m_path;
};

std::string writeInput(std::string_view input) {
    static const Folder folder;
    const char kind = input.empty() ? '\0' : input.front();
    const std::string_view content = input.empty() ? input : input.substr(1);
    switch (static_cast<unsigned char>(kind) % 3) {
    case 1:
        return folder.write("v.nii.gz", qelviewer::test::gzip(std::string(content), 1));
    case 2:
        folder.write("voxels.raw", content);
        return folder.write("v.nhdr", content);
    default:
        return folder.write("v.nii", content);
    }
}

void check(const VolumeLoader& loader, const qelviewer::VolumeHeader& header) {
    const auto& volume = static_cast<const CheckingVolume&>(*loader.getScalarTexture());
    require(volume.getSize() == header.size);
    require(volume.isComplete());
    require(header.orientation.isUsable());
    require(std::isfinite(header.scaleBias.x) && std::isfinite(header.scaleBias.y));
    for (const auto& [name, value] : header.lines) require(String(value).utf8_fix() == value);
    for (const auto plane :
         {qelviewer::Plane::Axial, qelviewer::Plane::Coronal, qelviewer::Plane::Sagittal}) {
        const qelviewer::PlaneFrame frame = planeFrame(header.orientation, plane);
        require(frame.right.axis + frame.down.axis + frame.inward.axis == 3);
        require(frame.right.axis != frame.down.axis);
    }
    const Float4x4 model = modelMatrix(header.orientation, header.size);
    for (int i = 0; i < 16; ++i) require(std::isfinite(model.data()[i]));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    const std::string path = writeInput({reinterpret_cast<const char*>(data), size});
    CheckingRenderer renderer;
    VolumeLoader loader(&renderer);
    qelviewer::VolumeHeader header;
    qelviewer::LoadProgress progress;
    const std::string problem = loadVolume(path, loader, header, progress);
    require(problem.empty() || problem.starts_with(path + ": "));
    if (problem.empty()) check(loader, header);
    require(problem.empty() == bool(loader.getScalarTexture()));
    return 0;
}
