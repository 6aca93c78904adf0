#include "readout.h"

#include "numbers.h"

#include <qel/foundation/base/object.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string_view>

namespace qelviewer {

namespace {

using qel::Object;

constexpr const char* kSides[3][2] = {{"L", "R"}, {"P", "A"}, {"S", "I"}};
constexpr const char* kAxes[3] = {"x", "y", "z"};
constexpr const char* kPlaneKeys[] = {"viewer-plane-axial", "viewer-plane-coronal", "viewer-plane-sagittal"};

constexpr size_t kMostRows = 64;   // of the lines in a file
constexpr size_t kMostBytes = 200; // of a text from a file

/// Returns a text from a file in a form that can be shown.
std::string shownText(const std::string& text) {
    const std::string beginning = text.substr(0, kMostBytes);
    return qel::String(beginning).utf8_fix() + (text.size() > kMostBytes ? "…" : "");
}

std::string sizeText(const qel::IVec3<int>& size) {
    return std::to_string(size.x) + " × " + std::to_string(size.y) + " × " + std::to_string(size.z);
}

std::string spacingText(const Orientation& orientation) {
    std::string text;
    for (int i = 0; i < 3; ++i) text += (i > 0 ? " × " : "") + formatShort(orientation.spacing(i), 3);
    return text + " mm";
}

/// Returns the translation of the words before a name in quotation marks, and the name. Other texts, such as
/// the paths of files, stay as they are.
std::string translatedPart(const std::string& part) {
    constexpr const char* kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 ,-";
    const size_t end = std::min(part.find(" '"), part.size());
    const std::string words = part.substr(0, end);
    if (words.find_first_not_of(kLetters) != words.npos) return part;
    return Object::tr(("viewer-problem-" + words).c_str(), words.c_str()) + part.substr(end);
}

} // namespace

std::string problemText(const std::string& problem) {
    constexpr std::string_view kBetween = ": ";
    std::string text;
    for (size_t begin = 0; begin <= problem.size();) {
        const size_t end = std::min(problem.find(kBetween, begin), problem.size());
        text += (begin > 0 ? ": " : "") + translatedPart(problem.substr(begin, end - begin));
        begin = end + kBetween.size();
    }
    return text;
}

std::string positionText(const Orientation& orientation, const qel::IVec3<double>& voxel) {
    const qel::IVec3<double> position = orientation.positionOf(voxel);
    const int digits = millimetreDigits(orientation);
    std::string text;
    for (int i = 0; i < 3; ++i) {
        const bool isPatient = orientation.isPatient;
        const char* const name = isPatient ? kSides[i][position[i] < 0] : kAxes[i];
        const double value = isPatient ? std::abs(position[i]) : position[i];
        text += std::string(name) + " " + formatNumber(value, digits) + "  ";
    }
    return text.substr(0, text.size() - 1) + "mm";
}

std::string voxelText(const Study& study, const qel::IVec3<double>& voxel) {
    const double value = study.valueAt(voxel);
    if (std::isnan(value)) return {};
    std::string indices;
    for (int i = 0; i < 3; ++i) indices += (i > 0 ? ", " : "") + formatNumber(std::floor(voxel[i] + 0.5), 0);
    return std::string(Object::tr("viewer-value")) + " " + formatShort(value, 3) + "   " +
           positionText(study.header.orientation, voxel) + "   (" + indices + ")";
}

std::vector<std::pair<std::string, std::string>> headerRows(const Study& study) {
    const VolumeHeader& header = study.header;
    std::vector<std::pair<std::string, std::string>> rows{
        {Object::tr("viewer-header-file"), shownText(std::filesystem::path(header.path).filename().string())},
        {Object::tr("viewer-header-format"), header.format},
        {Object::tr("viewer-header-size"), sizeText(header.size)},
        {Object::tr("viewer-header-spacing"), spacingText(header.orientation)},
        {Object::tr("viewer-header-type"), header.voxelType},
        {Object::tr("viewer-header-range"),
         formatShort(study.histogram.smallest, 3) + " … " + formatShort(study.histogram.largest, 3)},
        {Object::tr("viewer-header-patient"),
         Object::tr(header.orientation.isPatient ? "viewer-known" : "viewer-unknown")}};
    for (size_t i = 0; i < std::min(header.lines.size(), kMostRows); ++i)
        rows.emplace_back(shownText(header.lines[i].first), shownText(header.lines[i].second));
    return rows;
}

std::vector<std::pair<std::string, std::string>> measurementRows(const ViewState& state) {
    std::vector<std::pair<std::string, std::string>> rows;
    for (const Measurement& measurement : state.measurements) {
        const auto plane = static_cast<size_t>(measurement.plane);
        rows.emplace_back(std::string(Object::tr(kPlaneKeys[plane])) + " " +
                              std::to_string(measurement.slice + 1),
                          measurement.getText(state.study->header.orientation));
    }
    if (rows.empty()) rows.emplace_back(Object::tr("viewer-measure-none"), "");
    return rows;
}

} // namespace qelviewer
