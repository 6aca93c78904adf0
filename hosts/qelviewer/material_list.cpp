#include "material_list.h"

#include "value_window.h"

#include <qel/files/directory.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/log/message_stream.h>

#include <algorithm>
#include <filesystem>

namespace qelviewer {

namespace {

namespace fs = std::filesystem;

constexpr const char* kAutomatic = "Automatic";
constexpr qel::uint64 kMostBytes = 1 << 20; // of a file of materials
constexpr double kLargestOfAir = -500;      // values of tomography below are outside of the body

std::string lowerCase(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// Returns the paths of the files in a folder in the order of their names.
std::vector<std::string> filesIn(const fs::path& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().extension() == ".json") paths.push_back(entry->path().string());
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// Returns a material that shows the bright half of the values in grey.
qel::VolumeMaterial automaticMaterial(const Histogram& histogram) {
    const auto lower = static_cast<float>(quantile(histogram, 0.5));
    const double high = quantile(histogram, 0.995);
    const float upper =
        std::max(static_cast<float>(high), lower + static_cast<float>(leastWidth(lower, high)));
    const float middle = lower + (upper - lower) * 0.5f;
    qel::VolumeMaterial material;
    material.setName(kAutomatic);
    material.setColorCurve(
        {{lower, {0.45f, 0.42f, 0.4f}}, {middle, {0.8f, 0.74f, 0.7f}}, {upper, {1, 1, 1}}});
    material.setOpacityCurve({{lower, 0}, {middle, 0.03f}, {upper, 0.2f}});
    return material;
}

bool isTomography(const Study& study) {
    return study.histogram.smallest <= kLargestOfAir && study.histogram.largest > -kLargestOfAir;
}

} // namespace

MaterialList::MaterialList(const std::vector<std::string>& resourceFolders) {
    m_materials.push_back(automaticMaterial({}));
    for (const std::string& folder : resourceFolders)
        for (const std::string& path : filesIn(fs::path(folder) / "materials")) read(path);
}

void MaterialList::read(const std::string& path) {
    std::error_code error;
    qel::Buffer content;
    if (fs::file_size(path, error) > kMostBytes || error ||
        !content.loadFromFile(path.c_str(), true, false)) {
        qel::logging::warning() << "cannot read the materials '" << path.c_str() << "'";
        return;
    }
    const std::string_view bytes = content.getConstByteSpan().asText();
    const auto materials = qel::VolumeMaterial::fromJSON(qel::String(bytes));
    if (materials.empty()) qel::logging::warning() << "no materials in '" << path.c_str() << "'";
    for (const qel::VolumeMaterial& material : materials)
        if (material.isValid()) m_materials.push_back(material);
}

void MaterialList::adaptTo(const Study& study) {
    m_materials.front() = automaticMaterial(study.histogram);
}

qel::String MaterialList::getTitle(size_t index) const {
    const qel::String& name = m_materials[index].getName();
    const std::string key = "viewer-material-" + lowerCase(name);
    return qel::Object::tr(key.c_str(), name.c_str());
}

std::optional<size_t> MaterialList::find(const std::string& name) const {
    for (size_t i = 0; i < m_materials.size(); ++i)
        if (lowerCase(m_materials[i].getName()) == lowerCase(name)) return i;
    return std::nullopt;
}

size_t MaterialList::bestFor(const Study& study) const {
    const char* const filter = study.isSample ? kSampleFilter : isTomography(study) ? "CT" : "";
    for (size_t i = 1; i < m_materials.size(); ++i)
        if (m_materials[i].getModalityFilter() == filter) return i;
    return 0;
}

} // namespace qelviewer
