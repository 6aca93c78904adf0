#include <qel/files/directory.h>

#include <qel/files/file_query_p.h>
#include <qel/files/whole_io_p.h>
#include <qel/foundation/log/message_stream.h>

namespace qel {

using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileStatus;

struct Directory::Iteration {
    explicit Iteration(platform::FileHandle handle) : folder(std::move(handle)) {}

    // Returns true for a link to a folder as well.
    bool isDirectory(const DirectoryEntry& entry) const {
        if (entry.kind != FileKind::SymLink) return entry.kind == FileKind::Directory;
        FileStatus status;
        return !readStatus(status, entry.name.c_str(), platform::Links::Follow, folder) &&
               status.kind == FileKind::Directory;
    }

    // Reads the next entry of @p directory; its iteration ends at the end and after an error.
    static bool next(Directory& directory, DirectoryEntry& entry);

    platform::FileHandle folder;
    platform::DirectoryReader reader{folder};
    bool hasUnknownEntry = false;
};

namespace {

// Returns what the folder itself records about an entry.
File::FileInfo infoOfKind(FileKind kind) {
    File::FileInfo info;
    info.isDirectory = kind == FileKind::Directory;
    info.isSymLink = kind == FileKind::SymLink;
    info.isSpecial = kind == FileKind::Other;
    info.isUnknown = true;
    return info;
}

} // namespace

Directory::Directory() = default;

Directory::Directory(SmartCStr path, bool silent) {
    open(path, silent);
}

Directory::~Directory() = default;

bool Directory::open(SmartCStr path, bool silent) {
    m_pathWithSlash = path;
    File::pathEndWithSeparator(m_pathWithSlash);
    m_iteration.reset();
    platform::FileHandle folder;
    m_error = platform::openDirectory(folder, m_pathWithSlash.c_str());
    if (m_error) {
        if (!silent)
            logging::info() << "directory '" << m_pathWithSlash << "' could not be opened"
                            << internal::describe(m_error);
        return false;
    }
    m_iteration = std::make_unique<Iteration>(std::move(folder));
    return true;
}

bool Directory::Iteration::next(Directory& directory, DirectoryEntry& entry) {
    if (!directory.m_iteration) return false;
    std::error_code& error = directory.m_error;
    if (directory.m_iteration->reader.next(entry, error)) return true;
    if (error) internal::warnNotDone(directory.m_pathWithSlash, "read to its end", error);
    directory.m_iteration.reset();
    return false;
}

// An entry that was removed after its name was read is skipped.
bool Directory::read(File::FileInfo& info) {
    DirectoryEntry entry;
    while (Iteration::next(*this, entry)) {
        FileStatus status;
        bool isSymLink = false;
        const auto error =
            internal::readNameStatus(status, isSymLink, entry.name.c_str(), m_iteration->folder);
        if (error == std::errc::no_such_file_or_directory) continue;
        if (error) {
            info = infoOfKind(entry.kind);
            if (!std::exchange(m_iteration->hasUnknownEntry, true))
                internal::warnNotDone(m_pathWithSlash + entry.name, "examined", error);
        } else {
            internal::fillFileInfo(status, isSymLink, info);
        }
        info.name = std::move(entry.name);
        return true;
    }
    return false;
}

bool Directory::read(String& name) {
    DirectoryEntry entry;
    if (!Iteration::next(*this, entry)) return false;
    name = std::move(entry.name);
    return true;
}

bool Directory::read(String& name, bool& isDirectory) {
    DirectoryEntry entry;
    if (!Iteration::next(*this, entry)) return false;
    isDirectory = m_iteration->isDirectory(entry);
    name = std::move(entry.name);
    return true;
}

String Directory::readNextFile() {
    String name;
    bool isDirectory = false;
    while (read(name, isDirectory))
        if (!isDirectory) return name;
    return String();
}

String Directory::readNextDirectory() {
    String name;
    bool isDirectory = false;
    while (read(name, isDirectory))
        if (isDirectory) return name;
    return String();
}

} // namespace qel
