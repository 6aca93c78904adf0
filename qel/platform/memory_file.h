// Files that exist only in memory.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <string>

namespace qel::platform {

/// Creates a file that exists only in memory, open for reading and writing, for libraries that accept only a
/// path. It is removed when @p file is closed.
/// @param path  receives a path under which this process can open the file until then; on Linux this requires
/// a mounted /proc.
QEL_API FileError createMemoryFile(FileHandle& file, std::string& path);

} // namespace qel::platform
