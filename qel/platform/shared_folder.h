// Files in folders that several users may change: ownership, and new files with protected names.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <cstdint>

namespace qel::platform {

/// The owner of a file or folder, and what determines who else may use it.
struct FileOwnership {
    std::uint32_t user = 0;     ///< the owner's number
    std::uint32_t group = 0;    ///< the group's number
    std::uint32_t mode = 0;     ///< permission bits, 07777
    bool hasAccessList = false; ///< an access control list refines the bits for users other than the owner
};

/// Opens the folder @p path as a base for names. Unlike openDirectory() this requires no permission to read
/// the folder, but the handle cannot be used with DirectoryReader.
/// @param links  Links::Keep refuses a link as the last part.
QEL_API FileError openBaseFolder(FileHandle& folder, const char* path, Links links = Links::Follow,
                                 const FileHandle& base = {});
/// Reads the ownership of an open file or folder. If it cannot be checked for an access control list, it
/// counts as having one.
QEL_API FileError readOwnership(FileOwnership& ownership, const FileHandle& file);

/// Creates the file @p name in @p folder for writing; only the process's user has access to it.
/// @return std::errc::file_exists if the name is taken, even by a link.
QEL_API FileError createPrivateFile(FileHandle& file, const char* name, const FileHandle& folder);
/// Creates a file in @p folder that has no name yet; only the process's user has access to it. The system
/// removes it if it is closed before nameFile().
/// @return an error also if the system or the file system has no such files.
QEL_API FileError createUnnamedFile(FileHandle& file, const FileHandle& folder);
/// Names the file of createUnnamedFile() in @p folder; never replaces an existing file.
/// @return std::errc::file_exists if the name is taken, even by a link.
QEL_API FileError nameFile(const FileHandle& file, const char* name, const FileHandle& folder);
/// Sets the owner and the group of an open file. Only root can assign a file to another user.
QEL_API FileError setOwnership(const FileHandle& file, std::uint32_t user, std::uint32_t group);
/// Sets the group of an open file; its owner must be a member of it.
QEL_API FileError setGroup(const FileHandle& file, std::uint32_t group);
/// Renames @p from to @p to within @p folder and replaces nothing.
/// @return std::errc::file_exists if the name is taken, even by a link.
QEL_API FileError renameToFreeName(const char* from, const char* to, const FileHandle& folder);
/// Syncs the names in @p folder to disk.
QEL_API FileError syncFolder(const FileHandle& folder);

} // namespace qel::platform
