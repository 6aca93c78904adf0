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

    bool next(DirectoryEntry& entry) {
        platform::FileError error;
        return reader.next(entry, error);
    }

    // What a link to a folder is too.
    bool isDirectory(const DirectoryEntry& entry) const {
        if (entry.kind != FileKind::SymLink) return entry.kind == FileKind::Directory;
        FileStatus status;
        return !readStatus(status, entry.name.c_str(), platform::Links::Follow, folder) &&
               status.kind == FileKind::Directory;
    }

    platform::FileHandle folder;
    platform::DirectoryReader reader{folder};
};

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
    if (const platform::FileError error = platform::openDirectory(folder, m_pathWithSlash.c_str())) {
        if (!silent)
            logging::info() << "directory '" << m_pathWithSlash << "' could not be opened"
                            << internal::describe(error);
        return false;
    }
    m_iteration = std::make_unique<Iteration>(std::move(folder));
    return true;
}

// An entry that has gone since its name was read is passed over.
bool Directory::read(File::FileInfo& info) {
    DirectoryEntry entry;
    while (m_iteration && m_iteration->next(entry)) {
        FileStatus status;
        bool isSymLink = false;
        if (!internal::readNameStatus(status, isSymLink, entry.name.c_str(), m_iteration->folder)) continue;
        info.name = entry.name;
        internal::fillFileInfo(status, isSymLink, info);
        return true;
    }
    return false;
}

bool Directory::read(String& name) {
    DirectoryEntry entry;
    if (!m_iteration || !m_iteration->next(entry)) return false;
    name = std::move(entry.name);
    return true;
}

bool Directory::read(String& name, bool& isDirectory) {
    DirectoryEntry entry;
    if (!m_iteration || !m_iteration->next(entry)) return false;
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
