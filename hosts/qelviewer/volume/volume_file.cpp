#include <hosts/qelviewer/volume/volume_file.h>

#include <hosts/qelviewer/volume/byte_reader.h>
#include <hosts/qelviewer/volume/nifti_header.h>
#include <hosts/qelviewer/volume/nrrd_header.h>
#include <hosts/qelviewer/volume/voxel_values.h>

#include <qel/volume/volume_loader.h>

#include <algorithm>
#include <cfloat>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

namespace qelviewer {
namespace {

/// The share of the progress after which the voxels are in memory, if they have to be.
constexpr float kReadShare = 0.6f;
/// Bytes that are read between two looks at the progress.
constexpr size_t kPiece = 1 << 20;
constexpr const char* kCancelled = "cancelled";
constexpr const char* kTooShort = "it ends before its last voxel";

/// Returns the start of a file.
std::string readStart(FileReader& file, size_t most) {
    std::string start(static_cast<size_t>(std::min<qel::uint64>(file.size(), most)), '\0');
    start.resize(file.read(reinterpret_cast<qel::uint8*>(start.data()), start.size()));
    return start;
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
    std::string openVoxels();
    std::string openDataFile(std::unique_ptr<FileReader>& file) const;
    std::string loadInPlace();
    std::string loadThroughMemory();
    std::string readVoxels(qel::Buffer& voxels);
    void setScale(double scale, double bias);
    std::string cancelledOr(const char* problem) const {
        return m_progress.isCancelled ? kCancelled : problem;
    }

    const std::string& m_path;
    qel::VolumeLoader& m_loader;
    LoadProgress& m_progress;
    VoxelLayout m_layout;
    qel::uint64 m_bytes = 0;              ///< of all voxels
    std::unique_ptr<ByteReader> m_voxels; ///< at the first voxel
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
    std::string problem = readHeader();
    if (problem.empty()) problem = openVoxels();
    if (!problem.empty()) return problem;
    if (!header.orientation.isUsable()) header.orientation = withoutDirections(header.orientation);
    return m_layout.isForLoader ? loadInPlace() : loadThroughMemory();
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

/// Opens the reader of the voxels and checks the sizes of the header against what there is.
std::string VolumeFile::openVoxels() {
    std::unique_ptr<FileReader> file;
    if (const std::string problem = openDataFile(file); !problem.empty()) return problem;
    const std::optional<qel::uint64> bytes = countBytes(m_layout);
    if (!bytes || *bytes > std::numeric_limits<size_t>::max() / 2) return kTooShort;
    m_bytes = *bytes;
    if (m_layout.isAtEnd && m_bytes > file->size()) return kTooShort;
    file->seek(m_layout.isAtEnd ? file->size() - m_bytes : m_layout.begin);
    m_voxels = std::move(file);
    if (m_layout.isGzip) m_voxels = std::make_unique<GzipReader>(std::move(m_voxels));
    const qel::uint64 most = m_voxels->mostBytes();
    return m_layout.skip > most || m_bytes > most - m_layout.skip ? kTooShort : std::string();
}

std::string VolumeFile::openDataFile(std::unique_ptr<FileReader>& file) const {
    const std::string& name = m_layout.dataFile;
    if (name.empty()) {
        file = std::make_unique<FileReader>(m_path);
        return file->problem();
    }
    // A header must not be able to name any other file of the machine.
    if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos || name == "..")
        return "its data file is not in the same folder";
    if (name == "LIST" || name.find_first_of(" \t%") != std::string::npos)
        return "its voxels are in several files, which is not supported";
    std::string place;
    if (const auto error = qel::platform::resolvePath(place, m_path.c_str())) return error.message();
    file = std::make_unique<FileReader>(place.substr(0, place.rfind('/') + 1) + name,
                                        qel::platform::Links::Keep);
    return file->problem().empty() ? std::string() : "its data file cannot be read: " + file->problem();
}

/// Has the loader read the file, which needs no memory but the texture's.
std::string VolumeFile::loadInPlace() {
    m_voxels.reset();
    const LoaderProgress progress(m_loader, m_progress, 0);
    try {
        if (!m_loader.loadFromNRRD(m_path.c_str())) return cancelledOr("it cannot be loaded");
    } catch (const std::logic_error& error) { // a number that the loader cannot read
        return error.what();
    }
    if (m_loader.getSize() != m_layout.size) return "it changed while it was read";
    setScale(1, 0);
    return {};
}

std::string VolumeFile::loadThroughMemory() {
    qel::Buffer voxels(static_cast<size_t>(m_bytes));
    if (const std::string problem = readVoxels(voxels); !problem.empty()) return problem;
    if (m_layout.isBigEndian) swapBytes(voxels, m_layout.format->bytes);
    qel::FormatID format = m_layout.format->id;
    double scale = 1, bias = 0;
    if (m_layout.format->isFloat) {
        Words words = toWords(voxels, *m_layout.format);
        voxels.free();
        voxels.swap(words.words);
        format = qel::UInt16;
        scale = words.scale;
        bias = words.bias;
    }
    const LoaderProgress progress(m_loader, m_progress, kReadShare);
    const Orientation& place = header.orientation;
    const qel::Float3x3 directions(qel::IVec3<float>(place.axis[0]), qel::IVec3<float>(place.axis[1]),
                                   qel::IVec3<float>(place.axis[2]));
    if (!m_loader.loadFromVoxels(format, m_layout.size, directions, qel::IVec3<float>(place.origin), voxels))
        return cancelledOr("it cannot be loaded");
    setScale(scale, bias);
    return {};
}

std::string VolumeFile::readVoxels(qel::Buffer& voxels) {
    const auto failure = [this] { return m_voxels->problem().empty() ? kTooShort : m_voxels->problem(); };
    if (!m_voxels->skip(m_layout.skip)) return failure();
    for (size_t done = 0; done < voxels.getSize();) {
        if (m_progress.isCancelled) return kCancelled;
        const size_t piece = std::min(kPiece, voxels.getSize() - done);
        if (m_voxels->read(voxels.getBytePointer() + done, piece) != piece) return failure();
        done += piece;
        advanceTo(m_progress, kReadShare * static_cast<float>(done) / static_cast<float>(voxels.getSize()));
    }
    const bool isGood = m_voxels->verifyEnd();
    const std::string problem = m_voxels->problem();
    m_voxels.reset();
    return isGood ? std::string() : problem;
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
