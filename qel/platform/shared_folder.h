// Files in folders that several users may change: who may use a file, and new files that nobody can foresee.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <cstdint>

namespace qel::platform {

/// Who owns a file or folder, and what decides who else may use it.
struct FileOwnership {
    std::uint32_t user = 0;     ///< the owner
    std::uint32_t group = 0;    ///< the group
    std::uint32_t mode = 0;     ///< permission bits, 07777
    bool hasAccessList = false; ///< an access control list refines the bits for other users than the owner
};

/// Opens the folder @p path as a base for names. Unlike openDirectory() this needs no permission to read the
/// folder; the handle can't be used with DirectoryReader.
/// @param links  Links::Keep refuses a link as the last part.
QEL_API FileError openBaseFolder(FileHandle& folder, const char* path, Links links = Links::Follow,
                                 const FileHandle& base = {});
/// Reads who owns an open file or folder. An access control list that can't be looked for counts as present.
QEL_API FileError readOwnership(FileOwnership& ownership, const FileHandle& file);

/// Creates the file @p name in @p folder for writing; only the process's user may use it.
/// @return std::errc::file_exists if the name is taken, even by a link.
QEL_API FileError createPrivateFile(FileHandle& file, const char* name, const FileHandle& folder);
/// Sets the owner and the group of an open file. Only root can give a file to another user.
QEL_API FileError setOwnership(const FileHandle& file, std::uint32_t user, std::uint32_t group);
/// Sets the group of an open file; its owner must be a member of it.
QEL_API FileError setGroup(const FileHandle& file, std::uint32_t group);
/// Renames @p from to @p to within @p folder and replaces nothing.
/// @return std::errc::file_exists if the name is taken, even by a link.
QEL_API FileError renameToFreeName(const char* from, const char* to, const FileHandle& folder);
/// Makes the names in @p folder durable.
QEL_API FileError syncFolder(const FileHandle& folder);

} // namespace qel::platform
