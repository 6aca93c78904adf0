// The settings store of the operating system: blobs of bytes, identified by a key and the name of a value in
// it.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <string>
#include <string_view>

namespace qel::platform {

// Names are UTF-8 by convention, but any bytes pass; they are case-sensitive. The parts of a key are
// separated by backslashes, as in "SOFTWARE\Vendor\Product"; empty parts are ignored. A value's name may be
// empty.
//
// On Linux a value is one file, "<folder>/<part>/<part>/<name>.value", which contains exactly the bytes.
// In file names every byte except ASCII letters, digits, "-", "_" and the space is written as "%" and two
// upper-case hexadecimal digits; an empty name is written as "%". The folder is "qel/registry" below
// commonDataFolder() for processes of the superuser and below userLocalDataFolder() for all others.

/// Stores a value atomically, replacing an earlier one; missing keys are created. The value is on disk when
/// this returns. Whatever fails, and wherever the process or the machine stops, readers find either the old
/// bytes or the new ones.
/// @param key  each part, and @p name with its ending, may have at most 255 bytes in its form as a file name.
/// @errors the error of the first call that failed; the earlier value is then kept. If a call after the
/// rename fails that should make it durable, readers find the new bytes, but after the machine's next start
/// they may find the old ones.
/// @threads any thread; writers in all processes take turns per key.
QEL_API FileError writeRegistryValue(std::string_view key, std::string_view name, std::string_view bytes);

/// Reads a value. If the user's folder does not contain it, the machine's folder is searched.
/// @param bytes  unchanged if the call fails.
/// @errors std::errc::no_such_file_or_directory if there is no such value; std::errc::io_error if the file
/// became shorter while it was read.
/// @threads any thread.
QEL_API FileError readRegistryValue(std::string& bytes, std::string_view key, std::string_view name);

} // namespace qel::platform
