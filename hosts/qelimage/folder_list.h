// The files of a folder for a contact sheet.
#pragma once

#include <string>
#include <vector>

namespace qelimage {

/// The files of a folder.
struct FolderList {
    std::string folder;             ///< ends with a separator
    std::vector<std::string> names; ///< sorted; numbers in names by their value
    std::string problem;            ///< why the folder could not be read to its end; empty if it could be
};

/// Lists the files of @p folder. Left out are folders, devices, pipes, names that begin with a dot, and the
/// pages of a contact sheet that is written to @p output.
FolderList listFolder(const std::string& folder, const std::string& output);

/// Returns the path of page @p number, from 1: "sheet.png", "sheet-2.png" and so on.
std::string pathOfPage(const std::string& output, size_t number);

} // namespace qelimage
