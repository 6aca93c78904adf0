#include <qel/files/absolute_path_p.h>

#include <qel/files/file.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

String absolutePath(SmartCStr path) {
    std::string workingFolder;
    if (path.view().starts_with('/') || platform::resolvePath(workingFolder, ".")) return path;
    String absolute = workingFolder;
    File::pathEndWithSeparator(absolute);
    return absolute + path.c_str();
}

} // namespace qel::internal
