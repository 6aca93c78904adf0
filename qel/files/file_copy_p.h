// Copying of one file into its final place.
#pragma once

#include <qel/files/whole_io_p.h>

namespace qel::internal {

/// A name in an open folder, or a path when the folder is closed.
struct FilePlace {
    const FileHandle& folder;
    const char* name;
};

/// Copies content, permission bits and time of modification of a plain file. The copy grows beside its final
/// place under another name and takes the place in one step; whatever fails, nothing else has changed.
/// @param links  Links::Keep refuses a link as the source.
FileError copyFileContent(const FilePlace& from, const FilePlace& to, platform::Links links);

} // namespace qel::internal
