#include <hosts/qelviewer/volume/nrrd_header.h>

#include <hosts/qelviewer/volume/header_text.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <map>

namespace qelviewer {
namespace {

constexpr std::string_view kMagic = "NRRD000";
constexpr size_t kMostLines = 10'000;

/// Turns patient coordinates of a file into ours, which point to the left, the back and the head.
struct Space {
    std::string_view name;
    std::string_view shortName;
    qel::IVec3<double> sign;
};

constexpr Space kPatientSpaces[] = {
    {"left-posterior-superior", "lps", {1, 1, 1}},
    {"right-anterior-superior", "ras", {-1, -1, 1}},
    {"left-anterior-superior", "las", {1, -1, 1}},
};

/// Returns the key of a field in the form in which it is looked up.
std::string canonicalKey(std::string_view key) {
    const std::string lower = lowerCase(trimmed(key));
    if (lower == "datafile") return "data file";
    if (lower == "byteskip") return "byte skip";
    if (lower == "lineskip") return "line skip";
    return lower;
}

/// Reads one header.
class NrrdReader {
public:
    NrrdReader(VolumeHeader& header, VoxelLayout& layout) : m_header(header), m_layout(layout) {}

    std::string read(std::string_view start);

private:
    std::string readLines(std::string_view start);
    std::string readLine(std::string_view line);
    std::string readShape();
    std::string readEncoding();
    std::string readPlace();
    std::string readOrientation();
    std::string readDirections(const std::string& text, const qel::IVec3<double>& factor);
    std::string readSpacings();
    qel::IVec3<double> spaceFactor();

    bool has(const char* key) const { return m_fields.contains(key); }
    /// Returns the value of a field; empty without one.
    std::string field(const char* key) const {
        const auto found = m_fields.find(key);
        return found != m_fields.end() ? found->second : std::string();
    }

    VolumeHeader& m_header;
    VoxelLayout& m_layout;
    std::map<std::string, std::string> m_fields;
};

std::string NrrdReader::read(std::string_view start) {
    std::string problem = readLines(start);
    if (problem.empty()) problem = readShape();
    if (problem.empty()) problem = readEncoding();
    if (problem.empty()) problem = readPlace();
    if (problem.empty()) problem = readOrientation();
    return problem;
}

/// Reads up to the empty line, after which the voxels begin, or up to the end of the file.
std::string NrrdReader::readLines(std::string_view start) {
    size_t position = 0;
    for (size_t lines = 0; position < start.size(); ++lines) {
        const size_t end = start.find('\n', position);
        if (end == std::string_view::npos && start.size() >= kLongestNrrdHeader)
            return "its header is longer than 1 MiB";
        if (lines == kMostLines) return "its header has more than 10,000 lines";
        std::string_view line = start.substr(position, end - position);
        position = end == std::string_view::npos ? start.size() : end + 1;
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (line.empty()) break;
        const std::string problem = lines > 0 ? readLine(line) : std::string();
        if (!problem.empty()) return problem;
    }
    m_layout.begin = position;
    return {};
}

/// Reads "field: value", "key:=value" or a comment.
std::string NrrdReader::readLine(std::string_view line) {
    if (line.starts_with('#')) return {};
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return "its header has a line without a colon: " + displayText(line);
    const std::string_view key = line.substr(0, colon);
    std::string_view value = line.substr(colon + 1);
    const bool isPair = value.starts_with('=');
    if (isPair) value.remove_prefix(1);
    m_header.lines.emplace_back(displayText(key), displayText(value));
    if (isPair) return {};
    m_fields[canonicalKey(key)] = trimmed(value);
    return {};
}

std::string NrrdReader::readShape() {
    m_layout.format = nrrdFormat(lowerCase(field("type")));
    if (m_layout.format == nullptr)
        return "its voxels are of a type that is not supported: " + displayText(field("type"));
    m_header.voxelType = m_layout.format->name;
    if (has("dimension") && field("dimension") != "3") return "it does not have 3 dimensions";
    const std::string sizes = field("sizes");
    const auto numbers = words(sizes);
    if (numbers.size() != 3) return "its sizes cannot be read";
    for (int i = 0; i < 3; ++i) {
        const auto size = wholeNumber(numbers[static_cast<size_t>(i)]);
        if (!size || *size < 1 || *size > std::numeric_limits<int>::max()) return "its sizes cannot be read";
        m_layout.size[i] = static_cast<int>(*size);
    }
    m_header.size = m_layout.size;
    return {};
}

std::string NrrdReader::readEncoding() {
    const std::string encoding = lowerCase(field("encoding"));
    m_layout.isGzip = encoding == "gzip" || encoding == "gz";
    if (!m_layout.isGzip && encoding != "raw" && !encoding.empty())
        return "its voxels have an encoding that is not supported: " + displayText(encoding);
    const std::string endian = lowerCase(field("endian"));
    if (!endian.empty() && endian != "little" && endian != "big") return "its byte order cannot be read";
    m_layout.isBigEndian = endian == "big";
    return {};
}

std::string NrrdReader::readPlace() {
    if (has("line skip") && field("line skip") != "0")
        return "it has lines before its voxels, which is not supported";
    if (has("data file")) {
        m_layout.dataFile = field("data file");
        m_layout.begin = 0;
    }
    if (!has("byte skip")) return {};
    const auto skip = wholeNumber(field("byte skip"));
    if (!skip || *skip < -1 || (*skip == -1 && m_layout.isGzip)) return "its byte skip cannot be read";
    m_layout.isAtEnd = *skip == -1;
    if (!m_layout.isAtEnd) m_layout.skip = static_cast<qel::uint64>(*skip);
    return {};
}

/// Returns the factors of the components of vectors, which contain the unit and direction of each axis.
qel::IVec3<double> NrrdReader::spaceFactor() {
    const std::string space = lowerCase(field("space"));
    const auto* const known =
        std::find_if(std::begin(kPatientSpaces), std::end(kPatientSpaces), [&](const Space& candidate) {
            return candidate.name == space || candidate.shortName == space;
        });
    m_header.orientation.isPatient = known != std::end(kPatientSpaces);
    qel::IVec3<double> factor(1, 1, 1);
    if (m_header.orientation.isPatient) factor = known->sign;
    const std::string units = field("space units");
    const auto names = quotedTexts(units);
    for (int i = 0; i < 3 && names.size() == 3; ++i) factor[i] *= millimetres(names[static_cast<size_t>(i)]);
    return factor;
}

std::string NrrdReader::readOrientation() {
    const qel::IVec3<double> factor = spaceFactor();
    std::string problem =
        has("space directions") ? readDirections(field("space directions"), factor) : readSpacings();
    if (!problem.empty() || !has("space origin")) return problem;
    const auto origin = vectors(field("space origin"), 1);
    if (!origin) return "its space origin cannot be read";
    for (int i = 0; i < 3; ++i) m_header.orientation.origin[i] = origin->front()[i] * factor[i];
    return {};
}

std::string NrrdReader::readDirections(const std::string& text, const qel::IVec3<double>& factor) {
    const auto directions = vectors(text, 3);
    if (!directions) return "its space directions cannot be read";
    for (int i = 0; i < 3; ++i)
        for (int c = 0; c < 3; ++c)
            m_header.orientation.axis[i][c] = (*directions)[static_cast<size_t>(i)][c] * factor[c];
    return {};
}

/// Reads the distances of voxels of a file that does not state their directions.
std::string NrrdReader::readSpacings() {
    m_header.orientation.isPatient = false;
    const std::string text = field("spacings"), units = field("units");
    const auto numbers = words(text);
    const auto names = quotedTexts(units);
    if (numbers.empty()) return {};
    if (numbers.size() != 3) return "its spacings cannot be read";
    for (int i = 0; i < 3; ++i) {
        const auto index = static_cast<size_t>(i);
        const auto spacing = realNumber(numbers[index]);
        if (!spacing) return "its spacings cannot be read";
        const double unit = names.size() == 3 ? millimetres(names[index]) : 1;
        if (std::isfinite(*spacing) && *spacing != 0) // "nan" is an unknown spacing
            m_header.orientation.axis[i][i] = std::abs(*spacing) * unit;
    }
    return {};
}

} // namespace

bool isNrrd(std::string_view start) {
    if (!start.starts_with(kMagic) || start.size() < kMagic.size() + 2) return false;
    const char version = start[kMagic.size()], next = start[kMagic.size() + 1];
    return version >= '1' && version <= '5' && (next == '\n' || next == '\r');
}

std::string readNrrdHeader(std::string_view start, VolumeHeader& header, VoxelLayout& layout) {
    return NrrdReader(header, layout).read(start);
}

} // namespace qelviewer
