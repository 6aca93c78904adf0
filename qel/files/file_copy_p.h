// Copies whole files and moves them to their final place atomically.
#pragma once

#include <qel/files/whole_io_p.h>

namespace qel::internal {

/// A name in an open folder, or a path if the folder is closed.
struct FilePlace {
    const FileHandle& folder;
    const char* name;
};

/// Copies content, permission bits and time of modification of a plain file. The copy is written next to its
/// final place under another name and renamed at the end; whatever fails, nothing else has changed. A device,
/// pipe or socket is neither copied nor replaced.
/// @param links  Links::Keep refuses a link as the source.
FileError copyFileContent(const FilePlace& from, const FilePlace& to, platform::Links links);

} // namespace qel::internal
