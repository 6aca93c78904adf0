// Whole files that take their final place in one step.
#pragma once

#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/byte_span.h>

namespace qel::internal {

/// A name in an open folder, or a path when the folder is closed.
struct FilePlace {
    const FileHandle& folder;
    const char* name;
};

/// Copies content, permission bits and time of modification of a plain file. The copy grows beside its final
/// place under another name and takes the place in one step; whatever fails, nothing else has changed. A
/// device, pipe or socket is neither copied nor replaced.
/// @param links  Links::Keep refuses a link as the source.
FileError copyFileContent(const FilePlace& from, const FilePlace& to, platform::Links links);

/// Writes a file that everybody may read and its owner may write. It is on the disk when it takes its place
/// in one step; whatever fails, an earlier file of the name is as it was. @return whether that worked.
/// @errors logged.
bool replaceFile(SmartCStr path, ConstByteSpan content);

} // namespace qel::internal
