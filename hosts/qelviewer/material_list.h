// MaterialList: the materials with which a volume can be shown.
#pragma once

#include "study.h"

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/volume/volume_material.h>

#include <optional>
#include <string>
#include <vector>

namespace qelviewer {

/// The materials in files, and one that is made for the values of each volume.
class MaterialList {
public:
    /// The modality filter of materials for the sample volume.
    static constexpr const char* kSampleFilter = "sample";

    /// Reads the materials in all files "*.json" of the folders "materials" in @p resourceFolders, in the
    /// order of their names. Unreadable files are left out and logged.
    explicit MaterialList(const std::vector<std::string>& resourceFolders);

    /// Makes the first material for the values of a volume.
    void adaptTo(const Study& study);
    /// Returns the number of materials.
    size_t size() const { return m_materials.size(); }
    /// Returns a material.
    qel::VolumeMaterial& operator[](size_t index) { return m_materials[index]; }
    /// Returns the translated name of a material.
    qel::String getTitle(size_t index) const;
    /// Returns the index of the material with a name, in any case of its ASCII letters.
    std::optional<size_t> find(const std::string& name) const;
    /// Returns the index of the material that suits a volume.
    size_t bestFor(const Study& study) const;

private:
    void read(const std::string& path);

    std::vector<qel::VolumeMaterial> m_materials;
};

} // namespace qelviewer
