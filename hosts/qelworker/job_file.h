// JobFile: a file of a job, opened for the user who asked for the job.
#pragma once

#include <hosts/jobs/file_access.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

#include <string>

namespace qelworker {

/// An open regular file and the folder that it is in. For another user than the server's own, it is below a
/// folder that is granted to him, no part of the way to it is a link, and the permissions of the folders and
/// the file, as they are while this process holds them open, let him read it. Outputs go into the same
/// folder, whatever happens to its name meanwhile.
class JobFile {
public:
    /// Opens @p path. @return why it could not be opened; empty if it is open.
    qel::String open(const qel::String& path, const qeljobs::FileAccess& access);

    /// The size at the time of opening, in bytes.
    qel::uint64 size() const { return m_size; }
    /// Reads up to 256 KiB from the current position into @p piece, which is empty at the end of the file.
    /// @return false if the file can't be read.
    bool readPiece(qel::Buffer& piece);

    /// Creates the file with this file's name and @p extension in the same folder, with this file's mode,
    /// group and, if the process may, owner. It appears whole or not at all. An existing file that has
    /// exactly this content counts as created; any other is replaced only if the access says so.
    /// @return why it could not be created; empty if it is on the disk.
    qel::String createBeside(const char* extension, const qel::Buffer& content);

private:
    qel::String openFolder(const std::string& folderPath);
    qel::String enter(const std::string& folderName);
    qel::String openIn(const std::string& name);
    bool allowsUse(const qel::platform::FileHandle& file, qeljobs::FileUse use) const;
    qel::platform::FileError writeUnfinished(const std::string& name, const qel::Buffer& content) const;
    qel::platform::FileError copyPermissions(const qel::platform::FileHandle& output) const;
    qel::String publish(const std::string& unfinished, const char* extension);
    bool holds(const std::string& name, const qel::Buffer& content) const;
    bool mayReplace(const std::string& name) const;

    const qeljobs::FileAccess* m_access = nullptr; // during the job
    std::string m_path;
    std::string m_name; // in m_folder
    qel::platform::FileHandle m_folder;
    qel::platform::FileHandle m_file;
    qel::uint64 m_size = 0;
};

} // namespace qelworker
