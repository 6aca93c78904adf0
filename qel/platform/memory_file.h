// Files that exist in memory alone.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <string>

namespace qel::platform {

/// Creates a file that exists in memory alone, open for reading and writing, for libraries that take nothing
/// but a path. It is removed when @p file is closed.
/// @param path  gets a path under which this process can open it until then; takes a mounted /proc on Linux.
QEL_API FileError createMemoryFile(FileHandle& file, std::string& path);

} // namespace qel::platform
