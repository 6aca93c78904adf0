#include <hosts/qelviewer/volume/volume_file.h>

#include <hosts/qelviewer/volume/byte_reader.h>
#include <hosts/qelviewer/volume/nifti_header.h>
#include <hosts/qelviewer/volume/nrrd_header.h>
#include <hosts/qelviewer/volume/voxel_source.h>

#include <qel/volume/volume_loader.h>

#include <algorithm>
#include <cfloat>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace qelviewer {
namespace {

/// Returns the start of a file.
std::string readStart(FileReader& file, size_t most) {
    std::string start(static_cast<size_t>(std::min<qel::uint64>(file.size(), most)), '\0');
    start.resize(file.read(reinterpret_cast<qel::uint8*>(start.data()), start.size()));
    return start;
}

/// Returns true for a list of files and for a pattern such as "slice%03d.raw 1 9 1".
bool namesSeveralFiles(std::string_view name) {
    constexpr std::string_view kDigits = "0123456789";
    if (name == "LIST" || name.starts_with("LIST ")) return true;
    for (size_t at = name.find('%'); at != std::string_view::npos; at = name.find('%', at + 1)) {
        const size_t end = name.find_first_not_of(kDigits, at + 1);
        if (end != std::string_view::npos && name[end] == 'd') return true;
    }
    return false;
}

/// Loads one file.
class VolumeFile {
public:
    VolumeFile(const std::string& path, qel::VolumeLoader& loader, LoadProgress& progress)
        : m_path(path), m_loader(loader), m_progress(progress) {}

    /// Returns what went wrong.
    std::string load();

    VolumeHeader header;

private:
    std::string readHeader();
    std::string readNifti(std::unique_ptr<ByteReader> reader);
    std::string openDataFile(std::unique_ptr<FileReader>& file);
    std::string loadVoxels(const VoxelSource& voxels);
    void setScale(double scale, double bias);

    const std::string& m_path;
    qel::VolumeLoader& m_loader;
    LoadProgress& m_progress;
    VoxelLayout m_layout;
};

/// Shows the progress of a loader from one share on up to 1, and ends its load if the user wants that.
class LoaderProgress {
public:
    LoaderProgress(qel::VolumeLoader& loader, LoadProgress& progress, float begin) : m_loader(loader) {
        m_loader.setProgress([&progress, begin](float share) {
            advanceTo(progress, begin + (1 - begin) * share);
            return !progress.isCancelled;
        });
    }
    LoaderProgress(const LoaderProgress&) = delete;
    LoaderProgress& operator=(const LoaderProgress&) = delete;
    ~LoaderProgress() { m_loader.setProgress({}); }

private:
    qel::VolumeLoader& m_loader;
};

std::string VolumeFile::load() {
    std::unique_ptr<FileReader> file;
    VoxelSource voxels(m_layout, m_progress);
    std::string problem = readHeader();
    if (problem.empty()) problem = openDataFile(file);
    if (problem.empty()) problem = voxels.open(std::move(file));
    if (!problem.empty()) return problem;
    if (!header.orientation.isUsable()) header.orientation = withoutDirections(header.orientation);
    return loadVoxels(voxels);
}

std::string VolumeFile::readHeader() {
    auto file = std::make_unique<FileReader>(m_path);
    const std::string start = readStart(*file, kLongestNrrdHeader);
    if (!file->problem().empty()) return file->problem();
    if (isNrrd(start)) {
        header.format = "NRRD";
        return readNrrdHeader(start, header, m_layout);
    }
    header.format = "NIfTI-1";
    file->seek(0);
    m_layout.isGzip = start.starts_with("\x1F\x8B");
    if (m_layout.isGzip) return readNifti(std::make_unique<GzipReader>(std::move(file)));
    return readNifti(std::move(file));
}

std::string VolumeFile::readNifti(std::unique_ptr<ByteReader> reader) {
    NiftiHeaderBytes bytes;
    if (reader->read(bytes.data(), bytes.size()) == bytes.size())
        return readNiftiHeader(bytes, header, m_layout);
    return reader->problem().empty() ? "it is neither an NRRD nor a NIfTI-1 file" : reader->problem();
}

std::string VolumeFile::openDataFile(std::unique_ptr<FileReader>& file) {
    header.dataPath = m_path;
    if (m_layout.dataFile.empty()) {
        file = std::make_unique<FileReader>(m_path);
        return file->problem();
    }
    constexpr std::string_view kHere = "./";
    const std::string name =
        m_layout.dataFile.substr(m_layout.dataFile.starts_with(kHere) ? kHere.size() : 0);
    // A header must not be able to name any other file of the machine.
    if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos || name == "..")
        return "its data file is not in the same folder";
    if (namesSeveralFiles(name)) return "its voxels are in several files, which is not supported";
    std::string place;
    if (const auto error = qel::platform::resolvePath(place, m_path.c_str())) return error.message();
    header.dataPath = place.substr(0, place.rfind('/') + 1) + name;
    file = std::make_unique<FileReader>(header.dataPath, qel::platform::Links::Keep);
    return file->problem().empty() ? std::string() : "its data file cannot be read: " + file->problem();
}

std::string VolumeFile::loadVoxels(const VoxelSource& voxels) {
    const LoaderProgress progress(m_loader, m_progress, voxels.usedShare());
    const Orientation& place = header.orientation;
    const auto read = [&voxels](qel::uint64 offset, void* out, size_t size) {
        return voxels.read(offset, static_cast<qel::uint8*>(out), size);
    };
    if (!m_loader.loadFromReader(voxels.format(), m_layout.size, directionsOf(place),
                                 qel::IVec3<float>(place.origin), read))
        return m_progress.isCancelled ? "cancelled" : "it cannot be read as a whole";
    setScale(voxels.scale(), voxels.bias());
    return {};
}

/// Combines the scale of the loader, @p scale and @p bias of a conversion before it, and that of the file.
void VolumeFile::setScale(double scale, double bias) {
    const auto toFloat = [](double value) {
        return static_cast<float>(std::clamp(value, -double{FLT_MAX}, double{FLT_MAX}));
    };
    const qel::IVec2<float> stored = m_loader.getScaleBias();
    header.scaleBias.x = toFloat(stored.x * scale * m_layout.slope);
    header.scaleBias.y = toFloat((stored.y * scale + bias) * m_layout.slope + m_layout.intercept);
}

} // namespace

std::optional<qel::uint64> countBytes(const VoxelLayout& layout) {
    qel::uint64 bytes = layout.format->bytes;
    for (int i = 0; i < 3; ++i) {
        const auto size = static_cast<qel::uint64>(layout.size[i]);
        if (bytes > std::numeric_limits<qel::uint64>::max() / size) return {};
        bytes *= size;
    }
    return bytes;
}

std::string loadVolume(const std::string& path, qel::VolumeLoader& loader, VolumeHeader& header,
                       LoadProgress& progress) {
    try {
        VolumeFile file(path, loader, progress);
        if (const std::string problem = file.load(); !problem.empty()) return path + ": " + problem;
        header = std::move(file.header);
        header.path = path;
        advanceTo(progress, 1);
        return {};
    } catch (const std::bad_alloc&) {
        return path + ": there is not enough memory for it";
    }
}

} // namespace qelviewer
