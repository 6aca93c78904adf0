// Replaces a file as a whole.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/platform/file_system.h>

#include <string>

namespace qelhosts {

/// Returns true if replaceFile() would write a new file and put it in the place of @p path: if there is
/// nothing, a file or a link to a file.
bool isReplaceable(const std::string& path);

/// Returns true if both paths lead to the same file or folder. An empty path is the working folder.
bool isSameFile(const std::string& a, const std::string& b);

/// Writes a file. It is written under another name in the same folder, and renamed when it is complete and on
/// disk; a failure removes it and leaves an earlier file of the name @p path unchanged. If that is a link,
/// the file that it names is replaced. Devices and pipes are written directly.
///
/// Installs the interrupt handler, so that Ctrl-C cannot leave the new file behind.
/// @return std::errc::interrupted if Ctrl-C was pressed before the file was renamed.
qel::platform::FileError replaceFile(const std::string& path, qel::ConstByteSpan bytes);

} // namespace qelhosts
