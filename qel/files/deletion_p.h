// The ways of a deletion that files and folders share.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

/// Deletes what exists at a path. @param silent  logs no warning. @return whether it is gone.
using DeleteFunction = bool (*)(SmartCStr path, bool silent);

/// @p path with the host's separators; unchanged if it exists as it is, since Linux names may hold "\\".
String hostPath(SmartCStr path);
/// Deletes a folder with everything in it; a link or file is refused without a warning. A DeleteFunction.
bool deleteTree(SmartCStr path, bool silent);
/// Tries @p deletion. If it fails, hides @p path, made absolute, and hands it to the DeferredDeletion on the
/// main thread. @param path  as hostPath() returns it. @return whether it is gone.
bool deleteNowOrLater(DeleteFunction deletion, SmartCStr origin, const String& path, bool silent);
/// Hides @p path, made absolute, if it exists, and leaves @p deletion to the delete-IO queue; without a
/// System it is done now. @param path  as hostPath() returns it.
void deleteAsyncOrLater(DeleteFunction deletion, SmartCStr origin, const String& path, bool silent);

/// Deletes a file or link by its name in @p folder. A name that is write-protected gets a second try with the
/// protection taken off, and the protection of a folder of the user's own lifted for that moment.
platform::FileError removeFileWithForce(const char* name, const platform::FileHandle& folder = {});
/// Warns that the file @p path, which stands as @p name in @p folder, could not be deleted.
void warnNotDeleted(SmartCStr path, const platform::FileError& error, const char* name,
                    const platform::FileHandle& folder = {});

} // namespace qel::internal
