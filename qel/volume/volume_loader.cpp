#include <qel/volume/volume_loader.h>

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_3d.h>
#include <qel/render/renderer_software.h>
#include <qel/volume/header_lines_p.h>
#include <qel/volume/header_numbers_p.h>
#include <qel/volume/voxel_transfer_p.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>
#include <optional>

namespace qel {
namespace {

constexpr size_t kLongestFirstLine = 4 << 10;
constexpr size_t kLongestLine = 1 << 20;
/// More voxels than any memory can hold; their size in bytes fits 64 bits.
constexpr uint64 kMostVoxels = uint64{1} << 56;

/// The known keys, in the order of their numbers.
enum Property : int { kType, kDimension, kSizes, kSpaceDirections, kSpaceOrigin };
constexpr const char* kKeys[] = {"type", "dimension", "sizes", "space directions", "space origin"};

constexpr const char* kMagicLines[] = {"NRRD0001", "NRRD0002", "NRRD0003", "NRRD0004", "NRRD0005"};

/// Returns the number of voxels; nothing if it exceeds kMostVoxels.
std::optional<uint64> countVoxels(const IVec3<int>& size) {
    uint64 count = 1;
    for (int axis = 0; axis < 3; ++axis) {
        if (size[axis] <= 0) return 0;
    }
    for (int axis = 0; axis < 3; ++axis) {
        const auto length = static_cast<uint64>(size[axis]);
        if (count > kMostVoxels / length) return {};
        count *= length;
    }
    return count;
}

/// Opens a plain file and reads its size. @return false for everything else.
bool openVolume(platform::FileHandle& file, uint64& size, const char* path) {
    platform::FileStatus status;
    if (platform::openFile(file, path, platform::OpenMode::Read) || platform::readStatus(status, file))
        return false;
    size = status.size;
    return status.kind == platform::FileKind::File;
}

/// Returns the text before the first '#'.
String withoutComment(const String& line) {
    return line.substr(0, line.find('#'));
}

void reportNoMemory(uint64 voxels) {
    logging::error() << "not enough memory for a volume of " << voxels << " voxels";
}

/// Uploads zeros with a cuboid of 65535, which extends from a tenth to a third of each side.
void uploadCuboid(VolumeTexture& texture, FormatID format, const IVec3<int>& size) {
    const auto image = makeObject<Image>(format, IVec2<int>(size.x, size.y));
    if (!image->isInitialized()) throw std::bad_alloc();
    const auto software = makeObject<RendererSoftware>();
    software->setRenderTarget(image.get());
    const IVec2<int> leftTop(size.x / 10, size.y / 10);
    const IVec2<int> rightBottom(size.x / 3, size.y / 3);
    const Rect cuboid{IVec2<float>(leftTop), IVec2<float>(rightBottom)};
    for (int z = 0; z < size.z; ++z) {
        software->start();
        software->clear({0, 0, 0, 1});
        if (z >= size.z / 10 && z <= size.z / 3) software->drawRectInternal(cuboid);
        software->stop();
        texture.uploadData(z, *image);
    }
}

} // namespace

VolumeLoader::VolumeLoader(Renderer3D* renderer) : m_renderer(renderer) {}

VolumeLoader::~VolumeLoader() = default;

bool VolumeLoader::loadFromNRRD(const char* path) {
    const SmartCStr name(path);
    platform::FileHandle file;
    uint64 fileSize = 0;
    if (!openVolume(file, fileSize, name)) {
        logging::error() << "Failed to open volume: " << name;
        return false;
    }
    m_spaceDirections = {};
    m_origin = {};
    internal::HeaderLines lines(file);
    const HeaderEnd end = readHeader(lines);
    if (lines.error()) {
        logging::error() << "cant read header of volume: " << name << "; " << lines.error().message();
        return false;
    }
    if (end == HeaderEnd::NotNrrd) return false;

    const internal::VoxelType* const type = internal::findVoxelType(m_sourceFormat);
    const uint64 available = fileSize - std::min(fileSize, lines.position());
    const std::optional<uint64> voxels = countVoxels(m_size);
    // Voxels of other types are not read; no type is shorter than a byte.
    const uint64 needed = voxels.value_or(0) * (type != nullptr ? type->bytes : 1);
    if (end == HeaderEnd::LineTooLong || !voxels || needed > available + kMaxMissingBytes) {
        logging::error() << "nrrd sizes exceed the file: " << name;
        return false;
    }
    const uint64 used = type != nullptr ? std::min(needed, available) : 0;
    internal::FileVoxelSource source(file, lines.position(), used);
    const bool isLoaded = load(type, source, *voxels);
    if (!source.problem().empty())
        logging::error() << "cant read all of volume: " << name << "; " << source.problem();
    if (!isLoaded) return false;
    if (used < available) logging::warning() << "nrrd has unused trailing bytes: " << available - used;
    logging::info() << "nrrd Reader complete";
    return true;
}

VolumeLoader::HeaderEnd VolumeLoader::readHeader(internal::HeaderLines& lines) {
    using Result = internal::HeaderLines::Result;
    String line;
    if (lines.next(line, kLongestFirstLine) != Result::Line) return HeaderEnd::NotNrrd;
    const auto magic = std::find(std::begin(kMagicLines), std::end(kMagicLines), withoutComment(line));
    if (magic == std::end(kMagicLines)) return HeaderEnd::NotNrrd;
    for (;;) {
        const Result result = lines.next(line, kLongestLine);
        if (result == Result::TooLong) return HeaderEnd::LineTooLong;
        if (result == Result::End) return HeaderEnd::Data;
        const String text = withoutComment(line);
        if (text.contains(':'))
            readProperty(text);
        else if (text.size() == line.size()) // only a line without a comment ends the header
            return HeaderEnd::Data;
    }
}

void VolumeLoader::readProperty(const String& line) {
    const size_t colon = line.find(':');
    const auto key = std::find(std::begin(kKeys), std::end(kKeys), line.substr(0, colon));
    if (key == std::end(kKeys)) return;
    const String value = line.substr(colon + 1);
    const size_t space = value.find(' ');
    setProperty(static_cast<int>(key - std::begin(kKeys)),
                space == String::npos ? value : value.substr(space + 1));
}

bool VolumeLoader::setProperty(int id, const String& value) {
    switch (id) {
    case kType:
        if (value == "short") m_sourceFormat = Int16;
        return true;
    case kDimension:
        return internal::toInteger(value) == 3;
    case kSizes:
        return setSizes(value);
    case kSpaceDirections: {
        const Vector<String> vectors = internal::splitAtSpaces(value, internal::Parentheses::Group);
        for (size_t i = 0; i < std::min<size_t>(vectors.size(), 3); ++i)
            internal::readVector(vectors[i], m_spaceDirections[static_cast<int>(i)]);
        return true;
    }
    case kSpaceOrigin:
        internal::readVector(value.trim_spaces(), m_origin);
        return true;
    default:
        return false;
    }
}

bool VolumeLoader::setSizes(const String& value) {
    const Vector<String> numbers = internal::splitAtSpaces(value, internal::Parentheses::Ignore);
    if (numbers.size() != 3) return false;
    for (int axis = 0; axis < 3; ++axis)
        m_size[axis] = internal::toInteger(numbers[static_cast<size_t>(axis)]);
    return true;
}

bool VolumeLoader::loadFromVoxels(FormatID format, const IVec3<int>& size, const Float3x3& directions,
                                  const IVec3<float>& origin, const Buffer& voxels) {
    internal::MemoryVoxelSource source(voxels.getConstByteSpan());
    return loadAny(format, size, directions, origin, source, voxels.getSize());
}

bool VolumeLoader::loadFromReader(FormatID format, const IVec3<int>& size, const Float3x3& directions,
                                  const IVec3<float>& origin, const ReadVoxels& read) {
    internal::FunctionVoxelSource source(read);
    return loadAny(format, size, directions, origin, source, std::numeric_limits<uint64>::max());
}

/// Loads voxels of a source that has @p bytes.
bool VolumeLoader::loadAny(FormatID format, const IVec3<int>& size, const Float3x3& directions,
                           const IVec3<float>& origin, internal::VoxelSource& source, uint64 bytes) {
    const internal::VoxelType* const type = internal::findVoxelType(format);
    const std::optional<uint64> count = countVoxels(size);
    if (type == nullptr || !count || *count > bytes / type->bytes) return false;
    m_spaceDirections = directions;
    m_origin = origin;
    m_size = size;
    m_sourceFormat = format;
    return load(type, source, *count);
}

/// Loads zeros, without a scale and bias, if @p type is null.
bool VolumeLoader::load(const internal::VoxelType* type, internal::VoxelSource& source, uint64 voxels) {
    const internal::VoxelType& stored = type != nullptr ? *type : *internal::findVoxelType(UInt16);
    const IVec3<int> size = voxels != 0 ? m_size : IVec3<int>();
    try {
        const SmartPointer<VolumeTexture> texture = createTexture();
        if (!texture) return false;
        texture->initialize(m_targetFormat, size); // before all voxels are read, as memory may not suffice
        internal::VoxelTransfer transfer(stored, source, size, m_progress);
        const internal::VoxelScale scale(transfer.measure());
        if (transfer.isEnded()) return false;
        transfer.upload(*texture, scale);
        if (transfer.isEnded()) return false;
        if (type != nullptr) m_scaleBias = scale.toFloat();
        m_scalarTexture = texture;
        return true;
    } catch (const std::bad_alloc&) {
        reportNoMemory(voxels);
        return false;
    }
}

SmartPointer<VolumeTexture> VolumeLoader::createTexture() {
    SmartPointer<VolumeTexture> texture;
    if (m_renderer != nullptr) texture = m_renderer->createVolumeTexture();
    if (!texture) logging::error() << "no renderer for a volume";
    return texture;
}

void VolumeLoader::generateTestImage(const IVec3<int>& size) {
    m_spaceDirections = {};
    m_origin = {};
    m_size = size;
    const std::optional<uint64> voxels = countVoxels(size);
    if (!voxels) {
        logging::error() << "too many voxels for a test image";
        return;
    }
    try {
        const SmartPointer<VolumeTexture> texture = createTexture();
        if (!texture) return;
        texture->initialize(m_targetFormat, size);
        if (*voxels != 0) uploadCuboid(*texture, m_targetFormat, size);
        m_scalarTexture = texture;
    } catch (const std::bad_alloc&) {
        reportNoMemory(*voxels);
    }
}

} // namespace qel
