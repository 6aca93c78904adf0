// JobFile: a file of a job, opened for the user who submitted the job.
#pragma once

#include <hosts/jobs/file_access.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

#include <string>

namespace qelworker {

/// An open regular file and its folder. For a user other than the server's own, open() makes sure that the
/// file is below a folder granted to that user, that no part of the path below the granted folder is a link,
/// and that the permissions of the opened folders and file let the user read it. Outputs are created in the
/// opened folder, even if it is renamed meanwhile.
class JobFile {
public:
    /// Opens @p path. @param access  must outlive this object. @return why it can't be opened; empty if it is
    /// open.
    qel::String open(const qel::String& path, const qeljobs::FileAccess& access);

    /// Returns the size in bytes at the time of opening.
    qel::uint64 size() const { return m_size; }
    /// Reads the next part of up to 256 KiB into @p piece, which becomes empty at the end of the file.
    /// @return false if the file can't be read.
    bool readPiece(qel::Buffer& piece);

    /// Creates a file in the same folder, named like this file plus @p extension, with this file's mode, its
    /// group, and its owner if the process may set it. The file appears complete or not at all. An existing
    /// file with exactly this content counts as created; any other is replaced only if
    /// FileAccess::overwrite is true.
    /// @return why it can't be created; empty if it is on the disk.
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

    const qeljobs::FileAccess* m_access = nullptr; // valid during the job
    std::string m_path;
    std::string m_name; // in m_folder
    qel::platform::FileHandle m_folder;
    qel::platform::FileHandle m_file;
    qel::uint64 m_size = 0;
};

} // namespace qelworker
