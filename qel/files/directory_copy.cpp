#include <qel/files/directory.h>

#include <qel/files/file_copy_p.h>
#include <qel/files/tree_walk_p.h>
#include <qel/foundation/log/message_stream.h>

namespace qel {

using internal::DirectoryEntry;
using internal::FileError;
using internal::FolderCursor;
using platform::FileKind;
using platform::Links;

namespace {

constexpr const char* kCopied = "copied";

FileError copyLink(const FolderCursor& from, const char* name, const FolderCursor& to) {
    std::string target;
    if (const FileError error = platform::readSymLink(target, name, from.folder())) return error;
    FileError error = platform::makeSymLink(target.c_str(), name, to.folder());
    if (error != std::errc::file_exists) return error;
    error = platform::removeFile(name, to.folder());
    return error ? error : platform::makeSymLink(target.c_str(), name, to.folder());
}

// Follows the walk through the source on a second cursor.
class CopyVisitor : public internal::TreeVisitor {
public:
    CopyVisitor(FolderCursor& to, SmartCStr from)
        : TreeVisitor(from, kCopied), m_to(to), m_ownFolder(to.identity()) {}

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        const char* name = entry.name.c_str();
        FileError error = std::make_error_code(std::errc::not_supported);
        if (entry.kind == FileKind::SymLink) error = copyLink(at, name, m_to);
        if (entry.kind == FileKind::File)
            error = internal::copyFileContent({at.folder(), name}, {m_to.folder(), name}, Links::Keep);
        if (error) note(at, entry.name, error);
        return true;
    }

    // The target folder may be inside the source folder; it is not copied into itself.
    bool enteredFolder(const FolderCursor& at, const String& name) override {
        m_skipped = at.identity() == m_ownFolder;
        if (m_skipped) return false;
        FileError error = platform::makeDirectory(name.c_str(), m_to.folder());
        if (!error || error == std::errc::file_exists) error = m_to.enter(name);
        if (error) note(at, String(), error);
        m_skipped = static_cast<bool>(error);
        return !error;
    }

    bool leftFolder(const FolderCursor& at, const String& name) override {
        if (std::exchange(m_skipped, false)) return true;
        const FileError error = m_to.leave();
        if (error) note(at, name, error);
        return !error;
    }

private:
    FolderCursor& m_to;
    const platform::FileIdentity m_ownFolder;
    bool m_skipped = false; // the last folder does not exist in the target
};

} // namespace

bool Directory::copyDirectoryContentsRecursively(SmartCStr from, SmartCStr to) {
    FolderCursor source, target;
    FileError error = source.open(from, Links::Follow);
    if (!error && !createDirectoryRecursively(to)) return false;
    if (!error) error = target.open(to, Links::Follow);
    if (error) {
        logging::warning() << "directory '" << from.c_str() << "' could not be copied to '" << to.c_str()
                           << "'" << internal::describe(error);
        return false;
    }
    if (source.identity() == target.identity()) return true;
    CopyVisitor visitor(target, from);
    return internal::walkTree(source, visitor);
}

} // namespace qel
