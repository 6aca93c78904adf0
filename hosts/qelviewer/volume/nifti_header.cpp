#include <hosts/qelviewer/volume/nifti_header.h>

#include <hosts/qelviewer/volume/header_text.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

namespace qelviewer {
namespace {

/// Positions in the header.
enum Position : size_t {
    kSizeOfHeader = 0,
    kDim = 40,
    kDatatype = 70,
    kPixdim = 76,
    kVoxOffset = 108,
    kSlope = 112,
    kIntercept = 116,
    kXyztUnits = 123,
    kDescription = 148,
    kQformCode = 252,
    kSformCode = 254,
    kQuaternion = 256,
    kQoffset = 268,
    kSrow = 280,
    kIntentName = 328,
    kMagic = 344
};

/// The smallest position of voxels: after the header and four bytes that announce extensions.
constexpr double kFirstVoxel = 352;

/// Returns the number of a type that is not supported, and what it means if it is known.
std::string unsupportedType(int number) {
    constexpr std::pair<int, const char*> kNames[] = {{1, "bits"},
                                                      {32, "complex numbers"},
                                                      {128, "colours"},
                                                      {1536, "128-bit numbers"},
                                                      {1792, "complex numbers"},
                                                      {2048, "complex numbers"},
                                                      {2304, "colours"}};
    const auto* const known = std::find_if(std::begin(kNames), std::end(kNames),
                                           [&](const auto& name) { return name.first == number; });
    const std::string text = "number " + std::to_string(number);
    return known != std::end(kNames) ? text + ", " + known->second : text;
}

/// Reads one header.
class NiftiReader {
public:
    NiftiReader(const NiftiHeaderBytes& bytes, VolumeHeader& header, VoxelLayout& layout)
        : m_bytes(bytes), m_header(header), m_layout(layout) {}

    std::string read();

private:
    std::string readMagic();
    std::string readShape();
    std::string readPlace();
    void readScale();
    bool setSform();
    bool setQform();
    void setSpacings();
    void addLines();

    template <typename Number>
    Number at(size_t position) const {
        std::array<qel::uint8, sizeof(Number)> raw;
        std::memcpy(raw.data(), m_bytes.data() + position, sizeof(Number));
        if (m_layout.isBigEndian != (std::endian::native == std::endian::big))
            std::reverse(raw.begin(), raw.end());
        return std::bit_cast<Number>(raw);
    }
    int integer(size_t position) const { return at<qel::int16>(position); }
    double real(size_t position) const { return at<float>(position); }
    /// Returns a text that may end with a zero byte.
    std::string_view text(size_t position, size_t most) const {
        const std::string_view all(reinterpret_cast<const char*>(m_bytes.data()) + position, most);
        return all.substr(0, all.find('\0'));
    }
    /// Returns the millimetres of the unit of length.
    double unit() const {
        constexpr double kUnits[] = {1, 1000, 1, 0.001, 1, 1, 1, 1}; // unknown, m, mm, um
        return kUnits[m_bytes[kXyztUnits] & 7];
    }
    /// Sets an axis, or the origin for 3, from the coordinates of the file, which point to the right, the
    /// front and the head.
    void setColumn(int column, double x, double y, double z);

    const NiftiHeaderBytes& m_bytes;
    VolumeHeader& m_header;
    VoxelLayout& m_layout;
};

std::string NiftiReader::read() {
    std::string problem = readMagic();
    if (problem.empty()) problem = readShape();
    if (problem.empty()) problem = readPlace();
    if (!problem.empty()) return problem;
    readScale();
    if (!setSform() && !setQform()) setSpacings();
    addLines();
    return {};
}

std::string NiftiReader::readMagic() {
    constexpr qel::int32 kNifti2 = 540;
    const auto isSize = [this](qel::int32 size, bool isBigEndian) {
        m_layout.isBigEndian = isBigEndian;
        return at<qel::int32>(kSizeOfHeader) == size;
    };
    if (isSize(kNifti2, false) || isSize(kNifti2, true))
        return "it is a NIfTI-2 file, which is not supported";
    if (!isSize(kNiftiHeaderBytes, false) && !isSize(kNiftiHeaderBytes, true))
        return "it is neither an NRRD nor a NIfTI-1 file";
    const std::string_view magic = text(kMagic, 4);
    if (magic == "n+1") return {};
    return magic == "ni1" ? "its voxels are in another file, which is not supported"
                          : "it is neither an NRRD nor a NIfTI-1 file";
}

std::string NiftiReader::readShape() {
    const int number = integer(kDatatype), dimensions = integer(kDim);
    m_layout.format = niftiFormat(number);
    if (m_layout.format == nullptr)
        return "its voxels are of a type that is not supported: " + unsupportedType(number);
    m_header.voxelType = m_layout.format->name;
    if (dimensions < 1 || dimensions > 7) return "its number of dimensions cannot be read";
    for (int i = 0; i < 3; ++i) {
        const int size = i < dimensions ? integer(kDim + 2 * (static_cast<size_t>(i) + 1)) : 1;
        if (size < 1) return "its sizes cannot be read";
        m_layout.size[i] = size;
    }
    m_header.size = m_layout.size;
    return {};
}

std::string NiftiReader::readPlace() {
    const double offset = real(kVoxOffset);
    constexpr double kLargest = 9e15; // up to which double has all whole numbers
    if (!(offset <= kLargest) || offset != std::floor(offset))
        return "the position of its voxels cannot be read";
    m_layout.skip = static_cast<qel::uint64>(std::max(offset, kFirstVoxel));
    return {};
}

void NiftiReader::readScale() {
    const double slope = real(kSlope), intercept = real(kIntercept);
    if (slope == 0 || !std::isfinite(slope) || !std::isfinite(intercept))
        return; // the numbers are the values
    m_layout.slope = slope;
    m_layout.intercept = intercept;
}

void NiftiReader::setColumn(int column, double x, double y, double z) {
    const qel::IVec3<double> vector(-x * unit(), -y * unit(), z * unit());
    (column < 3 ? m_header.orientation.axis[column] : m_header.orientation.origin) = vector;
}

bool NiftiReader::setSform() {
    if (integer(kSformCode) <= 0) return false;
    for (int column = 0; column < 4; ++column) {
        const size_t place = kSrow + 4 * static_cast<size_t>(column);
        setColumn(column, real(place), real(place + 16), real(place + 32));
    }
    m_header.orientation.isPatient = true;
    return m_header.orientation.isUsable();
}

/// Reads a rotation as a quaternion (a, b, c, d), of which a is left out because it is not negative and the
/// length is 1.
bool NiftiReader::setQform() {
    if (integer(kQformCode) <= 0) return false;
    double b = real(kQuaternion), c = real(kQuaternion + 4), d = real(kQuaternion + 8);
    const double rest = 1 - (b * b + c * c + d * d);
    if (rest < 0) { // by rounding
        const double factor = 1 / std::sqrt(1 - rest);
        b *= factor, c *= factor, d *= factor;
    }
    const double a = rest > 0 ? std::sqrt(rest) : 0;
    const double sx = std::abs(real(kPixdim + 4)), sy = std::abs(real(kPixdim + 8));
    const double sz = std::abs(real(kPixdim + 12)) * (real(kPixdim) < 0 ? -1 : 1);
    setColumn(0, (a * a + b * b - c * c - d * d) * sx, 2 * (b * c + a * d) * sx, 2 * (b * d - a * c) * sx);
    setColumn(1, 2 * (b * c - a * d) * sy, (a * a + c * c - b * b - d * d) * sy, 2 * (c * d + a * b) * sy);
    setColumn(2, 2 * (b * d + a * c) * sz, 2 * (c * d - a * b) * sz, (a * a + d * d - b * b - c * c) * sz);
    setColumn(3, real(kQoffset), real(kQoffset + 4), real(kQoffset + 8));
    m_header.orientation.isPatient = true;
    return m_header.orientation.isUsable();
}

void NiftiReader::setSpacings() {
    m_header.orientation = {};
    for (int i = 0; i < 3; ++i) {
        const double spacing = std::abs(real(kPixdim + 4 * (static_cast<size_t>(i) + 1))) * unit();
        if (spacing > 0 && std::isfinite(spacing)) m_header.orientation.axis[i][i] = spacing;
    }
}

void NiftiReader::addLines() {
    const auto add = [this](const char* name, const std::string& value) {
        if (!value.empty()) m_header.lines.emplace_back(name, value);
    };
    const auto reals = [this](size_t position, size_t count) {
        std::string list;
        for (size_t i = 0; i < count; ++i)
            list += (i > 0 ? " " : "") + numberText(at<float>(position + 4 * i));
        return list;
    };
    std::string dimensions;
    for (int i = 1; i <= integer(kDim); ++i)
        dimensions += (i > 1 ? " " : "") + std::to_string(integer(kDim + 2 * static_cast<size_t>(i)));
    add("dim", dimensions);
    add("datatype", std::to_string(integer(kDatatype)) + " (" + m_header.voxelType + ")");
    add("byte order", m_layout.isBigEndian ? "big" : "little");
    add("pixdim", reals(kPixdim, 1 + static_cast<size_t>(integer(kDim))));
    add("xyzt_units", std::to_string(m_bytes[kXyztUnits]));
    add("vox_offset", reals(kVoxOffset, 1));
    add("scl_slope", reals(kSlope, 1));
    add("scl_inter", reals(kIntercept, 1));
    add("descrip", displayText(text(kDescription, 80)));
    add("intent_name", displayText(text(kIntentName, 16)));
    add("qform_code", std::to_string(integer(kQformCode)));
    add("quatern_bcd", reals(kQuaternion, 3));
    add("qoffset", reals(kQoffset, 3));
    add("sform_code", std::to_string(integer(kSformCode)));
    add("srow_x", reals(kSrow, 4));
    add("srow_y", reals(kSrow + 16, 4));
    add("srow_z", reals(kSrow + 32, 4));
}

} // namespace

std::string readNiftiHeader(const NiftiHeaderBytes& bytes, VolumeHeader& header, VoxelLayout& layout) {
    return NiftiReader(bytes, header, layout).read();
}

} // namespace qelviewer
