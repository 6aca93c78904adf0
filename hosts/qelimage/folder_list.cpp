#include "folder_list.h"

#include "output.h"

#include <hosts/shared/file_replacement.h>

#include <qel/files/directory.h>
#include <qel/platform/system_error.h>

#include <algorithm>

namespace qelimage {

namespace {

using qel::File;
using qel::String;

/// Recognises the pages of earlier sheets by their names.
class PageNames {
public:
    /// @param output  the path of the first page.
    explicit PageNames(const std::string& output)
        : m_first(File::getFilenameFromPath(output)),
          m_stem(File::stripExtensionFromPath(m_first) + "-"),
          m_ending("." + File::getExtensionFromPath(output)) {}

    bool contains(const String& name) const {
        if (name == m_first) return true;
        if (!name.begins_with(m_stem) || !name.ends_with(m_ending)) return false;
        const size_t length = name.size() - std::min(name.size(), m_stem.size() + m_ending.size());
        const std::string number = name.substr(m_stem.size(), length);
        const bool isNumber = !number.empty() && number.find_first_not_of("0123456789") == number.npos;
        return isNumber && number.front() != '0' && number != "1"; // pages are counted from 2
    }

private:
    String m_first;
    String m_stem;
    String m_ending;
};

bool comesFirst(const std::string& a, const std::string& b) {
    const int order = String::natural_compare(a.c_str(), b.c_str());
    return order != 0 ? order < 0 : a < b;
}

} // namespace

FolderList listFolder(const std::string& folder, const std::string& output) {
    FolderList list;
    qel::Directory directory;
    directory.open(folder);
    list.folder = directory.getPathWithSlash();
    const bool mayHoldPages =
        output != "-" && qelhosts::isSameFile(folder, File::stripFilenameFromPath(output));
    const PageNames pages(output);
    File::FileInfo info;
    while (directory.read(info)) {
        const bool isLeftOut = info.isDirectory || info.isSpecial || info.name.begins_with('.') ||
                               (mayHoldPages && pages.contains(info.name));
        if (!isLeftOut) list.names.push_back(info.name);
    }
    if (directory.hasFailed())
        list.problem =
            "cannot read " + quoted(folder) + ": " + qel::platform::errorText(directory.getError().value());
    std::sort(list.names.begin(), list.names.end(), &comesFirst);
    return list;
}

std::string pathOfPage(const std::string& output, size_t number) {
    if (number == 1) return output;
    return File::stripExtensionFromPath(output) + "-" + std::to_string(number) + "." +
           File::getExtensionFromPath(output);
}

} // namespace qelimage
