// Ways of deletion that files and folders share.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

/// Deletes what exists at a path. @param silent  true to log no warning. @return true if it no longer exists.
using DeleteFunction = bool (*)(SmartCStr path, bool silent);

/// Returns @p path with the host's separators; unchanged if it exists as it is, since Linux names may contain
/// "\\".
String hostPath(SmartCStr path);
/// Deletes a folder with everything in it; refuses a link or file without a warning. It is a DeleteFunction.
bool deleteTree(SmartCStr path, bool silent);
/// Calls @p deletion. If it fails, hides the absolute form of @p path and passes it to the DeferredDeletion
/// on the main thread.
/// @param path  as returned by hostPath(). @return true if it no longer exists.
bool deleteNowOrLater(DeleteFunction deletion, SmartCStr origin, const String& path, bool silent);
/// Hides the absolute form of @p path if it exists, and runs @p deletion on the delete-IO queue; without a
/// System it runs at once.
/// @param path  as returned by hostPath().
void deleteAsyncOrLater(DeleteFunction deletion, SmartCStr origin, const String& path, bool silent);

/// Deletes a file or link by its name in @p folder. If the name is write-protected, it removes the
/// protection, also for a moment that of a folder which the user owns, and tries again.
platform::FileError removeFileWithForce(const char* name, const platform::FileHandle& folder = {});
/// Warns that the file @p path, which is @p name in @p folder, could not be deleted.
void warnNotDeleted(SmartCStr path, const platform::FileError& error, const char* name,
                    const platform::FileHandle& folder = {});

} // namespace qel::internal
