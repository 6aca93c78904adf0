// TextTable: the texts of a host as resources for translation.
#pragma once

#include <qel/plugins/resource_provider.h>

#include <map>
#include <string>
#include <string_view>

namespace qelwidgets {

/// Serves the texts of one file per language under the names under which the library looks for
/// translations. A file has the key of each text in brackets on a line of its own, followed by the lines of
/// the text.
class TextTable : public qel::ResourceProvider {
    QEL_CLASS(TextTable, qel::ResourceProvider)

public:
    /// Reads the resource "NAME.LANGUAGE.txt". @param name  such as "screens-texts".
    /// @return false if it does not exist.
    bool load(const std::string& name, const std::string& language);
    bool hasResource(qel::SmartCStr name) override { return m_texts.contains(name.c_str()); }
    bool loadResource(qel::SmartCStr name, qel::Buffer& buffer) override;

private:
    void read(std::string_view lines, const std::string& language);

    std::map<std::string, std::string, std::less<>> m_texts; ///< by the name of the resource
};

} // namespace qelwidgets
