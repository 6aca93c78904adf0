// The settings store of the operating system: blobs of bytes under the name of a key and of a value in it.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <string>
#include <string_view>

namespace qel::platform {

// Names are UTF-8 by convention and any bytes pass; upper and lower case differ. The parts of a key are set
// apart by backslashes, as "SOFTWARE\Vendor\Product"; empty parts are left out. A value's name may be empty.
//
// Here a value is one file, "<folder>/<part>/<part>/<name>.value", which holds the bytes and nothing else. In
// the names of files every byte but ASCII letters, digits, "-", "_" and blank is written as "%" and two
// upper-case hexadecimal digits; an empty name is "%". The folder is that of the machine for processes of the
// superuser, that of the user for all others: "qel/registry" below commonDataFolder() or
// userLocalDataFolder().

/// Stores a value in one step, in place of an earlier one; keys are made as needed. The value is on the disk
/// when this returns, and whatever fails or wherever the process or the machine stops, readers find the old
/// bytes or the new ones.
/// @param key    at most 255 bytes a part in its form as a file's name, as @p name with its ending.
/// @errors the first call that failed; the earlier value stands then. A failure behind the rename, to make it
///         last, leaves the new bytes for readers, and the machine's next start may find the old ones.
/// @threads any thread; writers in all processes take turns per key.
QEL_API FileError writeRegistryValue(std::string_view key, std::string_view name, std::string_view bytes);

/// Reads a value; one that the user's folder lacks is looked for in the machine's.
/// @param bytes  as it was unless the call works.
/// @errors std::errc::no_such_file_or_directory when there is no such value; std::errc::io_error when the
/// file
///         got shorter while it was read.
/// @threads any thread.
QEL_API FileError readRegistryValue(std::string& bytes, std::string_view key, std::string_view name);

} // namespace qel::platform
